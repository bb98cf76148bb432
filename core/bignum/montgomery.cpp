// Montgomery contexts, and Montgomery products of records.
#include "core/bignum/branch_free.h"
#include "core/bignum/kernels.h"
#include "core/bignum/modexp.h"
#include "core/bignum/residues.h"
#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong_math.h"
#include "core/memory/secret.h"

#include <algorithm>

namespace {

// Makes `count` units of value readable, those above its length zero.
Status pad(vlong* value, std::uint32_t count) {
    RETURN_IF_ERROR(VLONG_growKeep(value, count));
    if (value->length < count) {
        std::fill(value->units + value->length, value->units + count, Unit{0});
    }
    return OK;
}

// The largest modulus whose squared radix can be divided by it.
bool hasRoomForSquare(std::uint32_t k) {
    return 2 * k + 2 <= kMaxUnits;
}

// inverse[k] := 1/2^(64 k) mod m for odd m > 1 of k units. With x = 1/m modulo 2^(64 k), lifted from one unit by
// Newton's step x (2 - m x), which doubles the units that are right, it is (1 + m (2^(64 k) - x)) / 2^(64 k).
// scratch[4k].
void invertRadix(Unit* inverse, const Unit* m, std::uint32_t k, Unit unitInverse, Unit* scratch) {
    const BignumKernels& kernels = bignumKernels();
    Unit* const x = inverse;
    Unit* const step = scratch;
    Unit* const next = scratch + k;
    x[0] = unitInverse;
    for (std::uint32_t right = 1; right < k;) {
        const std::uint32_t n = std::min(2 * right, k);
        kernels.mulColumns(step, m, n, x, right, n);
        Unit carry = 3; // 2 - y is (not y) + 3
        for (std::uint32_t i = 0; i < n; ++i) {
            step[i] = ~step[i] + carry;
            carry = step[i] < carry ? 1 : 0;
        }
        kernels.mulColumns(next, x, right, step, n, n);
        std::copy_n(next, n, x);
        right = n;
    }
    Unit carry = 1;
    for (std::uint32_t i = 0; i < k; ++i) {
        step[i] = ~x[i] + carry;
        carry = step[i] < carry ? 1 : 0;
    }
    Unit* const product = scratch + std::size_t{2} * k;
    kernels.mulColumns(product, m, k, step, k, 2 * k);
    // The low half is all ones, so adding one carries into the high half.
    carry = 1;
    for (std::uint32_t i = 0; i < k; ++i) {
        inverse[i] = product[k + i] + carry;
        carry = inverse[i] < carry ? 1 : 0;
    }
}

// RInverse. Euclid's algorithm gives it for every modulus; for odd ones Newton's steps give the same value much sooner.
Status makeRInverse(MontgomeryCtx* context, vlong** queue) {
    const vlong* const modulus = context->modulus;
    const std::uint32_t k = modulus->length;
    if (!takesResidues(modulus)) {
        return VLONG_modInverse(context->R, modulus, &context->RInverse, queue);
    }
    SecretBuffer scratch;
    RETURN_IF_ERROR(scratch.alloc(std::size_t{4} * k * sizeof(Unit)));
    ScopedVlong inverse(queue);
    RETURN_IF_ERROR(inverse.alloc());
    RETURN_IF_ERROR(VLONG_growDiscard(inverse.get(), k));
    invertRadix(inverse.get()->units, modulus->units, k, Unit{0} - context->negInverse,
                reinterpret_cast<Unit*>(scratch.data()));
    inverse.get()->length = publicly(significantUnits(inverse.get()->units, k));
    context->RInverse = inverse.release();
    return OK;
}

// radixSquared. A modulus that no exponentiation takes gets an empty one: the context itself is not refused.
Status makeRadixSquared(MontgomeryCtx* context, bool isSecret, vlong** queue) {
    const vlong* const modulus = context->modulus;
    const std::uint32_t k = modulus->length;
    ScopedVlong square(queue);
    RETURN_IF_ERROR(square.alloc());
    if (isSecret && takesResidues(modulus)) {
        SecretBuffer scratch;
        RETURN_IF_ERROR(scratch.alloc((std::size_t{k} + montScratchUnits(k)) * sizeof(Unit)));
        RETURN_IF_ERROR(VLONG_growDiscard(square.get(), k));
        MontModulus m{modulus->units, nullptr, context->negInverse, k};
        montRadixSquared(square.get()->units, m, reinterpret_cast<Unit*>(scratch.data()));
        memWipe(&m, sizeof m); // tells of the modulus
        wipeKernelFrames();
        square.get()->length = publicly(significantUnits(square.get()->units, k));
        context->radixSquared = square.release();
        return OK;
    }
    if (k == 0 || !hasRoomForSquare(k)) {
        context->radixSquared = square.release();
        return OK;
    }
    RETURN_IF_ERROR(VLONG_setUnit(square.get(), 2 * k, 1));
    RETURN_IF_ERROR(VLONG_mod(square.get(), modulus, &context->radixSquared, queue));
    return pad(context->radixSquared, k);
}

// ContextParts: what is to be made of a context, and whether its modulus is a secret.
struct ContextParts {
    bool isWhole, isSecret;
};

Status fillContext(MontgomeryCtx* context, const vlong* modulus, ContextParts parts, vlong** queue) {
    context->negInverse = VLONG_montNegInverse64(modulus);
    RETURN_IF_ERROR(VLONG_newCopy(modulus, &context->modulus, queue));
    if (parts.isWhole) {
        RETURN_IF_ERROR(VLONG_alloc(&context->R, queue));
        RETURN_IF_ERROR(VLONG_setUnit(context->R, modulus->length, 1));
        RETURN_IF_ERROR(makeRInverse(context, queue));
    }
    return makeRadixSquared(context, parts.isSecret, queue);
}

// A new context on the heap, of which fill() makes the contents; released again when that fails.
template <typename Fill> Status newContext(MontgomeryCtx** out, vlong** queue, Fill fill) {
    *out = nullptr;
    MontgomeryCtx* context = nullptr;
    RETURN_IF_ERROR(memAllocRecord(&context));
    const Status status = fill(context);
    if (isError(status)) {
        (void)VLONG_deleteMontgomeryCtx(&context, queue); // never fails
        return status;
    }
    *out = context;
    return OK;
}

Status copyContext(MontgomeryCtx* target, const MontgomeryCtx* source, vlong** queue) {
    target->negInverse = source->negInverse;
    RETURN_IF_ERROR(VLONG_newCopy(source->R, &target->R, queue));
    RETURN_IF_ERROR(VLONG_newCopy(source->RInverse, &target->RInverse, queue));
    RETURN_IF_ERROR(VLONG_newCopy(source->modulus, &target->modulus, queue));
    RETURN_IF_ERROR(VLONG_newCopy(source->radixSquared, &target->radixSquared, queue));
    // Zero for a modulus that divides R^2, and padded all the same; unpadded where no exponentiation takes the modulus.
    const std::uint32_t unitCount = source->modulus->length;
    return unitCount == 0 || !hasRoomForSquare(unitCount) ? OK : pad(target->radixSquared, unitCount);
}

void releaseRecord(vlong** record, vlong** queue) {
    (void)VLONG_free(record, queue); // a record that was never made is null, and skipped
}

} // namespace

