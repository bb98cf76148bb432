// Long division.
#include "core/bignum/kernels.h"
#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong_math.h"
#include "core/memory/secret.h"

#include <algorithm>
#include <bit>
#include <cassert>

namespace {

// TopUnits: the two top units of the divisor, the higher one second, and their product with a quotient digit, in three.
struct TopUnits {
    SecretArray<Unit, 2> divisor;
    SecretArray<Unit, 3> product;

    void multiply(const BignumKernels& kernels, Unit digit) {
        product[0] = product[1] = 0;
        product[2] = kernels.mulAddUnit(product.data(), divisor.data(), 2, digit);
    }
};

// The quotient digit of the window r[0..m + 1] by t[0..m], m = top, for a window below t * 2^64; at most one too large.
// Units below index 0 count as zero.
Unit estimateDigit(const BignumKernels& kernels, const Unit* r, TopUnits& t, std::uint32_t top) {
    const Unit rTop = r[top + 1], rNext = r[top], rThird = top > 0 ? r[top - 1] : 0;
    Unit digit = rTop == t.divisor[1] ? ~Unit{0} : kernels.div128by64(rTop, rNext, t.divisor[1]);
    const auto exceeds = [&] {
        t.multiply(kernels, digit);
        if (t.product[2] != rTop) {
            return t.product[2] > rTop;
        }
        return t.product[1] != rNext ? t.product[1] > rNext : t.product[0] > rThird;
    };
    while (exceeds()) {
        --digit;
    }
    return digit;
}

// One step: divides the window r[0..m + 1] by t[0..m], leaves the remainder there and returns the digit.
Unit divideStep(const BignumKernels& kernels, Unit* r, const Unit* t, TopUnits& tops, std::uint32_t top) {
    Unit digit = estimateDigit(kernels, r, tops, top);
    const Unit borrow = kernels.mulSubUnit(r, t, top + 1, digit);
    const bool isNegative = r[top + 1] < borrow;
    r[top + 1] -= borrow;
    if (isNegative) {
        r[top + 1] += kernels.addUnits(r, r, t, top + 1);
        --digit;
    }
    return digit;
}

// Divides r by t, which has its top bit set, for r >= t; the remainder stays in the low units of r.
Status divideShifted(vlong* quotient, vlong* r, const vlong* t) {
    const std::uint32_t n = r->length - 1, m = t->length - 1;
    RETURN_IF_ERROR(VLONG_growDiscard(quotient, n - m + 1));
    quotient->length = n - m + 1;
    std::fill_n(quotient->units, quotient->length, Unit{0});
    // The divisor moved up to the top of r counts as a value of its own with room for a shift, so it can hit the limit.
    // The comparison and the subtraction need no such copy.
    if (n > m && n + 2 > kMaxUnits) {
        return ERR_BAD_LENGTH;
    }
    const BignumKernels& kernels = bignumKernels();
    Unit* const upper = r->units + (n - m);
    if (VLONG_cmpUnits(upper, t->units, m + 1) >= 0) {
        (void)kernels.subUnits(upper, upper, t->units, m + 1); // no borrow: upper is not below t
        quotient->units[n - m] = 1;
    }
    TopUnits tops;
    tops.divisor[0] = m > 0 ? t->units[m - 1] : 0;
    tops.divisor[1] = t->units[m];
    for (std::uint32_t i = n; i > m; --i) {
        const std::uint32_t j = i - m - 1;
        quotient->units[j] = divideStep(kernels, r->units + j, t->units, tops, m);
    }
    return OK;
}

// A new record for a quotient or remainder with the status of making it.
enum class Wanted { quotient, remainder };

Status divideInto(Wanted wanted, const vlong* a, const vlong* b, std::uint32_t negative, vlong** out, vlong** queue) {
    ScopedVlong quotient(queue), remainder(queue);
    RETURN_IF_ERROR(quotient.alloc());
    RETURN_IF_ERROR(remainder.alloc());
    RETURN_IF_ERROR(VLONG_divide(quotient.get(), a, b, remainder.get(), queue));
    *out = (wanted == Wanted::quotient ? quotient : remainder).release();
    (*out)->negative = negative; // of a zero too
    return OK;
}

} // namespace

Status VLONG_divide(vlong* quotient, const vlong* dividend, const vlong* divisor, vlong* remainder, vlong** queue) {
    if (quotient == nullptr || dividend == nullptr || divisor == nullptr || remainder == nullptr) {
        return ERR_NULL_POINTER;
    }
    assert(quotient != dividend && quotient != divisor && quotient != remainder);
    assert(remainder != dividend && remainder != divisor);
    if (VLONG_bitLength(divisor) == 0) { // not by length alone: a Montgomery product that is zero has length 1
        return ERR_DIVIDE_BY_ZERO;
    }
    RETURN_IF_ERROR(VLONG_copyMagnitude(remainder, dividend));
    VLONG_normalise(remainder);
    (void)VLONG_clear(quotient);
    if (VLONG_cmpMagnitude(remainder, divisor) < 0) {
        return OK;
    }
    const auto shift = static_cast<std::uint32_t>(std::countl_zero(divisor->units[divisor->length - 1]));
    ScopedVlong shifted(queue);
    RETURN_IF_ERROR(VLONG_newCopy(divisor, shifted.out(), queue));
    RETURN_IF_ERROR(VLONG_shiftLeft(remainder, shift));
    RETURN_IF_ERROR(VLONG_shiftLeft(shifted.get(), shift));
    RETURN_IF_ERROR(divideShifted(quotient, remainder, shifted.get()));
    VLONG_normalise(quotient);
    remainder->length = shifted.get()->length;
    VLONG_normalise(remainder);
    return VLONG_shiftRight(remainder, shift);
}

Status VLONG_mod(const vlong* a, const vlong* modulus, vlong** out, vlong** queue) {
    if (a == nullptr || modulus == nullptr || out == nullptr) {
        return ERR_NULL_POINTER;
    }
    *out = nullptr;
    return divideInto(Wanted::remainder, a, modulus, a->negative, out, queue);
}

Status VLONG_div(const vlong* a, const vlong* b, vlong** out, vlong** queue) {
    if (a == nullptr || b == nullptr || out == nullptr) {
        return ERR_NULL_POINTER;
    }
    *out = nullptr;
    return divideInto(Wanted::quotient, a, b, a->negative ^ b->negative, out, queue);
}

Status VLONG_mulMod(const vlong* a, const vlong* b, const vlong* modulus, vlong** out, vlong** queue) {
    if (a == nullptr || b == nullptr || modulus == nullptr || out == nullptr) {
        return ERR_NULL_POINTER;
    }
    *out = nullptr;
    ScopedVlong product(queue);
    RETURN_IF_ERROR(VLONG_mulSigned(a, b, product.out(), queue));
    return VLONG_mod(product.get(), modulus, out, queue);
}
