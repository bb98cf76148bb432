// 1/e mod m for an e of at most 32 bits: with k = -1/m mod e, which takes one remainder of m and an inverse of two
// words, 1 + m k is a multiple of e, and (1 + m k) / e is the inverse.
#include "core/pubkey/exponent_inverse.h"

#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong_math.h"

#include <numeric>

namespace {

constexpr Unit kLowHalf = 0xFFFFFFFF;

// m mod e.
Unit remainderByWord(const vlong* m, Unit e) {
    Unit remainder = 0;
    for (std::uint32_t i = m->length; i-- > 0;) {
        remainder = (remainder << 32 | m->units[i] >> 32) % e;
        remainder = (remainder << 32 | (m->units[i] & kLowHalf)) % e;
    }
    return remainder;
}

// 1/a mod e for coprime a < e, e > 1. Every coefficient stays below e.
Unit inverseByWord(Unit a, Unit e) {
    auto g = static_cast<std::int64_t>(e), h = static_cast<std::int64_t>(a);
    std::int64_t u = 0, v = 1;
    while (h != 0) {
        const std::int64_t q = g / h;
        g = std::exchange(h, g - q * h);
        u = std::exchange(v, u - q * v);
    }
    return static_cast<Unit>(u < 0 ? u + static_cast<std::int64_t>(e) : u);
}

// quotient[m's units] := (1 + m k) / e for k < e. The quotient is below m, so there is no unit above those of m: the
// product is divided by digits of 32 bits from the top, of which the highest is below e.
void divideMultiple(Unit* quotient, const vlong* m, Unit k, Unit e) {
    Unit carry = 1;
    for (std::uint32_t i = 0; i < m->length; ++i) { // the product, its lowest m->length units in quotient
        const Unit low = (m->units[i] & kLowHalf) * k + carry;
        const Unit high = (m->units[i] >> 32) * k + (low >> 32);
        quotient[i] = high << 32 | (low & kLowHalf);
        carry = high >> 32;
    }
    Unit remainder = carry;
    for (std::uint32_t i = m->length; i-- > 0;) {
        const Unit high = remainder << 32 | quotient[i] >> 32;
        const Unit low = (high % e) << 32 | (quotient[i] & kLowHalf);
        quotient[i] = (high / e) << 32 | low / e;
        remainder = low % e;
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
    if (exponent->length == 1 && e >= 2 && e <= kLowHalf && modulus->length >= 2) {
        const Unit remainder = remainderByWord(modulus, e);
        if (std::gcd(remainder, e) == 1) {
            ScopedVlong inverse(queue);
            RETURN_IF_ERROR(inverse.alloc());
            RETURN_IF_ERROR(VLONG_growDiscard(inverse.get(), modulus->length));
            divideMultiple(inverse.get()->units, modulus, e - inverseByWord(remainder, e), e);
            inverse.get()->length = modulus->length;
            VLONG_normalise(inverse.get());
            *out = inverse.release();
            return OK;
        }
    }
    return VLONG_modInverse(exponent, modulus, out, queue);
}
