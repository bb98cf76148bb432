// Exponentiation with AVX-512 IFMA: almost-Montgomery products in radix 2^52 on 512-bit registers.
//
// A number of up to 8 V digits fills V registers of 8 lanes: lane l of register r holds digit r + V l. Moving all digits
// down by one is then a renaming of the registers and one shift by a lane. In the paired form the lower four lanes
// belong to the first task and the upper four to the second, so that one stream of instructions serves both.
//
// A product adds, digit by digit of b, a b_i and a multiple y of the modulus that clears the lowest digit, then moves
// down by one digit: a b / R mod m with R = 2^(52 steps). It works modulo a multiple m' of m that is -1 modulo 2^52: y is
// then the lowest digit as it stands, and one multiplication is gone from the chain that a step waits for. m' is kept as
// m' + 1; the -y that is missing is the lowest digit itself, which falls off. Results stay below 2 m', which all products
// accept, as R is above 4 m'; the final product, with the number 1, works modulo m and is at most m.
//
// What bounds a product of few registers is that chain. There m' is -1 modulo 2^104: the two lowest digits of m' + 1 are
// zero, so that the next y does not wait for this y m'. What bounds one of many registers is the number of
// multiplications. There a square takes the products of unlike digits once.
//
// Secrets: fixed windows, each a product with a table entry that is found by reading the whole table; no branch and no
// address depends on base, exponent or modulus, only on the lengths of exponent and modulus. Exponents of up to 64 bits
// are public here (RSA's public exponent): their bits decide on products. The compiled code has no branch but the loops
// over counts.
#include "core/bignum/x86/fixed_window.h"
#include "core/bignum/x86/x86_kernels.h"

#include "core/cpu/cpu_features.h"
#include "core/cpu/target.h"
#include "core/memory/memory.h"

#include <immintrin.h>

#include <algorithm>
#include <utility>

// The functions of this file are inlined into the few that are called from outside.
#define ZEL_IFMA_INLINE ZEL_TARGET_IFMA __attribute__((always_inline)) inline

