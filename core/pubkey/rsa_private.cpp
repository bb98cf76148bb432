// The private operation by the two primes, and a signature that is checked before it leaves the library.
#include "core/bignum/branch_free.h"
#include "core/bignum/kernels.h"
#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong_math.h"
#include "core/memory/secret.h"
#include "core/pubkey/rsa.h"
#include "core/pubkey/rsa_crt.h"

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

Status rsaIsProduct(const RSAKey& key, bool* answer) {
    const std::uint32_t pUnits = key.p->length, qUnits = key.q->length, units = pUnits + qUnits;
    SecretBuffer storage;
    RETURN_IF_ERROR(storage.alloc(std::size_t{units} * sizeof(Unit)));
    Unit* const product = reinterpret_cast<Unit*>(storage.data());
    bignumKernels().mulColumns(product, key.p->units, pUnits, key.q->units, qUnits, units);
    const std::uint32_t length = publicly(significantUnits(product, units));
    *answer = length == key.n->length && publicly(areEqual(product, key.n->units, length)) != 0;
    return OK;
}

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

Status rsaSign(RSAKey* rsaKey, const vlong* message, vlong** out, vlong** queue) {
    if (out == nullptr) {
        return ERR_NULL_POINTER;
    }
    *out = nullptr;
    LocalQueue local(queue);
    ScopedVlong signature(local.get()), opened(local.get());
    RETURN_IF_ERROR(Rsa_PrivateOp(rsaKey, message, nullptr, nullptr, signature.out(), local.get()));
    bool isChecked = false;
    if (rsaKey->n != nullptr && rsaKey->e != nullptr) {
        RETURN_IF_ERROR(rsaIsProduct(*rsaKey, &isChecked));
    }
    if (isChecked) {
        RETURN_IF_ERROR(Rsa_PublicOp(rsaKey, signature.get(), opened.out(), local.get()));
        if (VLONG_cmp(opened.get(), message) != 0) {
            return ERR_RSA_BAD_SIGNATURE;
        }
    }
    *out = signature.release();
    return OK;
}
