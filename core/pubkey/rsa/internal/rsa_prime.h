// The prime factors of RSA keys, by the method of FIPS 186-4 B.3.6 and C.9: a prime p with a prime factor of 101 bits in
// p - 1 and another in p + 1.
#ifndef ZELSPI_CORE_PUBKEY_RSA_INTERNAL_RSA_PRIME_H
#define ZELSPI_CORE_PUBKEY_RSA_INTERNAL_RSA_PRIME_H

#include "core/bignum/vlong.h"
#include "core/random/random_bytes.h"

// RsaPrimeSeeds: the random odd numbers that a prime is made from.
struct RsaPrimeSeeds {
    const vlong* x;  // the lower bound of the prime
    const vlong* x1; // lower bounds of the auxiliary primes
    const vlong* x2;
};

// rsaConstructPrime: *prime := a probable prime p of as many bits as x, p >= x, with p = 1 modulo p1 and p = -1 modulo
// p2, where p1 and p2 are the first probable primes from x1 and x2 on; p - 1 has no divisor in common with e.
// In/out:  e below 2^32. OK with a null *prime: there is none within the limits, start again with new seeds. random gives
//          the bases of the prime tests.
// Errors:  those of random; growth.
Status rsaConstructPrime(const RandomBytes& random, const RsaPrimeSeeds& seeds, std::uint32_t e, vlong** prime,
                         vlong** queue);

#endif