namespace {

using Vector = __m512i;

constexpr std::uint32_t kDigitBits = 52;
constexpr Unit kDigitMask = (Unit{1} << kDigitBits) - 1;
constexpr std::size_t kLanes = 8;

// Shape: how numbers of one size lie in registers: V of them, for one task in 8 lanes or for two in 4 lanes each.
template <std::uint32_t units, std::uint32_t registers, std::uint32_t steps, bool pair> struct Shape {
    static constexpr std::uint32_t k = units;
    static constexpr std::uint32_t V = registers;
    static constexpr std::uint32_t kSteps = steps;
    static constexpr bool isPair = pair;
    static constexpr std::uint32_t kTasks = pair ? 2 : 1;
    static constexpr std::uint32_t kTaskLanes = static_cast<std::uint32_t>(kLanes) / kTasks;
    static constexpr std::size_t kNumberUnits = V * kLanes;

    // The register where register `index` of the first step is to be found.
    static constexpr std::uint32_t turn(std::uint32_t index) {
        return index % V;
    }

    // Of few registers: the steps wait for their chain, not for the multipliers.
    static constexpr bool isShort = registers < 5;
    static constexpr std::uint32_t kZeroDigits = isShort ? 2 : 1; // of m' + 1

    static_assert(steps <= registers * kTaskLanes);
    static_assert(steps * kDigitBits >= 64 * units + kZeroDigits * kDigitBits + 2, "4 m' is below R");
    static_assert(kTaskLanes * (6 * V + 8) < 1U << (64 - kDigitBits), "a sum of so many products fits its lane");
};

using One512 = Shape<8, 2, 12, false>;
using One1024 = Shape<16, 3, 22, false>;
using One1536 = Shape<24, 4, 32, false>;
using One2048 = Shape<32, 6, 41, false>;
using One3072 = Shape<48, 8, 61, false>;
using One4096 = Shape<64, 10, 80, false>;
using Pair512 = Shape<8, 3, 12, true>;
using Pair1024 = Shape<16, 6, 21, true>;
using Pair1536 = Shape<24, 8, 31, true>;
using Pair2048 = Shape<32, 11, 41, true>;

ZEL_IFMA_INLINE Vector load(const Unit* from) {
    return _mm512_load_si512(from);
}

// Number: the registers of a factor. Where there are too many of them for the register file, the products read them from
// memory; left alone, the compilers would keep them in registers and the sums on the stack.
//
// The address is put together here: gcc would make one of its own for each register of all factors, and keep them where it
// is in the way.
#define ZEL_FROM_MEMORY(instruction)                                                                                   \
    instruction " %c[offset](%[base]), %[b], %[sum]" : [sum] "+v"(sum)                                                 \
        : [b] "v"(b),                                                                                                  \
          [base] "r"(memory_),                                                                                         \
          [offset] "i"(r * sizeof(Vector)),                                                                            \
          "m"(*reinterpret_cast<const Vector(*)[S::V]>(memory_))
template <typename S> class Number {
public:
    static constexpr bool isInMemory = S::V >= 8;

    template <std::uint32_t... r> ZEL_IFMA_INLINE Number(const Unit* number, std::integer_sequence<std::uint32_t, r...>)
        : memory_(number), registers_{(isInMemory ? _mm512_setzero_si512() : load(number + r * kLanes))...} {
    }

    // addLow, addHigh: adds the low or high 52 bits of register r times b. In this order: what others wait for first.
    template <std::uint32_t r> ZEL_IFMA_INLINE void addLow(Vector& sum, Vector b) const {
        if constexpr (isInMemory) {
            __asm__ volatile(ZEL_FROM_MEMORY("vpmadd52luq"));
        } else {
            __asm__ volatile("vpmadd52luq %2, %1, %0" : "+v"(sum) : "v"(b), "v"(registers_[r]));
        }
    }
    template <std::uint32_t r> ZEL_IFMA_INLINE void addHigh(Vector& sum, Vector b) const {
        if constexpr (isInMemory) {
            __asm__ volatile(ZEL_FROM_MEMORY("vpmadd52huq"));
        } else {
            __asm__ volatile("vpmadd52huq %2, %1, %0" : "+v"(sum) : "v"(b), "v"(registers_[r]));
        }
    }

private:
    const Unit* memory_;
    const Vector registers_[S::V];
};
#undef ZEL_FROM_MEMORY

// The lowest digit of each task in all lanes of the task.
template <typename S> ZEL_IFMA_INLINE Vector spreadLowest(Vector digits) {
    if constexpr (S::isPair) {
        return _mm512_permutex_epi64(digits, 0x00);
    } else {
        return _mm512_broadcastq_epi64(_mm512_castsi512_si128(digits));
    }
}

// Digits of b at one lane, in all lanes of their task.
template <typename S> ZEL_IFMA_INLINE Vector spreadDigit(const Unit* b, std::uint32_t lane) {
    if constexpr (S::isPair) {
        const Vector lanes = _mm512_add_epi64(_mm512_set1_epi64(lane), _mm512_set_epi64(4, 4, 4, 4, 0, 0, 0, 0));
        return _mm512_permutexvar_epi64(lanes, load(b));
    } else {
        return _mm512_set1_epi64(static_cast<long long>(b[lane]));
    }
}

template <typename S> ZEL_IFMA_INLINE Vector laneDown(Vector digits) {
    if constexpr (S::isPair) {
        return _mm512_maskz_permutex_epi64(0x77, digits, 0x39);
    } else {
        return _mm512_alignr_epi64(_mm512_setzero_si512(), digits, 1);
    }
}

template <typename S> ZEL_IFMA_INLINE Vector laneUp(Vector digits) {
    if constexpr (S::isPair) {
        return _mm512_maskz_permutex_epi64(0xEE, digits, 0x90);
    } else {
        return _mm512_alignr_epi64(digits, _mm512_setzero_si512(), 7);
    }
}

// Sums: the two halves of a running sum, a b apart from y m, so that the former need not wait for y. In step s,
// register r of a half is its entry (s + r) % V. late is what the last y adds to the lowest register, where the
// next y need not wait for it.
template <typename S> struct Sums { Vector ab[S::V], ym[S::V], late; };

// In a square the products of digits of two registers are taken once only, and ab counts double when it leaves; those of
// digits of one register are all taken, and go to ym, which counts once.
template <bool isSquare> ZEL_IFMA_INLINE Vector counted(Vector ab) {
    return isSquare ? _mm512_add_epi64(ab, ab) : ab;
}

// One step: the sum and a b_i + y m, divided by 2^52.
template <typename S, bool isMultiplied, bool isSquare, std::uint32_t step, std::uint32_t... r>
ZEL_IFMA_INLINE void addDigit(Sums<S>& sums, const Number<S>& a, const Number<S>& m, Vector firstDown,
                              Vector negInverse, const Unit* b, std::uint32_t lane,
                              std::integer_sequence<std::uint32_t, r...>) {
    constexpr std::uint32_t V = S::V;
    constexpr std::uint32_t first = isSquare ? step : 0; // the registers below it have met this one
    constexpr bool isApart = S::isShort && isMultiplied; // late has no part in the lowest digit
    Vector(&ab)[V] = sums.ab;
    Vector(&ym)[V] = sums.ym;
    const Vector zero = _mm512_setzero_si512();
    const Vector digit = spreadDigit<S>(b + step * kLanes, lane);
    Vector lowest = counted<isSquare>(ab[S::turn(step)]);
    if constexpr (first == 0) {
        a.template addLow<0>(lowest, digit);
    }
    lowest = _mm512_add_epi64(lowest, ym[S::turn(step)]);
    ab[S::turn(step)] = ym[S::turn(step)] = zero;
    const Vector y = spreadLowest<S>(isMultiplied ? lowest : _mm512_madd52lo_epu64(zero, lowest, negInverse));
    ((r > 0 && r >= first ? a.template addLow<r>((isSquare && r == step ? ym : ab)[S::turn(step + r)], digit)
                          : (void)0),
     ...);
    ((r >= first ? a.template addHigh<r>((isSquare && r == step ? ym : ab)[S::turn(step + r + 1)], digit) : (void)0),
     ...);

    // What the lowest digit carries: a digit that is not zero becomes 2^52 when y m is added.
    const Vector cleared =
        isMultiplied ? lowest : _mm512_add_epi64(lowest, _mm512_set1_epi64(static_cast<long long>(kDigitMask)));
    Vector carry = _mm512_maskz_srli_epi64(S::isPair ? 0x11 : 0x01, cleared, kDigitBits);
    Vector& next = ym[S::turn(step + 1)];
    if constexpr (isApart) {
        lowest = _mm512_add_epi64(lowest, sums.late);
        next = _mm512_add_epi64(next, carry);
        sums.late = zero;
        m.template addHigh<0>(sums.late, y);
        m.template addLow<1>(sums.late, y);
    } else {
        m.template addHigh<0>(carry, y);
        m.template addLow<1>(next, y);
        next = _mm512_add_epi64(next, carry); // on its own: the chain from digit to digit is one product long
    }
    ((r > 1 ? m.template addLow<r>(ym[S::turn(step + r)], y) : (void)0), ...);
    ym[S::turn(step)] = _mm512_madd52lo_epu64(_mm512_add_epi64(ym[S::turn(step)], laneDown<S>(lowest)), y, firstDown);
    ((r > 0 ? m.template addHigh<r>(ym[S::turn(step + r + 1)], y) : (void)0), ...);
}

// All digits below 2^52, exactly. First every digit hands its carry on at once; then the remaining carries, 0 or 1, run
// through the registers of a lane; then through the lanes: a lane that is all ones hands on what comes in.
template <typename S, std::uint32_t... r>
ZEL_IFMA_INLINE void normalise(Vector (&sum)[S::V], std::integer_sequence<std::uint32_t, r...>) {
    constexpr std::uint32_t V = S::V;
    const Vector mask = _mm512_set1_epi64(static_cast<long long>(kDigitMask));
    const Vector carries[V] = {_mm512_srli_epi64(sum[r], kDigitBits)...};
    ((sum[r] = _mm512_add_epi64(_mm512_and_si512(sum[r], mask), r == 0 ? laneUp<S>(carries[V - 1]) : carries[r - 1])),
     ...);
    ((r + 1 < V ? (void)(sum[r + 1] = _mm512_add_epi64(sum[r + 1], _mm512_srli_epi64(sum[r], kDigitBits))) : (void)0),
     ...);
    const unsigned overflowing = _mm512_cmpgt_epu64_mask(sum[V - 1], mask);
    ((sum[r] = _mm512_and_si512(sum[r], mask)), ...);
    const __mmask8 full[V] = {_mm512_cmpeq_epi64_mask(sum[r], mask)...};
    const unsigned handingOn = (full[r] & ...);
    unsigned incoming = ((2 * overflowing + handingOn) ^ handingOn) & 0xFF;
    const Vector one = _mm512_set1_epi64(1);
    ((sum[r] = _mm512_and_si512(_mm512_mask_add_epi64(sum[r], static_cast<__mmask8>(incoming), sum[r], one), mask),
      incoming &= full[r]),
     ...);
}

template <typename S, bool isMultiplied, bool isSquare, std::uint32_t... r, std::uint32_t... step>
ZEL_IFMA_INLINE void addDigits(Sums<S>& sums, const Number<S>& a, const Number<S>& m, Vector firstDown,
                               Vector negInverse, const Unit* b, std::uint32_t lane,
                               std::integer_sequence<std::uint32_t, r...> registers,
                               std::integer_sequence<std::uint32_t, step...>) {
    (addDigit<S, isMultiplied, isSquare, step>(sums, a, m, firstDown, negInverse, b, lane, registers), ...);
}

template <typename S, bool isMultiplied, bool isSquare, std::uint32_t... r>
ZEL_IFMA_INLINE void product(Unit* result, const Unit* a, const Unit* b, const Unit* m, const Unit* negInverse,
                             std::integer_sequence<std::uint32_t, r...> all) {
    constexpr std::uint32_t kGroups = S::kSteps / S::V, kLeft = S::kSteps % S::V;
    const Vector inverses = load(negInverse);
    Sums<S> sums = {
        {((void)r, _mm512_setzero_si512())...}, {((void)r, _mm512_setzero_si512())...}, _mm512_setzero_si512()};
    const Number<S> aDigits(a, all), mDigits(m, all);
    const Vector firstDown = laneDown<S>(load(m));
    for (std::uint32_t lane = 0; lane < kGroups; ++lane) {
        addDigits<S, isMultiplied, isSquare>(sums, aDigits, mDigits, firstDown, inverses, b, lane, all, all);
    }
    if constexpr (kLeft > 0) {
        addDigits<S, isMultiplied, isSquare>(sums, aDigits, mDigits, firstDown, inverses, b, kGroups, all,
                                             std::make_integer_sequence<std::uint32_t, kLeft>{});
    }
    Vector sum[S::V] = {
        _mm512_add_epi64(counted<isSquare>(sums.ab[S::turn(kLeft + r)]), sums.ym[S::turn(kLeft + r)])...};
    sum[0] = _mm512_add_epi64(sum[0], sums.late);
    normalise<S>(sum, all);
    (_mm512_store_si512(result + r * kLanes, sum[r]), ...);
}

// Modulus: the modulus or moduli of an exponentiation as the products read them.
struct Modulus {
    const Unit* digits;     // m
    const Unit* multiplied; // m' + 1, where there is a spare digit
    const Unit* negInverse; // -1/m mod 2^52, in all lanes of the task
};

// result := a * b / R mod m. result may be a or b.
template <typename S>
ZEL_TARGET_IFMA __attribute__((noinline)) void multiply(Unit* result, const Unit* a, const Unit* b, const Modulus& m) {
    product<S, true, false>(result, a, b, m.multiplied, m.negInverse,
                            std::make_integer_sequence<std::uint32_t, S::V>{});
}

// result := a * a / R mod m. result may be a.
template <typename S>
ZEL_TARGET_IFMA __attribute__((noinline)) void square(Unit* result, const Unit* a, const Modulus& m) {
    product<S, true, !S::isShort>(result, a, a, m.multiplied, m.negInverse,
                                  std::make_integer_sequence<std::uint32_t, S::V>{});
}

// result := a / R mod m, at most m.
template <typename S>
ZEL_TARGET_IFMA __attribute__((noinline)) void leave(Unit* result, const Unit* a, const Unit* one, const Modulus& m) {
    product<S, false, false>(result, a, one, m.digits, m.negInverse, std::make_integer_sequence<std::uint32_t, S::V>{});
}

// result := table[index of the task], all of the table being read.
template <typename S, std::uint32_t... r> ZEL_IFMA_INLINE void selectEntry(Unit* result, const Unit* table,
                                                                           std::uint32_t entries, Vector index,
                                                                           std::integer_sequence<std::uint32_t, r...>) {
    Vector found[S::V] = {((void)r, _mm512_setzero_si512())...};
    for (std::uint32_t j = 0; j < entries; ++j, table += S::kNumberUnits) {
        const __mmask8 isMeant = _mm512_cmpeq_epi64_mask(index, _mm512_set1_epi64(j));
        ((found[r] = _mm512_mask_mov_epi64(found[r], isMeant, load(table + r * kLanes))), ...);
    }
    (_mm512_store_si512(result + r * kLanes, found[r]), ...);
}

template <typename S> ZEL_TARGET_IFMA __attribute__((noinline)) void
lookUp(Unit* result, const Unit* table, std::uint32_t entries, Unit first, Unit second) {
    const Vector index =
        _mm512_mask_set1_epi64(_mm512_set1_epi64(static_cast<long long>(first)), 0xF0, static_cast<long long>(second));
    selectEntry<S>(result, table, entries, index, std::make_integer_sequence<std::uint32_t, S::V>{});
}

// No digit of a secret stays in a register.
ZEL_TARGET_IFMA void wipeRegisters() {
    __asm__ volatile("vpxorq %%xmm16, %%xmm16, %%xmm16\n\tvpxorq %%xmm17, %%xmm17, %%xmm17\n\t"
                     "vpxorq %%xmm18, %%xmm18, %%xmm18\n\tvpxorq %%xmm19, %%xmm19, %%xmm19\n\t"
                     "vpxorq %%xmm20, %%xmm20, %%xmm20\n\tvpxorq %%xmm21, %%xmm21, %%xmm21\n\t"
                     "vpxorq %%xmm22, %%xmm22, %%xmm22\n\tvpxorq %%xmm23, %%xmm23, %%xmm23\n\t"
                     "vpxorq %%xmm24, %%xmm24, %%xmm24\n\tvpxorq %%xmm25, %%xmm25, %%xmm25\n\t"
                     "vpxorq %%xmm26, %%xmm26, %%xmm26\n\tvpxorq %%xmm27, %%xmm27, %%xmm27\n\t"
                     "vpxorq %%xmm28, %%xmm28, %%xmm28\n\tvpxorq %%xmm29, %%xmm29, %%xmm29\n\t"
                     "vpxorq %%xmm30, %%xmm30, %%xmm30\n\tvpxorq %%xmm31, %%xmm31, %%xmm31\n\tvzeroall"
                     :
                     :
                     : "xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5", "xmm6", "xmm7", "xmm8", "xmm9", "xmm10", "xmm11",
                       "xmm12", "xmm13", "xmm14", "xmm15", "xmm16", "xmm17", "xmm18", "xmm19", "xmm20", "xmm21",
                       "xmm22", "xmm23", "xmm24", "xmm25", "xmm26", "xmm27", "xmm28", "xmm29", "xmm30", "xmm31");
}

// The compiler may have kept registers on the stack of the functions above, which ran at this depth.
__attribute__((noinline)) void wipeStack() {
    constexpr std::size_t kDeepestFrame = 4096;
    std::uint8_t frame[kDeepestFrame];
    memWipe(frame, sizeof frame);
}

// Where digit d of a task stands in a number.
template <typename S> constexpr std::size_t place(std::uint32_t task, std::uint32_t d) {
    return d % S::V * kLanes + task * S::kTaskLanes + d / S::V;
}

template <typename S> void toDigits(Unit* number, std::uint32_t task, const Unit* units) {
    for (std::uint32_t d = 0; d < S::V * S::kTaskLanes; ++d) {
        const std::uint32_t unit = d * kDigitBits / kUnitBits, shift = d * kDigitBits % kUnitBits;
        Unit digit = unit < S::k ? units[unit] >> shift : 0;
        if (shift > kUnitBits - kDigitBits && unit + 1 < S::k) {
            digit |= units[unit + 1] << (kUnitBits - shift);
        }
        number[place<S>(task, d)] = digit & kDigitMask;
    }
}

// units[k] := the number, or 0 in place of the modulus.
template <typename S> void fromDigits(Unit* units, std::uint32_t task, const Unit* number, const Unit* modulus) {
    Unit difference = 0; // no unit differs from the modulus
    for (std::uint32_t i = 0; i < S::k; ++i) {
        const std::uint32_t d = i * kUnitBits / kDigitBits, shift = i * kUnitBits % kDigitBits;
        Unit unit = number[place<S>(task, d)] >> shift | number[place<S>(task, d + 1)] << (kDigitBits - shift);
        if (2 * kDigitBits - shift < kUnitBits) {
            unit |= number[place<S>(task, d + 2)] << (2 * kDigitBits - shift);
        }
        units[i] = unit;
        difference |= unit ^ modulus[i];
    }
    const volatile Unit maskInMemory = Unit{0} - ((difference | (Unit{0} - difference)) >> (kUnitBits - 1));
    const Unit keep = maskInMemory; // read from memory, so that no optimiser makes it a branch
    for (std::uint32_t i = 0; i < S::k; ++i) {
        units[i] &= keep;
    }
}

// number := m' + 1 for m' = m (-1/m mod 2^(52 zero digits)).
template <typename S>
void multiplyModulus(Unit* number, std::uint32_t task, const Unit* m, const MontModulus& modulus) {
    __extension__ using DoubleUnit = unsigned __int128;
    const DoubleUnit lowest = DoubleUnit{modulus.units[1]} << kUnitBits | modulus.units[0];
    const DoubleUnit inverse = modulus.negInverse * (lowest * modulus.negInverse + 2); // twice the bits: a Newton step
    const Unit low = static_cast<Unit>(inverse) & kDigitMask;
    const Unit high = S::kZeroDigits < 2 ? 0 : static_cast<Unit>(inverse >> kDigitBits) & kDigitMask;
    DoubleUnit carry = 1;
    for (std::uint32_t d = 0; d < S::V * S::kTaskLanes; ++d) {
        carry += DoubleUnit{m[place<S>(task, d)]} * low;
        carry += d == 0 ? 0 : DoubleUnit{m[place<S>(task, d - 1)]} * high;
        number[place<S>(task, d)] = static_cast<Unit>(carry) & kDigitMask;
        carry >>= kDigitBits;
    }
}

// Scratch in numbers: modulus, multiplied modulus, inverse (one vector), base, one, power, entry; the table.
constexpr std::size_t kFixedNumbers = 7;

template <typename S> constexpr std::size_t scratchUnitsOf(std::uint32_t exponentBits) {
    return (kFixedNumbers + fixedWindowEntries(exponentBits)) * S::kNumberUnits +
           kLanes; // and the way to the next 64-byte boundary
}

template <typename S> void modExp(const ModExpTask* const (&tasks)[S::kTasks], Unit* scratch) {
    constexpr std::size_t n = S::kNumberUnits;
    Unit* const start = scratch + (Unit{0} - reinterpret_cast<std::uintptr_t>(scratch)) % 64 / sizeof(Unit);
    Unit* const digits = start;
    Unit* const multiplied = digits + n;
    Unit* const negInverse = multiplied + n;
    Unit* const base = negInverse + n;
    Unit* const one = base + n;
    Unit* const power = one + n;
    Unit* const entry = power + n;
    Unit* const table = entry + n;
    const Modulus m{digits, multiplied, negInverse};
    std::uint32_t bits = 0;

    // R^2 = ((2^(128 k))^2 / R) 2^(4 (52 steps - 64 k)) / R.
    constexpr std::uint32_t kLift = 4 * (kDigitBits * S::kSteps - kUnitBits * S::k);
    std::fill_n(one, n, Unit{0});
    for (std::uint32_t task = 0; task < S::kTasks; ++task) {
        const MontModulus& modulus = tasks[task]->modulus;
        bits = std::max(bits, tasks[task]->exponentBits);
        toDigits<S>(digits, task, modulus.units);
        std::fill_n(negInverse + task * S::kTaskLanes, S::kTaskLanes, modulus.negInverse & kDigitMask);
        multiplyModulus<S>(multiplied, task, digits, modulus);
        toDigits<S>(entry, task, modulus.radixSquared);
        toDigits<S>(base, task, tasks[task]->base);
        one[place<S>(task, kLift / kDigitBits)] = Unit{1} << kLift % kDigitBits;
    }
    square<S>(entry, entry, m);
    multiply<S>(entry, entry, one, m);
    multiply<S>(base, base, entry, m);
    std::fill_n(one, n, Unit{0});
    for (std::uint32_t task = 0; task < S::kTasks; ++task) {
        one[place<S>(task, 0)] = 1;
    }

    if (S::kTasks == 1 && bits <= kPublicExponentBits) {
        std::copy_n(base, n, power);
        for (std::uint32_t i = bits - 1; i-- > 0;) {
            square<S>(power, power, m);
            if ((tasks[0]->exponent[0] >> i & 1) != 0) {
                multiply<S>(power, power, base, m);
            }
        }
    } else {
        const std::uint32_t width = fixedWindowWidth(bits), entries = 1U << width;
        multiply<S>(table, entry, one, m);
        std::copy_n(base, n, table + n);
        for (std::uint32_t j = 2; j < entries; ++j) {
            j % 2 == 0 ? square<S>(table + j * n, table + j / 2 * n, m)
                       : multiply<S>(table + j * n, table + (j - 1) * n, table + n, m);
        }
        for (std::uint32_t position = (bits - 1) / width * width;; position -= width) {
            const bool isFirst = position + width >= bits;
            for (std::uint32_t i = 0; i < (isFirst ? 0 : width); ++i) {
                square<S>(power, power, m);
            }
            lookUp<S>(isFirst ? power : entry, table, entries, exponentWindow(*tasks[0], position, width),
                      exponentWindow(*tasks[S::kTasks - 1], position, width));
            if (!isFirst) {
                multiply<S>(power, power, entry, m);
            }
            if (position == 0) {
                break;
            }
        }
    }

    leave<S>(power, power, one, m);
    for (std::uint32_t task = 0; task < S::kTasks; ++task) {
        fromDigits<S>(tasks[task]->result, task, power, tasks[task]->modulus.units);
    }
    wipeRegisters();
    wipeStack();
}

} // namespace

