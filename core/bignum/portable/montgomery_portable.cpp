// Montgomery products: the double-length product, then one row of reduction for each unit of the modulus.
#include "core/bignum/branch_free.h"
#include "core/bignum/portable/portable_kernels.h"
#include "core/bignum/portable/wide.h"

namespace {

// r[k] := t[2k] / 2^(64 k) mod m. t has 2 k + 1 units; the rows clear the low half, of which the last step makes use.
void reduce(Unit* r, Unit* t, const MontModulus& m) {
    const std::uint32_t k = m.count;
    Unit rowCarry = 0;
    t[std::size_t{2} * k] = 0;
    for (std::uint32_t i = 0; i < k; ++i) {
        const Unit u = t[i] * m.negInverse;
        const Unit carry = VLONG_mulAddUnit(t + i, m.units, k, u);
        Unit& top = t[i + k];
        const Unit partial = top + rowCarry;
        rowCarry = partial < rowCarry ? 1 : 0;
        top = partial + carry;
        rowCarry += top < carry ? 1 : 0;
    }
    t[std::size_t{2} * k] += rowCarry;
    const Unit borrow = VLONG_subUnits(t, t + k, m.units, k);
    select(r, maskOf(t[std::size_t{2} * k] < borrow ? 1 : 0), t + k, t, k);
}

bool usesKaratsuba(std::uint32_t k) {
    return karatsubaTakes(k) && k <= kMontKaratsubaMaxUnits;
}

} // namespace

void VLONG_montRowsMultiply(Unit* r, const Unit* a, const Unit* b, const MontModulus& m, Unit* scratch) {
    const std::uint32_t k = m.count;
    if (k == 8) {
        VLONG_mul8x8(scratch, a, b);
    } else if (usesKaratsuba(k)) {
        VLONG_karatsubaMul(scratch, a, b, k, scratch + std::size_t{2} * k + 1);
    } else {
        VLONG_columnProduct(scratch, a, k, b, k, 2 * k);
    }
    reduce(r, scratch, m);
}

void VLONG_montRowsSquare(Unit* r, const Unit* a, const MontModulus& m, Unit* scratch) {
    const std::uint32_t k = m.count;
    if (k == 8) {
        VLONG_square8(scratch, a);
    } else if (usesKaratsuba(k)) {
        VLONG_karatsubaSquare(scratch, a, k, scratch + std::size_t{2} * k + 1);
    } else {
        VLONG_columnSquare(scratch, a, k, 2 * k);
    }
    reduce(r, scratch, m);
}
