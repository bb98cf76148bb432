// Remainders of big integers by divisors of half a unit.
#ifndef ZELSPI_CORE_PRIME_WORD_REMAINDER_H
#define ZELSPI_CORE_PRIME_WORD_REMAINDER_H

#include "core/bignum/vlong.h"

// wordRemainder: |n| mod divisor, which is not zero. One pass over n, two word-sized divisions a unit.
inline std::uint32_t wordRemainder(const vlong* n, std::uint32_t divisor) {
    Unit remainder = 0;
    for (std::uint32_t i = n->length; i-- > 0;) {
        remainder = (remainder << 32 | n->units[i] >> 32) % divisor;
        remainder = (remainder << 32 | (n->units[i] & 0xFFFFFFFF)) % divisor;
    }
    return static_cast<std::uint32_t>(remainder);
}

#endif
