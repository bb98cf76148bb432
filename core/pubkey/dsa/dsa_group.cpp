#include "core/pubkey/dsa/internal/dsa_group.h"

#include "core/bignum/branch_free.h"

#include <algorithm>

Status DsaGroup::start(const vlong* p) {
    p_ = p;
    const bool takesContext = VLONG_testBit(p, 0) && p->length >= 2;
    return takesContext ? context_.make(p) : OK;
}

Status DsaGroup::power(const Power& power) const {
    const auto& [base, exponent, out, secretBits] = power;
    if (context_.get() == nullptr) {
        return VLONG_modExp(base, exponent, p_, out, queue_);
    }
    return VLONG_modExpOne({context_.get(), base, exponent, out, secretBits, true}, queue_);
}

Status DsaGroup::powers(const Power& first, const Power& second) const {
    if (context_.get() != nullptr) {
        return VLONG_modExpCtxPair({context_.get(), first.base, first.exponent, first.out, first.secretBits, true},
                                   {context_.get(), second.base, second.exponent, second.out, second.secretBits, true},
                                   queue_);
    }
    RETURN_IF_ERROR(power(first));
    const Status status = power(second);
    if (isError(status)) {
        (void)VLONG_free(first.out, queue_); // not null
    }
    return status;
}

std::uint32_t dsaWholeOctets(const vlong* x) {
    const std::uint32_t length = x->length;
    return length == 0 ? 0 : publicly((kUnitBits * (length - 1) + significantBits(x->units[length - 1])) / 8);
}

std::uint32_t dsaPublicBitsOfX(const DSAKey& key) {
    return std::max(VLONG_bitLength(key.q), 8 * (dsaWholeOctets(key.x) + 1));
}

bool dsaHidesX(const DSAKey& key) {
    return takesResidues(key.p) && key.p->length >= 2 && !VLONG_isZero(key.g);
}

Status dsaMakeY(DSAKey& key, vlong** queue) {
    LocalQueue local(queue);
    DsaGroup group(local.get());
    RETURN_IF_ERROR(VLONG_isZero(key.p) ? ERR_BAD_MODULO : group.start(key.p));
    RETURN_IF_ERROR(group.power({key.g, key.x, &key.y, dsaHidesX(key) ? dsaPublicBitsOfX(key) : 0}));
    markPublic(key.y);
    return OK;
}
