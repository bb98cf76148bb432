// Arithmetic on big integers. The general conventions stand at the head of vlong.h.
//
// "In place" means that the first argument receives the result; the second may be the same record.
#ifndef ZELSPI_CORE_BIGNUM_VLONG_MATH_H
#define ZELSPI_CORE_BIGNUM_VLONG_MATH_H

#include "core/bignum/vlong.h"

// Sums
// ------------------------------------------------------------------------------------------------------------------

// VLONG_add, VLONG_sub: a := a + b, a := a - b, in place, signed. A result of zero keeps a sign flag that a had.
// Errors:  ERR_NULL_POINTER; growth. A sum needs room for a carry when a is shorter than b or when there is one.
Status VLONG_add(vlong* a, const vlong* b, vlong** queue);
Status VLONG_sub(vlong* a, const vlong* b, vlong** queue);

// VLONG_addUnit: a := a + unit, signed. VLONG_increment, VLONG_decrement: a := a + 1, a := a - 1, signed.
// Errors:  ERR_NULL_POINTER; growth.
Status VLONG_addUnit(vlong* a, Unit unit, vlong** queue);
Status VLONG_increment(vlong* a, vlong** queue);
Status VLONG_decrement(vlong* a, vlong** queue);

// VLONG_addMagnitude, VLONG_subMagnitude: |a| := |a| + |b|, |a| := |a| - |b|, in place; a's sign flag stays.
// In/out:  the difference is taken modulo 2^(64 * length of a) and is no error when |a| < |b|: Barrett's reduction
//          needs that. Neither a nor b need be normalised for it.
// Errors:  ERR_NULL_POINTER; growth (VLONG_addMagnitude).
Status VLONG_addMagnitude(vlong* a, const vlong* b);
Status VLONG_subMagnitude(vlong* a, const vlong* b);

// Products
// --------------------------------------------------------------------------------------------------------------

// VLONG_mul: product := a * b, the sign that of the product, or 0 when a and b are the same record, which is then
// squared. VLONG_mulMagnitude: the same without touching product's sign flag. VLONG_square: product := a * a, sign 0.
// In/out:  product is another record than a and b; a may be b.
// Errors:  ERR_NULL_POINTER; growth: the lengths of a and b together must not exceed kMaxUnits, also when the product
// would.
Status VLONG_mul(vlong* product, const vlong* a, const vlong* b);
Status VLONG_mulMagnitude(vlong* product, const vlong* a, const vlong* b);
Status VLONG_square(vlong* product, const vlong* a);

// VLONG_mulSigned: a new record := a * b with its sign.
// Errors:  as VLONG_mul.
Status VLONG_mulSigned(const vlong* a, const vlong* b, vlong** out, vlong** queue);

// VLONG_mulColumns: product := |a| * |b| modulo 2^(64 * unitCount), column by column; product's sign flag stays.
// VLONG_squareColumns: product := a * a modulo 2^(64 * unitCount) in the same way.
// In/out:  product is another record than a and b.
// Errors:  ERR_NULL_POINTER; growth.
Status VLONG_mulColumns(vlong* product, const vlong* a, const vlong* b, std::uint32_t unitCount);
Status VLONG_squareColumns(vlong* product, const vlong* a, std::uint32_t unitCount);

// Quotients
// -------------------------------------------------------------------------------------------------------------

// VLONG_divide: quotient := |dividend| div |divisor|, remainder := |dividend| mod |divisor|, both with sign flag 0.
// In/out:  quotient and remainder are two records other than each other and the operands (asserted in debug builds).
// Errors:  ERR_NULL_POINTER; ERR_DIVIDE_BY_ZERO; growth: the operands are shifted left for the division, for which most
//          dividends of kMaxUnits units, and some of one unit less, have no room.
// Source:  Knuth, The Art of Computer Programming, volume 2, 4.3.1, algorithm D.
Status VLONG_divide(vlong* quotient, const vlong* dividend, const vlong* divisor, vlong* remainder, vlong** queue);

// VLONG_mod: a new record := a mod modulus with the sign of a. VLONG_div: a new record := a div b, rounded towards
// zero.
// Errors:  as VLONG_divide.
Status VLONG_mod(const vlong* a, const vlong* modulus, vlong** out, vlong** queue);
Status VLONG_div(const vlong* a, const vlong* b, vlong** out, vlong** queue);

// VLONG_mulMod: a new record := a * b mod modulus with the sign of the product. Errors: as VLONG_mul and VLONG_divide.
Status VLONG_mulMod(const vlong* a, const vlong* b, const vlong* modulus, vlong** out, vlong** queue);

// Shifts
// ----------------------------------------------------------------------------------------------------------------

// VLONG_shiftLeft, VLONG_shiftRight: the magnitude times or divided by 2^bitCount, in place; the sign flag stays, also
// when a right shift leaves zero.
// Errors:  ERR_NULL_POINTER; growth: a left shift asks for one unit more than the units it shifts by, needed or not.
Status VLONG_shiftLeft(vlong* value, std::uint32_t bitCount);
Status VLONG_shiftRight(vlong* value, std::uint32_t bitCount);

// VLONG_shiftLeft1, VLONG_shiftRight1: the same by one bit; the left shift asks for a unit when a bit leaves the top.
Status VLONG_shiftLeft1(vlong* value);
Status VLONG_shiftRight1(vlong* value);

// Divisors
// --------------------------------------------------------------------------------------------------------------

// VLONG_gcd: a new record := the greatest common divisor by Euclid's algorithm; gcd(0, 0) is 0.
// In/out:  the remainders take the signs of their dividends, so negative operands can give a negative result or a zero
//          with its flag set.
// Errors:  ERR_NULL_POINTER; as VLONG_divide.
Status VLONG_gcd(const vlong* a, const vlong* b, vlong** out, vlong** queue);

// VLONG_modInverse: a new record := the inverse of a modulo n, within 0 to n - 1 (1 for a = n = 1).
// In/out:  a and n are non-negative; the inverse of a negative a is that of |a|. When a and n have a common divisor the
//          status is 0 all the same and the result has no meaning ((6, 9) gives 8; (0, n) 0; (a, 0) 1).
// Errors:  ERR_NULL_POINTER; as VLONG_divide.
Status VLONG_modInverse(const vlong* a, const vlong* n, vlong** out, vlong** queue);

#endif
