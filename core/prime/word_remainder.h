// Remainders of big integers by divisors of half a unit.
#ifndef ZELSPI_CORE_PRIME_WORD_REMAINDER_H
#define ZELSPI_CORE_PRIME_WORD_REMAINDER_H

#include "core/bignum/vlong.h"

#include <array>

// wordRemainders: remainders[i] := |n| mod divisors[i], none of which is zero. One pass over n, two word-sized divisions a
// unit and divisor; those by different divisors overlap.
template <std::size_t count> void wordRemainders(const vlong* n, const std::array<std::uint32_t, count>& divisors,
                                                 std::array<std::uint32_t, count>& remainders) {
    std::array<Unit, count> rest{};
    for (std::uint32_t i = n->length; i-- > 0;) {
        const Unit high = n->units[i] >> 32, low = n->units[i] & 0xFFFFFFFF;
        for (std::size_t j = 0; j < count; ++j) {
            rest[j] = (rest[j] << 32 | high) % divisors[j];
        }
        for (std::size_t j = 0; j < count; ++j) {
            rest[j] = (rest[j] << 32 | low) % divisors[j];
        }
    }
    for (std::size_t j = 0; j < count; ++j) {
        remainders[j] = static_cast<std::uint32_t>(rest[j]);
    }
}

// wordRemainder: |n| mod divisor, which is not zero.
inline std::uint32_t wordRemainder(const vlong* n, std::uint32_t divisor) {
    std::array<std::uint32_t, 1> remainder{};
    wordRemainders<1>(n, {divisor}, remainder);
    return remainder[0];
}

#endif
