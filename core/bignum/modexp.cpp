// Exponentiation: the choice of the engine, and the powers by Montgomery's method.
#include "core/bignum/modexp.h"
#include "core/bignum/branch_free.h"
#include "core/bignum/residues.h"
#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong_math.h"
#include "core/memory/secret.h"

#include <algorithm>

namespace {

// MontPower: one exponentiation on its way through a kernel. Everything it needs is claimed by prepare, so nothing can
// fail once the kernel runs: a power that was published after a refused allocation would give away a factor of an RSA
// modulus.
class MontPower {
public:
    explicit MontPower(vlong** queue) : queue_(queue), result_(queue) {
    }
    MontPower(const MontPower&) = delete;
    MontPower& operator=(const MontPower&) = delete;
    ~MontPower() {
        memWipe(&task_, sizeof task_); // tells of the modulus, which may be a secret prime
    }

    Status prepare(const ModExpOperands& operands) {
        const auto& [contextOf, base, exponent, out, secretBits, isBasePublic] = operands;
        const MontgomeryCtx& context = *contextOf;
        const vlong* const modulus = context.modulus;
        if (VLONG_isZero(modulus)) {
            return ERR_DIVIDE_BY_ZERO;
        }
        const std::uint32_t k = modulus->length;
        if (VLONG_isZero(context.radixSquared) && 2 * k + 2 > kMaxUnits) {
            return ERR_BAD_LENGTH;
        }
        // The base times R is the largest value of the conversion by ordinary arithmetic, and keeps to the size limit.
        if (base->length + k + 1 > kMaxUnits) {
            return ERR_BAD_LENGTH;
        }
        RETURN_IF_ERROR(base_.alloc(std::size_t{k} * sizeof(Unit)));
        RETURN_IF_ERROR(result_.alloc());
        RETURN_IF_ERROR(VLONG_growDiscard(result_.get(), k));
        task_ = {result_.get()->units,   baseUnits(),
                 exponent->units,        secretBits != 0 ? secretBits : VLONG_bitLength(exponent),
                 montModulusOf(context), secretBits != 0};
        RETURN_IF_ERROR(task_.isSecret && !isBasePublic ? takeSecretBase(context, base) : takeBase(base, modulus));
        return task_.isSecret ? takeSecretExponent(exponent) : OK;
    }

    const ModExpTask& task() const {
        return task_;
    }

    vlong* finish() {
        result_.get()->length = significantUnits(task_.result, task_.modulus.count);
        return result_.release();
    }

private:
    Unit* baseUnits() {
        return reinterpret_cast<Unit*>(base_.data());
    }

    Status takeBase(const vlong* base, const vlong* modulus) {
        ScopedVlong reduced(queue_);
        if (VLONG_cmpMagnitude(base, modulus) >= 0) {
            RETURN_IF_ERROR(VLONG_mod(base, modulus, reduced.out(), queue_));
            base = reduced.get();
        }
        std::copy_n(base->units, base->length, baseUnits()); // zeros above
        return OK;
    }

    Status takeSecretBase(const MontgomeryCtx& context, const vlong* base) {
        Residues residues;
        RETURN_IF_ERROR(residues.start(context, 0));
        residues.reduce(baseUnits(), base->units, base->length);
        return OK;
    }

    Status takeSecretExponent(const vlong* exponent) {
        const std::uint32_t count = (task_.exponentBits + kUnitBits - 1) / kUnitBits;
        RETURN_IF_ERROR(exponent_.alloc(std::size_t{count} * sizeof(Unit)));
        Unit* const units = reinterpret_cast<Unit*>(exponent_.data());
        std::copy_n(exponent->units, std::min(count, exponent->length), units); // zeros above
        task_.exponent = units;
        return OK;
    }

