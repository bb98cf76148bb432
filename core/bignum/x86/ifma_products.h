// Almost-Montgomery products with AVX-512 IFMA, in radix 2^52 on 512-bit registers. For modexp_ifma.cpp alone.
//
// A number of up to 8 V digits fills V registers of 8 lanes: lane l of register r holds digit r + V l. Moving all digits
// down by one is then a renaming of the registers and one shift by a lane. In the paired form even lanes belong to the
// first task and odd ones to the second: one stream of instructions serves both, and one load spreads a digit of each.
//
// A digit of a stored number is the low 52 bits of its lane, which is what the multiplications read; in a sum the bits
// above count, too.
//
// A product adds, digit by digit of b, a b_i and y times the modulus, which clears the lowest digit, then moves down by one
// digit: a b / R mod m with R = 2^(52 steps). All steps but the last add multiples of a multiple m' of m that is -1 modulo
// 2^52: y is then the lowest digit as it stands, and one multiplication is gone from the chain that a step waits for. m' is
// kept as m' + 1; the -y that is missing is the lowest digit itself, which falls off. m' is a digit longer than m, and so
// is the sum; the last step adds a multiple of m itself, and the sum is as short as m again. Results are below a b / R + 2 m:
// below 3 m if the factors are, as R is above 9 m. The final product, with the number 1, works modulo m alone: at most m.
//
// What bounds a product of few registers is that chain. There m' is -1 modulo 2^104: the two lowest digits of m' + 1 are
// zero, so that the next y does not wait for this y m', and the last two steps add multiples of m. What bounds one of many
// registers is the number of multiplications. There a square takes the products of unlike digits once.
//
// Secrets: the compiled code has no branch but the loops over counts, and no address that depends on a value.
#ifndef ZELSPI_CORE_BIGNUM_X86_IFMA_PRODUCTS_H
#define ZELSPI_CORE_BIGNUM_X86_IFMA_PRODUCTS_H

#include "core/bignum/kernels.h"
#include "core/cpu/x86/target.h"

#include <immintrin.h>

#include <utility>

// Everything here is inlined into the few functions that are called.
#define ZEL_IFMA_INLINE ZEL_TARGET_IFMA __attribute__((always_inline)) inline

namespace ifma {

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
    // m' + 1 has a digit more than there are lanes.
    static constexpr bool hasTop = registers * kTaskLanes < steps + kZeroDigits;

    static_assert(steps + kZeroDigits <= registers * kTaskLanes + 1, "all digits of m' + 1 but one have a lane");
    static_assert(!isShort || !hasTop, "a last step leaves that digit where it was: two would add it twice");
    static_assert(steps * kDigitBits >= 64 * units + 4, "9 m is below R");
    static_assert(kTaskLanes * (6 * V + 8) < 1U << (64 - kDigitBits), "a sum of so many products fits its lane");
};

using One512 = Shape<8, 2, 10, false>;
using One1024 = Shape<16, 3, 20, false>;
using One1536 = Shape<24, 4, 30, false>;
using One2048 = Shape<32, 5, 40, false>;
using One3072 = Shape<48, 8, 60, false>;
using One4096 = Shape<64, 10, 79, false>;
using Pair512 = Shape<8, 3, 10, true>;
using Pair1024 = Shape<16, 5, 20, true>;
using Pair1536 = Shape<24, 8, 30, true>;
using Pair2048 = Shape<32, 10, 40, true>;

// Where digit d of a task stands in a number.
template <typename S> constexpr std::size_t place(std::uint32_t task, std::uint32_t d) {
    return d % S::V * kLanes + d / S::V * S::kTasks + task;
}

ZEL_IFMA_INLINE Vector load(const Unit* from) {
    return _mm512_load_si512(from);
}

// Factor: the registers of one. Where there are too many of them for the register file, the products read them from
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
template <typename S> class Factor {
public:
    static constexpr bool isInMemory = S::V >= 8;

    template <std::uint32_t... r> ZEL_IFMA_INLINE Factor(const Unit* number, std::integer_sequence<std::uint32_t, r...>)
        : memory_(number), registers_{(isInMemory ? _mm512_setzero_si512() : load(number + r * kLanes))...} {
    }

    // addLow, addHigh: adds the low or high 52 bits of register r times b. The order of the calls stays (volatile): first what
    // other instructions wait for.
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
        return _mm512_shuffle_i64x2(digits, digits, 0);
    } else {
        return _mm512_broadcastq_epi64(_mm512_castsi512_si128(digits));
    }
}

