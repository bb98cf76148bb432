// Reads anything as a key: a PKCS#8 private key, an RSA key, a DSA public key. What is read must do what slow arithmetic does,
// and survive writing and reading. A private RSA key must have the derived values that Euclid's algorithm gives, and its
// operation must be right modulo each prime that has them all; a DSA key must have its y, and judge the signature (1, 1) of 5,
// for which no inverse is needed.
#include "core/bignum/modexp.h"
#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong_convert.h"
#include "core/bignum/vlong_math.h"
#include "core/memory/memory.h"
#include "core/pubkey/dsa/dsa.h"
#include "core/pubkey/dsa/dsa_der.h"
#include "core/pubkey/key/key_der.h"
#include "core/pubkey/key/scoped_key.h"
#include "core/pubkey/rsa/rsa.h"
#include "fuzz/fuzz_check.h"

#include <algorithm>
#include <vector>

namespace {

// Number: an owned value.
class Number : public ScopedVlong {
public:
    Number() : ScopedVlong(nullptr) {
    }
};

// slowPower: base^exponent mod modulus, by squaring, multiplying and dividing.
void slowPower(const vlong* base, const vlong* exponent, const vlong* modulus, Number& power) {
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
bool isPower(const vlong* result, const vlong* base, const vlong* exponent, const vlong* modulus) {
    Number power;
    slowPower(base, exponent, modulus, power);
    return VLONG_cmp(result, power.get()) == 0 || (VLONG_isZero(power.get()) && VLONG_cmp(result, modulus) == 0);
}

// base: something to take powers of, from the key's own bytes.
void takeBase(const std::uint8_t* data, std::size_t size, Number& base) {
    constexpr std::size_t kMaxBaseBytes = 96;
    const std::size_t count = size < kMaxBaseBytes ? size : kMaxBaseBytes;
    FUZZ_CHECK(!isError(VLONG_fromBytes(data, static_cast<std::int32_t>(count), base.out(), nullptr)));
}

// checkPublic: the public operation of a key.
void checkPublic(const RSAKey& key, const vlong* base) {
    Number result;
    const Status status = Rsa_PublicOp(&key, base, result.out(), nullptr);
    FUZZ_CHECK(isError(status) == VLONG_isZero(key.n));
    if (!isError(status)) {
        FUZZ_CHECK(VLONG_cmpUnit(key.n, 1) == 0 || isPower(result.get(), base, key.e, key.n));
        FUZZ_CHECK(VLONG_cmp(result.get(), key.n) <= 0);
    }
}

// checkRewritten: the key, written, read and written again, gives the same octets.
void checkRewritten(AsymmetricKey* key) {
    const RSAKey& rsa = *asymKeyRsa(key);
    std::uint8_t *der = nullptr, *again = nullptr;
    std::uint32_t length = 0, lengthAgain = 0;
    if (isError(RsaKey_ToDer(key, &der, &length))) {
        FUZZ_CHECK(rsa.privateKey != 0 && der == nullptr); // p - 1 or q - 1 is 0
        return;
    }
    ScopedKey copy;
    if (VLONG_bitLength(rsa.e) == 32) { // its INTEGER has five octets
        FUZZ_CHECK(RsaKey_FromPublicDer(der, length, copy.get()) == ERR_RSA_INVALID_PKCS1);
    } else {
        FUZZ_CHECK(RsaKey_FromPublicDer(der, length, copy.get()) == OK);
        FUZZ_CHECK(RsaKey_ToDer(copy.get(), &again, &lengthAgain) == OK);
        FUZZ_CHECK(std::equal(der, der + length, again, again + lengthAgain));
    }
    void *block = der, *blockAgain = again;
    FUZZ_CHECK(!isError(memWipeAndFree(&block, length)));
    (void)memWipeAndFree(&blockAgain, lengthAgain); // there may be none
}

// dP or dQ.
void checkExponent(const vlong* exponent, const vlong* e, const vlong* prime) {
    Number order, inverse;
    FUZZ_CHECK(!isError(VLONG_newCopy(prime, order.out(), nullptr)) && !isError(VLONG_decrement(order.get(), nullptr)));
    FUZZ_CHECK(!isError(VLONG_modInverse(e, order.get(), inverse.out(), nullptr)));
    FUZZ_CHECK(VLONG_cmp(exponent, inverse.get()) == 0);
}

bool isOddPrimeCandidate(const vlong* prime) {
    return VLONG_testBit(prime, 0) && VLONG_cmpUnit(prime, 1) > 0;
}

// Whether value mod modulus is base^exponent mod modulus.
bool isPowerModulo(const vlong* value, const vlong* base, const vlong* exponent, const vlong* modulus) {
    Number rest;
    FUZZ_CHECK(!isError(VLONG_mod(value, modulus, rest.out(), nullptr)));
    return VLONG_isZero(base) || VLONG_isZero(exponent) || isPower(rest.get(), base, exponent, modulus);
}

Status cyclicFill(void* /*context*/, std::uint32_t length, std::uint8_t* buffer) {
    for (std::uint32_t i = 0; i < length; ++i) {
        buffer[i] = static_cast<std::uint8_t>(37 * i + 11);
    }
    return OK;
}

void checkPrivate(RSAKey& key, const vlong* base) {
    FUZZ_CHECK(VLONG_cmp(key.p, key.q) >= 0);
    checkExponent(key.dP, key.e, key.p);
    checkExponent(key.dQ, key.e, key.q);
    Number inverse, result, blinded;
    FUZZ_CHECK(!isError(VLONG_modInverse(key.q, key.p, inverse.out(), nullptr)));
    FUZZ_CHECK(VLONG_cmp(key.qInv, inverse.get()) == 0);
    const Status status = Rsa_PrivateOp(&key, base, nullptr, nullptr, result.out(), nullptr);
    FUZZ_CHECK((result.get() == nullptr) == isError(status));
    if (!isError(status) && isOddPrimeCandidate(key.q)) {
        FUZZ_CHECK(isPowerModulo(result.get(), base, key.dQ, key.q));
        Number product, rest;
        FUZZ_CHECK(!isError(VLONG_mulSigned(key.q, key.qInv, product.out(), nullptr)));
        FUZZ_CHECK(!isError(VLONG_mod(product.get(), key.p, rest.out(), nullptr)));
        if (isOddPrimeCandidate(key.p) && VLONG_cmpUnit(rest.get(), 1) == 0) {
            FUZZ_CHECK(isPowerModulo(result.get(), base, key.dP, key.p));
        }
    }
    for (int i = 0; i < 2; ++i) {
        const Status again = Rsa_PrivateOp(&key, base, cyclicFill, nullptr, blinded.out(), nullptr);
        FUZZ_CHECK((blinded.get() == nullptr) == isError(again));
        FUZZ_CHECK(isError(again) || VLONG_cmp(blinded.get(), key.n) < 0);
    }
}

void checkDsa(const AsymmetricKey* key) {
    const DSAKey& dsa = *asymKeyDsa(key);
    if (!VLONG_isZero(dsa.g) && !VLONG_isZero(dsa.x)) { // powers of 0 and to 0 do not look at the modulus
        FUZZ_CHECK(isPower(dsa.y, dsa.g, dsa.x, dsa.p));
    }
    std::uint8_t* der = nullptr;
    std::uint32_t length = 0;
    FUZZ_CHECK(DsaKey_ToDer(key, &der, &length) == OK);
    void* block = der;
    FUZZ_CHECK(!isError(memWipeAndFree(&block, length)));
}

// Whether ((g^(m mod q) y) mod p) mod q is 1.
bool isRight(const DSAKey& key, const vlong* m) {
    Number exponent, power, product, inGroup, rest;
    FUZZ_CHECK(!isError(VLONG_mod(m, key.q, exponent.out(), nullptr)));
    slowPower(key.g, exponent.get(), key.p, power);
    FUZZ_CHECK(!isError(VLONG_mulSigned(power.get(), key.y, product.out(), nullptr)));
    FUZZ_CHECK(!isError(VLONG_mod(product.get(), key.p, inGroup.out(), nullptr)));
    FUZZ_CHECK(!isError(VLONG_mod(inGroup.get(), key.q, rest.out(), nullptr)));
    return VLONG_cmpUnit(rest.get(), 1) == 0;
}

// The signature that is the beginning of the input itself.
void openSignature(const RSAKey& key, const std::uint8_t* data, std::size_t size, std::size_t maxBytes) {
    std::uint32_t modulusLength = 0, length = 1;
    FUZZ_CHECK(Rsa_ModulusLength(&key, &modulusLength) == OK && modulusLength <= size);
    std::vector<std::uint8_t> signature(data, data + size), block(maxBytes);
    signature.resize(maxBytes);
    const Status opened = Rsa_OpenPkcs1Signature(&key, signature.data(), block.data(), &length, nullptr);
    FUZZ_CHECK(isError(opened) ? length == 0 : length < modulusLength);
}

void judgeSignature(const DSAKey& key) {
    FUZZ_CHECK(key.x == nullptr);
    Number one, m;
    FUZZ_CHECK(!isError(VLONG_newValue(1, one.out(), nullptr)) && !isError(VLONG_newValue(5, m.out(), nullptr)));
    bool valid = true;
    const Status verified = Dsa_Verify(&key, m.get(), one.get(), one.get(), &valid, nullptr);
    FUZZ_CHECK(!(isError(verified) && valid));
    FUZZ_CHECK((verified == ERR_CRYPTO_DSA_SIGN_VERIFY_RS_TEST) == (VLONG_cmpUnit(key.q, 1) <= 0));
    if (!isError(verified) && !VLONG_isZero(key.g)) { // powers of 0 do not look at the exponent
        FUZZ_CHECK(valid == isRight(key, m.get()));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::uint8_t kNothing = 0;
    const std::uint8_t* const input = size == 0 ? &kNothing : data;
    // Operations grow with the cube of a key's size: a limit in bytes for each.
    constexpr struct {
        Status (*read)(const std::uint8_t* der, std::uint32_t derLength, AsymmetricKey* key);
        std::size_t maxBytes;
    } kReaders[] = {{AsymKey_FromPkcs8Der, 400}, {RsaKey_FromPublicDer, 700}, {parseDSAPublicKey, 500}};
    for (const auto& [reader, maxBytes] : kReaders) {
        if (size > maxBytes) {
            continue;
        }
        ScopedKey key;
        const Status status = reader(input, static_cast<std::uint32_t>(size), key.get());
        FUZZ_CHECK((key.get()->type == kKeyEmpty) == isError(status));
        if (RSAKey* const rsa = asymKeyRsa(key.get()); rsa != nullptr) {
            Number base;
            takeBase(data, size, base);
            checkPublic(*rsa, base.get());
            if (rsa->privateKey != 0 && reader == AsymKey_FromPkcs8Der) {
                checkPrivate(*rsa, base.get());
            }
            checkRewritten(key.get());
            openSignature(*rsa, data, size, 700);
        } else if (key.get()->type == kKeyDsa && reader == parseDSAPublicKey) {
            judgeSignature(*asymKeyDsa(key.get()));
        } else if (key.get()->type == kKeyDsa) {
            checkDsa(key.get());
        }
    }
    return 0;
}
