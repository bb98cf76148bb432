// DSA signatures: making one.
#include "core/pubkey/dsa/dsa_sign.h"
#include "core/bignum/branch_free.h"
#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong_convert.h"
#include "core/bignum/vlong_math.h"
#include "core/memory/secret.h"
#include "core/pubkey/dsa/internal/dsa_group.h"

namespace {

// Signing: one signature on its way. y is made beside r where the key lacks it and wantsY says so.
struct Signing {
    Signing(const DSAKey& dsaKey, vlong** spare)
        : key(dsaKey), queue(spare), group(spare), r(spare), s(spare), y(spare) {
    }

    DSAKey key;
    vlong** queue;
    DsaGroup group;
    SecretBuffer random; // what the nonce is made from, big-endian
    ScopedVlong r, s, y;
};

Status drawRandom(const RandomBytes& random, const vlong* x, SecretBuffer& octets) {
    // Twice the octets of x, less two: on purpose. A tiny x, of 15 bits or less, leaves nothing to draw, and k is 0.
    const std::uint32_t count = 2 * dsaWholeOctets(x);
    RETURN_IF_ERROR(octets.alloc(count));
    return count > 2 ? random.fill(octets.data() + 2, count - 2) : OK;
}

// r and, if it is wanted, y. The exponents' lengths are those of secrets, or 0 for both.
Status makePowers(Signing& signing, const vlong* k, std::uint32_t kBits, std::uint32_t xBits, bool wantsY,
                  ScopedVlong& power) {
    const DSAKey& key = signing.key;
    const DsaGroup::Power forR = {key.g, k, power.out(), kBits};
    return wantsY ? signing.group.powers(forR, {key.g, key.x, signing.y.out(), xBits}) : signing.group.power(forR);
}

// Whether the values of a key allow a signature in a time that does not show them. Those of every real key do.
bool hasHiddenForm(const DSAKey& key, const vlong* m) {
    return takesResidues(key.q) && dsaHidesX(key) && key.x->negative == 0 && m->negative == 0 &&
           key.x->length < kMaxUnits / 2 && m->length <= kMaxUnits / 2;
}

// By residues modulo q: the time shows lengths only.
Status signHidden(Signing& signing, const vlong* m, bool wantsY) {
    const DSAKey& key = signing.key;
    vlong** const queue = signing.queue;
    Residues q;
    RETURN_IF_ERROR(q.start(key.q, 6));
    Unit *const k = q.take(), *const r = q.take(), *const x = q.take(), *const t = q.take();
    Unit *const inverse = q.take(), *const s = q.take();
    RETURN_IF_ERROR(q.reduceOctets(k, {signing.random.data(), signing.random.size()}));
    ScopedVlong nonce(queue), power(queue);
    RETURN_IF_ERROR(q.record(k, nonce.out(), queue));
    RETURN_IF_ERROR(signing.group.start(key.p));
    RETURN_IF_ERROR(makePowers(signing, nonce.get(), VLONG_bitLength(key.q), dsaPublicBitsOfX(key), wantsY, power));
    q.reduce(r, power.get()->units, key.p->length);

    q.reduce(x, key.x->units, key.x->length);
    q.reduce(t, m->units, m->length);
    q.multiply(x, x, r);
    q.add(t, t, x);
    bool isFound = false;
    RETURN_IF_ERROR(q.invert(inverse, k, false, &isFound));
    if (!isFound) { // q is no prime, or k is 0, and then the result means nothing
        VLONG_normalise(nonce.get());
        RETURN_IF_ERROR(VLONG_modInverse(nonce.get(), key.q, power.out(), queue));
        q.reduce(inverse, power.get()->units, power.get()->length);
    }
    q.multiply(s, inverse, t);
    RETURN_IF_ERROR(q.publicRecord(r, signing.r.out(), queue));
    RETURN_IF_ERROR(q.publicRecord(s, signing.s.out(), queue));
    if (wantsY) {
        markPublic(signing.y.get());
    }
    return OK;
}

// By division, for the p and q of strangers that residues do not take.
Status signPlainly(Signing& signing, const vlong* m, bool wantsY) {
    const DSAKey& key = signing.key;
    vlong** const queue = signing.queue;
    ScopedVlong wide(queue), k(queue), power(queue), t(queue), sum(queue), inverse(queue);
    RETURN_IF_ERROR(
        VLONG_fromBytes(signing.random.data(), static_cast<std::int32_t>(signing.random.size()), wide.out(), queue));
    RETURN_IF_ERROR(VLONG_mod(wide.get(), key.q, k.out(), queue));
    RETURN_IF_ERROR(signing.group.start(key.p));
    RETURN_IF_ERROR(makePowers(signing, k.get(), 0, 0, wantsY, power));
    RETURN_IF_ERROR(VLONG_mod(power.get(), key.q, signing.r.out(), queue));
    RETURN_IF_ERROR(VLONG_mulMod(key.x, signing.r.get(), key.q, t.out(), queue));
    RETURN_IF_ERROR(VLONG_add(t.get(), m, queue));
    RETURN_IF_ERROR(VLONG_mod(t.get(), key.q, sum.out(), queue));
    RETURN_IF_ERROR(VLONG_modInverse(k.get(), key.q, inverse.out(), queue));
    return VLONG_mulMod(inverse.get(), sum.get(), key.q, signing.s.out(), queue);
}

Status sign(const RandomBytes& random, const DSAKey* dsaKey, const vlong* m, bool makesY, bool* verified, vlong** r,
            vlong** s, vlong** queue) {
    if (dsaKey == nullptr || m == nullptr || r == nullptr || s == nullptr) {
        return ERR_NULL_POINTER;
    }
    *r = nullptr;
    *s = nullptr;
    if (verified != nullptr) {
        *verified = false;
    }
    if (dsaKey->p == nullptr || dsaKey->q == nullptr || dsaKey->g == nullptr || dsaKey->x == nullptr) {
        return ERR_NULL_POINTER;
    }
    LocalQueue local(queue);
    Signing signing(*dsaKey, local.get());
    DSAKey& key = signing.key;
    const bool wantsY = verified != nullptr && key.y == nullptr && makesY;
    RETURN_IF_ERROR(drawRandom(random, key.x, signing.random));
    RETURN_IF_ERROR(hasHiddenForm(key, m) ? signHidden(signing, m, wantsY) : signPlainly(signing, m, wantsY));
    if (wantsY) {
        key.y = signing.y.get();
    }
    if (verified != nullptr && key.y != nullptr) {
        // Its status does not count: a pair out of range is a signature that does not hold. On purpose.
        (void)dsaVerifyIn(signing.group, key, m, signing.r.get(), signing.s.get(), verified, local.get());
    }
    *r = signing.r.release(); // r and s of 0 are not ruled out: on purpose
    *s = signing.s.release();
    return OK;
}

} // namespace

Status Dsa_Sign(const RandomBytes& random, const DSAKey* dsaKey, const vlong* m, bool* verified, vlong** r, vlong** s,
                vlong** queue) {
    return sign(random, dsaKey, m, false, verified, r, s, queue);
}

Status dsaSignMakingY(const RandomBytes& random, const DSAKey* dsaKey, const vlong* m, bool* verified, vlong** r,
                      vlong** s, vlong** queue) {
    return sign(random, dsaKey, m, true, verified, r, s, queue);
}