// The same from memory, where it takes no instruction but the load.
template <typename S> ZEL_IFMA_INLINE Vector spreadDigit(const Unit* digits) {
    if constexpr (S::isPair) {
        return _mm512_broadcast_i64x2(_mm_load_si128(reinterpret_cast<const __m128i*>(digits)));
    } else {
        return _mm512_set1_epi64(static_cast<long long>(*digits));
    }
}

// Each task's lowest lane of `above` comes in at its top.
template <typename S> ZEL_IFMA_INLINE Vector laneDown(Vector digits, Vector above = _mm512_setzero_si512()) {
    return _mm512_alignr_epi64(above, digits, S::kTasks);
}

template <typename S> ZEL_IFMA_INLINE Vector laneUp(Vector digits) {
    return _mm512_alignr_epi64(digits, _mm512_setzero_si512(), kLanes - S::kTasks);
}

// Modulus: the modulus or moduli of an exponentiation as the products read them.
struct Modulus {
    const Unit* digits;     // m
    const Unit* multiplied; // m' + 1
    const Unit* top;        // of each task the digit of m' + 1 for which there is no lane
    const Unit* negInverse; // -1/m mod 2^52, of each task
};

// Multiple: what a step adds y times: m' + 1, or m.
template <typename S, bool isMultiplied> struct Multiple {
    template <std::uint32_t... r>
    ZEL_IFMA_INLINE Multiple(const Modulus& m, std::integer_sequence<std::uint32_t, r...> all)
        : digits(isMultiplied ? m.multiplied : m.digits, all), top(spreadDigit<S>(m.top)),
          lowestDown(
              laneDown<S>(load(isMultiplied ? m.multiplied : m.digits), isMultiplied ? top : _mm512_setzero_si512())),
          negInverse(spreadDigit<S>(m.negInverse)) {
    }

    const Factor<S> digits;
    const Vector top, lowestDown, negInverse; // lowestDown: the lowest register, a lane down
};

