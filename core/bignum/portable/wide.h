// Products of two units from 32-bit halves, for the portable kernels: no type wider than 64 bits is needed.
#ifndef ZELSPI_CORE_BIGNUM_PORTABLE_WIDE_H
#define ZELSPI_CORE_BIGNUM_PORTABLE_WIDE_H

#include "core/bignum/vlong.h"

constexpr Unit lowHalf(Unit unit) {
    return unit & 0xFFFFFFFF;
}

constexpr Unit highHalf(Unit unit) {
    return unit >> 32;
}

// Wide: a value of two units.
struct Wide {
    Unit low, high;
};

// mulWide: a * b. Neither middle sum can overflow: (2^32-1)^2 + 2 (2^32-1) is 2^64-1.
constexpr Wide mulWide(Unit a, Unit b) {
    const Unit low = lowHalf(a) * lowHalf(b);
    const Unit middle = highHalf(a) * lowHalf(b) + highHalf(low);
    const Unit otherMiddle = lowHalf(a) * highHalf(b) + lowHalf(middle);
    const Unit high = highHalf(a) * highHalf(b) + highHalf(middle) + highHalf(otherMiddle);
    return {otherMiddle << 32 | lowHalf(low), high};
}

// ColumnSum: a sum of products, kept apart by weight (2^0, 2^32, 2^64) with a count of the carries of each, so that a
// product costs four multiplications, four additions and four carries, and is put together once a column.
struct ColumnSum {
    Unit low = 0, middle = 0, high = 0;
    Unit lowCarries = 0, middleCarries = 0, highCarries = 0;

    constexpr void addProduct(Unit a, Unit b) {
        accumulate(low, lowCarries, lowHalf(a) * lowHalf(b));
        accumulate(middle, middleCarries, highHalf(a) * lowHalf(b));
        accumulate(middle, middleCarries, lowHalf(a) * highHalf(b));
        accumulate(high, highCarries, highHalf(a) * highHalf(b));
    }

private:
    static constexpr void accumulate(Unit& sum, Unit& carries, Unit product) {
        sum += product;
        carries += sum < product ? 1 : 0;
    }
};

// ColumnTotal: the sum of a column and of the carries from the columns below, as digits of 32 bits that have room for the
// carries of 2^28 products. Without a single comparison: gcc would turn some of them into branches.
class ColumnTotal {
public:
    // Adds a sum, shifted left by `doubling` (0 or 1).
    constexpr void add(const ColumnSum& sum, int doubling = 0) {
        digits_[0] += lowHalf(sum.low) << doubling;
        digits_[1] += (highHalf(sum.low) + lowHalf(sum.middle)) << doubling;
        digits_[2] += (sum.lowCarries + highHalf(sum.middle) + lowHalf(sum.high)) << doubling;
        digits_[3] += (sum.middleCarries + highHalf(sum.high)) << doubling;
        digits_[4] += sum.highCarries << doubling;
    }

    // Takes the finished low unit and moves up by one column.
    constexpr Unit shiftOut() {
        digits_[1] += highHalf(digits_[0]);
        const Unit unit = digits_[1] << 32 | lowHalf(digits_[0]);
        digits_[0] = digits_[2] + highHalf(digits_[1]);
        digits_[1] = digits_[3];
        digits_[2] = digits_[4];
        digits_[3] = digits_[4] = 0;
        return unit;
    }

private:
    Unit digits_[5] = {};
};

#endif
