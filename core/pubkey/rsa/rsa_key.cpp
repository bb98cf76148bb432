// RSA key records: loading, preparing, clearing, and the conversions between values and bytes.
#include "core/bignum/branch_free.h"
#include "core/bignum/residues.h"
#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong_math.h"
#include "core/memory/memory.h"
#include "core/pubkey/key/internal/key_load.h"
#include "core/pubkey/rsa/internal/exponent_inverse.h"
#include "core/pubkey/rsa/internal/rsa_crt.h"
#include "core/pubkey/rsa/rsa.h"

#include <algorithm>
#include <utility>

namespace {

// *out := 1/e mod (prime - 1).
Status exponentOf(const vlong* e, const vlong* prime, vlong** out, vlong** queue) {
    ScopedVlong order(queue);
    RETURN_IF_ERROR(VLONG_newCopy(prime, order.out(), queue));
    if (prime->length >= 2 && takesResidues(prime)) {
        order.get()->units[0] ^= 1; // odd: no borrow
    } else {
        RETURN_IF_ERROR(VLONG_decrement(order.get(), queue));
    }
    return inverseOfExponent(e, order.get(), out, queue);
}

void releaseDerived(RSAKey& key, vlong** queue) {
    releaseNumber(&key.dP, queue);
    releaseNumber(&key.dQ, queue);
    releaseNumber(&key.qInv, queue);
    (void)VLONG_deleteMontgomeryCtx(&key.contextP, queue); // never fails
    (void)VLONG_deleteMontgomeryCtx(&key.contextQ, queue); // never fails
}

// Makes in derived whatever of key's derived values is absent, or all of them when the primes are to be swapped.
Status derive(const RSAKey& key, bool isSwapped, RSAKey& derived, vlong** queue) {
    const vlong* const p = isSwapped ? key.q : key.p;
    const vlong* const q = isSwapped ? key.p : key.q;
    if (isSwapped || key.dP == nullptr) {
        RETURN_IF_ERROR(exponentOf(key.e, p, &derived.dP, queue));
    }
    if (isSwapped || key.dQ == nullptr) {
        RETURN_IF_ERROR(exponentOf(key.e, q, &derived.dQ, queue));
    }
    if (isSwapped || key.qInv == nullptr) {
        RETURN_IF_ERROR(rsaInverseModPrime(q, p, &derived.qInv, queue));
    }
    if (isSwapped || key.contextP == nullptr) {
        RETURN_IF_ERROR(VLONG_newSecretMontgomeryCtx(&derived.contextP, p, queue));
    }
    if (isSwapped || key.contextQ == nullptr) {
        RETURN_IF_ERROR(VLONG_newSecretMontgomeryCtx(&derived.contextQ, q, queue));
    }
    return OK;
}

// Moves a value that has been made into its place.
template <typename Value> void adopt(Value*& place, Value* value) {
    if (value != nullptr) {
        place = value;
    }
}

Status loadPublic(RSAKey& key, std::uint32_t e, ByteView n, vlong** queue) {
    RETURN_IF_ERROR(VLONG_newValue(e, &key.e, queue));
    return readNumber(n, &key.n, queue);
}

// Makes qInv from a hint that is right. With p above q there is only one right value, the one that VLONG_modInverse gives.
Status proveHint(RSAKey& key, ByteView hint, vlong** queue) {
    ScopedVlong candidate(queue);
    RETURN_IF_ERROR(readNumber(hint, candidate.out(), queue));
    if (!takesResidues(key.p) || !isSmaller(candidate.get(), key.p)) {
        return OK;
    }
    RETURN_IF_ERROR(VLONG_newSecretMontgomeryCtx(&key.contextP, key.p, queue));
    Residues p;
    RETURN_IF_ERROR(p.start(*key.contextP, 2));
    Unit *const a = p.take(), *const b = p.take();
    std::copy_n(candidate.get()->units, candidate.get()->length, a);
    std::copy_n(key.q->units, key.q->length, b);
    p.multiply(a, a, b);
    if (publicly(p.isOne(a)) != 0) {
        key.qInv = candidate.release();
    }
    return OK;
}

Status loadPrivate(RSAKey& key, std::uint32_t e, ByteView n, ByteView p, ByteView q, ByteView qInvHint, vlong** queue) {
    RETURN_IF_ERROR(loadPublic(key, e, n, queue));
    RETURN_IF_ERROR(readNumber(p, &key.p, queue));
    RETURN_IF_ERROR(readNumber(q, &key.q, queue));
    key.privateKey = 1;
    if (qInvHint.data() != nullptr && isSmaller(key.q, key.p)) {
        // A hint beyond the size limits is no hint; but what is refused here is refused.
        if (const Status status = proveHint(key, qInvHint, queue); status == ERR_MEM_ALLOC_FAIL) {
            return status;
        }
    }
    return Rsa_PrepareKey(&key, queue);
}

} // namespace

