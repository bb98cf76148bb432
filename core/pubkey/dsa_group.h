// DsaGroup: powers modulo the p of a DSA key, which may come from anywhere.
#ifndef ZELSPI_CORE_PUBKEY_DSA_GROUP_H
#define ZELSPI_CORE_PUBKEY_DSA_GROUP_H

#include "core/pubkey/dsa.h"

class DsaGroup {
public:
    explicit DsaGroup(vlong** queue) : queue_(queue) {
    }
    DsaGroup(const DsaGroup&) = delete;
    DsaGroup& operator=(const DsaGroup&) = delete;
    ~DsaGroup() {
        (void)VLONG_clearMontgomeryCtx(&context_, queue_); // always OK
    }

    // start: p must outlive the group. Errors: growth.
    Status start(const vlong* p);

    // power: a new record := base^exponent mod p, as by VLONG_modExp. powers: the same twice, side by side.
    Status power(const vlong* base, const vlong* exponent, vlong** out) const;
    Status powers(const vlong* base, const vlong* exponent, vlong** out, const vlong* otherBase,
                  const vlong* otherExponent, vlong** otherOut) const;

    const vlong* modulus() const {
        return p_;
    }

private:
    bool isMontgomery() const {
        return context_.modulus != nullptr;
    }

    vlong** queue_;
    const vlong* p_ = nullptr;
    MontgomeryCtx context_{}; // for a p that VLONG_modExp takes by Montgomery's method
};

// dsaVerifyIn: Dsa_Verify in the group of the key's p, without its checks for null.
Status dsaVerifyIn(const DsaGroup& group, const DSAKey& key, const vlong* m, const vlong* r, const vlong* s,
                   bool* valid, vlong** queue);

#endif
