// Big integers: quotients, powers, inverses and the byte forms, each against an identity. The first byte of the input
// chooses the identity, the rest are values: a length byte and as many bytes.
#include "core/bignum/modexp.h"
#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong_convert.h"
#include "core/bignum/vlong_math.h"
#include "core/memory/memory.h"
#include "fuzz/fuzz_check.h"
#include "fuzz/fuzz_input.h"

#include <algorithm>
#include <iterator>

namespace {

void requireOk(Status status) {
    FUZZ_CHECK(!isError(status));
}

// The next value, which is not zero when isPositive is asked for.
void take(FuzzInput& input, ScopedVlong& out, bool isPositive = false) {
    const Bytes bytes = input.bytes();
    requireOk(VLONG_fromBytes(dataOf(bytes), static_cast<std::int32_t>(bytes.size()), out.out(), nullptr));
    if (isPositive && VLONG_isZero(out.get())) {
        requireOk(VLONG_setValue(out.get(), 1));
    }
}

// a div b * b + a mod b = a with a mod b < b; (a * b) div b = a; (a + b) - b = a; a * a = a squared.
void sumsAndQuotients(FuzzInput& input) {
    ScopedVlong a(nullptr), b(nullptr), quotient(nullptr), rest(nullptr), product(nullptr), copy(nullptr);
    take(input, a);
    take(input, b, true);
    requireOk(VLONG_div(a.get(), b.get(), quotient.out(), nullptr));
    requireOk(VLONG_mod(a.get(), b.get(), rest.out(), nullptr));
    FUZZ_CHECK(VLONG_cmp(rest.get(), b.get()) < 0);
    requireOk(VLONG_mulSigned(quotient.get(), b.get(), product.out(), nullptr));
    requireOk(VLONG_add(product.get(), rest.get(), nullptr));
    FUZZ_CHECK(VLONG_cmp(product.get(), a.get()) == 0);
    requireOk(VLONG_sub(product.get(), b.get(), nullptr));
    requireOk(VLONG_add(product.get(), b.get(), nullptr));
    FUZZ_CHECK(VLONG_cmp(product.get(), a.get()) == 0);
    requireOk(VLONG_mulSigned(a.get(), b.get(), product.out(), nullptr));
    requireOk(VLONG_div(product.get(), b.get(), quotient.out(), nullptr));
    FUZZ_CHECK(VLONG_cmp(quotient.get(), a.get()) == 0);
    requireOk(VLONG_newCopy(a.get(), copy.out(), nullptr));
    requireOk(VLONG_mulSigned(a.get(), copy.get(), product.out(), nullptr));
    requireOk(VLONG_square(quotient.get(), a.get()));
    FUZZ_CHECK(VLONG_cmp(quotient.get(), product.get()) == 0);
}

// A power with a small exponent is the product of so many bases; Barrett's method may give the modulus in place of 0.
void powers(FuzzInput& input) {
    ScopedVlong base(nullptr), modulus(nullptr), exponent(nullptr), expected(nullptr), product(nullptr), power(nullptr);
    const std::uint8_t count = input.byte();
    take(input, base);
    take(input, modulus, true);
    requireOk(VLONG_newValue(count, exponent.out(), nullptr));
    requireOk(VLONG_newValue(VLONG_isZero(base.get()) ? 0 : 1, expected.out(), nullptr));
    for (std::uint8_t i = 0; i < count; ++i) {
        requireOk(VLONG_mulSigned(expected.get(), base.get(), product.out(), nullptr));
        requireOk(VLONG_mod(product.get(), modulus.get(), expected.out(), nullptr));
    }
    requireOk(VLONG_modExp(base.get(), exponent.get(), modulus.get(), power.out(), nullptr));
    const bool isModulusForZero = VLONG_isZero(expected.get()) && VLONG_cmp(power.get(), modulus.get()) == 0;
    FUZZ_CHECK(isModulusForZero || VLONG_cmp(power.get(), expected.get()) == 0);
}

// Long exponents: the kernels for powers, two side by side, agree with the scan by single bits, which does without them.
void pairs(FuzzInput& input) {
    ScopedVlong base(nullptr), exponent(nullptr), modulus(nullptr), first(nullptr), second(nullptr), bitwise(nullptr);
    take(input, base, true);
    take(input, exponent, true);
    take(input, modulus);
    requireOk(VLONG_setBit(modulus.get(), 0));
    requireOk(VLONG_setBit(modulus.get(), 64)); // two units at least
    MontgomeryCtx* context = nullptr;
    requireOk(VLONG_newMontgomeryCtx(&context, modulus.get(), nullptr));
    requireOk(VLONG_modExpCtxPair({context, base.get(), exponent.get(), first.out()},
                                  {context, exponent.get(), base.get(), second.out()}, nullptr));
    requireOk(VLONG_montExpBinary(context, base.get(), exponent.get(), bitwise.out(), nullptr));
    FUZZ_CHECK(VLONG_cmp(first.get(), bitwise.get()) == 0);
    requireOk(VLONG_montExpBinary(context, exponent.get(), base.get(), bitwise.out(), nullptr));
    FUZZ_CHECK(VLONG_cmp(second.get(), bitwise.get()) == 0);
    requireOk(VLONG_deleteMontgomeryCtx(&context, nullptr));
}

// gcd(a, n) divides both, and when it is 1, a * modInverse(a, n) mod n is 1 mod n.
void inverses(FuzzInput& input) {
    ScopedVlong a(nullptr), n(nullptr), gcd(nullptr), rest(nullptr), inverse(nullptr), product(nullptr), one(nullptr);
    take(input, a, true);
    take(input, n, true);
    requireOk(VLONG_gcd(a.get(), n.get(), gcd.out(), nullptr));
    for (const vlong* multiple : {a.get(), n.get()}) {
        requireOk(VLONG_mod(multiple, gcd.get(), rest.out(), nullptr));
        FUZZ_CHECK(VLONG_isZero(rest.get()));
    }
    requireOk(VLONG_modInverse(a.get(), n.get(), inverse.out(), nullptr));
    if (VLONG_cmpUnit(gcd.get(), 1) == 0) {
        requireOk(VLONG_mulSigned(a.get(), inverse.get(), product.out(), nullptr));
        requireOk(VLONG_mod(product.get(), n.get(), rest.out(), nullptr));
        FUZZ_CHECK(VLONG_cmpUnit(rest.get(), 1) == 0 || VLONG_cmpUnit(n.get(), 1) == 0);
    }
}

// What VLONG_fromMpint reads, VLONG_toMpint writes so that it reads back.
void mpints(FuzzInput& input) {
    ScopedVlong value(nullptr), readBack(nullptr);
    std::uint32_t consumed = 0, count = 0;
    const Bytes body = input.rest();
    const auto left = static_cast<std::uint32_t>(body.size());
    if (isError(VLONG_fromMpint(dataOf(body), left, value.out(), &consumed))) {
        FUZZ_CHECK(value.get() == nullptr);
        return;
    }
    FUZZ_CHECK(consumed <= left);
    std::uint8_t* bytes = nullptr;
    requireOk(VLONG_toMpint(value.get(), &bytes, &count));
    requireOk(VLONG_fromMpint(bytes, count, readBack.out(), &consumed));
    FUZZ_CHECK(consumed == count && VLONG_cmp(value.get(), readBack.get()) == 0);
    void* block = bytes;
    requireOk(memWipeAndFree(&block, count));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    constexpr void (*kIdentities[])(FuzzInput&) = {sumsAndQuotients, powers, inverses, mpints, pairs};
    kIdentities[input.byte() % std::size(kIdentities)](input);
    return 0;
}
