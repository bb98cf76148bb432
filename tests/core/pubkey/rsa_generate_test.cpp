// RSA key generation, against a model in Python that tests each number without a sieve.
#include "core/bignum/prime/prime.h"
#include "core/bignum/vlong_math.h"
#include "core/pubkey/key/internal/key_load.h"
#include "core/pubkey/key/scoped_key.h"
#include "core/pubkey/rsa/internal/rsa_prime.h"
#include "tests/core/pubkey/key_support.h"

namespace {

// Over the key before, under the same lock.
Status generate(RSAKey& key, const Words& in, Words& out) {
    const testheap::OwnWork own; // refused below
    const RtosMutex lock = key.blinding.mutex;
    const std::uint32_t bits = numberOf(in[1]);
    ByteSource source(numberOf(in[0]));
    source.limit = numberOf(in[2]);
    const Status status = Rsa_GenerateKey(source.bytes(), &key, bits, nullptr);
    out = source.told();
    if (isError(status)) {
        out.pop_back();
        return status;
    }
    EXPECT_TRUE(key.privateKey == 1 && key.blinding.mutex == lock);
    EXPECT_EQ(VLONG_bitLength(key.n), bits);
    const Number message(std::string(bits / 4 - 16, 'a'));
    Number raised, back;
    EXPECT_EQ(Rsa_PublicOp(&key, message, raised.out(), nullptr), OK);
    EXPECT_EQ(Rsa_PrivateCrt(&key, raised, back.out(), nullptr), OK);
    EXPECT_EQ(back, message);
    out.insert(out.end(), {textOf(key.e), textOf(key.p), textOf(key.q)});
    return OK;
}

Status construct(const Words& in, Words& out) {
    const Number x(in[0]), x1(in[1]), x2(in[2]);
    ByteSource bases(1);
    Number prime;
    const Status status = rsaConstructPrime(bases.bytes(), {x, x1, x2}, numberOf(in[3]), prime.out(), nullptr);
    out = {prime.text()};
    return status;
}

TEST(RsaGenerate, Vectors) {
    ScopedKey container;
    ASSERT_EQ(AsymKey_MakeRsa(container.get(), nullptr), OK);
    RSAKey& key = *asymKeyRsa(container.get());
    runVectors("core/pubkey/rsa_generate_vectors.txt", {{"generate",
                                                         [&key](const Words& in, Words& out) {
                                                             return generate(key, in, out);
                                                         }},
                                                        {"construct", construct}});
}

// A difference of as many bits as the limit has is drawn again, one of a bit more is followed by the 101-bit seeds.
TEST(RsaGenerate, DistanceOfTheLowerBounds) {
    RSAKey key{};
    for (const auto& [bits, limit] : {std::pair{1024U, 412U}, {1152U, 412U}, {1280U, 540U}, {2048U, 924U}}) {
        const std::uint32_t size = bits / 16;
        Bytes script(4 * size); // bound after bound, big-endian
        for (std::uint32_t bound = 0; bound < 4; ++bound) {
            script[bound * size] = 0xC0;
        }
        const std::uint32_t near = limit - 1, far = limit; // the bit that differs
        script[2 * size - 1 - near / 8] = static_cast<std::uint8_t>(1 << near % 8);
        script[4 * size - 1 - far / 8] = static_cast<std::uint8_t>(1 << far % 8);
        ByteSource source(script);
        source.limit = 5;
        EXPECT_EQ(Rsa_GenerateKey(source.bytes(), &key, bits, nullptr), ERR_RTOS_MUTEX_WAIT);
        EXPECT_EQ(source.draws, (std::vector{size, size, size, size, 13U})) << bits;
    }
}

TEST(RsaGenerate, OneBitLessAndRefusals) {
    RSAKey key{};
    ByteSource shortFirst(12);
    EXPECT_EQ(Rsa_GenerateKey(shortFirst.bytes(), nullptr, 1024, nullptr), ERR_RSA_INVALID_KEY);
    // One less than a multiple is met by a modulus that comes out a bit short, as in the first attempt from this seed.
    EXPECT_EQ(Rsa_GenerateKey(shortFirst.bytes(), &key, 1023, nullptr), OK);
    EXPECT_EQ(VLONG_bitLength(key.n), 1023U);
    rsaKeyClear(&key, nullptr);
    refuseEach([&key] {
        ByteSource fresh(2);
        const Status status = Rsa_GenerateKey(fresh.bytes(), &key, 1024, nullptr);
        EXPECT_EQ(key.n == nullptr, isError(status));
        rsaKeyClear(&key, nullptr);
        return status;
    });
}

} // namespace
