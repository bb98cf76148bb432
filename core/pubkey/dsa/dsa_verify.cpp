// DSA signatures: verifying one.
#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong_math.h"
#include "core/pubkey/dsa/internal/dsa_group.h"

namespace {

// Whether 0 < value < q.
bool isInRange(const vlong* value, const vlong* q) {
    return VLONG_cmpUnit(value, 0) > 0 && VLONG_cmp(value, q) < 0;
}

} // namespace

Status dsaVerifyIn(const DsaGroup& group, const DSAKey& key, const vlong* m, const vlong* r, const vlong* s,
                   bool* valid, vlong** queue) {
    *valid = false;
    if (!isInRange(r, key.q) || !isInRange(s, key.q)) {
        return ERR_CRYPTO_DSA_SIGN_VERIFY_RS_TEST;
    }
    ScopedVlong w(queue), u1(queue), u2(queue), gPower(queue), yPower(queue), product(queue), v(queue);
    RETURN_IF_ERROR(VLONG_modInverse(s, key.q, w.out(), queue));
    RETURN_IF_ERROR(VLONG_mulMod(m, w.get(), key.q, u1.out(), queue));
    RETURN_IF_ERROR(VLONG_mulMod(r, w.get(), key.q, u2.out(), queue));
    RETURN_IF_ERROR(group.powers({key.g, u1.get(), gPower.out()}, {key.y, u2.get(), yPower.out()}));
    RETURN_IF_ERROR(VLONG_mulMod(gPower.get(), yPower.get(), group.modulus(), product.out(), queue));
    RETURN_IF_ERROR(VLONG_mod(product.get(), key.q, v.out(), queue));
    *valid = VLONG_cmp(v.get(), r) == 0;
    return OK;
}

Status Dsa_Verify(const DSAKey* dsaKey, const vlong* m, const vlong* r, const vlong* s, bool* valid, vlong** queue) {
    if (dsaKey == nullptr || m == nullptr || r == nullptr || s == nullptr || valid == nullptr) {
        return ERR_NULL_POINTER;
    }
    *valid = false;
    if (dsaKey->p == nullptr || dsaKey->q == nullptr || dsaKey->g == nullptr || dsaKey->y == nullptr) {
        return ERR_NULL_POINTER;
    }
    if (!isInRange(r, dsaKey->q) || !isInRange(s, dsaKey->q)) {
        return ERR_CRYPTO_DSA_SIGN_VERIFY_RS_TEST; // before work is spent on p
    }
    LocalQueue local(queue);
    DsaGroup group(local.get());
    RETURN_IF_ERROR(group.start(dsaKey->p));
    return dsaVerifyIn(group, *dsaKey, m, r, s, valid, local.get());
}
