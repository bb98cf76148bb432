// 1/e mod m for an odd e of at most 32 bits: with k = -1/m mod e, which takes one remainder of m and an inverse of two
// words, 1 + m k is a multiple of e, and (1 + m k) / e is the inverse.
#include "core/pubkey/exponent_inverse.h"

#include "core/bignum/branch_free.h"
#include "core/bignum/portable/wide.h"
#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong_math.h"

#include <bit>

namespace {

// All ones for a value that is negative in two's complement, else 0; by shifts alone, which no optimiser takes for a branch.
Unit signMask(Unit value) {
    return static_cast<Unit>(static_cast<std::int64_t>(value) >> (kUnitBits - 1));
}

// m mod e, by a product with 2^64 / e for each half unit: no division, whose time could show m.
Unit remainderByWord(const vlong* m, Unit e) {
    const Unit reciprocal = ~Unit{0} / e;
    const auto reduce = [&](Unit value) {
        Unit rest = value - mulWide(value, reciprocal).high * e - e; // below 2 e
        rest += e & signMask(rest);
        rest -= e;
        return rest + (e & signMask(rest));
    };
    Unit remainder = 0;
    for (std::uint32_t i = m->length; i-- > 0;) {
        remainder = reduce(remainder << 32 | highHalf(m->units[i]));
        remainder = reduce(remainder << 32 | lowHalf(m->units[i]));
    }
    return remainder;
}

// 1/a mod e for a < e, in as many steps for every a; isFound tells, publicly, whether there is one. The binary form of
// Euclid's algorithm: f a = g and v a = h modulo e, h odd; each step takes a bit off g or h, until g is 0 and h the divisor.
Unit inverseByWord(Unit a, Unit e, bool* isFound) {
    Unit g = a, h = e, f = 1, v = 0;
    for (auto left = 2 * std::bit_width(e); left > 0; --left) {
        const Unit isOdd = Unit{0} - (g & 1), isSwapped = isOdd & signMask(g - h);
        const Unit swap = (g ^ h) & isSwapped, factorSwap = (f ^ v) & isSwapped;
        h ^= swap;
        v ^= factorSwap;
        g = ((g ^ swap) - (h & isOdd)) >> 1;
        f = (f ^ factorSwap) - (v & isOdd);
        f += e & signMask(f);
        f = (f + (e & (Unit{0} - (f & 1)))) >> 1;
    }
    *isFound = publicly(h) == 1;
    return v;
}

// quotient[m's units] := (1 + m k) / e for k < e. The quotient is below m, so there is no unit above those of m: from the
// lowest unit on each is what remains of the product, times 1/e modulo 2^64.
void divideMultiple(Unit* quotient, const vlong* m, Unit k, Unit e) {
    Unit inverse = e; // right in 3 bits; each step doubles them
    for (int step = 0; step < 5; ++step) {
        inverse *= 2 - e * inverse;
    }
    Unit carry = 1, taken = 0;
    for (std::uint32_t i = 0; i < m->length; ++i) {
        const Wide product = mulWide(m->units[i], k);
        const Unit unit = product.low + carry;
        carry = product.high + (unit < carry ? 1 : 0);
        quotient[i] = (unit - taken) * inverse;
        taken = mulWide(quotient[i], e).high + (unit < taken ? 1 : 0);
    }
}

} // namespace

Status inverseOfExponent(const vlong* exponent, const vlong* modulus, vlong** out, vlong** queue) {
    if (exponent == nullptr || modulus == nullptr || out == nullptr) {
        return ERR_NULL_POINTER;
    }
    *out = nullptr;
    const Unit e = VLONG_getUnit(exponent, 0);
    // A modulus of one unit may be below e, or negative (p = 0); Euclid's algorithm has its own answers there.
    if (exponent->length == 1 && e >= 3 && e % 2 != 0 && highHalf(e) == 0 && modulus->length >= 2) {
        bool isFound = false;
        const Unit k = e - inverseByWord(remainderByWord(modulus, e), e, &isFound);
        if (isFound) {
            ScopedVlong inverse(queue);
            RETURN_IF_ERROR(inverse.alloc());
            RETURN_IF_ERROR(VLONG_growDiscard(inverse.get(), modulus->length));
            divideMultiple(inverse.get()->units, modulus, k, e);
            inverse.get()->length = significantUnits(inverse.get()->units, modulus->length);
            *out = inverse.release();
            return OK;
        }
    }
    return VLONG_modInverse(exponent, modulus, out, queue);
}
