// The Lucas test, on values in Montgomery form.
//
// With P = 1 the pair (U, V) of index i becomes that of 2 i by U V and (V^2 + D U^2) / 2, and that of i + 1 by
// (U + V) / 2 and (D U + V) / 2, all modulo n. D is small, so a product with it is a handful of modular additions.
#include "core/bignum/kernels.h"
#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong_math.h"
#include "core/memory/secret.h"
#include "core/prime/prime_stages.h"

#include <algorithm>
#include <bit>
#include <utility>

namespace {

// LucasPair: (U, V) modulo an odd modulus of k units, from the index 1 on.
class LucasPair {
public:
    LucasPair(const MontgomeryCtx& context, const vlong* discriminant)
        : kernels_(bignumKernels()), modulus_{context.modulus->units, context.radixSquared->units, context.negInverse,
                                              context.modulus->length},
          d_(VLONG_getUnit(discriminant, 0)), isDNegative_(discriminant->negative != 0) {
    }
    LucasPair(const LucasPair&) = delete;
    LucasPair& operator=(const LucasPair&) = delete;
    ~LucasPair() {
        memWipe(&modulus_, sizeof modulus_); // tells of a candidate
    }

    Status start() {
        const std::size_t k = modulus_.count;
        RETURN_IF_ERROR(storage_.alloc((5 * k + montScratchUnits(modulus_.count)) * sizeof(Unit)));
        u_ = reinterpret_cast<Unit*>(storage_.data());
        v_ = u_ + k;
        first_ = v_ + k;
        second_ = first_ + k;
        third_ = second_ + k;
        scratch_ = third_ + k;
        first_[0] = 1;
        kernels_.montMultiply(u_, modulus_.radixSquared, first_, modulus_, scratch_); // one
        std::copy_n(u_, k, v_);
        return OK;
    }

    void doubleIndex() {
        kernels_.montSquare(first_, u_, modulus_, scratch_);
        timesD(first_);
        kernels_.montMultiply(u_, u_, v_, modulus_, scratch_);
        kernels_.montSquare(v_, v_, modulus_, scratch_);
        combine(v_, first_);
        halve(v_);
    }

    void addOne() {
        std::copy_n(u_, modulus_.count, first_);
        timesD(first_);
        add(u_, v_);
        halve(u_);
        combine(v_, first_);
        halve(v_);
    }

    bool isUZero() const {
        return std::all_of(u_, u_ + modulus_.count, [](Unit unit) { return unit == 0; });
    }

private:
    // a := a + b, a - b, a / 2.
    void add(Unit* a, const Unit* b) {
        const std::uint32_t k = modulus_.count;
        const Unit carry = kernels_.addUnits(a, a, b, k);
        if (carry != 0 || VLONG_cmpUnits(a, modulus_.units, k) >= 0) {
            (void)kernels_.subUnits(a, a, modulus_.units, k); // the borrow meets the carry
        }
    }
    void subtract(Unit* a, const Unit* b) {
        const std::uint32_t k = modulus_.count;
        if (kernels_.subUnits(a, a, b, k) != 0) {
            (void)kernels_.addUnits(a, a, modulus_.units, k); // the carry meets the borrow
        }
    }
    void halve(Unit* a) {
        const std::uint32_t k = modulus_.count;
        Unit carry = (a[0] & 1) != 0 ? kernels_.addUnits(a, a, modulus_.units, k) : 0;
        for (std::uint32_t i = k; i-- > 0;) {
            const Unit unit = a[i];
            a[i] = unit >> 1 | carry << (kUnitBits - 1);
            carry = unit & 1;
        }
    }

    // value := |D| value.
    void timesD(Unit* value) {
        std::copy_n(value, modulus_.count, third_);
        for (int bit = 62 - std::countl_zero(d_); bit >= 0; --bit) {
            std::copy_n(value, modulus_.count, second_);
            add(value, second_);
            if ((d_ >> bit & 1) != 0) {
                add(value, third_);
            }
        }
    }
    // a := a + b with the sign of D.
    void combine(Unit* a, const Unit* b) {
        isDNegative_ ? subtract(a, b) : add(a, b);
    }

    const BignumKernels& kernels_;
    MontModulus modulus_;
    Unit d_;
    bool isDNegative_;
    SecretBuffer storage_;
    Unit *u_ = nullptr, *v_ = nullptr, *first_ = nullptr, *second_ = nullptr, *third_ = nullptr, *scratch_ = nullptr;
};

} // namespace

Status primeLucasTest(const MontgomeryCtx& context, std::uint32_t* flag, vlong** queue) {
    *flag = 0;
    ScopedVlong discriminant(queue), index(queue);
    RETURN_IF_ERROR(PRIME_selfridgeD(context.modulus, discriminant.out(), queue));
    RETURN_IF_ERROR(VLONG_newCopy(context.modulus, index.out(), queue));
    RETURN_IF_ERROR(VLONG_increment(index.get(), queue));
    LucasPair pair(context, discriminant.get());
    RETURN_IF_ERROR(pair.start());
    for (std::uint32_t bit = VLONG_bitLength(index.get()) - 1; bit-- > 0;) {
        pair.doubleIndex();
        if (VLONG_testBit(index.get(), bit)) {
            pair.addOne();
        }
    }
    *flag = pair.isUZero() ? 1 : 0;
    return OK;
}

Status PRIME_lucasTest(const vlong* n, std::uint32_t* flag, vlong** queue) {
    if (n == nullptr || flag == nullptr) {
        return ERR_NULL_POINTER;
    }
    *flag = 0;
    if (!VLONG_testBit(n, 0)) {
        return ERR_EVEN_NUMBER;
    }
    LocalQueue local(queue);
    MontgomeryCtx context;
    RETURN_IF_ERROR(VLONG_initMontgomeryCtx(&context, n, local.get()));
    const Status status = primeLucasTest(context, flag, local.get());
    (void)VLONG_clearMontgomeryCtx(&context, local.get()); // always OK
    return status;
}