Unit VLONG_montNegInverse64(const vlong* modulus) {
    const Unit n = VLONG_getUnit(modulus, 0);
    Unit x = n + 2 * ((n + 2) & 4); // right in 4 bits; each step doubles them
    for (int step = 0; step < 4; ++step) {
        x *= 2 - n * x;
    }
    return Unit{0} - x;
}

namespace {

Status initContext(MontgomeryCtx* context, const vlong* modulus, ContextParts parts, vlong** queue) {
    if (context == nullptr || modulus == nullptr) {
        return ERR_NULL_POINTER;
    }
    *context = {};
    const Status status = fillContext(context, modulus, parts, queue);
    if (isError(status)) {
        (void)VLONG_clearMontgomeryCtx(context, queue); // never fails
    }
    return status;
}

Status newContextOf(MontgomeryCtx** out, const vlong* modulus, ContextParts parts, vlong** queue) {
    if (out == nullptr || modulus == nullptr) {
        return ERR_NULL_POINTER;
    }
    return newContext(out, queue, [&](MontgomeryCtx* context) { return initContext(context, modulus, parts, queue); });
}

} // namespace

Status VLONG_initMontgomeryCtx(MontgomeryCtx* context, const vlong* modulus, vlong** queue) {
    return initContext(context, modulus, {true, false}, queue);
}

