// The construction of an RSA prime from its seeds.
#include "core/pubkey/rsa/internal/rsa_prime.h"

#include "core/bignum/prime/candidate_sieve.h"
#include "core/bignum/prime/prime_stages.h"
#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong_math.h"
#include "core/bignum/word_math.h"

#include <numeric>

namespace {

// The first probable prime from seed on.
Status findAuxiliaryPrime(const RandomBytes& random, const vlong* seed, ScopedVlong& prime, vlong** queue) {
    RETURN_IF_ERROR(VLONG_newCopy(seed, prime.out(), queue));
    for (;;) {
        std::uint32_t isPrime = 0;
        RETURN_IF_ERROR(PRIME_isProbablePrimeSearch(random, prime.get(), &isPrime, queue));
        if (isPrime != 0) {
            return OK;
        }
        RETURN_IF_ERROR(VLONG_addUnit(prime.get(), 2, queue));
    }
}

// product := (1/a mod m) * a, which is 1 modulo m and 0 modulo a.
Status idempotent(const vlong* a, const vlong* m, ScopedVlong& product, vlong** queue) {
    ScopedVlong inverse(queue);
    RETURN_IF_ERROR(VLONG_modInverse(a, m, inverse.out(), queue));
    return VLONG_mulSigned(inverse.get(), a, product.out(), queue);
}

// Progression: the numbers from x on that are 1 modulo 2 p1 and -1 modulo p2: y, y + step, y + 2 step ...
struct Progression {
    explicit Progression(vlong** queue) : y(queue), step(queue) {
    }

    // Expects gcd(2 p1, p2) = 1.
    Status start(const vlong* x, const vlong* twiceP1, const vlong* p2, vlong** queue) {
        ScopedVlong residue(queue), other(queue), offset(queue);
        RETURN_IF_ERROR(VLONG_mulSigned(twiceP1, p2, step.out(), queue));
        RETURN_IF_ERROR(idempotent(p2, twiceP1, residue, queue));
        RETURN_IF_ERROR(idempotent(twiceP1, p2, other, queue));
        RETURN_IF_ERROR(VLONG_sub(residue.get(), other.get(), queue));
        RETURN_IF_ERROR(VLONG_sub(residue.get(), x, queue));
        RETURN_IF_ERROR(VLONG_mod(residue.get(), step.get(), offset.out(), queue));
        if (offset.get()->negative != 0 && !VLONG_isZero(offset.get())) { // nearly always: x is the longer one
            RETURN_IF_ERROR(VLONG_add(offset.get(), step.get(), queue));
        }
        RETURN_IF_ERROR(VLONG_newCopy(x, y.out(), queue));
        return VLONG_add(y.get(), offset.get(), queue);
    }

    // The number with that index.
    Status at(std::uint32_t index, ScopedVlong& number, vlong** queue) const {
        ScopedVlong factor(queue);
        RETURN_IF_ERROR(VLONG_newValue(index, factor.out(), queue));
        RETURN_IF_ERROR(VLONG_mulSigned(step.get(), factor.get(), number.out(), queue));
        return VLONG_add(number.get(), y.get(), queue);
    }

    ScopedVlong y, step;
};

// Whether gcd(prime - 1, e) = 1.
bool isCoprimePredecessor(const vlong* prime, std::uint32_t e) {
    const std::uint32_t remainder = wordRemainder(prime, e);
    return std::gcd(remainder == 0 ? e - 1 : remainder - 1, e) == 1;
}

// The first prime of the progression with at most that many bits, among the first 5 * bits numbers. The sieve passes over
// numbers that would be tested to no avail; they draw no random bytes either.
Status searchPrime(const RandomBytes& random, const Progression& progression, std::uint32_t bits, std::uint32_t e,
                   vlong** prime, vlong** queue) {
    const std::uint32_t limit = 5 * bits;
    CandidateSieve sieve;
    RETURN_IF_ERROR(sieve.fill(progression.y.get(), progression.step.get(), limit));
    ScopedVlong candidate(queue);
    for (std::uint32_t i = 0; i < limit; ++i) {
        if (sieve.isTriviallyComposite(i)) {
            continue;
        }
        RETURN_IF_ERROR(progression.at(i, candidate, queue));
        if (VLONG_bitLength(candidate.get()) > bits) {
            return OK;
        }
        std::uint32_t isPrime = 0;
        if (isCoprimePredecessor(candidate.get(), e)) {
            RETURN_IF_ERROR(
                primeTestSieved(random, candidate.get(), kPrimeForSearch, sieve.factor(i), &isPrime, queue));
        }
        if (isPrime != 0) {
            *prime = candidate.release();
            return OK;
        }
    }
    return OK;
}

} // namespace

Status rsaConstructPrime(const RandomBytes& random, const RsaPrimeSeeds& seeds, std::uint32_t e, vlong** prime,
                         vlong** queue) {
    *prime = nullptr;
    LocalQueue local(queue);
    vlong** const spare = local.get();
    ScopedVlong p1(spare), p2(spare), divisor(spare);
    RETURN_IF_ERROR(findAuxiliaryPrime(random, seeds.x1, p1, spare));
    RETURN_IF_ERROR(findAuxiliaryPrime(random, seeds.x2, p2, spare));
    RETURN_IF_ERROR(VLONG_shiftLeft1(p1.get()));
    RETURN_IF_ERROR(VLONG_gcd(p1.get(), p2.get(), divisor.out(), spare)); // p2 when the two primes are the same
    if (VLONG_cmpUnit(divisor.get(), 1) != 0) {
        return OK;
    }
    Progression progression(spare);
    RETURN_IF_ERROR(progression.start(seeds.x, p1.get(), p2.get(), spare));
    return searchPrime(random, progression, VLONG_bitLength(seeds.x), e, prime, spare);
}
