// Almost-Montgomery products with AVX-512 IFMA, in radix 2^52 on 512-bit registers. For modexp_ifma.cpp alone.
//
// A number of up to 8 V digits fills V registers of 8 lanes: lane l of register r holds digit r + V l. Moving all digits
// down by one is then a renaming of the registers and one shift by a lane. In the paired form even lanes belong to the
// first task and odd ones to the second: one stream of instructions serves both, and one load spreads a digit of each.
//
// A digit is the low 52 bits of its lane, which is what the multiplications read.
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

template <typename S> ZEL_IFMA_INLINE Vector laneDown(Vector digits) {
    return _mm512_alignr_epi64(_mm512_setzero_si512(), digits, S::kTasks);
}

template <typename S> ZEL_IFMA_INLINE Vector laneUp(Vector digits) {
    return _mm512_alignr_epi64(digits, _mm512_setzero_si512(), kLanes - S::kTasks);
}

// Product: the sum that becomes a b / R. It is held in two halves, a b apart from y m, so that the former need not wait for
// y. In step s, register r of a half is its entry (s + r) % V: dividing by 2^52 moves no register.
//
// isMultiplied: m is m' + 1, and y the lowest digit as it stands. isSquare: a is b; the products of digits of two registers
// are taken once only, and ab counts double when it leaves; those of digits of one register are all taken, and go to ym,
// which counts once.
template <typename S, bool isMultiplied, bool isSquare> class Product {
public:
    template <std::uint32_t... r>
    ZEL_IFMA_INLINE Product(const Unit* a, const Unit* b, const Unit* m, const Unit* negInverse,
                            std::integer_sequence<std::uint32_t, r...> all)
        : a_(a, all), m_(m, all), b_(b), firstDown_(laneDown<S>(load(m))), negInverse_(spreadDigit<S>(negInverse)),
          ab_{((void)r, _mm512_setzero_si512())...}, ym_{((void)r, _mm512_setzero_si512())...},
          late_(_mm512_setzero_si512()) {
    }

    // The sum becomes (sum + a b_i + y m) / 2^52, where b_i are the digits of each task's given lane of b's register `step`.
    template <std::uint32_t step, std::uint32_t... r>
    ZEL_IFMA_INLINE void addDigit(std::uint32_t lane, std::integer_sequence<std::uint32_t, r...> all) {
        const Vector digit = spreadDigit<S>(b_ + step * kLanes + lane * S::kTasks);
        const Vector lowest = takeLowest<step>(digit);
        const Vector y = findY(lowest);
        addDigitTimesA<step>(digit, all);
        const Vector cleared = addLateAndCarry<step>(lowest, y);
        addYTimesM<step>(cleared, y, all);
    }

    // Register r of the sum once the next step is `steps`; its digits may exceed 52 bits.
    template <std::uint32_t steps, std::uint32_t r> ZEL_IFMA_INLINE Vector sum() const {
        const Vector digits = _mm512_add_epi64(counted(ab_[S::turn(steps + r)]), ym_[S::turn(steps + r)]);
        return r == 0 ? _mm512_add_epi64(digits, late_) : digits;
    }

private:
    static constexpr std::uint32_t V = S::V;
    // What the last y adds to the lowest register has no part in its lowest digit, and may come late.
    static constexpr bool hasLate = S::isShort && isMultiplied;

    static ZEL_IFMA_INLINE Vector counted(Vector ab) {
        return isSquare ? _mm512_add_epi64(ab, ab) : ab;
    }

    // Takes the lowest register out of the sum, with what the digit adds to its low bits: all that y waits for.
    template <std::uint32_t step> ZEL_IFMA_INLINE Vector takeLowest(Vector digit) {
        Vector lowest = counted(ab_[S::turn(step)]);
        if constexpr (!isSquare || step == 0) {
            a_.template addLow<0>(lowest, digit);
        }
        lowest = _mm512_add_epi64(lowest, ym_[S::turn(step)]);
        ab_[S::turn(step)] = ym_[S::turn(step)] = _mm512_setzero_si512();
        return lowest;
    }

    // The multiple of m that clears the lowest digit, in all lanes of the task.
    ZEL_IFMA_INLINE Vector findY(Vector lowest) const {
        return spreadLowest<S>(isMultiplied ? lowest
                                            : _mm512_madd52lo_epu64(_mm512_setzero_si512(), lowest, negInverse_));
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

    // Adds what the next step's lowest digit is made of: what the cleared digit carries, and the lowest products of y m.
    // The result is the lowest register, whose lowest digit no longer counts.
    template <std::uint32_t step> ZEL_IFMA_INLINE Vector addLateAndCarry(Vector lowest, Vector y) {
        // A digit that is not zero becomes 2^52 when y m is added.
        const Vector cleared =
            isMultiplied ? lowest : _mm512_add_epi64(lowest, _mm512_set1_epi64(static_cast<long long>(kDigitMask)));
        Vector carry = _mm512_maskz_srli_epi64((1U << S::kTasks) - 1, cleared, kDigitBits);
        Vector& next = ym_[S::turn(step + 1)];
        if constexpr (hasLate) {
            lowest = _mm512_add_epi64(lowest, late_);
            next = _mm512_add_epi64(next, carry);
            late_ = _mm512_setzero_si512();
            m_.template addHigh<0>(late_, y);
            m_.template addLow<1>(late_, y);
        } else {
            m_.template addHigh<0>(carry, y);
            m_.template addLow<1>(next, y);
            next = _mm512_add_epi64(next, carry); // on its own: the chain from digit to digit is one product long
        }
        return lowest;
    }

    // Adds the rest of y m, and moves the lowest register down by a lane: it is the highest one of the next step.
    template <std::uint32_t step, std::uint32_t... r>
    ZEL_IFMA_INLINE void addYTimesM(Vector lowest, Vector y, std::integer_sequence<std::uint32_t, r...>) {
        ((r > 1 ? m_.template addLow<r>(ym_[S::turn(step + r)], y) : (void)0), ...);
        Vector& highest = ym_[S::turn(step)];
        highest = _mm512_madd52lo_epu64(_mm512_add_epi64(highest, laneDown<S>(lowest)), y, firstDown_);
        ((r > 0 ? m_.template addHigh<r>(ym_[S::turn(step + r + 1)], y) : (void)0), ...);
    }

    const Factor<S> a_, m_;
    const Unit* b_;
    const Vector firstDown_, negInverse_; // m's lowest register, a lane down
    Vector ab_[V], ym_[V], late_;
};

// The lanes that a carry comes into: those above lanes that overflow, or that are full and get a carry themselves.
template <typename S> ZEL_IFMA_INLINE __mmask8 carriesInto(unsigned overflowing, unsigned full) {
    if constexpr (S::kTasks == 1) {
        return static_cast<__mmask8>((2 * overflowing + full) ^ full); // an addition does just this
    }
    unsigned into = overflowing << 2;
    into |= (into & full) << 2;
    return static_cast<__mmask8>(into | (into & full) << 2);
}

// What is above 52 bits goes to the next digit. First every digit hands it on at once; then the carries that remain, 0 or 1,
// run through the registers of a lane; then through the lanes. A lane is full where all its digits are ones: register r
// gets the carry of a lane whose registers below r are full.
template <typename S, std::uint32_t... r>
ZEL_IFMA_INLINE void normalise(Vector (&sum)[S::V], std::integer_sequence<std::uint32_t, r...>) {
    constexpr std::uint32_t V = S::V;
    const Vector mask = _mm512_set1_epi64(static_cast<long long>(kDigitMask)), one = _mm512_set1_epi64(1);
    const Vector carries[V] = {_mm512_srli_epi64(sum[r], kDigitBits)...};
    ((sum[r] = _mm512_add_epi64(_mm512_and_si512(sum[r], mask), r == 0 ? laneUp<S>(carries[V - 1]) : carries[r - 1])),
     ...);
    ((r + 1 < V ? (void)(sum[r + 1] = _mm512_add_epi64(sum[r + 1], _mm512_srli_epi64(sum[r], kDigitBits))) : (void)0),
     ...);
    Vector all = mask; // bits that are set in all registers up to r
    const __mmask8 full[V] = {(all = _mm512_and_si512(all, sum[r]), _mm512_cmpeq_epi64_mask(all, mask))...};
    const __mmask8 into = carriesInto<S>(_mm512_cmpgt_epu64_mask(sum[V - 1], mask), full[V - 1]);
    ((sum[r] = _mm512_mask_add_epi64(sum[r], r == 0 ? into : _kand_mask8(into, full[(r + V - 1) % V]), sum[r], one)),
     ...);
}

template <typename P, std::uint32_t... step> ZEL_IFMA_INLINE void
addDigits(P& product, std::uint32_t lane, auto registers, std::integer_sequence<std::uint32_t, step...>) {
    (product.template addDigit<step>(lane, registers), ...);
}

// result := a * b / R mod m, with the digits of b in the order of their lanes.
template <typename S, bool isMultiplied, bool isSquare, std::uint32_t... r>
ZEL_IFMA_INLINE void storeProduct(Unit* result, const Unit* a, const Unit* b, const Unit* m, const Unit* negInverse,
                                  std::integer_sequence<std::uint32_t, r...> all) {
    constexpr std::uint32_t kGroups = S::kSteps / S::V, kLeft = S::kSteps % S::V;
    Product<S, isMultiplied, isSquare> product(a, b, m, negInverse, all);
    for (std::uint32_t lane = 0; lane < kGroups; ++lane) {
        addDigits(product, lane, all, all);
    }
    if constexpr (kLeft > 0) {
        addDigits(product, kGroups, all, std::make_integer_sequence<std::uint32_t, kLeft>{});
    }
    Vector sum[S::V] = {product.template sum<kLeft, r>()...};
    normalise<S>(sum, all);
    (_mm512_store_si512(result + r * kLanes, sum[r]), ...);
}

// Modulus: the modulus or moduli of an exponentiation as the products read them.
struct Modulus {
    const Unit* digits;     // m
    const Unit* multiplied; // m' + 1
    const Unit* negInverse; // -1/m mod 2^52, of each task
};

// result := a * b / R mod m. result may be a or b.
template <typename S>
ZEL_TARGET_IFMA __attribute__((noinline)) void multiply(Unit* result, const Unit* a, const Unit* b, const Modulus& m) {
    storeProduct<S, true, false>(result, a, b, m.multiplied, m.negInverse,
                                 std::make_integer_sequence<std::uint32_t, S::V>{});
}

// result := a * a / R mod m. result may be a.
template <typename S>
ZEL_TARGET_IFMA __attribute__((noinline)) void square(Unit* result, const Unit* a, const Modulus& m) {
    storeProduct<S, true, !S::isShort>(result, a, a, m.multiplied, m.negInverse,
                                       std::make_integer_sequence<std::uint32_t, S::V>{});
}

// result := a / R mod m, at most m. one: the number 1.
template <typename S>
ZEL_TARGET_IFMA __attribute__((noinline)) void leave(Unit* result, const Unit* a, const Unit* one, const Modulus& m) {
    storeProduct<S, false, false>(result, a, one, m.digits, m.negInverse,
                                  std::make_integer_sequence<std::uint32_t, S::V>{});
}

} // namespace ifma

#endif
