// Sums, rows, products and Montgomery products with MULX, ADCX and ADOX, and division with DIV.
//
// Everything is made of rows, r += a w: MULX leaves the flags alone, so that two chains of carries run side by side, one
// that joins the products (ADCX) and one that adds them to r (ADOX). Compilers do not write such chains, hence the
// assembly, in blocks of eight units and of four.
//
// Secrets: time depends on unit counts only, but for div128by64.
#include "core/bignum/branch_free.h"
#include "core/bignum/internal/karatsuba.h"
#include "core/bignum/internal/unit_rows.h"
#include "core/bignum/x86/x86_kernels.h"

#include "core/cpu/cpu_features.h"

#include <immintrin.h>

#include <algorithm>

namespace {

__extension__ using DoubleUnit = unsigned __int128;

// One unit of a row: the product of a unit and rdx, with what came out of the unit before it (in) and of the sum; `out`
// goes to the next. The second form keeps r complemented: r - a w is not (not r + a w).
#define ZEL_ADD_UNIT(offset, in, out)                                                                                  \
    "mulx " #offset "(%[a]), %[low], %[" #out "]\n\t"                                                                  \
    "adcx %[" #in "], %[low]\n\t"                                                                                      \
    "adox " #offset "(%[r]), %[low]\n\t"                                                                               \
    "mov %[low], " #offset "(%[r])\n\t"

#define ZEL_SUB_UNIT(offset, in, out)                                                                                  \
    "mulx " #offset "(%[a]), %[low], %[" #out "]\n\t"                                                                  \
    "adcx %[" #in "], %[low]\n\t"                                                                                      \
    "mov " #offset "(%[r]), %[" #in "]\n\t"                                                                            \
    "not %[" #in "]\n\t"                                                                                               \
    "adox %[" #in "], %[low]\n\t"                                                                                      \
    "not %[low]\n\t"                                                                                                   \
    "mov %[low], " #offset "(%[r])\n\t"

#define ZEL_FOUR_UNITS(step) step(0, carry, other) step(8, other, carry) step(16, carry, other) step(24, other, carry)

#define ZEL_EIGHT_UNITS(step)                                                                                          \
    ZEL_FOUR_UNITS(step)                                                                                               \
    step(32, carry, other) step(40, other, carry) step(48, carry, other) step(56, other, carry)

// Blocks of so many bytes; a and r move on. XOR clears both carries, and the zero adds them to the last high unit, where
// there is room for them.
#define ZEL_BLOCKS(units, bytes)                                                                                       \
    __asm__ volatile("1:\n\t"                                                                                          \
                     "xorl %k[zero], %k[zero]\n\t" units "adcx %[zero], %[carry]\n\t"                                  \
                     "adox %[zero], %[carry]\n\t"                                                                      \
                     "lea " #bytes "(%[a]), %[a]\n\t"                                                                  \
                     "lea " #bytes "(%[r]), %[r]\n\t"                                                                  \
                     "dec %[blocks]\n\t"                                                                               \
                     "jnz 1b"                                                                                          \
                     : [a] "+&r"(a), [r] "+&r"(r), [carry] "+&r"(carry), [blocks] "+&r"(blocks), [low] "=&r"(low),     \
                       [other] "=&r"(other), [zero] "=&r"(zero)                                                        \
                     : "d"(w)                                                                                          \
                     : "cc", "memory")

// r[n] += a[n] * w; returns the unit that leaves the top.
inline Unit addRow(Unit* r, const Unit* a, std::uint32_t n, Unit w) {
    Unit carry = 0, low = 0, other = 0, zero = 0, blocks = n / 8;
    if (blocks != 0) {
        ZEL_BLOCKS(ZEL_EIGHT_UNITS(ZEL_ADD_UNIT), 64);
    }
    if ((n & 4) != 0) {
        blocks = 1;
        ZEL_BLOCKS(ZEL_FOUR_UNITS(ZEL_ADD_UNIT), 32);
    }
    for (std::uint32_t i = 0; i < n % 4; ++i) {
        const DoubleUnit sum = DoubleUnit{a[i]} * w + r[i] + carry;
        r[i] = static_cast<Unit>(sum);
        carry = static_cast<Unit>(sum >> kUnitBits);
    }
    return carry;
}

inline Unit subRow(Unit* r, const Unit* a, std::uint32_t n, Unit w) {
    Unit carry = 0, low = 0, other = 0, zero = 0, blocks = n / 8;
    if (blocks != 0) {
        ZEL_BLOCKS(ZEL_EIGHT_UNITS(ZEL_SUB_UNIT), 64);
    }
    if ((n & 4) != 0) {
        blocks = 1;
        ZEL_BLOCKS(ZEL_FOUR_UNITS(ZEL_SUB_UNIT), 32);
    }
    for (std::uint32_t i = 0; i < n % 4; ++i) {
        const DoubleUnit sum = DoubleUnit{a[i]} * w + static_cast<Unit>(~r[i]) + carry;
        r[i] = ~static_cast<Unit>(sum);
        carry = static_cast<Unit>(sum >> kUnitBits);
    }
    return carry;
}

#undef ZEL_BLOCKS
#undef ZEL_EIGHT_UNITS
#undef ZEL_FOUR_UNITS
#undef ZEL_SUB_UNIT
#undef ZEL_ADD_UNIT

// One unit with its carry or borrow. The intrinsics want a type of their own that is as wide as a unit.
inline Unit addUnit(Unit a, Unit b, unsigned char& carry) {
    unsigned long long sum = 0;
    carry = _addcarry_u64(carry, a, b, &sum);
    return sum;
}

inline Unit subUnit(Unit a, Unit b, unsigned char& borrow) {
    unsigned long long difference = 0;
    borrow = _subborrow_u64(borrow, a, b, &difference);
    return difference;
}

} // namespace

