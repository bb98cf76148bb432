// Small factors of one number or of a progression of candidates.
//
// A search that skips or quickly settles numbers with such a factor does the same as one that tests every number: see
// primeTestSieved.
#ifndef ZELSPI_CORE_BIGNUM_PRIME_CANDIDATE_SIEVE_H
#define ZELSPI_CORE_BIGNUM_PRIME_CANDIDATE_SIEVE_H

#include "core/bignum/vlong.h"
#include "core/memory/secret.h"

// mediumFactor: the smallest prime factor of |n| between 256 and about 2^13, or 0. Worth its time for 16 units and more.
std::uint32_t mediumFactor(const vlong* n);

// CandidateSieve: the factors of the numbers start + i * step.
class CandidateSieve {
public:
    // fill: sieves the `count` candidates from start on. Errors: ERR_MEM_ALLOC_FAIL.
    Status fill(const vlong* start, const vlong* step, std::uint32_t count);

    // factor: the smallest odd prime below 2^14 that divides candidate i, or 0.
    std::uint32_t factor(std::uint32_t i) const;

    // isTriviallyComposite: whether trial division by the small primes would refuse candidate i.
    bool isTriviallyComposite(std::uint32_t i) const;

private:
    SecretBuffer factors_; // a 16-bit number for each candidate
};

#endif
