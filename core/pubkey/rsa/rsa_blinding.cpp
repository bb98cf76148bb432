// Blinding: the private operation on x = input r^e, whose result is divided by r, so that its time tells nothing about
// the input. A pair (r^e, 1/r) is squared after each use rather than made anew, and replaced after 33 uses.
#include "core/bignum/branch_free.h"
#include "core/bignum/residues.h"
#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong_math.h"
#include "core/pubkey/rsa/internal/rsa_crt.h"
#include "core/pubkey/rsa/rsa.h"

namespace {

constexpr std::uint32_t kMaxReuses = 32; // 33 operations with one pair: on purpose

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

// ModulusN: products modulo n, by residues where n allows: as that of every key.
class ModulusN {
public:
    explicit ModulusN(vlong** queue) : context_(queue), queue_(queue) {
    }

    Status start(const vlong* n) {
        n_ = n;
        isHidden_ = n->length >= 2 && takesResidues(n);
        RETURN_IF_ERROR(isHidden_ ? context_.make(n) : OK);
        return isHidden_ ? residues_.start(*context_.get(), 2) : OK;
    }

    // *out := a b mod n, in all units of n where it is hidden.
    Status multiply(const vlong* a, const vlong* b, vlong** out) {
        if (!isHidden_) {
            return VLONG_mulMod(a, b, n_, out, queue_);
        }
        reduceBoth(a, b);
        return residues_.record(x_, out, queue_);
    }

    // *out := r^e mod n, in the same form.
    Status power(const vlong* r, const vlong* e, vlong** out) {
        if (!isHidden_) {
            return VLONG_modExp(r, e, n_, out, queue_);
        }
        RETURN_IF_ERROR(VLONG_modExpOne({context_.get(), r, e, out, VLONG_bitLength(e)}, queue_));
        (*out)->length = n_->length;
        return OK;
    }

    // *out := 1/r mod n, by the primes if they are some.
    Status invert(const RSAKey& key, const vlong* r, vlong** out) {
        if (isHidden_ && hasHiddenCrt(key)) {
            ScopedVlong inverse(queue_);
            RETURN_IF_ERROR(rsaHiddenInverse(key, r, inverse.out(), queue_));
            reduceBoth(r, inverse.get());
            if (publicly(residues_.isOne(x_)) != 0) {
                return residues_.record(y_, out, queue_);
            }
        }
        return VLONG_modInverse(r, n_, out, queue_);
    }

private:
    // x_ := a b, y_ := b.
    void reduceBoth(const vlong* a, const vlong* b) {
        if (x_ == nullptr) {
            x_ = residues_.take();
            y_ = residues_.take();
        }
        residues_.reduce(x_, a->units, a->length);
        residues_.reduce(y_, b->units, b->length);
        residues_.multiply(x_, x_, y_);
    }

    const vlong* n_ = nullptr;
    bool isHidden_ = false;
    ScopedMontgomeryCtx context_;
    Residues residues_;
    Unit *x_ = nullptr, *y_ = nullptr;
    vlong** queue_;
};

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

Status makePair(RSAKey& key, ModulusN& n, const RandomBytes& random, vlong** queue) {
    if (key.n->length < 2) {
        return ERR_RSA_INVALID_KEY; // there is no r of one unit fewer
    }
    const std::uint32_t unitCount = key.n->length - 1;
    ScopedVlong r(queue), blind(queue), unblind(queue);
    RETURN_IF_ERROR(r.alloc());
    RETURN_IF_ERROR(VLONG_growDiscard(r.get(), unitCount));
    RETURN_IF_ERROR(random.fill(reinterpret_cast<std::uint8_t*>(r.get()->units),
                                unitCount * static_cast<std::uint32_t>(sizeof(Unit))));
    r.get()->length = publicly(significantUnits(r.get()->units, unitCount));
    RETURN_IF_ERROR(n.power(r.get(), key.e, blind.out()));
    RETURN_IF_ERROR(n.invert(key, r.get(), unblind.out()));
    storePair(key.blinding, blind, unblind, queue);
    key.blinding.blindUses = 0;
    return OK;
}

Status squarePair(RSAKey& key, ModulusN& n, vlong** queue) {
    RsaBlinding& blinding = key.blinding;
    ScopedVlong blind(queue), unblind(queue);
    Status status = n.multiply(blinding.blind, blinding.blind, blind.out());
    if (!isError(status)) {
        status = n.multiply(blinding.unblind, blinding.unblind, unblind.out());
    }
    if (isError(status)) {
        dropPair(blinding, queue); // nor may a pair serve twice unchanged
        return status;
    }
    storePair(blinding, blind, unblind, queue);
    return OK;
}

// Under the lock: *blinded := input r^e mod n, *unblind := the 1/r that belongs to it.
Status blindInput(RSAKey& key, ModulusN& n, const vlong* input, const RandomBytes& random, ScopedVlong& blinded,
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
        RETURN_IF_ERROR(makePair(key, n, random, queue));
    }
    RETURN_IF_ERROR(n.multiply(input, blinding.blind, blinded.out()));
    RETURN_IF_ERROR(VLONG_newCopy(blinding.unblind, unblind.out(), queue));
    return squarePair(key, n, queue);
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
    ModulusN n(local.get());
    RETURN_IF_ERROR(n.start(rsaKey->n));
    RETURN_IF_ERROR(blindInput(*rsaKey, n, input, RandomBytes(random, randomContext), blinded, unblind, local.get()));
    if (hasHiddenCrt(*rsaKey)) {
        RETURN_IF_ERROR(rsaHiddenPower(*rsaKey, blinded.get(), power.out(), local.get()));
    } else {
        VLONG_normalise(blinded.get());
        RETURN_IF_ERROR(Rsa_PrivateCrt(rsaKey, blinded.get(), power.out(), local.get()));
    }
    RETURN_IF_ERROR(n.multiply(power.get(), unblind.get(), out));
    (*out)->length = significantUnits((*out)->units, (*out)->length);
    return OK;
}
