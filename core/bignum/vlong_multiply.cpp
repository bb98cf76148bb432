// Products and squares: which kernel takes which lengths.
#include "core/bignum/kernels.h"
#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong_math.h"
#include "core/memory/secret.h"

namespace {

constexpr std::uint32_t kUnrolledUnits = 8;

// Makes room for a result of unitCount units.
Status prepare(vlong* product, std::uint32_t unitCount) {
    RETURN_IF_ERROR(VLONG_growDiscard(product, unitCount));
    product->length = unitCount;
    return OK;
}

Status karatsuba(vlong* product, const vlong* a, const vlong* b) {
    const std::uint32_t n = a->length;
    SecretBuffer scratch;
    RETURN_IF_ERROR(scratch.alloc(std::size_t{4} * n * sizeof(Unit)));
    RETURN_IF_ERROR(prepare(product, 2 * n));
    Unit* const scratchUnits = reinterpret_cast<Unit*>(scratch.data());
    if (a == b) {
        bignumKernels().karatsubaSquare(product->units, a->units, n, scratchUnits);
    } else {
        bignumKernels().karatsubaMul(product->units, a->units, b->units, n, scratchUnits);
    }
    return OK;
}

Status unrolled(vlong* product, const vlong* a, const vlong* b) {
    RETURN_IF_ERROR(prepare(product, 2 * kUnrolledUnits));
    if (a == b) {
        bignumKernels().square8(product->units, a->units);
    } else {
        bignumKernels().mul8x8(product->units, a->units, b->units);
    }
    return OK;
}

} // namespace

Status VLONG_mulMagnitude(vlong* product, const vlong* a, const vlong* b) {
    if (product == nullptr || a == nullptr || b == nullptr) {
        return ERR_NULL_POINTER;
    }
    product->length = 0; // not the sign, which VLONG_mul sets at its end
    const std::uint32_t unitCount = a->length + b->length;
    if (a->length == 0 || b->length == 0) {
        return OK;
    }
    if (unitCount > kMaxUnits) {
        return ERR_BAD_LENGTH; // before any scratch is allocated
    }
    if (a->length == b->length && a->length == kUnrolledUnits) {
        RETURN_IF_ERROR(unrolled(product, a, b));
    } else if (a->length == b->length && karatsubaTakes(a->length)) {
        RETURN_IF_ERROR(karatsuba(product, a, b));
    } else {
        return a == b ? VLONG_squareColumns(product, a, unitCount) : VLONG_mulColumns(product, a, b, unitCount);
    }
    VLONG_normalise(product);
    return OK;
}

Status VLONG_mul(vlong* product, const vlong* a, const vlong* b) {
    RETURN_IF_ERROR(VLONG_mulMagnitude(product, a, b));
    product->negative = a == b ? 0 : a->negative ^ b->negative; // a zero gets its flag too
    return OK;
}

Status VLONG_square(vlong* product, const vlong* a) {
    return VLONG_mul(product, a, a);
}

Status VLONG_mulSigned(const vlong* a, const vlong* b, vlong** out, vlong** queue) {
    if (a == nullptr || b == nullptr || out == nullptr) {
        return ERR_NULL_POINTER;
    }
    *out = nullptr;
    ScopedVlong product(queue);
    RETURN_IF_ERROR(product.alloc());
    RETURN_IF_ERROR(VLONG_mul(product.get(), a, b));
    *out = product.release();
    return OK;
}

Status VLONG_mulColumns(vlong* product, const vlong* a, const vlong* b, std::uint32_t unitCount) {
    if (product == nullptr || a == nullptr || b == nullptr) {
        return ERR_NULL_POINTER;
    }
    RETURN_IF_ERROR(prepare(product, unitCount));
    bignumKernels().mulColumns(product->units, a->units, a->length, b->units, b->length, unitCount);
    VLONG_normalise(product);
    return OK;
}

Status VLONG_squareColumns(vlong* product, const vlong* a, std::uint32_t unitCount) {
    if (product == nullptr || a == nullptr) {
        return ERR_NULL_POINTER;
    }
    RETURN_IF_ERROR(prepare(product, unitCount));
    bignumKernels().squareColumns(product->units, a->units, a->length, unitCount);
    VLONG_normalise(product);
    return OK;
}