Unit adxAddUnits(Unit* r, const Unit* a, const Unit* b, std::uint32_t n) {
    return combineUnits<unsigned char, addUnit>(r, a, b, n);
}

Unit adxSubUnits(Unit* r, const Unit* a, const Unit* b, std::uint32_t n) {
    return combineUnits<unsigned char, subUnit>(r, a, b, n);
}

Unit adxMulAddUnit(Unit* r, const Unit* a, std::uint32_t n, Unit w) {
    return addRow(r, a, n, w);
}

Unit adxMulSubUnit(Unit* r, const Unit* a, std::uint32_t n, Unit w) {
    return subRow(r, a, n, w);
}

Unit adxDiv128by64(Unit high, Unit low, Unit d) {
    Unit quotient = low, remainder = high;
    __asm__("divq %[d]" : "+a"(quotient), "+d"(remainder) : [d] "rm"(d) : "cc");
    return quotient;
}

void adxMulColumns(Unit* r, const Unit* a, std::uint32_t aCount, const Unit* b, std::uint32_t bCount, std::uint32_t n) {
    std::fill_n(r, n, Unit{0});
    for (std::uint32_t i = 0; i < std::min(bCount, n); ++i) {
        const std::uint32_t count = std::min(aCount, n - i);
        const Unit carry = addRow(r + i, a, count, b[i]);
        if (i + count < n) {
            r[i + count] = carry;
        }
    }
}

void adxSquareColumns(Unit* r, const Unit* a, std::uint32_t aCount, std::uint32_t n) {
    if (aCount == 8) {
        return adxMulColumns(r, a, 8, a, 8, n); // half rows of less than a block would be slower
    }
    std::fill_n(r, n, Unit{0});
    for (std::uint32_t i = 0, column = 1; i + 1 < aCount && column < n; ++i, column += 2) {
        const std::uint32_t count = std::min(aCount - i - 1, n - column);
        const Unit carry = addRow(r + column, a + i + 1, count, a[i]);
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
        r[2 * i] = addUnit(low << 1 | shiftedOut, static_cast<Unit>(square), carry);
        shiftedOut = low >> (kUnitBits - 1);
        if (2 * i + 1 < n) {
            const Unit high = r[2 * i + 1];
            r[2 * i + 1] = addUnit(high << 1 | shiftedOut, static_cast<Unit>(square >> kUnitBits), carry);
            shiftedOut = high >> (kUnitBits - 1);
        }
    }
}

void adxMul8x8(Unit* r, const Unit* a, const Unit* b) {
    adxMulColumns(r, a, 8, b, 8, 16);
}

void adxSquare8(Unit* r, const Unit* a) {
    adxSquareColumns(r, a, 8, 16);
}

namespace {

// The operations that Karatsuba's method is put together from.
struct AdxProducts {
    static constexpr std::uint32_t kSmallest = 32;
    static constexpr auto add = adxAddUnits;
    static constexpr auto sub = adxSubUnits;
    static void mul(Unit* r, const Unit* a, const Unit* b, std::uint32_t n) {
        adxMulColumns(r, a, n, b, n, 2 * n);
    }
    static void square(Unit* r, const Unit* a, std::uint32_t n) {
        adxSquareColumns(r, a, n, 2 * n);
    }
};

// r[k] := t[2k] / 2^(64 k) mod m. t has 2 k units.
void reduce(Unit* r, Unit* t, const MontModulus& m) {
    const std::uint32_t k = m.count;
    unsigned char carry = 0;
    for (std::uint32_t i = 0; i < k; ++i) {
        const Unit top = addRow(t + i, m.units, k, t[i] * m.negInverse);
        t[i + k] = addUnit(t[i + k], top, carry);
    }
    const Unit borrow = adxSubUnits(t, t + k, m.units, k);
    select(r, maskOf(carry < borrow ? 1 : 0), t + k, t, k);
}

// montMultiply for a fixed number of units, so few that they stay in registers: as q of a DSA key has.
template <std::uint32_t k> void multiplyFew(Unit* r, const Unit* a, const Unit* b, const MontModulus& m) {
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
        difference[i] = subUnit(sum[i], m.units[i], borrow);
    }
    select(r, maskOf(sum[k] < borrow ? 1 : 0), sum, difference, k);
}

} // namespace

void adxKaratsubaMul(Unit* r, const Unit* a, const Unit* b, std::uint32_t n, Unit* scratch) {
    karatsubaMul<AdxProducts>(r, a, b, n, scratch);
}

void adxKaratsubaSquare(Unit* r, const Unit* a, std::uint32_t n, Unit* scratch) {
    karatsubaSquare<AdxProducts>(r, a, n, scratch);
}

void adxMontMultiply(Unit* r, const Unit* a, const Unit* b, const MontModulus& m, Unit* scratch) {
    switch (m.count) {
    case 2:
        return multiplyFew<2>(r, a, b, m);
    case 3:
        return multiplyFew<3>(r, a, b, m);
    case 4:
        return multiplyFew<4>(r, a, b, m);
    default:
        adxMulColumns(scratch, a, m.count, b, m.count, 2 * m.count);
        reduce(r, scratch, m);
    }
}

void adxMontSquare(Unit* r, const Unit* a, const MontModulus& m, Unit* scratch) {
    if (m.count <= 4) {
        return adxMontMultiply(r, a, a, m, scratch);
    }
    adxSquareColumns(scratch, a, m.count, 2 * m.count);
    reduce(r, scratch, m);
}

bool adxIsSupported() {
    return cpuFeatures().bmi2 && cpuFeatures().adx;
}
