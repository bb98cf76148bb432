// The Jacobi symbol, and the search for the discriminant of the Lucas test.
#include "core/bignum/prime/prime.h"
#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong_math.h"

namespace {

Unit lowBits(const vlong* value, Unit mask) {
    return VLONG_getUnit(value, 0) & mask;
}

} // namespace

Status PRIME_jacobi(const vlong* a, const vlong* n, std::int32_t* symbol, vlong** queue) {
    if (a == nullptr || n == nullptr || symbol == nullptr) {
        return ERR_NULL_POINTER;
    }
    *symbol = 0;
    ScopedVlong upper(queue), lower(queue), rest(queue);
    RETURN_IF_ERROR(VLONG_newCopy(a, upper.out(), queue));
    RETURN_IF_ERROR(VLONG_newCopy(n, lower.out(), queue));
    lower.get()->negative = 0;
    if (lowBits(lower.get(), 1) == 0) {
        return OK;
    }
    bool isNegative = upper.get()->negative != 0 && lowBits(lower.get(), 3) == 3;
    upper.get()->negative = 0;
    while (VLONG_cmpUnit(lower.get(), 1) > 0) {
        if (VLONG_bitLength(upper.get()) == 0) { // a Montgomery product that is zero has length 1
            return OK;
        }
        const Unit lowerMod8 = lowBits(lower.get(), 7);
        std::uint32_t twos = 0;
        while (!VLONG_testBit(upper.get(), twos)) {
            ++twos;
        }
        RETURN_IF_ERROR(VLONG_shiftRight(upper.get(), twos));
        if (twos % 2 != 0 && (lowerMod8 == 3 || lowerMod8 == 5)) {
            isNegative = !isNegative; // (2/n)
        }
        if (lowerMod8 % 4 == 3 && lowBits(upper.get(), 3) == 3) {
            isNegative = !isNegative; // reciprocity
        }
        RETURN_IF_ERROR(VLONG_mod(lower.get(), upper.get(), rest.out(), queue));
        lower.swap(upper);
        upper.swap(rest);
    }
    *symbol = isNegative ? -1 : 1;
    return OK;
}

Status PRIME_selfridgeD(const vlong* n, vlong** out, vlong** queue) {
    if (n == nullptr || out == nullptr) {
        return ERR_NULL_POINTER;
    }
    *out = nullptr;
    ScopedVlong d(queue);
    RETURN_IF_ERROR(VLONG_newValue(5, d.out(), queue));
    for (;;) { // neither a symbol of 0 nor a square ends the search: on purpose
        std::int32_t symbol = 0;
        RETURN_IF_ERROR(PRIME_jacobi(d.get(), n, &symbol, queue));
        if (symbol == -1) {
            *out = d.release();
            return OK;
        }
        const std::uint32_t negative = d.get()->negative;
        RETURN_IF_ERROR(VLONG_setValue(d.get(), VLONG_getUnit(d.get(), 0) + 2));
        d.get()->negative = 1 - negative;
    }
}
