// The loop under sums and differences of unit arrays, for every kernel's way to add or subtract one unit.
#ifndef ZELSPI_CORE_BIGNUM_INTERNAL_UNIT_ROWS_H
#define ZELSPI_CORE_BIGNUM_INTERNAL_UNIT_ROWS_H

#include "core/bignum/vlong.h"

// combineUnits: r[n] := a[n] and b[n] combined unit by unit from the lowest on, by step(a, b, carry); returns what is
// carried out of the top. r may be a or b: step reads its units before the result is stored.
// Secrets: time depends on n only, as far as that of step does not depend on its units.
template <typename Carry, Unit (*step)(Unit a, Unit b, Carry& carry)>
inline Unit combineUnits(Unit* r, const Unit* a, const Unit* b, std::uint32_t n) {
    Carry carry = 0;
    std::uint32_t i = 0;
    for (; i + 4 <= n; i += 4) {
        r[i] = step(a[i], b[i], carry);
        r[i + 1] = step(a[i + 1], b[i + 1], carry);
        r[i + 2] = step(a[i + 2], b[i + 2], carry);
        r[i + 3] = step(a[i + 3], b[i + 3], carry);
    }
    for (; i < n; ++i) {
        r[i] = step(a[i], b[i], carry);
    }
    return carry;
}

#endif