bool ifmaIsSupported() {
    return cpuFeatures().ifma && cpuFeatures().bmi2;
}

bool ifmaTakes(std::uint32_t k) {
    return k == 8 || k == 16 || k == 24 || k == 32 || k == 48 || k == 64;
}

std::size_t ifmaScratch(std::uint32_t k, std::uint32_t exponentBits) {
    switch (k) {
    case 8:
        return scratchUnitsOf<Pair512>(exponentBits);
    case 16:
        return scratchUnitsOf<Pair1024>(exponentBits);
    case 24:
        return scratchUnitsOf<Pair1536>(exponentBits);
    case 32:
        return scratchUnitsOf<Pair2048>(exponentBits);
    case 48:
        return scratchUnitsOf<One3072>(exponentBits);
    default:
        return scratchUnitsOf<One4096>(exponentBits);
    }
}

void ifmaModExp(const ModExpTask& task, Unit* scratch) {
    switch (task.modulus.count) {
    case 8:
        return modExp<One512>({&task}, scratch);
    case 16:
        return modExp<One1024>({&task}, scratch);
    case 24:
        return modExp<One1536>({&task}, scratch);
    case 32:
        return modExp<One2048>({&task}, scratch);
    case 48:
        return modExp<One3072>({&task}, scratch);
    default:
        return modExp<One4096>({&task}, scratch);
    }
}

void ifmaModExpPair(const ModExpTask& first, const ModExpTask& second, Unit* scratch) {
    const std::uint32_t k = first.modulus.count;
    if (std::max(first.exponentBits, second.exponentBits) <= kPublicExponentBits || k > 32) {
        ifmaModExp(first, scratch);
        ifmaModExp(second, scratch);
        return;
    }
    switch (k) {
    case 8:
        return modExp<Pair512>({&first, &second}, scratch);
    case 16:
        return modExp<Pair1024>({&first, &second}, scratch);
    case 24:
        return modExp<Pair1536>({&first, &second}, scratch);
    default:
        return modExp<Pair2048>({&first, &second}, scratch);
    }
}
