// Exponentiation for even and one-unit moduli: a right-to-left binary scan with Barrett's reduction.
#include "core/bignum/modexp.h"
#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong_math.h"

#include <algorithm>

namespace {

// A value that looks at the units of another from unit `first` on. Not to be changed, copied from only.
vlong upperUnits(const vlong& value, std::uint32_t first) {
    if (value.length <= first) {
        return {};
    }
    return {value.units + first, 0, value.length - first, 0, nullptr};
}

// r := the `count` low units of x, not normalised.
Status lowUnits(vlong* r, const vlong* x, std::uint32_t count) {
    RETURN_IF_ERROR(VLONG_growKeep(r, count));
    for (std::uint32_t i = 0; i < count; ++i) {
        r->units[i] = VLONG_getUnit(x, i);
    }
    r->length = count;
    return OK;
}

} // namespace

Status VLONG_barrettMu(const vlong* modulus, vlong** out, vlong** queue) {
    if (modulus == nullptr || out == nullptr) {
        return ERR_NULL_POINTER;
    }
    *out = nullptr;
    ScopedVlong square(queue), remainder(queue), mu(queue);
    RETURN_IF_ERROR(square.alloc());
    RETURN_IF_ERROR(remainder.alloc());
    RETURN_IF_ERROR(mu.alloc());
    RETURN_IF_ERROR(VLONG_setUnit(square.get(), 2 * modulus->length, 1));
    RETURN_IF_ERROR(VLONG_divide(mu.get(), square.get(), modulus, remainder.get(), queue));
    *out = mu.release();
    return OK;
}

Status VLONG_barrettReduce(const vlong* x, const vlong* modulus, const vlong* mu, vlong** out, vlong** queue) {
    if (x == nullptr || modulus == nullptr || mu == nullptr || out == nullptr) {
        return ERR_NULL_POINTER;
    }
    *out = nullptr;
    if (VLONG_isZero(modulus)) {
        return ERR_DIVIDE_BY_ZERO;
    }
    if (VLONG_cmpMagnitude(x, modulus) < 0) {
        return VLONG_newCopy(x, out, queue);
    }
    const std::uint32_t k = modulus->length;
    if (x->length > 2 * k) {
        return ERR_BAD_LENGTH; // the subtractions below would not come to an end
    }
    ScopedVlong q2(queue), r2(queue), r(queue);
    RETURN_IF_ERROR(q2.alloc());
    RETURN_IF_ERROR(r2.alloc());
    RETURN_IF_ERROR(r.alloc());
    const vlong q1 = upperUnits(*x, k - 1);
    RETURN_IF_ERROR(VLONG_mulMagnitude(q2.get(), &q1, mu));
    const vlong q3 = upperUnits(*q2.get(), k + 1);
    RETURN_IF_ERROR(VLONG_mulColumns(r2.get(), &q3, modulus, k + 1));
    // r keeps its k + 1 units, zeros on top included. The comparison can take it for larger than r2 then, which does no
    // harm: without the added unit the subtraction wraps around to the same value.
    RETURN_IF_ERROR(lowUnits(r.get(), x, k + 1));
    if (VLONG_cmpMagnitude(r.get(), r2.get()) < 0) {
        RETURN_IF_ERROR(VLONG_setUnit(r.get(), k + 1, 1));
    }
    RETURN_IF_ERROR(VLONG_subMagnitude(r.get(), r2.get()));
    while (VLONG_cmpMagnitude(r.get(), modulus) > 0) { // "above", so the modulus itself stays in place of 0: on purpose
        RETURN_IF_ERROR(VLONG_subMagnitude(r.get(), modulus));
    }
    *out = r.release();
    return OK;
}

Status VLONG_barrettMulMod(const vlong* x, const vlong* y, const vlong* modulus, const vlong* mu, vlong** out,
                           vlong** queue) {
    if (x == nullptr || y == nullptr || modulus == nullptr || mu == nullptr || out == nullptr) {
        return ERR_NULL_POINTER;
    }
    *out = nullptr;
    ScopedVlong product(queue);
    RETURN_IF_ERROR(product.alloc());
    RETURN_IF_ERROR(VLONG_mulMagnitude(product.get(), x, y));
    return VLONG_barrettReduce(product.get(), modulus, mu, out, queue);
}

Status VLONG_modExpBarrett(const vlong* base, const vlong* exponent, const vlong* modulus, vlong** out, vlong** queue) {
    if (base == nullptr || exponent == nullptr || modulus == nullptr || out == nullptr) {
        return ERR_NULL_POINTER;
    }
    *out = nullptr;
    LocalQueue local(queue);
    vlong** const spare = local.get();
    ScopedVlong power(spare), square(spare), mu(spare), next(spare);
    RETURN_IF_ERROR(VLONG_newValue(1, power.out(), spare));
    // Only a base longer than the modulus is reduced: the reduction cannot take its square. A shorter one above the
    // modulus is left, because it decides where the modulus comes out in place of 0.
    if (base->length > modulus->length) {
        RETURN_IF_ERROR(VLONG_mod(base, modulus, square.out(), spare));
    } else {
        RETURN_IF_ERROR(VLONG_newCopy(base, square.out(), spare));
    }
    RETURN_IF_ERROR(VLONG_barrettMu(modulus, mu.out(), spare));
    const std::uint32_t bits = VLONG_bitLength(exponent);
    for (std::uint32_t i = 0; i < bits; ++i) {
        if (VLONG_testBit(exponent, i)) {
            RETURN_IF_ERROR(VLONG_barrettMulMod(power.get(), square.get(), modulus, mu.get(), next.out(), spare));
            power.swap(next);
        }
        if (i + 1 < bits) {
            RETURN_IF_ERROR(VLONG_barrettMulMod(square.get(), square.get(), modulus, mu.get(), next.out(), spare));
            square.swap(next);
        }
    }
    *out = power.release();
    return OK;
}
