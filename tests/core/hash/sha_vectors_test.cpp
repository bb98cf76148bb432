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
    const auto check = [](std::string_view algorithm, std::string_view message, std::string_view digest) {
        EXPECT_EQ(digestOf(shaNamed(algorithm), bytesOf(message)), digest)
            << algorithm << " of " << message.size() << " bytes";
    };
#define SHA_PUBLISHED(algorithm, message, digest) check(#algorithm, message, digest);
#include "tests/core/hash/sha_published.inc"
#undef SHA_PUBLISHED
}

TEST(ShaVectors, AroundBlockLimitsWholeAndInPieces) {
    const auto check = [](std::string_view name, std::size_t length, std::string_view digest) {
        SCOPED_TRACE(testing::Message() << name << " of " << length << " bytes");
        const ShaAlgorithm& algorithm = shaNamed(name);
        const std::vector<std::uint8_t> message = modelMessage(length);
        EXPECT_EQ(digestOf(algorithm, message), digest);
        for (const unsigned piece : {1u, 63u, 64u, 65u, 127u, 128u, 129u, 1000u}) {
            EXPECT_EQ(digestInPieces(algorithm, message, {piece}), digest) << "pieces of " << piece;
        }
        EXPECT_EQ(digestInPieces(algorithm, message, {0, 3, 200, 17, 64, 1}), digest);
    };
#define SHA_VECTOR(algorithm, length, digest) check(#algorithm, length, digest);
#define SHA_FAR_COUNT(algorithm, blocks, tail, digest)
#include "tests/core/hash/sha_vectors.inc"
#undef SHA_VECTOR
#undef SHA_FAR_COUNT
}

// More bytes than a test could feed: the count is put in place by hand, as if so many blocks had left the initial value
// where it was. SHA-512's is carried from one word into the other, both in bytes and, as bits, in the padding.
TEST(ShaVectors, CountsThatNeedEveryBit) {
    const auto check = [](ShaContext context, const ShaAlgorithm& algorithm, std::uint32_t tail,
                          std::string_view digest) {
        std::uint8_t out[64];
        ASSERT_EQ(algorithm.update(&context, modelMessage(tail).data(), tail), OK);
        ASSERT_EQ(algorithm.final(&context, out), OK);
        EXPECT_EQ(toHex({out, algorithm.digestBytes}), digest);
    };
    const auto final256 = [&](std::uint64_t blocks, std::uint32_t tail, std::string_view digest) {
        ShaContext context;
        ASSERT_EQ(sha256Init(&context.sha256), OK);
        context.sha256.byteCount = blocks * 64;
        check(context, shaNamed("sha256"), tail, digest);
    };
    const auto final512 = [&](std::uint64_t blocks, std::uint32_t tail, std::string_view digest) {
        ShaContext context;
        ASSERT_EQ(sha512Init(&context.sha512), OK);
        context.sha512.byteCount[1] = blocks * 128;
        check(context, shaNamed("sha512"), tail, digest);
    };
#define SHA_VECTOR(algorithm, length, digest)
#define SHA_FAR_COUNT(algorithm, blocks, tail, digest) SHA_FAR_COUNT_##algorithm(blocks, tail, digest);
#define SHA_FAR_COUNT_sha256(blocks, tail, digest) final256(blocks##u, tail, digest)
#define SHA_FAR_COUNT_sha512(blocks, tail, digest) final512(blocks##u, tail, digest)
#include "tests/core/hash/sha_vectors.inc"
}

} // namespace
