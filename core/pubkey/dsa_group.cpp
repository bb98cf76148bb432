#include "core/pubkey/dsa_group.h"

#include "core/bignum/scoped_vlong.h"

Status DsaGroup::start(const vlong* p) {
    p_ = p;
    const bool takesContext = VLONG_testBit(p, 0) && p->length >= 2;
    return takesContext ? VLONG_initMontgomeryCtx(&context_, p, queue_) : OK;
}

Status DsaGroup::power(const vlong* base, const vlong* exponent, vlong** out) const {
    return isMontgomery() ? VLONG_modExpCtx(&context_, base, exponent, out, queue_)
                          : VLONG_modExp(base, exponent, p_, out, queue_);
}

Status DsaGroup::powers(const vlong* base, const vlong* exponent, vlong** out, const vlong* otherBase,
                        const vlong* otherExponent, vlong** otherOut) const {
    if (isMontgomery()) {
        return VLONG_modExpCtxPair({&context_, base, exponent, out}, {&context_, otherBase, otherExponent, otherOut},
                                   queue_);
    }
    ScopedVlong first(queue_);
    *out = nullptr;
    RETURN_IF_ERROR(VLONG_modExp(base, exponent, p_, first.out(), queue_));
    RETURN_IF_ERROR(VLONG_modExp(otherBase, otherExponent, p_, otherOut, queue_));
    *out = first.release();
    return OK;
}
