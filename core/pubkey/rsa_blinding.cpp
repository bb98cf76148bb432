// Blinding: the private operation on x = input r^e, whose result is divided by r, so that its time tells nothing about
// the input. A pair (r^e, 1/r) is squared after each use rather than made anew, and replaced after 33 uses.
#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong_math.h"
#include "core/pubkey/rsa.h"

namespace {

constexpr std::uint32_t kMaxReuses = 32; // 33 operations with one pair: meant

// LockedBlinding: holds the key's lock for the length of a scope.
class LockedBlinding {
public:
    explicit LockedBlinding(RsaBlinding& blinding) : blinding_(blinding) {
    }
    LockedBlinding(const LockedBlinding&) = delete;
    LockedBlinding& operator=(const LockedBlinding&) = delete;
    ~LockedBlinding() {
        if (isHeld_) {
            (void)rtosMutexRelease(blinding_.mutex); // this thread owns it
        }
    }
    Status lock() {
        RETURN_IF_ERROR(rtosMutexWait(blinding_.mutex));
        isHeld_ = true;
        return OK;
    }

private:
    RsaBlinding& blinding_;
    bool isHeld_ = false;
};

// *out := a b mod n.
Status multiplyMod(const vlong* a, const vlong* b, const vlong* n, vlong** out, vlong** queue) {
    ScopedVlong product(queue);
    RETURN_IF_ERROR(product.alloc());
    RETURN_IF_ERROR(VLONG_mul(product.get(), a, b));
    return VLONG_mod(product.get(), n, out, queue);
}

void dropPair(RsaBlinding& blinding, vlong** queue) {
    (void)VLONG_free(&blinding.blind, queue);   // an absent one is skipped
    (void)VLONG_free(&blinding.unblind, queue); // likewise
}

// Both factors change together or not at all: a pair that does not match gives wrong signatures from then on.
void storePair(RsaBlinding& blinding, ScopedVlong& blind, ScopedVlong& unblind, vlong** queue) {
    dropPair(blinding, queue);
    blinding.blind = blind.release();
    blinding.unblind = unblind.release();
}

Status makePair(RSAKey& key, const RandomBytes& random, vlong** queue) {
    if (key.n->length < 2) {
        return ERR_RSA_INVALID_KEY; // there is no r of one unit fewer
    }
    const std::uint32_t unitCount = key.n->length - 1;
    ScopedVlong r(queue), blind(queue), unblind(queue);
    RETURN_IF_ERROR(r.alloc());
    RETURN_IF_ERROR(VLONG_growDiscard(r.get(), unitCount));
    RETURN_IF_ERROR(random.fill(reinterpret_cast<std::uint8_t*>(r.get()->units),
                                unitCount * static_cast<std::uint32_t>(sizeof(Unit))));
    r.get()->length = unitCount;
    VLONG_normalise(r.get());
    RETURN_IF_ERROR(VLONG_modExp(r.get(), key.e, key.n, blind.out(), queue));
    RETURN_IF_ERROR(VLONG_modInverse(r.get(), key.n, unblind.out(), queue));
    storePair(key.blinding, blind, unblind, queue);
    key.blinding.blindUses = 0;
    return OK;
}

Status squarePair(RSAKey& key, vlong** queue) {
    RsaBlinding& blinding = key.blinding;
    ScopedVlong blind(queue), unblind(queue);
    Status status = multiplyMod(blinding.blind, blinding.blind, key.n, blind.out(), queue);
    if (!isError(status)) {
        status = multiplyMod(blinding.unblind, blinding.unblind, key.n, unblind.out(), queue);
    }
    if (isError(status)) {
        dropPair(blinding, queue); // nor may a pair serve twice unchanged
        return status;
    }
    storePair(blinding, blind, unblind, queue);
    return OK;
}

// Under the lock: *blinded := input r^e mod n, *unblind := the 1/r that belongs to it.
Status blindInput(RSAKey& key, const vlong* input, const RandomBytes& random, ScopedVlong& blinded,
                  ScopedVlong& unblind, vlong** queue) {
    RsaBlinding& blinding = key.blinding;
    LockedBlinding lock(blinding);
    RETURN_IF_ERROR(lock.lock());
    if (blinding.blindUses >= kMaxReuses) {
        dropPair(blinding, queue);
    }
    if (blinding.blind != nullptr && blinding.unblind != nullptr) {
        ++blinding.blindUses;
    } else {
        RETURN_IF_ERROR(makePair(key, random, queue));
    }
    RETURN_IF_ERROR(multiplyMod(input, blinding.blind, key.n, blinded.out(), queue));
    RETURN_IF_ERROR(VLONG_newCopy(blinding.unblind, unblind.out(), queue));
    return squarePair(key, queue);
}

} // namespace

Status Rsa_PrivateOp(RSAKey* rsaKey, const vlong* input, RandomSource random, void* randomContext, vlong** out,
                     vlong** queue) {
    if (rsaKey == nullptr || input == nullptr || out == nullptr) {
        return ERR_NULL_POINTER;
    }
    *out = nullptr;
    if (random == nullptr) {
        return Rsa_PrivateCrt(rsaKey, input, out, queue);
    }
    if (rsaKey->privateKey == 0 || rsaKey->e == nullptr || rsaKey->n == nullptr) {
        return ERR_RSA_KEY_NOT_READY;
    }
    LocalQueue local(queue);
    ScopedVlong blinded(local.get()), unblind(local.get()), power(local.get());
    RETURN_IF_ERROR(blindInput(*rsaKey, input, RandomBytes(random, randomContext), blinded, unblind, local.get()));
    RETURN_IF_ERROR(Rsa_PrivateCrt(rsaKey, blinded.get(), power.out(), local.get()));
    return multiplyMod(power.get(), unblind.get(), rsaKey->n, out, local.get());
}
