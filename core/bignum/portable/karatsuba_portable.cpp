// Karatsuba's method in its subtractive form. With a = a1 B + a0 and b = b1 B + b0, B = 2^(64 h), h = n / 2:
//
//   a b = a1 b1 B^2 + (a0 b0 + a1 b1 + (a0 - a1)(b1 - b0)) B + a0 b0
//
// Scratch of 4 n units: [0, n) the two differences and later the middle sum, [n, 2n) their product, [2n, 4n) for the
// products of half size, which is their 4 h.
#include "core/bignum/portable/portable_kernels.h"

#include <algorithm>

namespace {

// r[h] := |a[h] - b[h]|; returns the sign of a - b.
std::int32_t difference(Unit* r, const Unit* a, const Unit* b, std::uint32_t h) {
    const std::int32_t sign = VLONG_cmpUnits(a, b, h);
    if (sign > 0) {
        (void)VLONG_subUnits(r, a, b, h); // the larger half first: no borrow
    } else if (sign < 0) {
        (void)VLONG_subUnits(r, b, a, h);
    }
    return sign;
}

void mulHalf(Unit* r, const Unit* a, const Unit* b, std::uint32_t h, Unit* scratch) {
    if (h == 8) {
        VLONG_mul8x8(r, a, b);
    } else {
        VLONG_karatsubaMul(r, a, b, h, scratch);
    }
}

void squareHalf(Unit* r, const Unit* a, std::uint32_t h, Unit* scratch) {
    if (h == 8) {
        VLONG_square8(r, a);
    } else {
        VLONG_karatsubaSquare(r, a, h, scratch);
    }
}

// Adds the middle sum into r[2n], which holds the outer products: low + high + sign * middle at unit h. The middle sum
// is n units and one carry, and the carry goes on upwards.
void addMiddle(Unit* r, std::int32_t sign, const Unit* middle, Unit* sum, std::uint32_t n) {
    const std::uint32_t h = n / 2;
    Unit carry = VLONG_addUnits(sum, r, r + n, n);
    if (sign > 0) {
        carry += VLONG_addUnits(sum, sum, middle, n);
    } else if (sign < 0) {
        carry -= VLONG_subUnits(sum, sum, middle, n);
    }
    carry += VLONG_addUnits(r + h, r + h, sum, n);
    for (std::uint32_t i = h + n; carry != 0 && i < 2 * n; ++i) {
        r[i] += carry;
        carry = r[i] < carry ? 1 : 0;
    }
}

} // namespace

void VLONG_karatsubaMul(Unit* r, const Unit* a, const Unit* b, std::uint32_t n, Unit* scratch) {
    const std::uint32_t h = n / 2;
    Unit* const middle = scratch + n;
    Unit* const deeper = scratch + std::size_t{2} * n;
    const std::int32_t sign = difference(scratch, a, a + h, h) * difference(scratch + h, b + h, b, h);
    if (sign != 0) {
        mulHalf(middle, scratch, scratch + h, h, deeper);
    }
    mulHalf(r, a, b, h, deeper);
    mulHalf(r + n, a + h, b + h, h, deeper);
    addMiddle(r, sign, middle, scratch, n);
}

void VLONG_karatsubaSquare(Unit* r, const Unit* a, std::uint32_t n, Unit* scratch) {
    const std::uint32_t h = n / 2;
    Unit* const middle = scratch + n;
    Unit* const deeper = scratch + std::size_t{2} * n;
    const bool isUnequal = difference(scratch, a, a + h, h) != 0;
    if (isUnequal) {
        squareHalf(middle, scratch, h, deeper);
    }
    squareHalf(r, a, h, deeper);
    squareHalf(r + n, a + h, h, deeper);
    addMiddle(r, isUnequal ? -1 : 0, middle, scratch, n); // (a0 - a1)(a1 - a0) is never positive
}