Status RsaKey_SetPublic(RSAKey* rsaKey, std::uint32_t e, const std::uint8_t* n, std::uint32_t nLength, vlong** queue) {
    if (rsaKey == nullptr) {
        return ERR_RSA_INVALID_KEY;
    }
    if (e < 2) {
        return ERR_BAD_EXPONENT;
    }
    if (n == nullptr) {
        return ERR_NULL_POINTER;
    }
    rsaKeyClear(rsaKey, queue);
    return wholeOrCleared(rsaKey, loadPublic(*rsaKey, e, {n, nLength}, queue), rsaKeyClear, queue);
}

Status rsaKeyLoadPrivate(RSAKey* rsaKey, std::uint32_t e, ByteView n, ByteView p, ByteView q, ByteView qInvHint,
                         vlong** queue) {
    if (rsaKey == nullptr) {
        return ERR_RSA_INVALID_KEY;
    }
    if (e < 2) {
        return ERR_BAD_EXPONENT;
    }
    if (n.data() == nullptr || p.data() == nullptr || q.data() == nullptr) {
        return ERR_NULL_POINTER;
    }
    rsaKeyClear(rsaKey, queue);
    LocalQueue local(queue);
    const Status status = loadPrivate(*rsaKey, e, n, p, q, qInvHint, local.get());
    return wholeOrCleared(rsaKey, status, rsaKeyClear, local.get());
}

Status RsaKey_SetPrivate(RSAKey* rsaKey, std::uint32_t e, const std::uint8_t* n, std::uint32_t nLength,
                         const std::uint8_t* p, std::uint32_t pLength, const std::uint8_t* q, std::uint32_t qLength,
                         vlong** queue) {
    return rsaKeyLoadPrivate(rsaKey, e, {n, nLength}, {p, pLength}, {q, qLength}, {}, queue);
}

void rsaKeyClear(RSAKey* rsaKey, vlong** queue) {
    if (rsaKey == nullptr) {
        return;
    }
    rsaKey->privateKey = 0;
    releaseNumber(&rsaKey->e, queue);
    releaseNumber(&rsaKey->n, queue);
    releaseNumber(&rsaKey->p, queue);
    releaseNumber(&rsaKey->q, queue);
    releaseDerived(*rsaKey, queue);
    releaseNumber(&rsaKey->blinding.blind, queue);
    releaseNumber(&rsaKey->blinding.unblind, queue);
    rsaKey->blinding.blindUses = 0;
}

Status Rsa_PrepareKey(RSAKey* rsaKey, vlong** queue) {
    if (rsaKey == nullptr) {
        return ERR_NULL_POINTER;
    }
    if (rsaKey->privateKey == 0) {
        return OK;
    }
    if (rsaKey->e == nullptr || rsaKey->p == nullptr || rsaKey->q == nullptr) {
        return ERR_NULL_POINTER;
    }
    LocalQueue local(queue);
    const bool isSwapped = isSmaller(rsaKey->p, rsaKey->q);
    RSAKey derived{}; // the key itself changes only when nothing can fail any more
    const Status status = derive(*rsaKey, isSwapped, derived, local.get());
    if (isError(status)) {
        releaseDerived(derived, local.get());
        return status;
    }
    if (isSwapped) {
        std::swap(rsaKey->p, rsaKey->q);
        releaseDerived(*rsaKey, local.get());
    }
    adopt(rsaKey->dP, derived.dP);
    adopt(rsaKey->dQ, derived.dQ);
    adopt(rsaKey->qInv, derived.qInv);
    adopt(rsaKey->contextP, derived.contextP);
    adopt(rsaKey->contextQ, derived.contextQ);
    return OK;
}
