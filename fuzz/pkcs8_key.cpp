// Reads anything as a PKCS#8 private key. An RSA key must have the derived values that Euclid's algorithm gives, its
// private operation must be right modulo each prime that has them all, and its public operation right altogether; a DSA
// key must have its y. Both survive writing.
#include "core/pubkey/dsa.h"
#include "fuzz/key_check.h"

using namespace keyfuzz;

namespace {

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
    Number result, blinded;
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

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t kMaxBytes = 400; // operations grow with the cube of a key's size
    constexpr std::uint8_t kNothing = 0;
    if (size > kMaxBytes) {
        return 0;
    }
    ScopedKey key;
    const Status status =
        AsymKey_FromPkcs8Der(size == 0 ? &kNothing : data, static_cast<std::uint32_t>(size), key.get());
    FUZZ_CHECK((key.get()->type == kKeyEmpty) == isError(status));
    if (key.get()->type == kKeyDsa) {
        checkDsa(key.get());
    }
    RSAKey* const rsa = asymKeyRsa(key.get());
    if (rsa != nullptr) {
        Number base;
        takeBase(data, size, base);
        checkPublic(*rsa, base.get());
        if (rsa->privateKey != 0) {
            checkPrivate(*rsa, base.get());
        }
        checkRewritten(key.get());
    }
    return 0;
}
