// Remainders of big integers by divisors of half a unit.
#ifndef ZELSPI_CORE_BIGNUM_PRIME_WORD_REMAINDER_H
#define ZELSPI_CORE_BIGNUM_PRIME_WORD_REMAINDER_H

#include "core/bignum/vlong.h"
#include "core/memory/secret.h"

#include <algorithm>

// wordRemainders: remainders[i] := |n| mod divisors[i], none of which is zero. One pass over n, two word-sized divisions
// a unit and divisor; those by different divisors overlap.
template <std::size_t count>
void wordRemainders(const vlong* n, const std::uint32_t (&divisors)[count], SecretArray<Unit, count>& remainders) {
    std::fill_n(remainders.data(), count, Unit{0});
    for (std::uint32_t i = n->length; i-- > 0;) {
        const Unit high = n->units[i] >> 32, low = n->units[i] & 0xFFFFFFFF;
        for (std::size_t j = 0; j < count; ++j) {
            remainders[j] = (remainders[j] << 32 | high) % divisors[j];
        }
        for (std::size_t j = 0; j < count; ++j) {
            remainders[j] = (remainders[j] << 32 | low) % divisors[j];
        }
    }
}

// wordRemainder: |n| mod divisor, which is not zero.
inline std::uint32_t wordRemainder(const vlong* n, std::uint32_t divisor) {
    SecretArray<Unit, 1> remainder;
    wordRemainders(n, {divisor}, remainder);
    return static_cast<std::uint32_t>(remainder[0]);
}

#endif
