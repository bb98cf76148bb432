// Arithmetic on single words, and on big integers modulo words. A word has the bits of half a unit; no divisor is 0.
#ifndef ZELSPI_CORE_BIGNUM_WORD_MATH_H
#define ZELSPI_CORE_BIGNUM_WORD_MATH_H

#include "core/bignum/branch_free.h"
#include "core/bignum/portable/wide.h"
#include "core/memory/secret.h"

#include <algorithm>
#include <bit>
#include <utility>

// wordRemainders: remainders[i] := |n| mod divisors[i]. One pass over n, two word-sized divisions a unit and divisor; those
// by different divisors overlap.
template <std::size_t count>
void wordRemainders(const vlong* n, const std::uint32_t (&divisors)[count], SecretArray<Unit, count>& remainders) {
    std::fill_n(remainders.data(), count, Unit{0});
    for (std::uint32_t i = n->length; i-- > 0;) {
        for (std::size_t j = 0; j < count; ++j) {
            remainders[j] = (remainders[j] << 32 | highHalf(n->units[i])) % divisors[j];
        }
        for (std::size_t j = 0; j < count; ++j) {
            remainders[j] = (remainders[j] << 32 | lowHalf(n->units[i])) % divisors[j];
        }
    }
}

// wordRemainder: |n| mod divisor.
inline std::uint32_t wordRemainder(const vlong* n, std::uint32_t divisor) {
    SecretArray<Unit, 1> remainder;
    wordRemainders(n, {divisor}, remainder);
    return static_cast<std::uint32_t>(remainder[0]);
}

// signMask: all ones for a value that is negative in two's complement, else 0; by shifts alone, which no optimiser takes
// for a branch.
inline Unit signMask(Unit value) {
    return static_cast<Unit>(static_cast<std::int64_t>(value) >> (kUnitBits - 1));
}

// secretRemainder: |n| mod divisor, by a product with 2^64 / divisor for each half unit: no division, whose time could
// show n.
inline Unit secretRemainder(const vlong* n, Unit divisor) {
    const Unit reciprocal = ~Unit{0} / divisor;
    const auto reduce = [&](Unit value) {
        Unit rest = value - mulWide(value, reciprocal).high * divisor - divisor; // below 2 divisor
        rest += divisor & signMask(rest);
        rest -= divisor;
        return rest + (divisor & signMask(rest));
    };
    Unit remainder = 0;
    for (std::uint32_t i = n->length; i-- > 0;) {
        remainder = reduce(remainder << 32 | highHalf(n->units[i]));
        remainder = reduce(remainder << 32 | lowHalf(n->units[i]));
    }
    return remainder;
}

// quickInverse: 1/a mod p for 0 < a < p below 2^15 and p prime, in a time that depends on both.
inline std::uint32_t quickInverse(std::uint32_t a, std::uint32_t p) {
    auto g = static_cast<std::int32_t>(p), h = static_cast<std::int32_t>(a);
    std::int32_t u = 0, v = 1;
    while (h != 0) {
        const std::int32_t q = g / h;
        g = std::exchange(h, g - q * h);
        u = std::exchange(v, u - q * v);
    }
    return static_cast<std::uint32_t>(u < 0 ? u + static_cast<std::int32_t>(p) : u);
}

// secretInverse: 1/a mod m for a < m and an odd m, in as many steps for every a. *isFound := whether there is one, which is
// public. The binary form of Euclid's algorithm: f a = g and v a = h modulo m, h odd; each step takes a bit off g or h,
// until g is 0 and h the divisor.
inline Unit secretInverse(Unit a, Unit m, bool* isFound) {
    Unit g = a, h = m, f = 1, v = 0;
    for (auto remaining = 2 * std::bit_width(m); remaining > 0; --remaining) {
        const Unit isOdd = Unit{0} - (g & 1), isSwapped = isOdd & signMask(g - h);
        const Unit swap = (g ^ h) & isSwapped, factorSwap = (f ^ v) & isSwapped;
        h ^= swap;
        v ^= factorSwap;
        g = ((g ^ swap) - (h & isOdd)) >> 1;
        f = (f ^ factorSwap) - (v & isOdd);
        f += m & signMask(f);
        f = (f + (m & (Unit{0} - (f & 1)))) >> 1;
    }
    *isFound = publicly(h) == 1;
    return v;
}

// wordPower: base^exponent mod m.
inline Unit wordPower(Unit base, std::uint32_t exponent, std::uint32_t m) {
    Unit power = 1;
    for (; exponent != 0; exponent >>= 1) {
        if (exponent % 2 != 0) {
            power = power * base % m;
        }
        base = base * base % m;
    }
    return power;
}

// wordProduct: the product of primes[first .. end), or of as many of them as fit a word; first := the index behind them.
template <typename Primes> std::uint32_t wordProduct(const Primes& primes, std::size_t& first, std::size_t end) {
    Unit product = 1;
    for (; first < end && highHalf(product * primes[first]) == 0; ++first) {
        product *= primes[first];
    }
    return static_cast<std::uint32_t>(product);
}

#endif
