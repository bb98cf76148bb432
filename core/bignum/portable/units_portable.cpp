// Sums, differences and rows of unit arrays.
#include "core/bignum/internal/unit_rows.h"
#include "core/bignum/portable/portable_kernels.h"
#include "core/bignum/portable/wide.h"

namespace {

// One unit of a sum or difference; carry and borrow are 0 or 1. Reads both units before the result is stored.
inline Unit addUnit(Unit a, Unit b, Unit& carry) {
    const Unit partial = a + carry;
    const Unit sum = partial + b;
    carry = (partial < carry ? 1U : 0U) | (sum < b ? 1U : 0U);
    return sum;
}

inline Unit subUnit(Unit a, Unit b, Unit& borrow) {
    const Unit partial = a - b;
    const Unit difference = partial - borrow;
    borrow = (a < b ? 1U : 0U) | (partial < borrow ? 1U : 0U);
    return difference;
}

} // namespace

std::int32_t VLONG_cmpUnits(const Unit* a, const Unit* b, std::uint32_t n) {
    for (std::uint32_t i = n; i-- > 0;) {
        if (a[i] != b[i]) {
            return a[i] < b[i] ? -1 : 1;
        }
    }
    return 0;
}

Unit VLONG_addUnits(Unit* r, const Unit* a, const Unit* b, std::uint32_t n) {
    return combineUnits<Unit, addUnit>(r, a, b, n);
}

Unit VLONG_subUnits(Unit* r, const Unit* a, const Unit* b, std::uint32_t n) {
    return combineUnits<Unit, subUnit>(r, a, b, n);
}

Unit VLONG_mulAddUnit(Unit* r, const Unit* a, std::uint32_t n, Unit w) {
    Unit carry = 0;
    for (std::uint32_t i = 0; i < n; ++i) {
        const Wide product = mulWide(a[i], w);
        // The carry comes in last, so that one addition and its carry are all that a unit waits for.
        const Unit partial = r[i] + product.low;
        const Unit high = product.high + (partial < product.low ? 1 : 0);
        const Unit sum = partial + carry;
        carry = high + (sum < carry ? 1 : 0);
        r[i] = sum;
    }
    return carry;
}

Unit VLONG_mulSubUnit(Unit* r, const Unit* a, std::uint32_t n, Unit w) {
    Unit borrow = 0;
    for (std::uint32_t i = 0; i < n; ++i) {
        const Wide product = mulWide(a[i], w);
        const Unit partial = r[i] - product.low;
        const Unit high = product.high + (r[i] < product.low ? 1 : 0);
        r[i] = partial - borrow;
        borrow = high + (partial < borrow ? 1 : 0);
    }
    return borrow;
}
