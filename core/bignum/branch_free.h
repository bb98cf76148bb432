// Choices between values that leave no trace in time or addresses.
//
// A mask is all ones for true and 0 for false.
#ifndef ZELSPI_CORE_BIGNUM_BRANCH_FREE_H
#define ZELSPI_CORE_BIGNUM_BRANCH_FREE_H

#include "core/bignum/vlong.h"

#include <cstddef>

// maskOf: the mask of a bit, 0 or 1. It is read back from memory, so that no optimiser turns its use into a branch.
inline Unit maskOf(Unit bit) {
    const volatile Unit mask = Unit{0} - bit;
    return mask;
}

// isNonzero: 1 for a unit that is not 0, else 0.
constexpr Unit isNonzero(Unit unit) {
    return (unit | (Unit{0} - unit)) >> (kUnitBits - 1);
}

// select: r[n] := the mask ? a[n] : b[n]. r may be a or b.
inline void select(Unit* r, Unit mask, const Unit* a, const Unit* b, std::uint32_t n) {
    for (std::uint32_t i = 0; i < n; ++i) {
        r[i] = (a[i] & mask) | (b[i] & ~mask);
    }
}

// areEqual: 1 when a[n] is b[n], else 0.
inline Unit areEqual(const Unit* a, const Unit* b, std::uint32_t n) {
    Unit difference = 0;
    for (std::uint32_t i = 0; i < n; ++i) {
        difference |= a[i] ^ b[i];
    }
    return 1 - isNonzero(difference);
}

// isBelow: 1 when a[n] is below b[n], else 0. Borrows come from bits: compilers turn comparisons into branches.
inline Unit isBelow(const Unit* a, const Unit* b, std::uint32_t n) {
    Unit borrow = 0;
    for (std::uint32_t i = 0; i < n; ++i) {
        borrow = ((~a[i] & b[i]) | ((~a[i] | b[i]) & (a[i] - b[i] - borrow))) >> (kUnitBits - 1);
    }
    return borrow;
}

// significantBits: the bits of a unit without the zeros on top.
constexpr std::uint32_t significantBits(Unit unit) {
    Unit count = 0;
    for (std::uint32_t half = kUnitBits / 2; half > 0; half /= 2) {
        const Unit shift = half * isNonzero(unit >> half);
        unit >>= shift;
        count += shift;
    }
    return static_cast<std::uint32_t>(count + unit);
}

// significantUnits: how many units of units[n] remain without the zeros on top.
inline std::uint32_t significantUnits(const Unit* units, std::uint32_t n) {
    Unit count = 0;
    for (std::uint32_t i = 0; i < n; ++i) {
        const Unit isSignificant = maskOf(isNonzero(units[i]));
        count = (Unit{i + 1} & isSignificant) | (count & ~isSignificant);
    }
    return static_cast<std::uint32_t>(count);
}

// markPublic: declares bytes[count], computed from secrets, to be public from here on. It does nothing; test programs that
// look for branches on secrets put their own function in its place.
void markPublic(const void* bytes, std::size_t count);

// publicly: the value, marked. For a record its length and its units.
template <typename Value> Value publicly(Value value) {
    markPublic(&value, sizeof value);
    return value;
}
inline void markPublic(const vlong* value) {
    markPublic(&value->length, sizeof value->length);
    markPublic(value->units, std::size_t{value->length} * sizeof(Unit));
}

#endif
