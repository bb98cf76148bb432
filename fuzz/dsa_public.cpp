// Reads anything as a DSA public key. What is read judges the signature (1, 1) of 5, for which no inverse is needed, as
// slow arithmetic does.
#include "bridge/dsa_der.h"
#include "core/pubkey/dsa.h"
#include "fuzz/key_check.h"

using namespace keyfuzz;

namespace {

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

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t kMaxBytes = 500; // operations grow with the cube of a key's size
    constexpr std::uint8_t kNothing = 0;
    if (size > kMaxBytes) {
        return 0;
    }
    ScopedKey key;
    const Status status = parseDSAPublicKey(size == 0 ? &kNothing : data, static_cast<std::uint32_t>(size), key.get());
    FUZZ_CHECK(key.get()->type == (isError(status) ? kKeyEmpty : kKeyDsa));
    if (isError(status)) {
        return 0;
    }
    const DSAKey& dsa = *asymKeyDsa(key.get());
    FUZZ_CHECK(dsa.x == nullptr);
    Number one, m;
    FUZZ_CHECK(!isError(VLONG_newValue(1, one.out(), nullptr)) && !isError(VLONG_newValue(5, m.out(), nullptr)));
    bool valid = true;
    const Status verified = Dsa_Verify(&dsa, m.get(), one.get(), one.get(), &valid, nullptr);
    FUZZ_CHECK(!(isError(verified) && valid));
    FUZZ_CHECK((verified == ERR_CRYPTO_DSA_SIGN_VERIFY_RS_TEST) == (VLONG_cmpUnit(dsa.q, 1) <= 0));
    if (!isError(verified) && !VLONG_isZero(dsa.g)) { // powers of 0 do not look at the exponent
        FUZZ_CHECK(valid == isRight(dsa, m.get()));
    }
    return 0;
}
