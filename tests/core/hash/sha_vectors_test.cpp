// Known answers: the published vectors of FIPS 180-2, and digests around every block limit from an independent model.
#include "tests/core/hash/sha_algorithms.h"
#include "tests/support/hex.h"

#include <gtest/gtest.h>

#include <numeric>
#include <string>

namespace {

std::vector<std::uint8_t> bytesOf(std::string_view text) {
    return {text.begin(), text.end()};
}

std::vector<std::uint8_t> modelMessage(std::size_t length) {
    std::vector<std::uint8_t> message(length);
    for (std::size_t i = 0; i < length; ++i) {
        message[i] = static_cast<std::uint8_t>(7 * i + 3);
    }
    return message;
}

std::string digestOf(const ShaAlgorithm& algorithm, const std::vector<std::uint8_t>& message) {
    std::vector<std::uint8_t> digest(algorithm.digestBytes);
    const std::uint8_t none = 0;
    const std::uint8_t* const data = message.empty() ? &none : message.data();
    EXPECT_EQ(algorithm.digest(data, static_cast<std::uint32_t>(message.size()), digest.data()), OK);
    return toHex(digest);
}

// The digest of a message that is fed in pieces; the lengths of the pieces repeat.
std::string digestInPieces(const ShaAlgorithm& algorithm, const std::vector<std::uint8_t>& message,
                           const std::vector<std::size_t>& pieces) {
    ShaContext context;
    std::vector<std::uint8_t> digest(algorithm.digestBytes);
    EXPECT_EQ(algorithm.init(&context), OK);
    for (std::size_t at = 0, i = 0; at < message.size(); ++i) {
        const std::size_t length = std::min(pieces[i % pieces.size()], message.size() - at);
        EXPECT_EQ(algorithm.update(&context, message.data() + at, static_cast<std::uint32_t>(length)), OK);
        at += length;
    }
    EXPECT_EQ(algorithm.final(&context, digest.data()), OK);
    return toHex(digest);
}

TEST(ShaVectors, Published) {
    const std::string bits448 = "abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq";
    const std::string bits896 =
        "abcdefghbcdefghicdefghijdefghijkefghijklfghijklmghijklmnhijklmnoijklmnopjklmnopqklmnopqr"
        "lmnopqrsmnopqrstnopqrstu";
    const std::string million(1'000'000, 'a');
    struct Case {
        std::string_view algorithm;
        std::string_view message;
        std::string_view digest;
    };
    const Case cases[] = {
        // FIPS 180-2, appendices A to C, its change notice for SHA-224, and the secure hash examples of NIST.
        {"sha1", "", "da39a3ee5e6b4b0d3255bfef95601890afd80709"},
        {"sha1", "abc", "a9993e364706816aba3e25717850c26c9cd0d89d"},
        {"sha1", bits448, "84983e441c3bd26ebaae4aa1f95129e5e54670f1"},
        {"sha1", million, "34aa973cd4c4daa4f61eeb2bdbad27316534016f"},
        {"sha224", "", "d14a028c2a3a2bc9476102bb288234c415a2b01f828ea62ac5b3e42f"},
        {"sha224", "abc", "23097d223405d8228642a477bda255b32aadbce4bda0b3f7e36c9da7"},
        {"sha224", bits448, "75388b16512776cc5dba5da1fd890150b0c6455cb4f58b1952522525"},
        {"sha224", million, "20794655980c91d8bbb4c1ea97618a4bf03f42581948b2ee4ee7ad67"},
        {"sha256", "", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
        {"sha256", "abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
        {"sha256", bits448, "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1"},
        {"sha256", million, "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"},
        {"sha384", "",
         "38b060a751ac96384cd9327eb1b1e36a21fdb71114be07434c0cc7bf63f6e1da274edebfe76f65fbd51ad2f14898b95b"},
        {"sha384", "abc",
         "cb00753f45a35e8bb5a03d699ac65007272c32ab0eded1631a8b605a43ff5bed8086072ba1e7cc2358baeca134c825a7"},
        {"sha384", bits448,
         "3391fdddfc8dc7393707a65b1b4709397cf8b1d162af05abfe8f450de5f36bc6b0455a8520bc4e6f5fe95b1fe3c8452b"},
        {"sha384", bits896,
         "09330c33f71147e83d192fc782cd1b4753111b173b3b05d22fa08086e3b0f712fcc7c71a557e2db966c3e9fa91746039"},
        {"sha384", million,
         "9d0e1809716474cb086e834e310a4a1ced149e9c00f248527972cec5704c2a5b07b8b3dc38ecc4ebae97ddd87f3d8985"},
        {"sha512", "",
         "cf83e1357eefb8bdf1542850d66d8007d620e4050b5715dc83f4a921d36ce9ce"
         "47d0d13c5d85f2b0ff8318d2877eec2f63b931bd47417a81a538327af927da3e"},
        {"sha512", "abc",
         "ddaf35a193617abacc417349ae20413112e6fa4e89a97ea20a9eeee64b55d39a"
         "2192992a274fc1a836ba3c23a3feebbd454d4423643ce80e2a9ac94fa54ca49f"},
        {"sha512", bits448,
         "204a8fc6dda82f0a0ced7beb8e08a41657c16ef468b228a8279be331a703c335"
         "96fd15c13b1b07f9aa1d3bea57789ca031ad85c7a71dd70354ec631238ca3445"},
        {"sha512", bits896,
         "8e959b75dae313da8cf4f72814fc143f8f7779c6eb9f7fa17299aeadb6889018"
         "501d289e4900f7e4331b99dec4b5433ac7d329eeb6dd26545e96e55b874be909"},
        {"sha512", million,
         "e718483d0ce769644e2e42c7bc15b4638e1f98b13b2044285632a803afa973eb"
         "de0ff244877ea60a4cb0432ce577c31beb009c5c2c49aa2e4eadb217ad8cc09b"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(digestOf(shaNamed(c.algorithm), bytesOf(c.message)), c.digest)
            << c.algorithm << " of " << c.message.size() << " bytes";
    }
}

TEST(ShaVectors, AroundBlockLimitsWholeAndInPieces) {
    struct Case {
        std::string_view algorithm;
        std::size_t length;
        std::string_view digest;
    };
    const Case cases[] = {
#define SHA_VECTOR(algorithm, length, digest) {#algorithm, length, digest},
#define SHA_FAR_COUNT(algorithm, blocks, tail, digest)
#include "tests/core/hash/sha_vectors.inc"
#undef SHA_VECTOR
#undef SHA_FAR_COUNT
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.algorithm << " of " << c.length << " bytes");
        const ShaAlgorithm& algorithm = shaNamed(c.algorithm);
        const std::vector<std::uint8_t> message = modelMessage(c.length);
        EXPECT_EQ(digestOf(algorithm, message), c.digest);
        for (const unsigned piece : {1u, 63u, 64u, 65u, 127u, 128u, 129u, 1000u}) {
            EXPECT_EQ(digestInPieces(algorithm, message, {piece}), c.digest) << "pieces of " << piece;
        }
        EXPECT_EQ(digestInPieces(algorithm, message, {0, 3, 200, 17, 64, 1}), c.digest);
    }
}

// More bytes than a test could feed: the count is put in place by hand, as if so many blocks had left the initial value
// where it was. SHA-512's is carried from one word into the other, both in bytes and, as bits, in the padding.
TEST(ShaVectors, CountsThatNeedEveryBit) {
    const auto final256 = [](std::uint64_t blocks, std::uint32_t tail, std::string_view expected) {
        Sha256Context context;
        std::uint8_t digest[32];
        ASSERT_EQ(sha256Init(&context), OK);
        context.byteCount = blocks * 64;
        ASSERT_EQ(sha256Update(&context, modelMessage(tail).data(), tail), OK);
        ASSERT_EQ(sha256Final(&context, digest), OK);
        EXPECT_EQ(toHex(digest), expected) << blocks;
    };
    const auto final512 = [](std::uint64_t blocks, std::uint32_t tail, std::string_view expected) {
        Sha512Context context;
        std::uint8_t digest[64];
        ASSERT_EQ(sha512Init(&context), OK);
        context.byteCount[1] = blocks * 128;
        ASSERT_EQ(sha512Update(&context, modelMessage(tail).data(), tail), OK);
        ASSERT_EQ(sha512Final(&context, digest), OK);
        EXPECT_EQ(toHex(digest), expected) << blocks;
    };
#define SHA_VECTOR(algorithm, length, digest)
#define SHA_FAR_COUNT(algorithm, blocks, tail, digest) SHA_FAR_COUNT_##algorithm(blocks, tail, digest);
#define SHA_FAR_COUNT_sha256(blocks, tail, digest) final256(blocks##u, tail, digest)
#define SHA_FAR_COUNT_sha512(blocks, tail, digest) final512(blocks##u, tail, digest)
#include "tests/core/hash/sha_vectors.inc"
}

} // namespace
