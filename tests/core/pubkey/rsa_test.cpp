// RSA on integers: powers against known ones, blinding, threads, signature blocks, keys that are none.
#include "core/bignum/vlong_math.h"
#include "core/memory/memory.h"
#include "core/random/random.h"
#include "tests/core/pubkey/key_support.h"
#include "tests/support/faults.h"
#include "tests/support/test_heap.h"

#include <thread>

namespace {

using namespace keytest;

// CountingSource: bytes 1, 2, 3 ... of a fixed seed, and how often they were asked for.
struct CountingSource {
    unsigned calls = 0;
    std::uint32_t lastLength = 0;
    std::uint8_t next = 1;
    Status status = OK;
};

Status countingFill(void* context, std::uint32_t length, std::uint8_t* buffer) {
    auto& source = *static_cast<CountingSource*>(context);
    ++source.calls;
    source.lastLength = length;
    std::iota(buffer, buffer + length, source.next++);
    return source.status;
}

// The result of a private operation, or its status's name.
std::string privatePower(RSAKey* key, const vlong* input, RandomSource random = nullptr, void* context = nullptr) {
    ScopedVlong result(nullptr);
    const Status status = Rsa_PrivateOp(key, input, random, context, result.out(), nullptr);
    EXPECT_EQ(result.get() == nullptr, isError(status));
    return isError(status) ? statusName(status) : hexOf(result.get());
}

std::string publicPower(const RSAKey* key, const vlong* input) {
    ScopedVlong result(nullptr);
    const Status status = Rsa_PublicOp(key, input, result.out(), nullptr);
    EXPECT_EQ(result.get() == nullptr, isError(status));
    return isError(status) ? statusName(status) : hexOf(result.get());
}

TEST(Rsa, KnownPowers) {
    for (const RsaNumbers& numbers : kRsaKeys) {
        FilledKey key(privateDer(numbers));
        const Number input(numbers.input), power(numbers.power);
        EXPECT_EQ(privatePower(key.rsa(), input.get()), numbers.power);
        EXPECT_EQ(publicPower(key.rsa(), power.get()), numbers.input);
        EXPECT_EQ(privatePower(key.rsa(), Number("").get()), "");
        EXPECT_EQ(privatePower(key.rsa(), Number("01").get()), "01");
        EXPECT_EQ(privatePower(key.rsa(), key->n), ""); // inputs of n and above count modulo n
        EXPECT_EQ(privatePower(key.rsa(), key->p).size(), std::string(numbers.n).size());
        EXPECT_EQ(publicPower(key.rsa(), Number(privatePower(key.rsa(), key->p)).get()), numbers.p);
        std::uint32_t length = 0;
        EXPECT_EQ(Rsa_ModulusLength(key.rsa(), &length), OK);
        EXPECT_EQ(length, numbers.bits / 8);
    }
}

TEST(Rsa, ABlindingPairServes33Operations) {
    const RsaNumbers& numbers = kRsaKeys[0];
    FilledKey key(privateDer(numbers));
    CountingSource source;
    for (unsigned operation = 1; operation <= 101; ++operation) {
        const Number input(numbers.p + std::to_string(100 + operation) + "0");
        ASSERT_EQ(privatePower(key.rsa(), input.get(), countingFill, &source), privatePower(key.rsa(), input.get()));
        const unsigned pairs = operation < 34 ? 1 : operation < 67 ? 2 : operation < 100 ? 3 : 4;
        ASSERT_EQ(source.calls, pairs) << operation;
        ASSERT_EQ(source.lastLength, numbers.bits / 8 - sizeof(Unit));
    }
}

TEST(Rsa, BlindingThatFailsLeavesNoTrace) {
    const RsaNumbers& numbers = kRsaKeys[0];
    FilledKey key(privateDer(numbers));
    const Number input(numbers.input);
    CountingSource source;
    source.status = ERR_RTOS;
    EXPECT_EQ(privatePower(key.rsa(), input.get(), countingFill, &source), "ERR_RTOS");
    source.status = OK;
    {
        const Fault busy(PlatformService::mutexWait, 1);
        EXPECT_EQ(privatePower(key.rsa(), input.get(), countingFill, &source), "ERR_RTOS_MUTEX_WAIT");
    }
    EXPECT_EQ(source.calls, 1U);
    EXPECT_EQ(privatePower(key.rsa(), input.get(), countingFill, &source), numbers.power);
    FilledKey tiny(sequence({integer(""), integer("23"), integer("05"), integer(""), integer("07"), integer("05")}));
    EXPECT_EQ(privatePower(tiny.rsa(), Number("03").get(), countingFill, &source), "ERR_RSA_INVALID_KEY");
}

// After a refused allocation anywhere the same key still signs as it should: no half of a pair is left.
TEST(Rsa, RefusedAllocations) {
    const RsaNumbers& numbers = kRsaKeys[1];
    const Octets der = privateDer(numbers), power = fromHex(numbers.power);
    const Number input(numbers.input), expected(numbers.power);
    FilledKey shared(der);
    const auto signTwice = [&](RSAKey* key, CountingSource& source) {
        for (unsigned i = 0; i < 2; ++i) {
            ScopedVlong result(nullptr);
            RETURN_IF_ERROR(Rsa_PrivateOp(key, input.get(), countingFill, &source, result.out(), nullptr));
            if (VLONG_cmp(result.get(), expected.get()) != 0) {
                return ERR_FALSE;
            }
        }
        return OK;
    };
    const std::uint64_t dirtyFrees = testheap::dirtyFrees();
    testheap::failEach([&] {
        CountingSource source;
        const Status status = signTwice(shared.rsa(), source);
        const Status again = isError(status) ? signTwice(shared.rsa(), source) : OK;
        (void)VLONG_free(&shared->blinding.blind, nullptr);
        (void)VLONG_free(&shared->blinding.unblind, nullptr);
        return isError(again) ? ERR_FALSE : status;
    });
    testheap::failEach([&] {
        std::uint8_t block[128];
        std::uint32_t length = 0;
        const Status status = Rsa_OpenPkcs1Signature(shared.rsa(), power.data(), block, &length, nullptr);
        return status == ERR_RSA_DECRYPTION ? OK : status; // the input is no block
    });
    testheap::failEach([&] {
        std::uint8_t* bytes = nullptr;
        RETURN_IF_ERROR(Rsa_VlongToFixedBytes(input.get(), 130, &bytes));
        EXPECT_EQ(toHex({bytes, 130}), std::string(2 * 130 - std::string(numbers.input).size(), '0') + numbers.input);
        void* block = bytes;
        return memWipeAndFree(&block, 130);
    });
    EXPECT_EQ(testheap::dirtyFrees(), dirtyFrees);
}

// Primes in the wrong order, with the derived values of the right one: all of it changes, or nothing does.
TEST(Rsa, PreparingAgain) {
    const RsaNumbers& numbers = kRsaKeys[1];
    FilledKey key(privateDer(numbers));
    std::swap(key->p, key->q);
    testheap::failEach([&] {
        const RSAKey before = *key.rsa();
        const Status status = Rsa_PrepareKey(key.rsa(), nullptr);
        EXPECT_EQ(key->p == before.p && key->dP == before.dP && key->contextQ == before.contextQ, isError(status));
        return status;
    });
    EXPECT_EQ(privatePower(key.rsa(), Number(numbers.input).get()), numbers.power);
}

// A bit of any derived value wrong, or a key whose values do not belong together: no signature. Where n is none of theirs
// the result is what it is.
TEST(Rsa, SignaturesAreChecked) {
    const RsaNumbers& numbers = kRsaKeys[0];
    FilledKey key(privateDer(numbers));
    const auto sign = [](RSAKey* rsa, const vlong* message) {
        ScopedVlong result(nullptr);
        const Status status = rsaSign(rsa, message, result.out(), nullptr);
        EXPECT_EQ(result.get() == nullptr, isError(status));
        return isError(status) ? statusName(status) : hexOf(result.get());
    };
    const Number input(numbers.input), five("05");
    for (vlong* const value : {key->dP, key->dQ, key->qInv, key->contextP->modulus, key->contextQ->radixSquared}) {
        for (const unsigned bit : {0U, 77U, 400U}) {
            value->units[bit / 64] ^= Unit{1} << bit % 64;
            EXPECT_EQ(sign(key.rsa(), input.get()), "ERR_RSA_BAD_SIGNATURE") << bit;
            value->units[bit / 64] ^= Unit{1} << bit % 64;
        }
    }
    EXPECT_EQ(sign(key.rsa(), input.get()), numbers.power);
    // p and q: 2^127 - 1, 2^89 - 1; a composite number in place of each; e divides p - 1; q three times a prime
    constexpr const char *kP = "7fffffffffffffffffffffffffffffff", *kQ = "01ffffffffffffffffffffff";
    const struct {
        const char *p, *q, *e;
        bool isSigned;
    } rows[] = {{kP, kQ, "0b", true},
                {"7ffffffffffffffffffffffffffffffd", kQ, "0b", false},
                {kP, "01fffffffffffffffffffff9", "0b", false},
                {kP, kQ, "07", false},
                {kP, "05fffffffffffffffffffffd", "0b", false}};
    for (const auto& row : rows) {
        for (const bool isOwn : {true, false}) {
            ScopedVlong n(nullptr);
            EXPECT_EQ(VLONG_mulSigned(Number(row.p).get(), Number(row.q).get(), n.out(), nullptr), OK);
            FilledKey strange(sequence({integer(""), integer(isOwn ? hexOf(n.get()).c_str() : "ff0123456789abcdef"),
                                        integer(row.e), integer(""), integer(row.p), integer(row.q)}));
            EXPECT_EQ(sign(strange.rsa(), five.get()) != "ERR_RSA_BAD_SIGNATURE", row.isSigned || !isOwn) << row.e;
        }
    }
    testheap::failEach([&] {
        ScopedVlong result(nullptr);
        return rsaSign(key.rsa(), input.get(), result.out(), nullptr);
    });
}

TEST(Rsa, OneKeyInManyThreads) {
    ASSERT_EQ(randomSetSeedingMode(kSeedWithoutThreads), OK);
    RandomContext* random = nullptr;
    ASSERT_EQ(randomAcquireContext(&random), OK);
    const RsaNumbers& numbers = kRsaKeys[0];
    FilledKey key(privateDer(numbers));
    std::vector<std::thread> threads;
    for (unsigned thread = 0; thread < 16; ++thread) {
        threads.emplace_back([&] {
            const Number input(numbers.input);
            for (unsigned i = 0; i < 5; ++i) {
                EXPECT_EQ(privatePower(key.rsa(), input.get(), randomGenerateCallback, random), numbers.power);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(key->blinding.blindUses, 80U - 66U - 1U);
    EXPECT_EQ(randomReleaseContext(&random), OK);
    ASSERT_EQ(randomSetSeedingMode(kSeedWithThreads), OK);
}

TEST(Rsa, SignatureBlocks) {
    FilledKey key(privateDer(kRsaKeys[0]));
    const auto check = [&](const char* hex, Status status, const char* content) {
        SCOPED_TRACE(hex);
        ScopedVlong signature(nullptr);
        ASSERT_EQ(Rsa_PrivateCrt(key.rsa(), Number(hex).get(), signature.out(), nullptr), OK);
        Octets bytes(128), block(128);
        ASSERT_EQ(VLONG_toBytesFixed(signature.get(), bytes.data(), 128), OK);
        std::uint32_t length = 1;
        EXPECT_EQ(Rsa_OpenPkcs1Signature(key.rsa(), bytes.data(), block.data(), &length, nullptr), status);
        EXPECT_EQ(toHex({block.data(), length}), content);
    };
#define BLOCK_CASE(...) check(__VA_ARGS__);
#include "tests/core/pubkey/rsa_cases.inc"
#undef BLOCK_CASE
    std::string whole = "01";
    for (unsigned i = 0; i < 105; ++i) {
        whole += "ff";
    }
    check((whole + "00" + "0123456789abcdef0123456789abcdef01234567").c_str(), OK,
          "0123456789abcdef0123456789abcdef01234567");
}

TEST(Rsa, ModuliAndExponentsThatAreNotOpened) {
    const Octets signature(600, 0x11);
    Octets block(600);
    std::uint32_t length = 1;
    const auto open = [&](const Octets& modulus, const char* exponent) {
        ScopedKey key;
        EXPECT_EQ(AsymKey_MakeRsa(key.get(), nullptr), OK);
        RSAKey* const rsa = asymKeyRsa(key.get());
        EXPECT_EQ(RsaKey_SetPublic(rsa, 3, modulus.data(), static_cast<std::uint32_t>(modulus.size()), nullptr), OK);
        EXPECT_EQ(VLONG_free(&rsa->e, nullptr), OK);
        if (exponent != nullptr) {
            rsa->e = Number(exponent).release();
        }
        return Rsa_OpenPkcs1Signature(rsa, signature.data(), block.data(), &length, nullptr);
    };
    Octets modulus(513, 0xFF);
    EXPECT_EQ(open(modulus, "03"), ERR_RSA_INVALID_MODULUS);
    modulus.pop_back();
    EXPECT_EQ(open(modulus, "03"), ERR_RSA_DECRYPTION);
    EXPECT_EQ(length, 0U);
    EXPECT_EQ(open(modulus, "010000000000000001"), ERR_RSA_INVALID_EXPONENT);
    EXPECT_EQ(open(modulus, nullptr), ERR_RSA_INVALID_EXPONENT);
    EXPECT_EQ(open({0}, "03"), ERR_BAD_MODULO);
}

TEST(Rsa, KeysThatAreNone) {
    const auto check = [](const char* n, const char* e, const char* p, const char* q, const char* publicResult,
                          const std::string& privateResult) {
        SCOPED_TRACE(testing::Message() << "n " << n << " e " << e << " p " << p << " q " << q);
        FilledKey key(sequence({integer(""), integer(n), integer(e), integer(""), integer(p), integer(q)}));
        const Number input("05");
        EXPECT_EQ(publicPower(key.rsa(), input.get()), publicResult);
        const std::string result = privatePower(key.rsa(), input.get());
        if (privateResult == "*") {
            ScopedVlong product(nullptr);
            ASSERT_EQ(VLONG_mulSigned(key->p, key->q, product.out(), nullptr), OK);
            EXPECT_LT(VLONG_cmp(Number(result).get(), product.get()), 0);
        } else {
            EXPECT_EQ(result, privateResult);
        }
    };
#define STRANGE_CASE(...) check(__VA_ARGS__);
#include "tests/core/pubkey/rsa_cases.inc"
#undef STRANGE_CASE
}

} // namespace
