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

// ThreeUnits: the accumulator of a column: what is carried in, and the sum of the column's products.
struct ThreeUnits {
    Unit low = 0, high = 0, overflow = 0;

    constexpr void add(Unit addLow, Unit addHigh, Unit addOverflow) {
        low += addLow;
        const Unit carry = low < addLow ? 1 : 0;
        high += carry;
        overflow += high < carry ? 1 : 0;
        high += addHigh;
        overflow += high < addHigh ? 1 : 0;
        overflow += addOverflow;
    }

    constexpr void twice() {
        overflow = overflow << 1 | high >> 63;
        high = high << 1 | low >> 63;
        low <<= 1;
    }

    // Takes the finished low unit and moves down by one.
    constexpr Unit shiftOut() {
        const Unit unit = low;
        low = high;
        high = overflow;
        overflow = 0;
        return unit;
    }
};

// ColumnSum: a sum of products, kept apart by weight (2^0, 2^32, 2^64) with a count of the carries of each, so that a
// product costs four multiplications, four additions and four carries, and is put together once a column. Holds 2^31
// products.
struct ColumnSum {
    Unit low = 0, middle = 0, high = 0;
    Unit lowCarries = 0, middleCarries = 0, highCarries = 0;

    constexpr void addProduct(Unit a, Unit b) {
        accumulate(low, lowCarries, lowHalf(a) * lowHalf(b));
        accumulate(middle, middleCarries, highHalf(a) * lowHalf(b));
        accumulate(middle, middleCarries, lowHalf(a) * highHalf(b));
        accumulate(high, highCarries, highHalf(a) * highHalf(b));
    }

    constexpr void addTo(ThreeUnits& total) const {
        total.add(low, lowCarries, 0);
        total.add(middle << 32, highHalf(middle) | middleCarries << 32, highHalf(middleCarries));
        total.add(0, high, highCarries);
    }

private:
    static constexpr void accumulate(Unit& sum, Unit& carries, Unit product) {
        sum += product;
        carries += sum < product ? 1 : 0;
    }
};

#endif