// Product: the sum that becomes a b / R. It is held in two halves, a b apart from y m, so that the former need not wait for
// y. In step s, register r of a half is its entry (s + r) % V: dividing by 2^52 moves no register.
//
// isSquare: a is b; the products of digits of two registers are taken once only, and ab counts double when it leaves;
// those of digits of one register are all taken, and go to ym, which counts once.
template <typename S, bool isSquare> class Product {
public:
    template <std::uint32_t... r>
    ZEL_IFMA_INLINE Product(const Unit* a, const Unit* b, std::integer_sequence<std::uint32_t, r...> all)
        : a_(a, all), b_(b), ab_{((void)r, _mm512_setzero_si512())...}, ym_{((void)r, _mm512_setzero_si512())...},
          late_(_mm512_setzero_si512()), top_(_mm512_setzero_si512()) {
        takeLowest<0, true>(0);
    }

    // The sum becomes (sum + a b_i + y m) / 2^52, where b_i are the digits V lane + step of b. isLast: no digit follows.
    template <std::uint32_t step, bool isLast, bool isMultiplied, std::uint32_t... r> ZEL_IFMA_INLINE void
    addDigit(std::uint32_t lane, const Multiple<S, isMultiplied>& m, std::integer_sequence<std::uint32_t, r...> all) {
        Vector lowest = lowest_;
        // How many times m clears the lowest digit, in all lanes of the task.
        const Vector y = spreadLowest<S>(
            isMultiplied ? lowest : _mm512_madd52lo_epu64(_mm512_setzero_si512(), lowest, m.negInverse));
        addDigitTimesA<step>(digit<step>(lane), all);
        takeLowest<step + 1, !isLast>(lane);
        // What the cleared digit carries: where m itself is added, one that is not zero becomes 2^52.
        const Vector cleared =
            isMultiplied ? lowest : _mm512_add_epi64(lowest, _mm512_set1_epi64(static_cast<long long>(kDigitMask)));
        Vector carry = _mm512_maskz_srli_epi64((1U << S::kTasks) - 1, cleared, kDigitBits);
        if constexpr (S::isShort) {
            lowest = _mm512_add_epi64(lowest, late_);
            late_ = _mm512_setzero_si512();
        }
        // Where the two lowest digits of m' + 1 are zero, these products have no part in the next lowest digit.
        constexpr bool isLate = S::isShort && isMultiplied;
        m.digits.template addHigh<0>(isLate ? late_ : carry, y);
        m.digits.template addLow<1>(isLate ? late_ : lowest_, y);
        lowest_ = _mm512_add_epi64(lowest_, carry); // on its own: the chain from digit to digit is one product long
        addRestOfYTimesM<step>(lowest, m, y, all);
    }

    // Register r of the sum after so many steps, the last of them with isLast; its digits may exceed 52 bits.
    template <std::uint32_t steps, std::uint32_t r> ZEL_IFMA_INLINE Vector sum() const {
        return r == 0 ? lowest_ : _mm512_add_epi64(counted(ab_[S::turn(steps + r)]), ym_[S::turn(steps + r)]);
    }

private:
    static constexpr std::uint32_t V = S::V;

    static ZEL_IFMA_INLINE Vector counted(Vector ab) {
        return isSquare ? _mm512_add_epi64(ab, ab) : ab;
    }

    template <std::uint32_t step> ZEL_IFMA_INLINE Vector digit(std::uint32_t lane) const {
        return spreadDigit<S>(b_ + step % V * kLanes + (lane + step / V) * S::kTasks);
    }

    // Moves the lowest register of the given step out of the halves, with the low products of its digit, if that is to come.
    template <std::uint32_t step, bool hasDigit> ZEL_IFMA_INLINE void takeLowest(std::uint32_t lane) {
        lowest_ = counted(ab_[S::turn(step)]);
        if constexpr (hasDigit && (!isSquare || step % V == 0)) {
            a_.template addLow<0>(lowest_, digit<step>(lane));
        }
        lowest_ = _mm512_add_epi64(lowest_, ym_[S::turn(step)]);
        ab_[S::turn(step)] = ym_[S::turn(step)] = _mm512_setzero_si512();
    }

    // Adds the rest of a b_i. In a square the registers below `step` have met the digit already.
    template <std::uint32_t step, std::uint32_t... r>
    ZEL_IFMA_INLINE void addDigitTimesA(Vector digit, std::integer_sequence<std::uint32_t, r...>) {
        constexpr std::uint32_t first = isSquare ? step : 0;
        ((r > 0 && r >= first ? a_.template addLow<r>((isSquare && r == step ? ym_ : ab_)[S::turn(step + r)], digit)
                              : (void)0),
         ...);
        ((r >= first ? a_.template addHigh<r>((isSquare && r == step ? ym_ : ab_)[S::turn(step + r + 1)], digit)
                     : (void)0),
         ...);
    }

    // Adds the rest of y m, and moves the lowest register down by a lane: it is the highest one of the next step.
    template <std::uint32_t step, bool isMultiplied, std::uint32_t... r>
    ZEL_IFMA_INLINE void addRestOfYTimesM(Vector lowest, const Multiple<S, isMultiplied>& m, Vector y,
                                          std::integer_sequence<std::uint32_t, r...>) {
        ((r > 1 ? m.digits.template addLow<r>(ym_[S::turn(step + r)], y) : (void)0), ...);
        Vector& highest = ym_[S::turn(step)];
        highest = _mm512_madd52lo_epu64(_mm512_add_epi64(highest, laneDown<S>(lowest, top_)), y, m.lowestDown);
        ((r > 0 ? m.digits.template addHigh<r>(ym_[S::turn(step + r + 1)], y) : (void)0), ...);
        if constexpr (S::hasTop && isMultiplied) {
            top_ = _mm512_madd52hi_epu64(_mm512_setzero_si512(), y, m.top);
        }
    }

    const Factor<S> a_;
    const Unit* b_;
    Vector ab_[V], ym_[V];
    Vector lowest_; // the sum's lowest register, no longer in the halves, with the low products of the next digit
    Vector late_;   // what else is to be added to it
    Vector top_;    // the sum's digit for which there is no lane
};

ZEL_IFMA_INLINE Vector carriesOf(Vector digits) {
    return _mm512_srli_epi64(digits, kDigitBits);
}

// The lanes that a carry comes into: those above lanes that run over, or that are full and get a carry themselves. The
// lowest lane of a task does neither, as nothing comes in there; so of a pair's four lanes the third alone can hand on what comes in.
template <typename S> ZEL_IFMA_INLINE __mmask8 carriesInto(unsigned over, unsigned full) {
    if constexpr (S::kTasks == 1) {
        return static_cast<__mmask8>((2 * over + full) ^ full); // an addition does just this
    }
    const unsigned into = over << 2;
    return static_cast<__mmask8>(into | (into & full) << 2);
}