    vlong** queue_;
    SecretBuffer base_, exponent_;
    ScopedVlong result_;
    ModExpTask task_{};
};

// 0 and 1 for a zero base and a zero exponent, in this order: 0^0 is 0. Null in *out: neither is zero.
Status trivialPower(const vlong* base, const vlong* exponent, vlong** out, vlong** queue) {
    *out = nullptr;
    if (VLONG_bitLength(base) == 0) { // a Montgomery product that is zero counts, too
        return VLONG_newValue(0, out, queue);
    }
    return VLONG_bitLength(exponent) == 0 ? VLONG_newValue(1, out, queue) : OK;
}

bool isTrivial(const ModExpOperands& operands) {
    return operands.secretBits == 0 && (VLONG_bitLength(operands.base) == 0 || VLONG_bitLength(operands.exponent) == 0);
}

bool hasNull(const ModExpOperands& operands) {
    return operands.context == nullptr || operands.context->modulus == nullptr || operands.base == nullptr ||
           operands.exponent == nullptr || operands.out == nullptr;
}

// One exponentiation that is not trivial.
Status modExpAlone(const ModExpOperands& operands, vlong** queue) {
    MontPower power(queue);
    RETURN_IF_ERROR(power.prepare(operands));
    const ModExpTask& task = power.task();
    if (task.exponentBits == 0) { // for which no kernel is made
        return VLONG_newValue(VLONG_cmpUnit(operands.context->modulus, 1) == 0 ? 0 : 1, operands.out, queue);
    }
    const ModExpKernel& kernel = modExpKernelFor(task.modulus, task.isSecret);
    SecretBuffer scratch;
    RETURN_IF_ERROR(
        scratch.alloc(kernel.scratchUnits(task.modulus.count, task.exponentBits, task.isSecret) * sizeof(Unit)));
    kernel.one(task, reinterpret_cast<Unit*>(scratch.data()));
    *operands.out = power.finish();
    return OK;
}

} // namespace

Status VLONG_modExp(const vlong* base, const vlong* exponent, const vlong* modulus, vlong** out, vlong** queue) {
    if (base == nullptr || exponent == nullptr || modulus == nullptr || out == nullptr) {
        return ERR_NULL_POINTER;
    }
    *out = nullptr;
    if (VLONG_bitLength(modulus) == 0) {
        return ERR_BAD_MODULO;
    }
    RETURN_IF_ERROR(trivialPower(base, exponent, out, queue));
    if (*out != nullptr) {
        return OK;
    }
    const bool isOdd = VLONG_testBit(modulus, 0);
    return isOdd && modulus->length >= 2 ? VLONG_modExpMontgomery(base, exponent, modulus, out, queue)
                                         : VLONG_modExpBarrett(base, exponent, modulus, out, queue);
}

Status VLONG_modExpMontgomery(const vlong* base, const vlong* exponent, const vlong* modulus, vlong** out,
                              vlong** queue) {
    if (base == nullptr || exponent == nullptr || modulus == nullptr || out == nullptr) {
        return ERR_NULL_POINTER;
    }
    *out = nullptr;
    if (!VLONG_testBit(modulus, 0)) {
        return ERR_BAD_MODULO;
    }
    LocalQueue local(queue);
    ScopedMontgomeryCtx context(local.get());
    RETURN_IF_ERROR(context.make(modulus));
    return VLONG_montExpWindow(context.get(), base, exponent, out, local.get());
}

Status VLONG_modExpCtx(const MontgomeryCtx* context, const vlong* base, const vlong* exponent, vlong** out,
                       vlong** queue) {
    return VLONG_modExpOne({context, base, exponent, out}, queue);
}

Status VLONG_modExpOne(const ModExpOperands& power, vlong** queue) {
    if (hasNull(power)) {
        return ERR_NULL_POINTER;
    }
    *power.out = nullptr;
    if (power.secretBits == 0) {
        RETURN_IF_ERROR(trivialPower(power.base, power.exponent, power.out, queue));
    }
    return *power.out != nullptr ? OK : modExpAlone(power, queue);
}

