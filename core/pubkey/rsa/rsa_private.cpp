// The private operation by the two primes.
#include "core/bignum/branch_free.h"
#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong_math.h"
#include "core/pubkey/rsa/internal/rsa_crt.h"
#include "core/pubkey/rsa/rsa.h"

namespace {

// By division, for the primes of strangers that are none.
Status crtPlainly(const RSAKey& key, const vlong* input, vlong** out, vlong** queue) {
    ScopedVlong m1(queue), m2(queue), product(queue), h(queue);
    RETURN_IF_ERROR(
        VLONG_modExpCtxPair({key.contextP, input, key.dP, m1.out()}, {key.contextQ, input, key.dQ, m2.out()}, queue));
    if (VLONG_cmpMagnitude(m1.get(), m2.get()) < 0) {
        RETURN_IF_ERROR(VLONG_add(m1.get(), key.p, queue)); // not negative then: m2 < q <= p
    }
    RETURN_IF_ERROR(VLONG_sub(m1.get(), m2.get(), queue));
    RETURN_IF_ERROR(VLONG_mulMod(m1.get(), key.qInv, key.p, h.out(), queue));
    RETURN_IF_ERROR(VLONG_mulSigned(h.get(), key.q, product.out(), queue));
    RETURN_IF_ERROR(VLONG_add(product.get(), m2.get(), queue));
    *out = product.release();
    return OK;
}

} // namespace

// Every status counts here: a result that is right modulo one prime only gives away the other.
Status Rsa_PrivateCrt(const RSAKey* rsaKey, const vlong* input, vlong** out, vlong** queue) {
    if (rsaKey == nullptr || input == nullptr || out == nullptr) {
        return ERR_NULL_POINTER;
    }
    *out = nullptr;
    if (rsaKey->p == nullptr || rsaKey->q == nullptr || rsaKey->dP == nullptr || rsaKey->dQ == nullptr ||
        rsaKey->qInv == nullptr || rsaKey->contextP == nullptr || rsaKey->contextQ == nullptr) {
        return ERR_RSA_KEY_NOT_READY;
    }
    LocalQueue local(queue);
    if (!hasHiddenCrt(*rsaKey)) {
        return crtPlainly(*rsaKey, input, out, local.get());
    }
    RETURN_IF_ERROR(rsaHiddenPower(*rsaKey, input, out, local.get()));
    (*out)->length = significantUnits((*out)->units, (*out)->length);
    return OK;
}
