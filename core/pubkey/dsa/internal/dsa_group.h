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

    // Power: a new record := base^exponent mod p, as by VLONG_modExp; the exponent is a secret of that public length where
    // secretBits is not 0, which asks for dsaHidesX.
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

// dsaWholeOctets: the whole octets in the bit length of x, which are public: they decide on the random ones of a nonce.
std::uint32_t dsaWholeOctets(const vlong* x);

// dsaPublicBitsOfX: the length that an x of this key shows: that of q or, where it is longer, its own in octets.
std::uint32_t dsaPublicBitsOfX(const DSAKey& key);

// dsaHidesX: whether p and g are such that powers of g need not show their exponents: as those of every key that is one.
bool dsaHidesX(const DSAKey& key);

// dsaMakeY: key.y := g^x mod p. Errors: as VLONG_modExp.
Status dsaMakeY(DSAKey& key, vlong** queue);

// dsaVerifyIn: Dsa_Verify in the group of the key's p, without its checks for null.
Status dsaVerifyIn(const DsaGroup& group, const DSAKey& key, const vlong* m, const vlong* r, const vlong* s,
                   bool* valid, vlong** queue);

#endif
