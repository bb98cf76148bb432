// The container: its states, and what each function says to null and to unfinished keys.
#include "core/bignum/prime/prime.h"
#include "core/pubkey/dsa.h"
#include "core/pubkey/exponent_inverse.h"
#include "tests/core/pubkey/key_support.h"
#include "tests/support/byte_source.h"
#include "tests/support/test_heap.h"

namespace {

using namespace keytest;

TEST(AsymKey, States) {
    AsymmetricKey key{7, &key};
    ASSERT_EQ(AsymKey_Init(&key), OK);
    EXPECT_EQ(key.type, kKeyEmpty);
    EXPECT_EQ(key.key, nullptr);
    EXPECT_EQ(AsymKey_Uninit(&key, nullptr), OK);
    for (const auto make : {AsymKey_MakeRsa, AsymKey_MakeDsa, AsymKey_MakeRsa}) { // each over the one before
        ASSERT_EQ(make(&key, nullptr), OK);
        EXPECT_EQ(asymKeyRsa(&key) != nullptr, make == AsymKey_MakeRsa);
        EXPECT_EQ(asymKeyDsa(&key) != nullptr, make == AsymKey_MakeDsa);
    }
    EXPECT_EQ(AsymKey_Uninit(&key, nullptr), OK);
    EXPECT_EQ(key.type, kKeyEmpty);
    for (const std::uint32_t type : {kKeyRsa, kKeyDsa, 2U, 4U}) { // without a record, and of no type
        key.type = type;
        const Status refusal = type == kKeyRsa || type == kKeyDsa ? ERR_NULL_POINTER : ERR_INTERNAL_ERROR;
        EXPECT_EQ(AsymKey_Uninit(&key, nullptr), refusal);
        EXPECT_EQ(AsymKey_MakeRsa(&key, nullptr), refusal);
        EXPECT_EQ(AsymKey_MakeDsa(&key, nullptr), refusal);
        EXPECT_EQ(read(RsaKey_FromPublicDer, publicDer(kRsaKeys[0]), &key), refusal);
        EXPECT_EQ(key.type, type);
    }
}

TEST(AsymKey, RefusedResources) {
    for (const auto make : {AsymKey_MakeRsa, AsymKey_MakeDsa}) {
        testheap::failEach([make] {
            ScopedKey key;
            const Status status = make(key.get(), nullptr);
            EXPECT_EQ(key.get()->type == kKeyEmpty, isError(status));
            return status == ERR_RTOS_MUTEX_CREATE ? ERR_MEM_ALLOC_FAIL : status;
        });
    }
}

TEST(AsymKey, Arguments) {
    AsymmetricKey key{};
    ScopedKey holder;
    RSAKey empty{};
    RSAKey* const none = nullptr;
    DSAKey* dsa = nullptr;
    DSAKey bare{}, *const noDsa = nullptr;
    MontgomeryCtx context{};
    vlong *value = nullptr, *other = nullptr;
    ByteSource source(1);
    const Number one("01");
    const std::uint8_t byte = 3, zero[1] = {};
    std::uint32_t word = 0;
    std::int32_t symbol = 0;
    bool valid = false;
    std::uint8_t buffer[1], *bytes = nullptr;
    std::uint32_t length = 0;
    const auto setDsa = [&](const std::uint8_t* p, std::uint32_t pLength, const std::uint8_t* q, const std::uint8_t* g,
                            const std::uint8_t* y, std::uint32_t yLength, const std::uint8_t* x,
                            std::uint32_t xLength) {
        return AsymKey_SetDsaParameters(holder.get(), p, pLength, q, 1, g, 1, y, yLength, x, xLength, nullptr);
    };
#define STATUS_CASE(status, call) EXPECT_EQ(call, status) << #call;
#include "tests/core/pubkey/argument_cases.inc"
#undef STATUS_CASE
    (void)VLONG_free(&value, nullptr);
}

// A key whose record lacks one of its values is refused by each operation that needs it.
TEST(AsymKey, LackingAPart) {
    const Number one("01");
    ByteSource source(1);
    vlong *out = nullptr, *other = nullptr;
    bool valid = false;
    const auto without = [](auto*& part, const auto& use, Status status) {
        auto* const kept = std::exchange(part, nullptr);
        EXPECT_EQ(use(), status);
        part = kept;
    };
    FilledKey rsaHolder(privateDer(kRsaKeys[0]));
    RSAKey& rsa = *asymKeyRsa(rsaHolder.get());
    const auto crt = [&] {
        return Rsa_PrivateCrt(&rsa, one.get(), &out, nullptr);
    };
    for (vlong** const part : {&rsa.p, &rsa.q, &rsa.dP, &rsa.dQ, &rsa.qInv}) {
        without(*part, crt, ERR_RSA_KEY_NOT_READY);
    }
    without(rsa.contextP, crt, ERR_RSA_KEY_NOT_READY);
    without(rsa.contextQ, crt, ERR_RSA_KEY_NOT_READY);
    const auto blinded = [&] {
        return Rsa_PrivateOp(&rsa, one.get(), randomGenerateCallback, nullptr, &out, nullptr);
    };
    without(rsa.e, blinded, ERR_RSA_KEY_NOT_READY);
    without(rsa.n, blinded, ERR_RSA_KEY_NOT_READY);
    for (vlong** const part : {&rsa.e, &rsa.p, &rsa.q}) {
        without(
            *part, [&] { return Rsa_PrepareKey(&rsa, nullptr); }, ERR_NULL_POINTER);
    }
    ScopedKey dsaHolder;
    const std::uint8_t p = 23, q = 11, g = 4, x = 3;
    ASSERT_EQ(AsymKey_SetDsaParameters(dsaHolder.get(), &p, 1, &q, 1, &g, 1, nullptr, 0, &x, 1, nullptr), OK);
    DSAKey& dsa = *asymKeyDsa(dsaHolder.get());
    for (vlong** const part : {&dsa.p, &dsa.q, &dsa.g, &dsa.x}) {
        without(
            *part, [&] { return Dsa_Sign(source.bytes(), &dsa, one.get(), nullptr, &out, &other, nullptr); },
            ERR_NULL_POINTER);
    }
    for (vlong** const part : {&dsa.p, &dsa.q, &dsa.g, &dsa.y}) {
        without(
            *part, [&] { return Dsa_Verify(&dsa, one.get(), one.get(), one.get(), &valid, nullptr); },
            ERR_NULL_POINTER);
    }
}

} // namespace
