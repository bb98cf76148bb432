// The private operation by the two primes.
#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong_math.h"
#include "core/pubkey/rsa.h"

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
    ScopedVlong m1(local.get()), m2(local.get()), product(local.get()), h(local.get());
    RETURN_IF_ERROR(VLONG_modExpCtxPair({rsaKey->contextP, input, rsaKey->dP, m1.out()},
                                        {rsaKey->contextQ, input, rsaKey->dQ, m2.out()}, local.get()));
    if (VLONG_cmpMagnitude(m1.get(), m2.get()) < 0) {
        RETURN_IF_ERROR(VLONG_add(m1.get(), rsaKey->p, local.get())); // not negative then: m2 < q <= p
    }
    RETURN_IF_ERROR(VLONG_sub(m1.get(), m2.get(), local.get()));
    RETURN_IF_ERROR(product.alloc());
    RETURN_IF_ERROR(VLONG_mul(product.get(), m1.get(), rsaKey->qInv));
    RETURN_IF_ERROR(VLONG_mod(product.get(), rsaKey->p, h.out(), local.get()));
    RETURN_IF_ERROR(VLONG_mul(product.get(), h.get(), rsaKey->q));
    RETURN_IF_ERROR(VLONG_add(product.get(), m2.get(), local.get()));
    *out = product.release();
    return OK;
}
