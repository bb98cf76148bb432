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
// Secrets: time depends on n only: the middle product is formed and added with its sign whatever the halves are.
#ifndef ZELSPI_CORE_BIGNUM_INTERNAL_KARATSUBA_H
#define ZELSPI_CORE_BIGNUM_INTERNAL_KARATSUBA_H

#include "core/bignum/branch_free.h"
#include "core/bignum/kernels.h"

// karatsubaNegateIf: r[n] := -r[n] modulo 2^(64 n) where the mask is all ones, unchanged where it is 0; returns what is
// carried out of the top: 1 for the negation of 0.
inline Unit karatsubaNegateIf(Unit mask, Unit* r, std::uint32_t n) {
    Unit carry = mask & 1;
    for (std::uint32_t i = 0; i < n; ++i) {
        r[i] = (r[i] ^ mask) + carry;
        carry = r[i] < carry ? 1 : 0;
    }
    return carry;
}

// karatsubaDifference: r[h] := |a[h] - b[h]|; returns all ones when a is below b, else 0.
template <typename Base> Unit karatsubaDifference(Unit* r, const Unit* a, const Unit* b, std::uint32_t h) {
    const Unit isNegative = maskOf(Base::sub(r, a, b, h));
    (void)karatsubaNegateIf(isNegative, r, h); // no carry: the difference is not 0
    return isNegative;
}

// karatsubaAddMiddle: adds the middle sum into r[2n], which holds the outer products: low + high +- middle at unit h. The
// middle sum is n units and one carry, and the carry goes on upwards. middle is overwritten.
template <typename Base> void karatsubaAddMiddle(Unit* r, Unit isNegative, Unit* middle, Unit* sum, std::uint32_t n) {
    const std::uint32_t h = n / 2;
    Unit carry = Base::add(sum, r, r + n, n);
    carry += karatsubaNegateIf(isNegative, middle, n) - (isNegative & 1);
    carry += Base::add(sum, sum, middle, n);
    carry += Base::add(r + h, r + h, sum, n);
    for (std::uint32_t i = h + n; i < 2 * n; ++i) {
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
    const Unit isNegative =
        karatsubaDifference<Base>(scratch, a, a + h, h) ^ karatsubaDifference<Base>(scratch + h, b + h, b, h);
    karatsubaMul<Base>(middle, scratch, scratch + h, h, deeper);
    karatsubaMul<Base>(r, a, b, h, deeper);
    karatsubaMul<Base>(r + n, a + h, b + h, h, deeper);
    karatsubaAddMiddle<Base>(r, isNegative, middle, scratch, n);
}

template <typename Base> void karatsubaSquare(Unit* r, const Unit* a, std::uint32_t n, Unit* scratch) {
    if (n <= Base::kSmallest) {
        return Base::square(r, a, n);
    }
    const std::uint32_t h = n / 2;
    Unit* const middle = scratch + n;
    Unit* const deeper = scratch + std::size_t{2} * n;
    (void)karatsubaDifference<Base>(scratch, a, a + h, h);
    karatsubaSquare<Base>(middle, scratch, h, deeper);
    karatsubaSquare<Base>(r, a, h, deeper);
    karatsubaSquare<Base>(r + n, a + h, h, deeper);
    karatsubaAddMiddle<Base>(r, ~Unit{0}, middle, scratch, n); // (a0 - a1)(a1 - a0) is never positive
}

#endif
