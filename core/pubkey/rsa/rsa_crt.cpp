#include "core/pubkey/rsa/internal/rsa_crt.h"

#include "core/bignum/branch_free.h"
#include "core/bignum/residues.h"
#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong_math.h"

#include <algorithm>

namespace {

// The largest p that is worth a power for an inverse: of a key of 16,384 bits.
constexpr std::uint32_t kMaxPowerUnits = 128;

// *out := the number that is m1[p's units] modulo p and m2[q's units] modulo q: m2 + q ((m1 - m2) / q mod p).
Status join(const RSAKey& key, const Unit* m1, const Unit* m2, vlong** out, vlong** queue) {
    const std::uint32_t pUnits = key.contextP->modulus->length, qUnits = key.q->length, units = pUnits + qUnits;
    Residues p;
    RETURN_IF_ERROR(p.start(*key.contextP, 2));
    Unit *const h = p.take(), *const other = p.take();
    std::copy_n(m2, qUnits, other); // below q, which is not above p
    p.subtract(h, m1, other);
    std::fill_n(other, pUnits, Unit{0});
    std::copy_n(key.qInv->units, key.qInv->length, other);
    p.multiply(h, h, other);

    ScopedVlong result(queue);
    RETURN_IF_ERROR(result.alloc());
    RETURN_IF_ERROR(VLONG_growDiscard(result.get(), units));
    Unit* const number = result.get()->units;
    bignumKernels().mulColumns(number, h, pUnits, key.q->units, qUnits, units);
    Unit carry = bignumKernels().addUnits(number, number, m2, qUnits);
    for (std::uint32_t i = qUnits; i < units; ++i) {
        number[i] += carry;
        carry = number[i] < carry ? 1 : 0;
    }
    result.get()->length = units;
    *out = result.release();
    return OK;
}

// 1/input by one of the primes, as Residues::invert finds it.
Status invertModulo(const MontgomeryCtx& context, const vlong* input, vlong** out, vlong** queue) {
    Residues prime;
    RETURN_IF_ERROR(prime.start(context, 2));
    Unit *const a = prime.take(), *const inverse = prime.take();
    prime.reduce(a, input->units, input->length);
    bool isFound = false; // the caller looks at the number that is joined
    RETURN_IF_ERROR(prime.invert(inverse, a, true, &isFound));
    return prime.record(inverse, out, queue);
}

} // namespace

bool isSmaller(const vlong* a, const vlong* b) {
    return a->length != b->length ? a->length < b->length : publicly(isBelow(a->units, b->units, a->length)) != 0;
}

bool hasHiddenCrt(const RSAKey& key) {
    if (key.q == nullptr || key.dP == nullptr || key.dQ == nullptr || key.qInv == nullptr || key.contextP == nullptr ||
        key.contextQ == nullptr) {
        return false;
    }
    const vlong *const p = key.contextP->modulus, *const q = key.contextQ->modulus;
    return takesResidues(p) && takesResidues(q) && q->length >= 2 && key.q->length == q->length && !isSmaller(p, q) &&
           key.dP->length != 0 && key.dP->length <= p->length && key.dQ->length != 0 && key.dQ->length <= q->length &&
           key.qInv->length <= p->length;
}

Status rsaHiddenPower(const RSAKey& key, const vlong* input, vlong** out, vlong** queue) {
    ScopedVlong m1(queue), m2(queue);
    RETURN_IF_ERROR(
        VLONG_modExpCtxPair({key.contextP, input, key.dP, m1.out(), kUnitBits * key.contextP->modulus->length},
                            {key.contextQ, input, key.dQ, m2.out(), kUnitBits * key.contextQ->modulus->length}, queue));
    return join(key, m1.get()->units, m2.get()->units, out, queue);
}

Status rsaHiddenInverse(const RSAKey& key, const vlong* input, vlong** out, vlong** queue) {
    ScopedVlong m1(queue), m2(queue);
    RETURN_IF_ERROR(invertModulo(*key.contextP, input, m1.out(), queue));
    RETURN_IF_ERROR(invertModulo(*key.contextQ, input, m2.out(), queue));
    return join(key, m1.get()->units, m2.get()->units, out, queue);
}

Status rsaInverseModPrime(const vlong* a, const vlong* p, vlong** out, vlong** queue) {
    *out = nullptr;
    if (p->length >= 2 && p->length <= kMaxPowerUnits && takesResidues(p)) {
        Residues prime;
        RETURN_IF_ERROR(prime.start(p, 2));
        Unit *const reduced = prime.take(), *const inverse = prime.take();
        prime.reduce(reduced, a->units, a->length);
        bool isFound = false;
        RETURN_IF_ERROR(prime.invert(inverse, reduced, true, &isFound));
        if (isFound) {
            RETURN_IF_ERROR(prime.record(inverse, out, queue));
            (*out)->length = publicly(significantUnits(inverse, prime.units()));
            return OK;
        }
    }
    return VLONG_modInverse(a, p, out, queue);
}
