// Reads anything as a key: a PKCS#8 private key, an RSA key, a DSA public key. What is read must do what slow arithmetic does. A
// private RSA key's operation must be right modulo q, where q could be a prime; a DSA key must
// have its y, and judge the signature (1, 1) of 5, for which no inverse is needed.
#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong_convert.h"
#include "core/bignum/vlong_math.h"
#include "core/pubkey/dsa/dsa.h"
#include "core/pubkey/dsa/dsa_der.h"
#include "core/pubkey/key/key_der.h"
#include "core/pubkey/key/scoped_key.h"
#include "core/pubkey/rsa/rsa.h"
#include "fuzz/fuzz_check.h"
#include "tests/support/byte_source.h"

namespace {

// Number: an owned value.
struct Number : ScopedVlong {
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

// isPower: whether result is that power. A zero may have come out as the modulus (modexp.h); powers of 0 and to 0 do not look at
// the modulus.
bool isPower(const vlong* result, const vlong* base, const vlong* exponent, const vlong* modulus) {
    Number power;
    slowPower(base, exponent, modulus, power);
    return VLONG_cmp(result, power.get()) == 0 || VLONG_isZero(base) || VLONG_isZero(exponent) ||
           (VLONG_isZero(power.get()) && VLONG_cmp(result, modulus) == 0);
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

void checkPrivate(RSAKey& key, const vlong* base) {
    FUZZ_CHECK(VLONG_cmp(key.p, key.q) >= 0);
    Number result, rest;
    const Status status = Rsa_PrivateOp(&key, base, nullptr, nullptr, result.out(), nullptr);
    FUZZ_CHECK((result.get() == nullptr) == isError(status));
    if (!isError(status) && VLONG_testBit(key.q, 0) && VLONG_cmpUnit(key.q, 1) > 0) {
        FUZZ_CHECK(!isError(VLONG_mod(result.get(), key.q, rest.out(), nullptr)));
        FUZZ_CHECK(isPower(rest.get(), base, key.dQ, key.q));
    }
    ByteSource source(1);
    for (int i = 0; i < 2; ++i) { // blinded
        const Status again = Rsa_PrivateOp(&key, base, ByteSource::fill, &source, result.out(), nullptr);
        FUZZ_CHECK(isError(again) ? result.get() == nullptr : VLONG_cmp(result.get(), key.n) < 0);
    }
}

// openSignature: the signature that is the beginning of the input itself.
void openSignature(const RSAKey& key, Bytes signature, std::size_t maxBytes) {
    std::uint32_t modulusLength = 0, length = 1;
    FUZZ_CHECK(Rsa_ModulusLength(&key, &modulusLength) == OK && modulusLength <= signature.size());
    Bytes block(maxBytes);
    signature.resize(maxBytes);
    const Status opened = Rsa_OpenPkcs1Signature(&key, signature.data(), block.data(), &length, nullptr);
    FUZZ_CHECK(isError(opened) ? length == 0 : length < modulusLength);
}

// judgeSignature: (1, 1) is a signature of 5 where ((g^(5 mod q) y) mod p) mod q is 1.
void judgeSignature(const DSAKey& key) {
    Number one, m, exponent, power, product, inGroup, rest;
    bool valid = true;
    FUZZ_CHECK(!isError(VLONG_newValue(1, one.out(), nullptr)) && !isError(VLONG_newValue(5, m.out(), nullptr)));
    const Status verified = Dsa_Verify(&key, m.get(), one.get(), one.get(), &valid, nullptr);
    FUZZ_CHECK(!(isError(verified) && valid));
    FUZZ_CHECK((verified == ERR_CRYPTO_DSA_SIGN_VERIFY_RS_TEST) == (VLONG_cmpUnit(key.q, 1) <= 0));
    if (!isError(verified) && !VLONG_isZero(key.g)) { // powers of 0 do not look at the exponent
        FUZZ_CHECK(!isError(VLONG_mod(m.get(), key.q, exponent.out(), nullptr)));
        slowPower(key.g, exponent.get(), key.p, power);
        FUZZ_CHECK(!isError(VLONG_mulSigned(power.get(), key.y, product.out(), nullptr)));
        FUZZ_CHECK(!isError(VLONG_mod(product.get(), key.p, inGroup.out(), nullptr)));
        FUZZ_CHECK(!isError(VLONG_mod(inGroup.get(), key.q, rest.out(), nullptr)));
        FUZZ_CHECK(valid == (VLONG_cmpUnit(rest.get(), 1) == 0));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::uint8_t kNothing = 0;
    const std::uint8_t* const input = size == 0 ? &kNothing : data;
    Number base; // something to take powers of
    FUZZ_CHECK(VLONG_fromBytes(input, static_cast<std::int32_t>(size < 96 ? size : 96), base.out(), nullptr) == OK);
    // Operations grow with the cube of a key's size: a limit in bytes for each.
    constexpr std::pair<Status (*)(const std::uint8_t*, std::uint32_t, AsymmetricKey*), std::size_t> kReaders[] = {
        {AsymKey_FromPkcs8Der, 400}, {RsaKey_FromPublicDer, 700}, {parseDSAPublicKey, 500}};
    for (const auto& [reader, maxBytes] : kReaders) {
        if (size > maxBytes) {
            continue;
        }
        ScopedKey key;
        const Status status = reader(input, static_cast<std::uint32_t>(size), key.get());
        FUZZ_CHECK((key.get()->type == kKeyEmpty) == isError(status));
        if (RSAKey* const rsa = asymKeyRsa(key.get()); rsa != nullptr) {
            checkPublic(*rsa, base.get());
            if (rsa->privateKey != 0 && reader == AsymKey_FromPkcs8Der) {
                checkPrivate(*rsa, base.get());
            }
            openSignature(*rsa, Bytes(data, data + size), maxBytes);
        } else if (key.get()->type == kKeyDsa) {
            const DSAKey& dsa = *asymKeyDsa(key.get());
            if (reader == parseDSAPublicKey) {
                judgeSignature(dsa);
            } else {
                FUZZ_CHECK(isPower(dsa.y, dsa.g, dsa.x, dsa.p));
            }
        }
    }
    return 0;
}
