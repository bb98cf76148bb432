// RSA key generation, against a model in Python that tests each number without a sieve.
#include "core/bignum/prime/prime.h"
#include "core/bignum/vlong_math.h"
#include "core/pubkey/key/internal/key_load.h"
#include "core/pubkey/key/scoped_key.h"
#include "core/pubkey/rsa/internal/rsa_prime.h"
#include "tests/core/pubkey/key_support.h"

namespace {

TEST(RsaGenerate, Vectors) {
    ScopedKey container; // each key replaces the one before, under the same lock
    ASSERT_EQ(AsymKey_MakeRsa(container.get(), nullptr), OK);
    RSAKey& key = *asymKeyRsa(container.get());
    const RtosMutex lock = key.blinding.mutex;
    const VectorOperation generate = [&key, lock](const Words& in, Words& out) {
        const testheap::OwnWork own; // refused below
        ByteSource source(numberOf(in[0]));
        EXPECT_EQ(Rsa_GenerateKey(source.bytes(), &key, numberOf(in[1]), nullptr), OK);
        EXPECT_EQ(textOf(key.e), "10001");
        EXPECT_TRUE(key.privateKey == 1 && key.blinding.mutex == lock);
        EXPECT_EQ(VLONG_bitLength(key.n), numberOf(in[1]));
        const Number message(std::string(numberOf(in[1]) / 4 - 16, 'a'));
        Number raised, back;
        EXPECT_EQ(Rsa_PublicOp(&key, message, raised.out(), nullptr), OK);
        EXPECT_EQ(Rsa_PrivateCrt(&key, raised, back.out(), nullptr), OK);
        EXPECT_EQ(back, message);
        out = source.told();
        out.insert(out.end(), {textOf(key.p), textOf(key.q)});
        return OK;
    };
    runVectors("core/pubkey/rsa_generate_vectors.txt", {{"generate", generate}});
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

TEST(RsaGenerate, SizesAndRefusals) {
    RSAKey key{};
    ByteSource source(1), shortFirst(12);
    EXPECT_EQ(Rsa_GenerateKey(source.bytes(), nullptr, 1024, nullptr), ERR_RSA_INVALID_KEY);
    for (const std::uint32_t bits : {0U, 512U, 895U, 896U}) {
        EXPECT_EQ(Rsa_GenerateKey(source.bytes(), &key, bits, nullptr), ERR_RSA_KEY_LENGTH_TOO_SMALL) << bits;
    }
    EXPECT_EQ(Rsa_GenerateKey(source.bytes(), &key, ~0U, nullptr), ERR_BAD_LENGTH);
    EXPECT_TRUE(source.draws.empty());
    // Sizes that are no multiple of 128 go on until the source fails, which a key of 1024 bits asks some 200 times.
    for (const std::uint32_t bits : {1000U, 1100U}) {
        ByteSource failing(1);
        failing.limit = 2000;
        EXPECT_EQ(Rsa_GenerateKey(failing.bytes(), &key, bits, nullptr), ERR_RTOS_MUTEX_WAIT);
        EXPECT_EQ(failing.draws.size(), failing.limit);
        EXPECT_EQ(key.n, nullptr);
    }
    // One less than a multiple is met by a modulus that comes out a bit short, as in the first attempt from this seed.
    EXPECT_EQ(Rsa_GenerateKey(shortFirst.bytes(), &key, 1023, nullptr), OK);
    EXPECT_EQ(VLONG_bitLength(key.n), 1023U);
    rsaKeyClear(&key, nullptr);

    const Number x("ffff000000000000.1.2.3"), x1("1000000001"), x2("3000000001");
    const auto isThereNone = [&](const Number& from, const Number& second, std::uint32_t e) {
        ByteSource bases(1);
        Number prime;
        EXPECT_EQ(rsaConstructPrime(bases.bytes(), {from, x1, second}, e, prime.out(), nullptr), OK);
        return prime.get() == nullptr;
    };
    EXPECT_FALSE(isThereNone(x, x2, 65537));
    EXPECT_TRUE(isThereNone(x, x1, 65537));                            // the same auxiliary prime twice
    EXPECT_TRUE(isThereNone(Number("ffffffffffffffff*4"), x2, 65537)); // a lower bound without a prime above it
    EXPECT_TRUE(isThereNone(x, x2, 2)); // p - 1 is even, and e as well: the search ends all the same
    refuseEach([&] {
        ByteSource fresh(1);
        Number prime;
        const Status status = rsaConstructPrime(fresh.bytes(), {x, x1, x2}, 65537, prime.out(), nullptr);
        EXPECT_EQ(prime.get() == nullptr, isError(status));
        return status;
    });
    refuseEach([&key] {
        ByteSource fresh(2);
        const Status status = Rsa_GenerateKey(fresh.bytes(), &key, 1024, nullptr);
        EXPECT_EQ(key.n == nullptr, isError(status));
        rsaKeyClear(&key, nullptr);
        return status;
    });
}

} // namespace
