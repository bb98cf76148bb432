// What the fuzz targets of keys have in common: a slow power to compare with, and values as bytes.
#ifndef ZELSPI_FUZZ_KEY_CHECK_H
#define ZELSPI_FUZZ_KEY_CHECK_H

#include "core/bignum/modexp.h"
#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong_convert.h"
#include "core/bignum/vlong_math.h"
#include "core/memory/memory.h"
#include "core/pubkey/key_der.h"
#include "core/pubkey/rsa.h"
#include "fuzz/fuzz_check.h"

namespace keyfuzz {

// Number: an owned value.
class Number : public ScopedVlong {
public:
    Number() : ScopedVlong(nullptr) {
    }
};

// slowPower: base^exponent mod modulus, by squaring, multiplying and dividing.
inline void slowPower(const vlong* base, const vlong* exponent, const vlong* modulus, Number& power) {
    Number product;
    FUZZ_CHECK(!isError(VLONG_newValue(1, power.out(), nullptr)) && !isError(product.alloc()));
    const auto times = [&](const vlong* factor) {
        FUZZ_CHECK(!isError(VLONG_mul(product.get(), power.get(), factor)));
        FUZZ_CHECK(!isError(VLONG_mod(product.get(), modulus, power.out(), nullptr)));
    };
    for (std::uint32_t i = VLONG_bitLength(exponent); i-- > 0;) {
        Number copy;
        FUZZ_CHECK(!isError(VLONG_newCopy(power.get(), copy.out(), nullptr)));
        times(copy.get());
        if (VLONG_testBit(exponent, i)) {
            times(base);
        }
    }
}

// isPower: whether result is that power. A zero may have come out as the modulus (modexp.h).
inline bool isPower(const vlong* result, const vlong* base, const vlong* exponent, const vlong* modulus) {
    Number power;
    slowPower(base, exponent, modulus, power);
    return VLONG_cmp(result, power.get()) == 0 || (VLONG_isZero(power.get()) && VLONG_cmp(result, modulus) == 0);
}

// base: something to take powers of, from the key's own bytes.
inline void takeBase(const std::uint8_t* data, std::size_t size, Number& base) {
    constexpr std::size_t kMaxBaseBytes = 96;
    const std::size_t count = size < kMaxBaseBytes ? size : kMaxBaseBytes;
    FUZZ_CHECK(!isError(VLONG_fromBytes(data, static_cast<std::int32_t>(count), base.out(), nullptr)));
}

// checkPublic: the public operation of a key.
inline void checkPublic(const RSAKey& key, const vlong* base) {
    Number result;
    const Status status = Rsa_PublicOp(&key, base, result.out(), nullptr);
    FUZZ_CHECK(isError(status) == VLONG_isZero(key.n));
    if (!isError(status)) {
        FUZZ_CHECK(VLONG_cmpUnit(key.n, 1) == 0 || isPower(result.get(), base, key.e, key.n));
        FUZZ_CHECK(VLONG_cmp(result.get(), key.n) <= 0);
    }
}

// checkRewritten: the key, written and read again, has the same numbers.
inline void checkRewritten(AsymmetricKey* key) {
    const RSAKey& before = *asymKeyRsa(key);
    std::uint8_t* der = nullptr;
    std::uint32_t length = 0;
    const Status status = RsaKey_ToDer(key, &der, &length);
    if (isError(status)) {
        FUZZ_CHECK(before.privateKey != 0 && der == nullptr); // p - 1 or q - 1 is 0
        return;
    }
    ScopedKey again;
    const Status reread = RsaKey_FromPublicDer(der, length, again.get());
    void* block = der;
    FUZZ_CHECK(!isError(memWipeAndFree(&block, length)));
    if (VLONG_bitLength(before.e) == 32) {
        FUZZ_CHECK(reread == ERR_RSA_INVALID_PKCS1); // its INTEGER has five octets
        return;
    }
    FUZZ_CHECK(reread == OK);
    const RSAKey& after = *asymKeyRsa(again.get());
    FUZZ_CHECK(after.privateKey == before.privateKey);
    FUZZ_CHECK(VLONG_cmp(after.n, before.n) == 0 && VLONG_cmp(after.e, before.e) == 0);
    FUZZ_CHECK(before.privateKey == 0 || (VLONG_cmp(after.p, before.p) == 0 && VLONG_cmp(after.q, before.q) == 0));
}

} // namespace keyfuzz

#endif