Status VLONG_modExpCtxPair(const ModExpOperands& first, const ModExpOperands& second, vlong** queue) {
    if (hasNull(first) || hasNull(second)) {
        return ERR_NULL_POINTER;
    }
    *first.out = nullptr;
    *second.out = nullptr;
    const std::uint32_t k = first.context->modulus->length;
    if (isTrivial(first) || isTrivial(second) || k != second.context->modulus->length) {
        RETURN_IF_ERROR(VLONG_modExpOne(first, queue));
        const Status status = VLONG_modExpOne(second, queue);
        if (isError(status)) {
            (void)VLONG_free(first.out, queue); // not null
        }
        return status;
    }
    MontPower one(queue), other(queue);
    RETURN_IF_ERROR(one.prepare(first));
    RETURN_IF_ERROR(other.prepare(second));
    const ModExpTask &task = one.task(), &otherTask = other.task();
    const ModExpKernel& kernel = modExpKernelFor(task.modulus, task.isSecret);
    const ModExpKernel& otherKernel = modExpKernelFor(otherTask.modulus, otherTask.isSecret);
    const std::uint32_t bits = std::max(task.exponentBits, otherTask.exponentBits);
    const bool isSecret = task.isSecret || otherTask.isSecret;
    SecretBuffer scratch;
    RETURN_IF_ERROR(scratch.alloc(
        std::max(kernel.scratchUnits(k, bits, isSecret), otherKernel.scratchUnits(k, bits, isSecret)) * sizeof(Unit)));
    Unit* const scratchUnits = reinterpret_cast<Unit*>(scratch.data());
    if (kernel.pair != nullptr && &kernel == &otherKernel) {
        kernel.pair(task, otherTask, scratchUnits);
    } else {
        kernel.one(task, scratchUnits);
        otherKernel.one(otherTask, scratchUnits);
    }
    *first.out = one.finish();
    *second.out = other.finish();
    return OK;
}

std::uint32_t VLONG_windowWidth(std::uint32_t exponentBits) {
    if (exponentBits >= 672) {
        return 6;
    }
    if (exponentBits >= 240) {
        return 5;
    }
    if (exponentBits >= 80) {
        return 4;
    }
    return exponentBits >= 24 ? 3 : 2;
}

Status VLONG_montExpWindow(const MontgomeryCtx* context, const vlong* base, const vlong* exponent, vlong** out,
                           vlong** queue) {
    if (hasNull({context, base, exponent, out})) {
        return ERR_NULL_POINTER;
    }
    *out = nullptr;
    return modExpAlone({context, base, exponent, out}, queue);
}

Status VLONG_montExpBinary(const MontgomeryCtx* context, const vlong* base, const vlong* exponent, vlong** out,
                           vlong** queue) {
    if (hasNull({context, base, exponent, out})) {
        return ERR_NULL_POINTER;
    }
    *out = nullptr;
    ScopedVlong power(queue), square(queue), wide(queue), scratch(queue);
    RETURN_IF_ERROR(scratch.alloc());
    RETURN_IF_ERROR(VLONG_mod(context->R, context->modulus, power.out(), queue));
    RETURN_IF_ERROR(VLONG_mulSigned(base, context->R, wide.out(), queue));
    RETURN_IF_ERROR(VLONG_mod(wide.get(), context->modulus, square.out(), queue));
    const std::uint32_t bits = VLONG_bitLength(exponent);
    for (std::uint32_t i = 0; i < bits; ++i) {
        if (VLONG_testBit(exponent, i)) {
            RETURN_IF_ERROR(VLONG_montMultiply(context, power.get(), square.get(), scratch.get()));
        }
        if (i + 1 < bits) {
            RETURN_IF_ERROR(VLONG_montSquare(context, square.get(), scratch.get()));
        }
    }
    RETURN_IF_ERROR(VLONG_mulSigned(power.get(), context->RInverse, wide.out(), queue));
    return VLONG_mod(wide.get(), context->modulus, out, queue);
}