Status VLONG_initPowerCtx(MontgomeryCtx* context, const vlong* modulus, vlong** queue) {
    return initContext(context, modulus, {false, false}, queue);
}

Status VLONG_newMontgomeryCtx(MontgomeryCtx** out, const vlong* modulus, vlong** queue) {
    return newContextOf(out, modulus, {true, false}, queue);
}

Status VLONG_newSecretMontgomeryCtx(MontgomeryCtx** out, const vlong* modulus, vlong** queue) {
    return newContextOf(out, modulus, {true, true}, queue);
}

Status VLONG_clearMontgomeryCtx(MontgomeryCtx* context, vlong** queue) {
    if (context != nullptr) {
        releaseRecord(&context->R, queue);
        releaseRecord(&context->RInverse, queue);
        releaseRecord(&context->modulus, queue);
        releaseRecord(&context->radixSquared, queue);
        memWipe(context, sizeof *context);
    }
    return OK;
}

Status VLONG_deleteMontgomeryCtx(MontgomeryCtx** context, vlong** queue) {
    if (context != nullptr && *context != nullptr) {
        (void)VLONG_clearMontgomeryCtx(*context, queue); // never fails
        (void)memFreeRecord(context);                    // not null
    }
    return OK;
}

Status VLONG_cloneMontgomeryCtx(const MontgomeryCtx* source, MontgomeryCtx** out, vlong** queue) {
    if (source == nullptr || out == nullptr) {
        return ERR_NULL_POINTER;
    }
    return newContext(out, queue, [&](MontgomeryCtx* context) {
        const bool isWhole = source->modulus != nullptr && source->R != nullptr;
        return isWhole ? copyContext(context, source, queue) : ERR_NULL_POINTER; // nothing to copy, or not all of it
    });
}

namespace {

// What both products share. b is null for a square.
Status montProduct(const MontgomeryCtx* context, vlong* a, const vlong* b, vlong* scratch) {
    const vlong* const modulus = context->modulus;
    const std::uint32_t k = VLONG_isZero(modulus) ? 0 : modulus->length;
    if (k == 0) {
        return ERR_BAD_MODULO;
    }
    if (a->length > k || (b != nullptr && b->length > k)) {
        return ERR_BAD_LENGTH;
    }
    RETURN_IF_ERROR(VLONG_growDiscard(scratch, montScratchUnits(k)));
    // Keeps the value: a short record, as one in Montgomery form can be, may have less capacity.
    RETURN_IF_ERROR(pad(a, k));
    const MontModulus m{modulus->units, nullptr, context->negInverse, k};
    if (b == nullptr || a == b) {
        bignumKernels().montSquare(a->units, a->units, m, scratch->units);
    } else if (b->length == k) {
        bignumKernels().montMultiply(a->units, a->units, b->units, m, scratch->units);
    } else {
        ScopedVlong padded(nullptr);
        RETURN_IF_ERROR(VLONG_newCopy(b, padded.out(), nullptr));
        RETURN_IF_ERROR(pad(padded.get(), k));
        bignumKernels().montMultiply(a->units, a->units, padded.get()->units, m, scratch->units);
    }
    a->length = k;
    VLONG_normalise(a);
    a->length = std::max(a->length, 1U); // a zero keeps one unit, of value 0: on purpose
    return OK;
}

} // namespace

Status VLONG_montMultiply(const MontgomeryCtx* context, vlong* a, const vlong* b, vlong* scratch) {
    if (context == nullptr || a == nullptr || b == nullptr || scratch == nullptr) {
        return ERR_NULL_POINTER;
    }
    return montProduct(context, a, b, scratch);
}

Status VLONG_montSquare(const MontgomeryCtx* context, vlong* a, vlong* scratch) {
    if (context == nullptr || a == nullptr || scratch == nullptr) {
        return ERR_NULL_POINTER;
    }
    return montProduct(context, a, nullptr, scratch);
}
