// Signing, with the check of the result.
#include "core/pubkey/rsa/rsa_sign.h"

#include "core/bignum/branch_free.h"
#include "core/bignum/kernels.h"
#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong_math.h"
#include "core/memory/secret.h"
#include "core/pubkey/rsa/rsa.h"

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
