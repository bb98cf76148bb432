// 1/e mod m for an odd e of at most 32 bits: with k = -1/m mod e, which takes one remainder of m and an inverse of two
// words, 1 + m k is a multiple of e, and (1 + m k) / e is the inverse.
#include "core/pubkey/rsa/internal/exponent_inverse.h"

#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong_math.h"
#include "core/bignum/word_math.h"

namespace {

// quotient[m's units] := (1 + m k) / e for k < e. The quotient is below m, so there is no unit above those of m: from the
// lowest unit on each is what remains of the product, times 1/e modulo 2^64.
void divideMultiple(Unit* quotient, const vlong* m, Unit k, Unit e) {
    Unit inverse = e; // right in 3 bits; each step doubles them
    for (int step = 0; step < 5; ++step) {
        inverse *= 2 - e * inverse;
    }
    Unit carry = 1, borrow = 0;
    for (std::uint32_t i = 0; i < m->length; ++i) {
        const Wide product = mulWide(m->units[i], k);
        const Unit unit = product.low + carry;
        carry = product.high + (unit < carry ? 1 : 0);
        quotient[i] = (unit - borrow) * inverse;
        borrow = mulWide(quotient[i], e).high + (unit < borrow ? 1 : 0);
    }
}

} // namespace

Status inverseOfExponent(const vlong* exponent, const vlong* modulus, vlong** out, vlong** queue) {
    if (exponent == nullptr || modulus == nullptr || out == nullptr) {
        return ERR_NULL_POINTER;
    }
    *out = nullptr;
    const Unit e = VLONG_getUnit(exponent, 0);
    // A modulus of one unit may be below e, or negative (p = 0); Euclid's algorithm has its own answers there.
    if (exponent->length == 1 && e >= 3 && e % 2 != 0 && highHalf(e) == 0 && modulus->length >= 2) {
        bool isFound = false;
        const Unit k = e - secretInverse(secretRemainder(modulus, e), e, &isFound);
        if (isFound) {
            ScopedVlong inverse(queue);
            RETURN_IF_ERROR(inverse.alloc());
            RETURN_IF_ERROR(VLONG_growDiscard(inverse.get(), modulus->length));
            divideMultiple(inverse.get()->units, modulus, k, e);
            inverse.get()->length = publicly(significantUnits(inverse.get()->units, modulus->length));
            *out = inverse.release();
            return OK;
        }
    }
    return VLONG_modInverse(exponent, modulus, out, queue);
}
