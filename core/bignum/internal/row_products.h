// What RowKernels is made of: sums, products, squares and Montgomery products by rows. For the files that define Rows:
//
//   addRow, subRow    r[n] += a[n] * w, r[n] -= a[n] * w; return the unit that leaves the top
//   addUnit, subUnit  one unit of a sum or difference and its carry or borrow, 0 or 1
//   div128by64        as in BignumKernels
//   kBlock            how many units a row takes at a time; a shorter row takes longer for each unit
//
// They are functions or pointers to functions that are known when this is compiled.
#ifndef ZELSPI_CORE_BIGNUM_INTERNAL_ROW_PRODUCTS_H
#define ZELSPI_CORE_BIGNUM_INTERNAL_ROW_PRODUCTS_H

#include "core/bignum/branch_free.h"
#include "core/bignum/internal/karatsuba.h"
#include "core/bignum/internal/row_kernels.h"
#include "core/bignum/internal/unit_rows.h"

#include <algorithm>

__extension__ using DoubleUnit = unsigned __int128;

// addRest, subRest: the last units of a row, fewer than a block, with the carry or borrow out of those below.
inline Unit addRest(Unit* r, const Unit* a, std::uint32_t n, Unit w, Unit carry) {
    for (std::uint32_t i = 0; i < n; ++i) {
        const DoubleUnit sum = DoubleUnit{a[i]} * w + r[i] + carry;
        r[i] = static_cast<Unit>(sum);
        carry = static_cast<Unit>(sum >> kUnitBits);
    }
    return carry;
}

inline Unit subRest(Unit* r, const Unit* a, std::uint32_t n, Unit w, Unit carry) {
    for (std::uint32_t i = 0; i < n; ++i) {
        const DoubleUnit sum = DoubleUnit{a[i]} * w + static_cast<Unit>(~r[i]) + carry; // r - x is not (not r + x)
        r[i] = ~static_cast<Unit>(sum);
        carry = static_cast<Unit>(sum >> kUnitBits);
    }
    return carry;
}

template <typename Rows> Unit RowKernels<Rows>::addUnits(Unit* r, const Unit* a, const Unit* b, std::uint32_t n) {
    return combineUnits<unsigned char, Rows::addUnit>(r, a, b, n);
}

template <typename Rows> Unit RowKernels<Rows>::subUnits(Unit* r, const Unit* a, const Unit* b, std::uint32_t n) {
    return combineUnits<unsigned char, Rows::subUnit>(r, a, b, n);
}

template <typename Rows> Unit RowKernels<Rows>::mulAddUnit(Unit* r, const Unit* a, std::uint32_t n, Unit w) {
    return Rows::addRow(r, a, n, w);
}

template <typename Rows> Unit RowKernels<Rows>::mulSubUnit(Unit* r, const Unit* a, std::uint32_t n, Unit w) {
    return Rows::subRow(r, a, n, w);
}

template <typename Rows> Unit RowKernels<Rows>::div128by64(Unit high, Unit low, Unit d) {
    return Rows::div128by64(high, low, d);
}

template <typename Rows> void RowKernels<Rows>::mulColumns(Unit* r, const Unit* a, std::uint32_t aCount, const Unit* b,
                                                           std::uint32_t bCount, std::uint32_t n) {
    std::fill_n(r, n, Unit{0});
    for (std::uint32_t i = 0; i < std::min(bCount, n); ++i) {
        const std::uint32_t count = std::min(aCount, n - i);
        const Unit carry = Rows::addRow(r + i, a, count, b[i]);
        if (i + count < n) {
            r[i + count] = carry;
        }
    }
}

template <typename Rows>
void RowKernels<Rows>::squareColumns(Unit* r, const Unit* a, std::uint32_t aCount, std::uint32_t n) {
    if (aCount == Rows::kBlock) {
        return mulColumns(r, a, aCount, a, aCount, n); // half rows of less than a block would be slower
    }
    std::fill_n(r, n, Unit{0});
    for (std::uint32_t i = 0, column = 1; i + 1 < aCount && column < n; ++i, column += 2) {
        const std::uint32_t count = std::min(aCount - i - 1, n - column);
        const Unit carry = Rows::addRow(r + column, a + i + 1, count, a[i]);
        if (column + count < n) {
            r[column + count] = carry;
        }
    }
    // Twice that, and the squares.
    unsigned char carry = 0;
    Unit shiftedOut = 0;
    for (std::size_t i = 0; i < (n + 1) / 2; ++i) {
        const DoubleUnit square = i < aCount ? DoubleUnit{a[i]} * a[i] : 0;
        const Unit low = r[2 * i];
        r[2 * i] = Rows::addUnit(low << 1 | shiftedOut, static_cast<Unit>(square), carry);
        shiftedOut = low >> (kUnitBits - 1);
        if (2 * i + 1 < n) {
            const Unit high = r[2 * i + 1];
            r[2 * i + 1] = Rows::addUnit(high << 1 | shiftedOut, static_cast<Unit>(square >> kUnitBits), carry);
            shiftedOut = high >> (kUnitBits - 1);
        }
    }
}

