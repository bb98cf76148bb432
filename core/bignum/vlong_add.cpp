// Sums and differences.
#include "core/bignum/kernels.h"
#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong_math.h"

#include <algorithm>

namespace {

// a := b - a in magnitudes, for |a| < |b|, with b's sign flag.
Status subtractFrom(vlong* a, const vlong* b, vlong** queue) {
    ScopedVlong old(queue);
    RETURN_IF_ERROR(VLONG_newCopy(a, old.out(), queue));
    RETURN_IF_ERROR(VLONG_copy(a, b));
    return VLONG_subMagnitude(a, old.get());
}

} // namespace

Status VLONG_add(vlong* a, const vlong* b, vlong** queue) {
    if (a == nullptr || b == nullptr) {
        return ERR_NULL_POINTER;
    }
    if (a->negative == b->negative) {
        return VLONG_addMagnitude(a, b);
    }
    return VLONG_cmpMagnitude(a, b) < 0 ? subtractFrom(a, b, queue) : VLONG_subMagnitude(a, b);
}

Status VLONG_sub(vlong* a, const vlong* b, vlong** queue) {
    if (a == nullptr || b == nullptr) {
        return ERR_NULL_POINTER;
    }
    if (a->negative != b->negative) {
        return VLONG_addMagnitude(a, b);
    }
    if (VLONG_cmpMagnitude(a, b) >= 0) {
        return VLONG_subMagnitude(a, b);
    }
    RETURN_IF_ERROR(subtractFrom(a, b, queue));
    a->negative = 1 - a->negative;
    return OK;
}

Status VLONG_addUnit(vlong* a, Unit unit, vlong** queue) {
    if (a == nullptr) {
        return ERR_NULL_POINTER;
    }
    ScopedVlong addend(queue);
    RETURN_IF_ERROR(VLONG_newValue(unit, addend.out(), queue));
    return VLONG_add(a, addend.get(), queue);
}

Status VLONG_increment(vlong* a, vlong** queue) {
    return VLONG_addUnit(a, 1, queue);
}

Status VLONG_decrement(vlong* a, vlong** queue) {
    if (a == nullptr) {
        return ERR_NULL_POINTER;
    }
    ScopedVlong one(queue);
    RETURN_IF_ERROR(VLONG_newValue(1, one.out(), queue));
    return VLONG_sub(a, one.get(), queue);
}

Status VLONG_addMagnitude(vlong* a, const vlong* b) {
    if (a == nullptr || b == nullptr) {
        return ERR_NULL_POINTER;
    }
    if (b->length == 0) {
        return OK;
    }
    if (a->length < b->length) {
        // Room for the carry is asked for whether there will be one or not, so b may not fill the size limit.
        RETURN_IF_ERROR(VLONG_growKeep(a, std::uint64_t{b->length} + 1));
        std::fill(a->units + a->length, a->units + b->length, Unit{0});
        a->length = b->length;
    }
    const BignumKernels& kernels = bignumKernels();
    Unit carry = kernels.addUnits(a->units, a->units, b->units, b->length);
    for (std::uint32_t i = b->length; carry != 0 && i < a->length; ++i) {
        carry = ++a->units[i] == 0 ? 1 : 0;
    }
    const Status status = carry == 0 ? OK : VLONG_setUnit(a, a->length, carry);
    VLONG_normalise(a); // also when the carry's unit was refused and what is left is zero
    return status;
}

Status VLONG_subMagnitude(vlong* a, const vlong* b) {
    if (a == nullptr || b == nullptr) {
        return ERR_NULL_POINTER;
    }
    const std::uint32_t common = std::min(a->length, b->length);
    Unit borrow = common == 0 ? 0 : bignumKernels().subUnits(a->units, a->units, b->units, common);
    for (std::uint32_t i = common; borrow != 0 && i < a->length; ++i) {
        borrow = a->units[i]-- == 0 ? 1 : 0;
    }
    // A borrow that leaves the top is dropped: Barrett's reduction counts on the wrap-around.
    VLONG_normalise(a);
    return OK;
}