// What is above 52 bits goes to the next digit, and stays behind without counting any more: through the registers of every lane, then from the highest register to the
// lowest one of the lane above. That one may run over, by 1, and then what is above it as long as all bits are ones: these
// last carries are found for all digits at once.
template <typename S, std::uint32_t... r>
ZEL_IFMA_INLINE void normalise(Vector (&sum)[S::V], std::integer_sequence<std::uint32_t, r...>) {
    constexpr std::uint32_t V = S::V;
    const Vector mask = _mm512_set1_epi64(static_cast<long long>(kDigitMask)), one = _mm512_set1_epi64(1);
    ((r > 0 ? (void)(sum[r] = _mm512_add_epi64(sum[r], carriesOf(sum[(r + V - 1) % V]))) : (void)0), ...);
    Vector ones = mask; // bits that are set in all registers from 1 to r
    const __mmask8 full[V] = {
        (r == 0 ? __mmask8{0xFF} : (ones = _mm512_and_si512(ones, sum[r]), _mm512_cmpeq_epi64_mask(ones, mask)))...};
    sum[0] = _mm512_add_epi64(_mm512_and_si512(sum[0], mask), laneUp<S>(carriesOf(sum[V - 1])));
    const __mmask8 isOver = _mm512_cmpgt_epu64_mask(sum[0], mask), isFull = _mm512_cmpeq_epi64_mask(sum[0], mask);
    const __mmask8 into =
        carriesInto<S>(_kand_mask8(isOver, full[V - 1]), _kand_mask8(isFull, full[V - 1])); // register 0
    const __mmask8 outOf = _kor_mask8(isOver, _kand_mask8(isFull, into));
    ((sum[r] = _mm512_mask_add_epi64(sum[r], r == 0 ? into : _kand_mask8(outOf, full[(r + V - 1) % V]), sum[r], one)),
     ...);
}

// Adds the digits V lane + begin + step of b. isEnd: there are no more after these.
template <std::uint32_t begin, bool isEnd, std::uint32_t... step>
ZEL_IFMA_INLINE void addDigits(auto& product, std::uint32_t lane, const auto& m, auto registers,
                               std::integer_sequence<std::uint32_t, step...>) {
    (product.template addDigit<begin + step, (isEnd && step + 1 == sizeof...(step))>(lane, m, registers), ...);
}

// result := a * b / R mod m, with the digits of b in the order of their lanes. isReduced: all steps add multiples of m.
template <typename S, bool isReduced, bool isSquare, std::uint32_t... r>
ZEL_IFMA_INLINE void storeProduct(Unit* result, const Unit* a, const Unit* b, const Modulus& m,
                                  std::integer_sequence<std::uint32_t, r...> all) {
    constexpr std::uint32_t kMost = S::kSteps - S::kZeroDigits, kGroups = kMost / S::V, kRest = kMost % S::V;
    Product<S, isSquare> product(a, b, all);
    const Multiple<S, !isReduced> most(m, all);
    for (std::uint32_t lane = 0; lane < kGroups; ++lane) {
        addDigits<0, false>(product, lane, most, all, all);
    }
    if constexpr (kRest > 0) {
        addDigits<0, false>(product, kGroups, most, all, std::make_integer_sequence<std::uint32_t, kRest>{});
    }
    addDigits<kRest, true>(product, kGroups, Multiple<S, false>(m, all), all,
                           std::make_integer_sequence<std::uint32_t, S::kZeroDigits>{});
    Vector sum[S::V] = {product.template sum<kRest + S::kZeroDigits, r>()...};
    normalise<S>(sum, all);
    (_mm512_store_si512(result + r * kLanes, sum[r]), ...);
}

// result := a * b / R mod m. result may be a or b.
template <typename S>
ZEL_TARGET_IFMA __attribute__((noinline)) void multiply(Unit* result, const Unit* a, const Unit* b, const Modulus& m) {
    storeProduct<S, false, false>(result, a, b, m, std::make_integer_sequence<std::uint32_t, S::V>{});
}

// result := a * a / R mod m. result may be a.
template <typename S>
ZEL_TARGET_IFMA __attribute__((noinline)) void square(Unit* result, const Unit* a, const Modulus& m) {
    storeProduct<S, false, !S::isShort>(result, a, a, m, std::make_integer_sequence<std::uint32_t, S::V>{});
}

// result := a / R mod m, at most m. one: the number 1.
template <typename S>
ZEL_TARGET_IFMA __attribute__((noinline)) void leave(Unit* result, const Unit* a, const Unit* one, const Modulus& m) {
    storeProduct<S, true, false>(result, a, one, m, std::make_integer_sequence<std::uint32_t, S::V>{});
}

} // namespace ifma

#endif
