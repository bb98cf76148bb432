// Numbers in 512-bit registers for AVX-512 IFMA, in radix 2^52. For modexp_ifma.cpp and its products.
//
// A number of up to 8 V digits fills V registers of 8 lanes: lane l of register r holds digit r + V l. Moving all digits
// down by one is then a renaming of the registers and one shift by a lane. In the paired form even lanes belong to the
// first task and odd ones to the second: one stream of instructions serves both, and one load spreads a digit of each.
//
// A digit of a stored number is the low 52 bits of its lane, which is what the multiplications read; in a sum the bits
// above count, too.
#ifndef ZELSPI_CORE_BIGNUM_X86_IFMA_LANES_H
#define ZELSPI_CORE_BIGNUM_X86_IFMA_LANES_H

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

    // Few registers: a step waits for the chain from one y to the next, not for the multipliers.
    static constexpr bool isShort = registers < 5;

    static_assert(steps <= registers * kTaskLanes, "all digits of m and of (m' + 1) / 2^104 have a lane");
    static_assert(steps * kDigitBits >= 64 * units + 4, "9 m is below R");
    static_assert(4 * steps + 1 < 1U << (64 - kDigitBits), "each step adds at most four products to a digit");
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

ZEL_IFMA_INLINE Vector carriesOf(Vector digits) {
    return _mm512_srli_epi64(digits, kDigitBits);
}

// The carries, 0 or 1, that come into lanes: from those below that run over, or that are full and get a carry themselves.
// The lowest lane of a task does neither, as nothing comes in there; so of a pair's four lanes the third alone can hand on
// what comes in.
template <typename S> ZEL_IFMA_INLINE Vector carriesInto(Vector over, __mmask8 full) {
    if constexpr (S::kTasks == 1) {
        const unsigned isOver = _mm512_test_epi64_mask(over, over);
        const unsigned into = (2 * isOver + full) ^ full; // an addition does just this
        return _mm512_maskz_set1_epi64(static_cast<__mmask8>(into), 1);
    }
    return laneUp<S>(_mm512_mask_add_epi64(over, full, over, laneUp<S>(over)));
}

// What is above 52 bits goes to the next digit, and stays behind without counting any more: through the registers of every
// lane, then from the highest register to the lowest one of the lane above. That one may run over, by 1, and then what is
// above it as long as all bits are ones: these last carries are found for all digits at once.
template <typename S, std::uint32_t... r>
ZEL_IFMA_INLINE void normalise(Vector (&sum)[S::V], std::integer_sequence<std::uint32_t, r...>) {
    constexpr std::uint32_t V = S::V;
    const Vector mask = _mm512_set1_epi64(static_cast<long long>(kDigitMask));
    ((r > 0 ? (void)(sum[r] = _mm512_add_epi64(sum[r], carriesOf(sum[(r + V - 1) % V]))) : (void)0), ...);
    Vector ones = mask; // bits that are set in all registers from 1 to r
    const __mmask8 full[V] = {
        (r == 0 ? __mmask8{0xFF} : (ones = _mm512_and_si512(ones, sum[r]), _mm512_cmpeq_epi64_mask(ones, mask)))...};
    sum[0] = _mm512_add_epi64(_mm512_and_si512(sum[0], mask), laneUp<S>(carriesOf(sum[V - 1])));
    const __mmask8 isFull = _mm512_cmpeq_epi64_mask(sum[0], mask);
    const Vector over = carriesOf(sum[0]);
    const Vector into = carriesInto<S>(_mm512_maskz_mov_epi64(full[V - 1], over), _kand_mask8(isFull, full[V - 1]));
    const Vector outOf = _mm512_mask_add_epi64(over, isFull, over, into);
    ((sum[r] = r == 0 ? _mm512_add_epi64(sum[0], into)
                      : _mm512_mask_add_epi64(sum[r], full[(r + V - 1) % V], sum[r], outOf)),
     ...);
}

} // namespace ifma

#endif
