// Reads anything as a key: a PKCS#8 private key, an RSA key, a DSA public key, and whatever zel.h takes. What is read must do
// what slow arithmetic does, and survive writing and reading. A private RSA key must have the derived values that Euclid's
// algorithm gives, and its operation must be right modulo each prime that has them all; a DSA key must have its y, sign or say
// why not, and judge the signature (1, 1) of 5, for which no inverse is needed. A key of zel.h is written in every form that it
// has and read again as the same key, and judges the input as a signature; what is no public key has a reason.
#include "capi/zel.h"
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
#include "tools/public_key_file.h"

#include <algorithm>

namespace {

// Operations grow with the cube of a key's size: a limit in bytes for each reader, and the largest.
constexpr std::size_t kMaxBytes = 700;
constexpr struct {
    Status (*read)(const std::uint8_t* der, std::uint32_t derLength, AsymmetricKey* key);
    std::size_t maxBytes;
} kReaders[] = {{AsymKey_FromPkcs8Der, 400}, {RsaKey_FromPublicDer, kMaxBytes}, {parseDSAPublicKey, 500}};

// Number: an owned value, or what an operation makes, which must not fail.
class Number : public ScopedVlong {
public:
    Number() : ScopedVlong(nullptr) {
    }
    template <typename Operation, typename... Arguments>
    explicit Number(Operation operation, const Arguments&... arguments) : Number() {
        FUZZ_CHECK(!isError(operation(arguments..., out(), nullptr)));
    }
    operator const vlong*() const {
        return get();
    }
};

// slowPower: power := base^exponent mod modulus, by squaring, multiplying and dividing.
void slowPower(const vlong* base, const vlong* exponent, const vlong* modulus, Number& power) {
    Number(VLONG_newValue, Unit{1}).swap(power);
    for (std::uint32_t i = VLONG_bitLength(exponent); i-- > 0;) {
        Number(VLONG_mod, Number(VLONG_mulSigned, power, power), modulus).swap(power);
        if (VLONG_testBit(exponent, i)) {
            Number(VLONG_mod, Number(VLONG_mulSigned, power, base), modulus).swap(power);
        }
    }
}

// isPower: whether result is that power. A zero may have come out as the modulus (modexp.h).
bool isPower(const vlong* result, const vlong* base, const vlong* exponent, const vlong* modulus) {
    Number power;
    slowPower(base, exponent, modulus, power);
    return VLONG_cmp(result, power) == 0 || (VLONG_isZero(power) && VLONG_cmp(result, modulus) == 0);
}

// The same of result mod modulus. Powers of 0 and to 0 do not look at the modulus.
bool isPowerModulo(const vlong* result, const vlong* base, const vlong* exponent, const vlong* modulus) {
    return VLONG_isZero(base) || VLONG_isZero(exponent) ||
           isPower(Number(VLONG_mod, result, modulus), base, exponent, modulus);
}

bool isOddPrimeCandidate(const vlong* prime) {
    return VLONG_testBit(prime, 0) && VLONG_cmpUnit(prime, 1) > 0;
}

Status constantFill(void* /*context*/, std::uint32_t length, std::uint8_t* buffer) {
    std::fill_n(buffer, length, std::uint8_t{0x5A});
    return OK;
}

// What the writer makes of the key; nothing when it refuses.
template <typename Writer> Bytes written(Writer writer, const AsymmetricKey* key) {
    std::uint8_t* der = nullptr;
    std::uint32_t length = 0;
    FUZZ_CHECK(isError(writer(key, &der, &length)) == (der == nullptr));
    Bytes octets(der, der + length);
    void* block = der;
    (void)memWipeAndFree(&block, length); // there may be none
    return octets;
}

// The public operation, and the opening of the signature that is the beginning of the input.
void checkPublic(const RSAKey& key, const vlong* base, const Bytes& input) {
    Number result;
    const bool hasFailed = isError(Rsa_PublicOp(&key, base, result.out(), nullptr));
    FUZZ_CHECK(hasFailed == VLONG_isZero(key.n));
    FUZZ_CHECK(hasFailed || VLONG_cmpUnit(key.n, 1) == 0 || isPower(result, base, key.e, key.n));
    FUZZ_CHECK(hasFailed || VLONG_cmp(result, key.n) <= 0);
    std::uint32_t modulusLength = 0, length = 1;
    FUZZ_CHECK(Rsa_ModulusLength(&key, &modulusLength) == OK && modulusLength <= input.size());
    Bytes block(std::max(modulusLength, 1U));
    const Status opened = Rsa_OpenPkcs1Signature(&key, input.data(), block.data(), &length, nullptr);
    FUZZ_CHECK(isError(opened) ? length == 0 : length < modulusLength);
}

void checkPrivate(RSAKey& key, const vlong* base) {
    FUZZ_CHECK(VLONG_cmp(key.p, key.q) >= 0);
    for (const auto& [exponent, prime] : {std::pair{key.dP, key.p}, {key.dQ, key.q}}) {
        const Number order(VLONG_newCopy, prime);
        FUZZ_CHECK(!isError(VLONG_decrement(order.get(), nullptr)));
        FUZZ_CHECK(VLONG_cmp(exponent, Number(VLONG_modInverse, key.e, order)) == 0);
    }
    FUZZ_CHECK(VLONG_cmp(key.qInv, Number(VLONG_modInverse, key.q, key.p)) == 0);
    Number result, blinded;
    const Status status = Rsa_PrivateOp(&key, base, nullptr, nullptr, result.out(), nullptr);
    FUZZ_CHECK((result.get() == nullptr) == isError(status));
    FUZZ_CHECK(isError(status) || VLONG_cmpUnit(key.q, 1) <= 0 ||
               VLONG_cmp(result, Number(VLONG_mulSigned, key.p, key.q)) <= 0);
    if (!isError(status) && isOddPrimeCandidate(key.q)) {
        FUZZ_CHECK(isPowerModulo(result, base, key.dQ, key.q));
        const Number one(VLONG_mod, Number(VLONG_mulSigned, key.q, key.qInv), key.p);
        FUZZ_CHECK(!isOddPrimeCandidate(key.p) || VLONG_cmpUnit(one, 1) != 0 ||
                   isPowerModulo(result, base, key.dP, key.p));
    }
    for (int i = 0; i < 2; ++i) {
        const Status again = Rsa_PrivateOp(&key, base, constantFill, nullptr, blinded.out(), nullptr);
        FUZZ_CHECK((blinded.get() == nullptr) == isError(again));
        FUZZ_CHECK(isError(again) || VLONG_cmp(blinded, key.n) < 0);
    }
}

// The key, written, read and written again, gives the same octets. An exponent of 32 bits has an INTEGER of five octets.
void checkRewritten(const AsymmetricKey* key) {
    const RSAKey& rsa = *asymKeyRsa(key);
    const Bytes der = written(RsaKey_ToDer, key);
    if (der.empty()) {
        FUZZ_CHECK(rsa.privateKey != 0); // p - 1 or q - 1 is 0
        return;
    }
    ScopedKey copy;
    const Status status = RsaKey_FromPublicDer(der.data(), static_cast<std::uint32_t>(der.size()), copy.get());
    FUZZ_CHECK(VLONG_bitLength(rsa.e) == 32 ? status == ERR_RSA_INVALID_PKCS1
                                            : status == OK && written(RsaKey_ToDer, copy.get()) == der);
}

void checkPrivate(const DSAKey& key, const vlong* m) {
    FUZZ_CHECK(VLONG_isZero(key.g) || VLONG_isZero(key.x) || isPower(key.y, key.g, key.x, key.p));
    Number r, s;
    bool isValid = false;
    const Status status = Dsa_Sign({constantFill, nullptr}, &key, m, &isValid, r.out(), s.out(), nullptr);
    FUZZ_CHECK(status == (VLONG_isZero(key.q) ? ERR_DIVIDE_BY_ZERO : OK));
    FUZZ_CHECK((r.get() == nullptr) == isError(status) && (s.get() == nullptr) == isError(status));
    FUZZ_CHECK(isError(status) || (VLONG_cmp(r, key.q) < 0 && VLONG_cmp(s, key.q) < 0));
}

// Whether ((g^(m mod q) y) mod p) mod q is 1.
bool isRight(const DSAKey& key, const vlong* m) {
    Number power;
    slowPower(key.g, Number(VLONG_mod, m, key.q), key.p, power);
    const Number inGroup(VLONG_mod, Number(VLONG_mulSigned, power, key.y), key.p);
    return VLONG_cmpUnit(Number(VLONG_mod, inGroup, key.q), 1) == 0;
}

void checkPublic(const DSAKey& key) {
    FUZZ_CHECK(key.x == nullptr);
    const Number one(VLONG_newValue, Unit{1}), m(VLONG_newValue, Unit{5});
    bool valid = true;
    const Status verified = Dsa_Verify(&key, m, one, one, &valid, nullptr);
    FUZZ_CHECK(!(isError(verified) && valid));
    FUZZ_CHECK((verified == ERR_CRYPTO_DSA_SIGN_VERIFY_RS_TEST) == (VLONG_cmpUnit(key.q, 1) <= 0));
    FUZZ_CHECK(isError(verified) || VLONG_isZero(key.g) || valid == isRight(key, m)); // see isPowerModulo
}

void checkZelKey(const Bytes& input, bool isPrivate) {
    const auto read = isPrivate ? zelKeyReadPrivate : zelKeyReadPublic;
    ZelKey *key = nullptr, *again = nullptr;
    const ZelStatus status = read(input.data(), input.size(), &key);
    FUZZ_CHECK((status == ZEL_OK) == (key != nullptr));
    if (key == nullptr) {
        FUZZ_CHECK(isPrivate || !whyNoPublicKey(input, "NAME", status).empty());
        return;
    }
    FUZZ_CHECK(zelKeyIsPrivate(key) == (isPrivate ? 1 : 0));
    for (const auto& [format, encoding] : {std::pair{ZEL_PKCS1, ZEL_DER},
                                           {ZEL_PKCS1, ZEL_PEM},
                                           {ZEL_PKCS8, ZEL_DER},
                                           {ZEL_PKCS8, ZEL_PEM},
                                           {ZEL_X509, ZEL_DER},
                                           {ZEL_X509, ZEL_PEM}}) {
        std::size_t length = 0;
        if (zelKeyWrite(key, format, encoding, nullptr, &length) != ZEL_OK) {
            FUZZ_CHECK(length == 0); // the key has no such form
            continue;
        }
        Bytes form(length), second(length);
        FUZZ_CHECK(zelKeyWrite(key, format, encoding, form.data(), &length) == ZEL_OK && length == form.size());
        // Exponents that are no key's may come out longer than they may be read.
        if ((format == ZEL_X509 ? zelKeyReadPublic : read)(form.data(), length, &again) == ZEL_OK) {
            FUZZ_CHECK(zelKeyBits(again) == zelKeyBits(key) && zelKeyType(again) == zelKeyType(key));
            FUZZ_CHECK(zelKeyWrite(again, format, encoding, second.data(), &length) == ZEL_OK && second == form);
            FUZZ_CHECK(zelKeyFree(again) == ZEL_OK);
        }
    }
    Bytes signature(input);
    signature.resize(zelKeySignatureSize(key));
    FUZZ_CHECK(zelVerify(key, ZEL_SHA1, input.data(), input.size(), signature.data(), signature.size()) != ZEL_OK);
    std::size_t length = 0;
    FUZZ_CHECK((zelSign(key, ZEL_SHA1, nullptr, 0, nullptr, &length) == ZEL_OK) == isPrivate);
    FUZZ_CHECK(zelKeyFree(key) == ZEL_OK);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > kMaxBytes) {
        return 0;
    }
    Bytes input(data, data + size);
    input.reserve(1); // data() of an empty one is no null pointer
    // Something to take powers of, from the key's own bytes.
    const Number base(VLONG_fromBytes, input.data(), static_cast<std::int32_t>(std::min<std::size_t>(size, 96)));
    for (const auto& [reader, maxBytes] : kReaders) {
        ScopedKey key;
        if (size > maxBytes) {
            continue;
        }
        const Status status = reader(input.data(), static_cast<std::uint32_t>(size), key.get());
        FUZZ_CHECK((key.get()->type == kKeyEmpty) == isError(status));
        if (RSAKey* const rsa = asymKeyRsa(key.get()); rsa != nullptr) {
            checkPublic(*rsa, base, input);
            if (rsa->privateKey != 0 && reader == AsymKey_FromPkcs8Der) {
                checkPrivate(*rsa, base);
            }
            checkRewritten(key.get());
        } else if (const DSAKey* const dsa = asymKeyDsa(key.get()); dsa != nullptr) {
            reader == parseDSAPublicKey ? checkPublic(*dsa) : checkPrivate(*dsa, base);
            FUZZ_CHECK(!written(DsaKey_ToDer, key.get()).empty());
        }
    }
    checkZelKey(input, true);
    checkZelKey(input, false);
    return 0;
}
