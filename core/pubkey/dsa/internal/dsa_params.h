// DSA domain parameters: the primes from a hash, and the generator.
#ifndef ZELSPI_CORE_PUBKEY_DSA_INTERNAL_DSA_PARAMS_H
#define ZELSPI_CORE_PUBKEY_DSA_INTERNAL_DSA_PARAMS_H

#include "core/pubkey/dsa/dsa.h"

// The longest seed and the longest hash of parameter generation, in bytes.
inline constexpr std::uint32_t kDsaMaxSeedBytes = 32;
inline constexpr std::uint32_t kDsaMaxHashBytes = 64;

// DsaSizes: p of L bits, q of N bits, made with a hash of hashBytes.
struct DsaSizes {
    std::uint32_t L, N, hashBytes;
    Status (*hash)(const std::uint8_t* data, std::uint32_t length, std::uint8_t* out);
};

// dsaChooseSizes: checks the request.
// Errors:  as Dsa_GenerateKeyEx, in the order in which it names them.
Status dsaChooseSizes(std::uint32_t L, std::uint32_t N, DsaHash hash, DsaSizes* sizes);

// dsaGeneratePrimes: new p and q; *counter and seed[N / 8] are what they come from.
// Errors:  those of random; growth.
// Source:  FIPS 186-3 A.1.1.2; the random bases of the prime tests come from random as well.
Status dsaGeneratePrimes(const RandomBytes& random, const DsaSizes& sizes, vlong** p, vlong** q, std::uint32_t* counter,
                         std::uint8_t* seed, vlong** queue);

// dsaFindGenerator: a new g = h^((p - 1) / q) mod p above 1, for the first such h below p - 1.
// In/out:  for p and q of dsaGeneratePrimes only: for others there need not be one, and the search would not end.
// Errors:  growth.
Status dsaFindGenerator(const vlong* p, const vlong* q, vlong** g, vlong** h, vlong** queue);

#endif
