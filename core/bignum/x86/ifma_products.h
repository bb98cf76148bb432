// Almost-Montgomery products with AVX-512 IFMA. For modexp_ifma.cpp alone.
//
// A product adds, digit by digit of b, a b_i and y times the modulus, which clears the lowest digit, then moves down by one
// digit: a b / R mod m with R = 2^(52 steps). All steps but the last two add multiples of a multiple m' of m that is -1
// modulo 2^104. y is then the lowest digit as it stands, which spares a multiplication in the chain that a step waits for;
// and as the two lowest digits of m' + 1 are zero, the next y does not wait for this y m' either. m' is kept as
// (m' + 1) / 2^104; the -y that is missing is the lowest digit itself, which falls off. m' is two digits longer than m, and so
// is the sum; the last two steps add multiples of m itself, and the sum is as short as m again. Results are below
// a b / R + 2 m: below 3 m if the factors are, as R is above 9 m. The final product, with the number 1, works modulo m alone:
// at most m.
//
// What bounds a product of many registers is the number of multiplications. There a square takes the products of digits of
// two registers once, and doubles them.
//
// Secrets: the compiled code has no branch but the loops over counts, and no address that depends on a value.
#ifndef ZELSPI_CORE_BIGNUM_X86_IFMA_PRODUCTS_H
#define ZELSPI_CORE_BIGNUM_X86_IFMA_PRODUCTS_H

#include "core/bignum/x86/ifma_lanes.h"

namespace ifma {

// Factor: the registers of one, which stands in memory, too. Where there are too many of them for the register file, the
// products read them from there; left alone, the compilers would keep them in registers and the sums on the stack.
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

