// DsaGroup: powers modulo the p of a DSA key, which may come from anywhere.
#ifndef ZELSPI_CORE_PUBKEY_DSA_INTERNAL_DSA_GROUP_H
#define ZELSPI_CORE_PUBKEY_DSA_INTERNAL_DSA_GROUP_H

#include "core/bignum/residues.h"
#include "core/bignum/scoped_vlong.h"
#include "core/pubkey/dsa/dsa.h"

class DsaGroup {
public:
    explicit DsaGroup(vlong** queue) : queue_(queue), context_(queue) {
    }

    // start: p must outlive the group. Errors: growth.
    Status start(const vlong* p);

    // Power: a new record := base^exponent mod p, as by VLONG_modExp. Where secretBits is not 0 the exponent is a secret of
    // that public length, and dsaHidesX must hold.
    struct Power {
        const vlong* base;
        const vlong* exponent;
        vlong** out;
        std::uint32_t secretBits = 0;
    };

    // power, powers: one, or two side by side. Errors: as VLONG_modExp.
    Status power(const Power& power) const;
    Status powers(const Power& first, const Power& second) const;

    const vlong* modulus() const {
        return p_;
    }

private:
    vlong** queue_;
    const vlong* p_ = nullptr;
    ScopedMontgomeryCtx context_; // for a p that VLONG_modExp takes by Montgomery's method
};

// dsaWholeOctets: how many whole octets the bit length of x has. Public: it decides how many octets a nonce is drawn from.
std::uint32_t dsaWholeOctets(const vlong* x);

// dsaPublicBitsOfX: the public length of x: that of q or, where x is longer, its own in octets.
std::uint32_t dsaPublicBitsOfX(const DSAKey& key);

// dsaHidesX: whether p and g allow powers of g in a time that does not show the exponent. Those of every real key do.
bool dsaHidesX(const DSAKey& key);

// dsaMakeY: key.y := g^x mod p. Errors: as VLONG_modExp.
Status dsaMakeY(DSAKey& key, vlong** queue);

// dsaVerifyIn: Dsa_Verify in the group of the key's p, without its checks for null.
Status dsaVerifyIn(const DsaGroup& group, const DSAKey& key, const vlong* m, const vlong* r, const vlong* s,
                   bool* valid, vlong** queue);

#endif