template <typename Rows> void RowKernels<Rows>::mul8x8(Unit* r, const Unit* a, const Unit* b) {
    mulColumns(r, a, 8, b, 8, 16);
}

template <typename Rows> void RowKernels<Rows>::square8(Unit* r, const Unit* a) {
    squareColumns(r, a, 8, 16);
}

// RowProducts: the operations that Karatsuba's method is put together from.
template <typename Rows> struct RowProducts {
    static constexpr std::uint32_t kSmallest = 32;
    static constexpr auto add = RowKernels<Rows>::addUnits;
    static constexpr auto sub = RowKernels<Rows>::subUnits;
    static void mul(Unit* r, const Unit* a, const Unit* b, std::uint32_t n) {
        RowKernels<Rows>::mulColumns(r, a, n, b, n, 2 * n);
    }
    static void square(Unit* r, const Unit* a, std::uint32_t n) {
        RowKernels<Rows>::squareColumns(r, a, n, 2 * n);
    }
};

template <typename Rows>
void RowKernels<Rows>::karatsubaMul(Unit* r, const Unit* a, const Unit* b, std::uint32_t n, Unit* scratch) {
    ::karatsubaMul<RowProducts<Rows>>(r, a, b, n, scratch);
}

template <typename Rows>
void RowKernels<Rows>::karatsubaSquare(Unit* r, const Unit* a, std::uint32_t n, Unit* scratch) {
    ::karatsubaSquare<RowProducts<Rows>>(r, a, n, scratch);
}

// montReduce: r[k] := t[2k] / 2^(64 k) mod m. t is overwritten.
template <typename Rows> void montReduce(Unit* r, Unit* t, const MontModulus& m) {
    const std::uint32_t k = m.count;
    unsigned char carry = 0;
    for (std::uint32_t i = 0; i < k; ++i) {
        const Unit top = Rows::addRow(t + i, m.units, k, t[i] * m.negInverse);
        t[i + k] = Rows::addUnit(t[i + k], top, carry);
    }
    const Unit borrow = RowKernels<Rows>::subUnits(t, t + k, m.units, k);
    select(r, maskOf(carry < borrow ? 1 : 0), t + k, t, k);
}

// montMultiplyFew: montMultiply for a fixed number of units, so few that they stay in registers, as those of DSA's q.
template <typename Rows, std::uint32_t k>
void montMultiplyFew(Unit* r, const Unit* a, const Unit* b, const MontModulus& m) {
    Unit sum[k + 1] = {}, difference[k];
    for (std::uint32_t i = 0; i < k; ++i) { // the sum and a b[i], then a multiple of m that clears the lowest unit
        DoubleUnit column = DoubleUnit{a[0]} * b[i] + sum[0];
        const Unit u = static_cast<Unit>(column) * m.negInverse;
        Unit carry = static_cast<Unit>(column >> kUnitBits);
        column = DoubleUnit{m.units[0]} * u + static_cast<Unit>(column);
        Unit modulusCarry = static_cast<Unit>(column >> kUnitBits);
        for (std::uint32_t j = 1; j < k; ++j) {
            column = DoubleUnit{a[j]} * b[i] + sum[j] + carry;
            carry = static_cast<Unit>(column >> kUnitBits);
            column = DoubleUnit{m.units[j]} * u + static_cast<Unit>(column) + modulusCarry;
            modulusCarry = static_cast<Unit>(column >> kUnitBits);
            sum[j - 1] = static_cast<Unit>(column);
        }
        column = DoubleUnit{sum[k]} + carry + modulusCarry;
        sum[k - 1] = static_cast<Unit>(column);
        sum[k] = static_cast<Unit>(column >> kUnitBits);
    }
    unsigned char borrow = 0;
    for (std::uint32_t i = 0; i < k; ++i) {
        difference[i] = Rows::subUnit(sum[i], m.units[i], borrow);
    }
    select(r, maskOf(sum[k] < borrow ? 1 : 0), sum, difference, k);
}

template <typename Rows>
void RowKernels<Rows>::montMultiply(Unit* r, const Unit* a, const Unit* b, const MontModulus& m, Unit* scratch) {
    switch (m.count) {
    case 2:
        return montMultiplyFew<Rows, 2>(r, a, b, m);
    case 3:
        return montMultiplyFew<Rows, 3>(r, a, b, m);
    case 4:
        return montMultiplyFew<Rows, 4>(r, a, b, m);
    default:
        mulColumns(scratch, a, m.count, b, m.count, 2 * m.count);
        montReduce<Rows>(r, scratch, m);
    }
}

template <typename Rows>
void RowKernels<Rows>::montSquare(Unit* r, const Unit* a, const MontModulus& m, Unit* scratch) {
    if (m.count <= 4) {
        return montMultiply(r, a, a, m, scratch);
    }
    squareColumns(scratch, a, m.count, 2 * m.count);
    montReduce<Rows>(r, scratch, m);
}

#endif