    template <std::uint32_t... r> ZEL_IFMA_INLINE Factor(const Unit* memory, const Vector (&registers)[S::V],
                                                         std::integer_sequence<std::uint32_t, r...>)
        : memory_(memory), registers_{(isInMemory ? _mm512_setzero_si512() : registers[r])...} {
    }
    template <std::uint32_t... r>
    ZEL_IFMA_INLINE Factor(const Unit* memory, std::integer_sequence<std::uint32_t, r...> all)
        : Factor(memory, {load(memory + r * kLanes)...}, all) {
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

// Modulus: the modulus or moduli of an exponentiation as the products read them.
struct Modulus {
    const Unit* digits;     // m
    const Unit* multiplied; // (m' + 1) / 2^104
    const Unit* negInverse; // -1/m mod 2^52, of each task
};

// Multiple: what a step adds y times: m' + 1, from its third digit on, or m.
template <typename S, bool isMultiplied> struct Multiple {
    template <std::uint32_t... r>
    ZEL_IFMA_INLINE Multiple(const Modulus& m, std::integer_sequence<std::uint32_t, r...> all)
        : digits(isMultiplied ? m.multiplied : m.digits, all), lowestDown(laneDown<S>(load(m.digits))),
          negInverse(spreadDigit<S>(m.negInverse)) {
    }

    const Factor<S> digits;
    const Vector lowestDown, negInverse; // lowestDown: the lowest register of m, a lane down
};

// Product: the sum that becomes a b / R. It is held in two halves, a b apart from y m, so that the former need not wait for
// y. Register r of step s is in slot (s + r) % V of each half. Dividing by 2^52 moves no register: register r of a step is
// register r - 1 of the next, and slot s, free again, becomes register V, the lowest one of before moved down by a lane.
//
// isSquare: a is b; the products of digits of two registers are taken once only, and ab counts double when it leaves;
// those of digits of one register are all taken, and go to ym, which counts once.
template <typename S, bool isSquare> class Product {
public:
    template <std::uint32_t... r>
    ZEL_IFMA_INLINE Product(const Factor<S>& a, const Unit* b, std::integer_sequence<std::uint32_t, r...>)
        : a_(a), b_(b), ab_{((void)r, _mm512_setzero_si512())...}, ym_{((void)r, _mm512_setzero_si512())...},
          y_(_mm512_setzero_si512()) {
        takeLowest<0, true>(0);
        // In a long shape slot s holds the lowest register, moved down, before step s; in a short one that comes in the step.
        ym_[0] = S::isShort ? _mm512_setzero_si512() : laneDown<S>(lowest_);
    }

    // The sum becomes (sum + a b_i + y m) / 2^52, where b_i are the digits V lane + step of b. isLast: no digit follows.
    // before: what the step before has added y times.
    template <std::uint32_t step, bool isLast, bool isMultiplied, bool wasMultiplied, std::uint32_t... r>
    ZEL_IFMA_INLINE void addDigit(std::uint32_t lane, const Multiple<S, isMultiplied>& m,
                                  const Multiple<S, wasMultiplied>& before,
                                  std::integer_sequence<std::uint32_t, r...> all) {
        const Vector lowest = lowest_, lastY = y_;
        // How many times m clears the lowest digit, in all lanes of the task.
        y_ = spreadLowest<S>(isMultiplied ? lowest
                                          : _mm512_madd52lo_epu64(_mm512_setzero_si512(), lowest, m.negInverse));
        addDigitTimesA<step>(digit<step>(lane), all);
        takeLowest<step + 1, !isLast>(lane);
        // What the cleared digit carries: where m itself is added, one that is not zero becomes 2^52.
        const Vector cleared =
            isMultiplied ? lowest : _mm512_add_epi64(lowest, _mm512_set1_epi64(static_cast<long long>(kDigitMask)));
        lowest_ = _mm512_add_epi64(lowest_, _mm512_maskz_srli_epi64((1U << S::kTasks) - 1, cleared, kDigitBits));
        addYTimesM<step>(lowest, m, all);
        if constexpr (wasMultiplied) {
            before.digits.template addHigh<V - 1>(ym_[slot(step + 1)], lastY);
        }
    }

    // Register r of the sum after so many steps, the last of them with isLast; its digits may exceed 52 bits.
    template <std::uint32_t steps, std::uint32_t r> ZEL_IFMA_INLINE Vector sum() const {
        return r == 0 ? lowest_ : _mm512_add_epi64(counted(ab_[slot(steps + r)]), ym_[slot(steps + r)]);
    }

private:
    static constexpr std::uint32_t V = S::V;

    static constexpr std::uint32_t slot(std::uint32_t index) {
        return index % V;
    }

    static ZEL_IFMA_INLINE Vector counted(Vector ab) {
        return isSquare ? _mm512_add_epi64(ab, ab) : ab;
    }

    template <std::uint32_t step> ZEL_IFMA_INLINE Vector digit(std::uint32_t lane) const {
        return spreadDigit<S>(b_ + step % V * kLanes + (lane + step / V) * S::kTasks);
    }

    // Moves the lowest register of the given step out of the halves, with the low products of its digit, if that is to come.
    template <std::uint32_t step, bool hasDigit> ZEL_IFMA_INLINE void takeLowest(std::uint32_t lane) {
        lowest_ = counted(ab_[slot(step)]);
        if constexpr (hasDigit && (!isSquare || step % V == 0)) {
            a_.template addLow<0>(lowest_, digit<step>(lane));
        }
        lowest_ = _mm512_add_epi64(lowest_, ym_[slot(step)]);
        ab_[slot(step)] = _mm512_setzero_si512();
    }

    // Adds the rest of a b_i. In a square the registers below `step` have met the digit already.
    template <std::uint32_t step, std::uint32_t... r>
    ZEL_IFMA_INLINE void addDigitTimesA(Vector digit, std::integer_sequence<std::uint32_t, r...>) {
        constexpr std::uint32_t first = isSquare ? step : 0;
        ((r > 0 && r >= first ? a_.template addLow<r>((isSquare && r == step ? ym_ : ab_)[slot(step + r)], digit)
                              : (void)0),
         ...);
        ((r >= first ? a_.template addHigh<r>((isSquare && r == step ? ym_ : ab_)[slot(step + r + 1)], digit)
                     : (void)0),
         ...);
    }

    // Adds y m, but for the lowest digit, which is cleared. Register r of (m' + 1) / 2^104 is register r + 2 of m' + 1.
    // Registers V and V + 1 are the two lowest ones moved down by a lane, in slots step and step + 1; the high products of the
    // last register, which belong to V + 2, wait for the next step.
    template <std::uint32_t step, bool isMultiplied, std::uint32_t... r> ZEL_IFMA_INLINE void
    addYTimesM(Vector lowest, const Multiple<S, isMultiplied>& m, std::integer_sequence<std::uint32_t, r...>) {
        constexpr std::uint32_t first = isMultiplied ? 2 : 0; // the register of the sum that register 0 belongs to
        Vector &highest = ym_[slot(step)], &nextHighest = ym_[slot(step + 1)];
        if constexpr (!isMultiplied) {
            m.digits.template addLow<1>(lowest_, y_);
            m.digits.template addHigh<0>(lowest_, y_);
        }
        if constexpr (S::isShort) { // where it soon is the lowest, its products do not wait for what moves down
            highest = _mm512_add_epi64(highest, laneDown<S>(lowest));
            nextHighest = _mm512_setzero_si512();
        } else {
            nextHighest = laneDown<S>(lowest_);
        }
        ((first + r > 1 ? m.digits.template addLow<r>(ym_[slot(step + first + r)], y_) : (void)0), ...);
        if constexpr (!isMultiplied) {
            highest = _mm512_madd52lo_epu64(highest, y_, m.lowestDown);
        }
        ((first + r > 0 && first + r <= V ? m.digits.template addHigh<r>(ym_[slot(step + first + r + 1)], y_)
                                          : (void)0),
         ...);
    }

    const Factor<S> a_;
    const Unit* b_;
    Vector ab_[V], ym_[V], y_;
    Vector lowest_; // the sum's lowest register, no longer in the halves, with the low products of the next digit
};

// Adds the digits V lane + step of b.
template <std::uint32_t... step> ZEL_IFMA_INLINE void addDigits(auto& product, [[maybe_unused]] std::uint32_t lane,
                                                                const auto& most, [[maybe_unused]] auto registers,
                                                                std::integer_sequence<std::uint32_t, step...>) {
    (product.template addDigit<step, false>(lane, most, most, registers), ...);
}

// sum := a * b / R mod m, with the digits of b in the order of their lanes. isReduced: all steps add multiples of m.
template <typename S, bool isReduced, bool isSquare, std::uint32_t... r>
ZEL_IFMA_INLINE void productOf(Vector (&sum)[S::V], const Factor<S>& a, const Unit* b, const Modulus& m,
                               std::integer_sequence<std::uint32_t, r...> all) {
    constexpr std::uint32_t kGroups = (S::kSteps - 2) / S::V, kRest = (S::kSteps - 2) % S::V;
    static_assert(!isSquare || kRest + 2 <= S::V,
                  "the last steps stand in one group: half a square is shaped by groups");
    Product<S, isSquare> product(a, b, all);
    const Multiple<S, !isReduced> most(m, all);
    const Multiple<S, false> last(m, all);
    for (std::uint32_t lane = 0; lane < kGroups; ++lane) {
        addDigits(product, lane, most, all, all);
    }
    addDigits(product, kGroups, most, all, std::make_integer_sequence<std::uint32_t, kRest>{});
    product.template addDigit<kRest, false>(kGroups, last, most, all);
    product.template addDigit<kRest + 1, true>(kGroups, last, last, all);
    ((sum[r] = product.template sum<kRest + 2, r>()), ...);
    normalise<S>(sum, all);
}

} // namespace ifma

#endif
