// RSA key generation.
#include "core/bignum/prime/prime.h"
#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong_math.h"
#include "core/pubkey/key/internal/key_load.h"
#include "core/pubkey/rsa/internal/rsa_prime.h"
#include "core/pubkey/rsa/rsa.h"

namespace {

constexpr std::uint32_t kSizeStep = 128;
constexpr std::uint32_t kMinBits = 1024;
constexpr std::uint32_t kAuxiliaryBits = 101;

// The distance in bits that the lower bounds of the two primes must exceed: bits - 100 for 512 and 1024.
std::uint32_t minDistanceBits(std::uint32_t primeBits) {
    return 128 * ((primeBits - 512) / 128) + 412;
}

// A lower bound for a prime of that many bits, with one of the patterns 11, 1011 on top. The second, 1.375 / 2, is a
// little below the root of 1/2: the product of two primes can be a bit short then, and the attempt is repeated. On purpose.
Status drawBound(const RandomBytes& random, std::uint32_t bits, ScopedVlong& bound, vlong** queue) {
    RETURN_IF_ERROR(VLONG_makeRandomOdd(random, bound.out(), bits, queue));
    if (!VLONG_testBit(bound.get(), bits - 2)) {
        RETURN_IF_ERROR(VLONG_setBit(bound.get(), bits - 3));
        RETURN_IF_ERROR(VLONG_setBit(bound.get(), bits - 4));
    }
    return OK;
}

// Two bounds that are far enough from each other.
Status drawBounds(const RandomBytes& random, std::uint32_t bits, ScopedVlong& xp, ScopedVlong& xq, vlong** queue) {
    ScopedVlong distance(queue);
    do {
        RETURN_IF_ERROR(drawBound(random, bits, xp, queue));
        RETURN_IF_ERROR(drawBound(random, bits, xq, queue));
        RETURN_IF_ERROR(VLONG_newCopy(xp.get(), distance.out(), queue));
        RETURN_IF_ERROR(VLONG_sub(distance.get(), xq.get(), queue));
    } while (VLONG_bitLength(distance.get()) <= minDistanceBits(bits));
    return OK;
}

// Two primes of that many bits. Whenever one cannot be constructed both start again.
Status makePrimes(const RandomBytes& random, std::uint32_t bits, vlong** p, vlong** q, vlong** queue) {
    ScopedVlong xp(queue), xq(queue), first(queue), second(queue);
    ScopedVlong xp1(queue), xp2(queue), xq1(queue), xq2(queue);
    while (second.get() == nullptr) {
        RETURN_IF_ERROR(drawBounds(random, bits, xp, xq, queue));
        for (ScopedVlong* seed : {&xp1, &xp2, &xq1, &xq2}) {
            RETURN_IF_ERROR(VLONG_makeRandomOdd(random, seed->out(), kAuxiliaryBits, queue));
        }
        RETURN_IF_ERROR(
            rsaConstructPrime(random, {xp.get(), xp1.get(), xp2.get()}, kRsaPublicExponent, first.out(), queue));
        if (first.get() != nullptr) {
            RETURN_IF_ERROR(
                rsaConstructPrime(random, {xq.get(), xq1.get(), xq2.get()}, kRsaPublicExponent, second.out(), queue));
        }
    }
    *p = first.release();
    *q = second.release();
    return OK;
}

// One attempt at a key of that many bits, into an empty record.
Status makeKey(const RandomBytes& random, RSAKey* key, std::uint32_t bits, vlong** queue) {
    RETURN_IF_ERROR(makePrimes(random, bits / 2, &key->p, &key->q, queue));
    RETURN_IF_ERROR(VLONG_mulSigned(key->p, key->q, &key->n, queue));
    RETURN_IF_ERROR(VLONG_newValue(kRsaPublicExponent, &key->e, queue));
    key->privateKey = 1;
    return Rsa_PrepareKey(key, queue); // orders the primes
}

} // namespace

Status Rsa_GenerateKey(const RandomBytes& random, RSAKey* rsaKey, std::uint32_t bits, vlong** queue) {
    if (rsaKey == nullptr) {
        return ERR_RSA_INVALID_KEY;
    }
    const std::uint64_t rounded = (std::uint64_t{bits} + kSizeStep - 1) / kSizeStep * kSizeStep;
    if (rounded < kMinBits) {
        return ERR_RSA_KEY_LENGTH_TOO_SMALL;
    }
    if (rounded > std::uint64_t{kMaxUnits} * kUnitBits) {
        return ERR_BAD_LENGTH;
    }
    LocalQueue local(queue);
    RSAKey created{};
    do { // against the bits as given: a size that is no multiple of 128 is never met, or by a short modulus. On purpose.
        rsaKeyClear(&created, local.get());
        const Status status = makeKey(random, &created, static_cast<std::uint32_t>(rounded), local.get());
        if (isError(status)) {
            rsaKeyClear(&created, local.get());
            return status;
        }
    } while (VLONG_bitLength(created.n) != bits || VLONG_cmp(created.p, created.q) == 0);
    rsaKeyClear(rsaKey, local.get());
    created.blinding = rsaKey->blinding; // the lock; there is no pair
    *rsaKey = created;
    return OK;
}
