// Karatsuba's method in its subtractive form. With a = a1 B + a0 and b = b1 B + b0, B = 2^(64 h), h = n / 2:
//
//   a b = a1 b1 B^2 + (a0 b0 + a1 b1 + (a0 - a1)(b1 - b0)) B + a0 b0
//
// Scratch of 4 n units: [0, n) the two differences and later the middle sum, [n, 2n) their product, [2n, 4n) for the
// products of half size, which is their 4 h.
//
// Base gives the kernels underneath: add and sub as in BignumKernels, mul(r, a, b, n) and square(r, a, n) for products of
// up to kSmallest units, a power of two, at which the method stops.
//
// Secrets: time depends on the order of the operands' halves.
#ifndef ZELSPI_CORE_BIGNUM_KARATSUBA_H
#define ZELSPI_CORE_BIGNUM_KARATSUBA_H

#include "core/bignum/kernels.h"

// karatsubaDifference: r[h] := |a[h] - b[h]|; returns the sign of a - b.
template <typename Base> std::int32_t karatsubaDifference(Unit* r, const Unit* a, const Unit* b, std::uint32_t h) {
    const std::int32_t sign = VLONG_cmpUnits(a, b, h);
    if (sign > 0) {
        (void)Base::sub(r, a, b, h); // the larger half first: no borrow
    } else if (sign < 0) {
        (void)Base::sub(r, b, a, h);
    }
    return sign;
}

// karatsubaAddMiddle: adds the middle sum into r[2n], which holds the outer products: low + high + sign * middle at unit
// h. The middle sum is n units and one carry, and the carry goes on upwards.
template <typename Base>
void karatsubaAddMiddle(Unit* r, std::int32_t sign, const Unit* middle, Unit* sum, std::uint32_t n) {
    const std::uint32_t h = n / 2;
    Unit carry = Base::add(sum, r, r + n, n);
    if (sign > 0) {
        carry += Base::add(sum, sum, middle, n);
    } else if (sign < 0) {
        carry -= Base::sub(sum, sum, middle, n);
    }
    carry += Base::add(r + h, r + h, sum, n);
    for (std::uint32_t i = h + n; carry != 0 && i < 2 * n; ++i) {
        r[i] += carry;
        carry = r[i] < carry ? 1 : 0;
    }
}

// karatsubaMul, karatsubaSquare: as in BignumKernels.
template <typename Base> void karatsubaMul(Unit* r, const Unit* a, const Unit* b, std::uint32_t n, Unit* scratch) {
    if (n <= Base::kSmallest) {
        return Base::mul(r, a, b, n);
    }
    const std::uint32_t h = n / 2;
    Unit* const middle = scratch + n;
    Unit* const deeper = scratch + std::size_t{2} * n;
    const std::int32_t sign =
        karatsubaDifference<Base>(scratch, a, a + h, h) * karatsubaDifference<Base>(scratch + h, b + h, b, h);
    if (sign != 0) {
        karatsubaMul<Base>(middle, scratch, scratch + h, h, deeper);
    }
    karatsubaMul<Base>(r, a, b, h, deeper);
    karatsubaMul<Base>(r + n, a + h, b + h, h, deeper);
    karatsubaAddMiddle<Base>(r, sign, middle, scratch, n);
}

template <typename Base> void karatsubaSquare(Unit* r, const Unit* a, std::uint32_t n, Unit* scratch) {
    if (n <= Base::kSmallest) {
        return Base::square(r, a, n);
    }
    const std::uint32_t h = n / 2;
    Unit* const middle = scratch + n;
    Unit* const deeper = scratch + std::size_t{2} * n;
    const bool isUnequal = karatsubaDifference<Base>(scratch, a, a + h, h) != 0;
    if (isUnequal) {
        karatsubaSquare<Base>(middle, scratch, h, deeper);
    }
    karatsubaSquare<Base>(r, a, h, deeper);
    karatsubaSquare<Base>(r + n, a + h, h, deeper);
    karatsubaAddMiddle<Base>(r, isUnequal ? -1 : 0, middle, scratch, n); // (a0 - a1)(a1 - a0) is never positive
}

#endif
