// Prime numbers: random odd candidates, the probable-prime test and its stages, a simple search.
//
// Out-pointers are null, flags and symbols 0, on failure. Flags: 1 probably prime, 0 composite; a composite is not an
// error. The last argument is the spare-record queue of vlong.h or null.
// Secrets: candidates become primes of private keys. Every temporary goes to the queue or is wiped; the time of all of
// this depends on the candidates.
#ifndef ZELSPI_CORE_BIGNUM_PRIME_PRIME_H
#define ZELSPI_CORE_BIGNUM_PRIME_PRIME_H

#include "core/bignum/modexp.h"
#include "core/random/random_bytes.h"

// PrimePurpose: which table of Miller-Rabin rounds a candidate gets, and whether the Lucas test follows. Any other value
// means the default rounds and no Lucas test.
using PrimePurpose = std::uint32_t;
inline constexpr PrimePurpose kPrimeForDsa = 0;       // p and q of DSA parameters; Lucas follows
inline constexpr PrimePurpose kPrimeForAuxiliary = 1; // sizes of auxiliary primes; no Lucas test; nobody asks for it
inline constexpr PrimePurpose kPrimeForSearch = 2;    // everything of RSA, its auxiliary primes included; Lucas follows

// PRIME_smallPrimes: the odd primes below 256.
inline constexpr std::uint32_t kSmallPrimeCount = 53;
extern const std::uint8_t PRIME_smallPrimes[kSmallPrimeCount];

// VLONG_makeRandomOdd: a new random record with bit 0 and bit (bits - 1) set.
// Oddity:  the value has exactly that many bits when bits mod 8 is 0, 4, 5, 6 or 7; otherwise up to 6, 4, 2 more for
//          bits mod 8 = 1, 2, 3.
// Errors:  ERR_NULL_POINTER out null; ERR_BAD_LENGTH bits 0 or too many; growth; those of the source.
// Secrets: the drawn bytes are wiped.
Status VLONG_makeRandomOdd(const RandomBytes& random, vlong** out, std::uint32_t bits, vlong** queue);

// PRIME_trialDivide: *flag := 1 when none of PRIME_smallPrimes[first .. end) divides n.
// In/out:  end is taken as at most kSmallPrimeCount; an empty range gives 1.
// Errors:  ERR_NULL_POINTER n or flag null; growth.
Status PRIME_trialDivide(const vlong* n, std::uint32_t first, std::uint32_t end, std::uint32_t* flag, vlong** queue);

// PRIME_millerRabinRounds: the rounds for a candidate of that many bits.
std::uint32_t PRIME_millerRabinRounds(std::uint32_t bits, PrimePurpose purpose);

// PRIME_isProbablePrime: trial division by all small primes, Miller-Rabin rounds with random bases, then for the
// purposes 0 and 2 the Lucas test. PRIME_isProbablePrimeSearch: the same with kPrimeForSearch.
// Oddity:  the small primes themselves are called composite, and primes a little above them now and then: on purpose for
//          candidates from 2^32 on.
// Errors:  ERR_NULL_POINTER n or flag null; ERR_EVEN_NUMBER n even; growth; those of the source.
Status PRIME_isProbablePrime(const RandomBytes& random, const vlong* n, PrimePurpose purpose, std::uint32_t* flag,
                             vlong** queue);
Status PRIME_isProbablePrimeSearch(const RandomBytes& random, const vlong* n, std::uint32_t* flag, vlong** queue);

// PRIME_millerRabinTest: one round with the base a; context is the Montgomery context of n.
// Errors:  ERR_NULL_POINTER; growth.
// Source:  FIPS 186-4 C.3.1, steps 1, 2 and 4.
Status PRIME_millerRabinTest(const MontgomeryCtx* context, const vlong* n, const vlong* a, std::uint32_t* flag,
                             vlong** queue);

// PRIME_lucasTest: whether U(n + 1) = 0 mod n for the Lucas sequence with P = 1 and D = PRIME_selfridgeD(n).
// In/out:  never returns for 1, -1, perfect squares and their negatives, for which there is no D: the caller excludes
//          them. The verdict on a negative n says nothing of |n|.
// Errors:  ERR_NULL_POINTER; ERR_EVEN_NUMBER n even or zero; ERR_BAD_LENGTH n above 4095 units; growth.
// Source:  FIPS 186-4 C.3.3 without its test for squares.
Status PRIME_lucasTest(const vlong* n, std::uint32_t* flag, vlong** queue);

// PRIME_jacobi: *symbol := the Jacobi symbol (a/|n|): -1, 0 or 1; 0 for an even n.
// Errors:  ERR_NULL_POINTER; growth.
Status PRIME_jacobi(const vlong* a, const vlong* n, std::int32_t* symbol, vlong** queue);

// PRIME_selfridgeD: a new record := the first of 5, -7, 9, -11, ... with (D/n) = -1. Never returns where there is none.
// Errors:  ERR_NULL_POINTER; growth.
Status PRIME_selfridgeD(const vlong* n, vlong** out, vlong** queue);

// PRIME_generate: a new random record that passes PRIME_isProbablePrimeSearch, by steps through 6 j - 1 and 6 j + 1.
// In/out:  the bit length can leave the wanted one at the edges of the range. The caller's queue is empty afterwards,
//          also on failure.
// Errors:  ERR_NULL_POINTER out null; as VLONG_makeRandomOdd and PRIME_isProbablePrime.
Status PRIME_generate(const RandomBytes& random, vlong** out, std::uint32_t bits, vlong** queue);

#endif
