// The stages of the probable-prime test behind trial division, for callers that have divided by themselves or hold the
// context of the candidate.
#ifndef ZELSPI_CORE_BIGNUM_PRIME_PRIME_STAGES_H
#define ZELSPI_CORE_BIGNUM_PRIME_PRIME_STAGES_H

#include "core/bignum/prime/prime.h"

// primeTestSieved: PRIME_isProbablePrime without its trial division, for an odd n that has no small prime factor.
// In/out:  factor is a prime above the small ones that divides n, or 0. It spares most of the work, but changes neither
//          the verdict nor the bytes that are drawn: a round that fails modulo a factor fails modulo n.
// Errors:  as PRIME_isProbablePrime.
Status primeTestSieved(const RandomBytes& random, const vlong* n, PrimePurpose purpose, std::uint32_t factor,
                       std::uint32_t* flag, vlong** queue);

// primeLucasTest: PRIME_lucasTest for the odd modulus of a context.
// Errors:  ERR_BAD_LENGTH the modulus is above 4095 units; growth.
Status primeLucasTest(const MontgomeryCtx& context, std::uint32_t* flag, vlong** queue);

#endif
