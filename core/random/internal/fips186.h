// The generator behind a RandomContext: FIPS 186-2, Appendix 3.1, with the SHA-1 compression as its function G.
//
// The state is an integer XKEY of keyBytes bytes. A round computes x = G(XKEY + XSEED) and adds 1 + x to XKEY; two
// rounds give a block of 40 bytes.
//
// XKEY (xkey.h), the block, the bit position and the bit count are touched by several threads without a lock, on purpose:
// threads stir the state while others draw from it, and what such a race loses does not matter. So they are accessed as
// relaxed atomics as soon as several threads know the context.
// blockRemaining and the XSEED belong to whoever holds the mutex.
#ifndef ZELSPI_CORE_RANDOM_INTERNAL_FIPS186_H
#define ZELSPI_CORE_RANDOM_INTERNAL_FIPS186_H

#include "core/random/internal/xkey.h"
#include "core/status/status.h"
#include "platform/rtos_mutex.h"

#include <cstddef>
#include <cstdint>

inline constexpr std::uint32_t kGeneratorBlockBytes = 40;

struct Fips186State {
    const std::uint8_t* xseed;   // caller's optional input, or null
    std::int32_t xseedRemaining; // bytes of it not yet consumed
    std::uint32_t block[10];     // the two most recent outputs x0 and x1, as big-endian words
    std::int8_t blockRemaining;  // bytes of the block not yet handed out
    Xkey xkey;
    std::uint32_t bitPosition; // where the last entropy bit went, below 8 * keyBytes
    RtosMutex mutex;           // guards generation
};

// Kind 0 is the generator of this file; there is no other.
struct RandomContext {
    std::uint32_t kind;
    std::uint32_t entropyBitCount;
    Fips186State state;
};

// fips186NewContext: a new context with the given XKEY.
// Shapes:  xkeySeed[keyBytes]; xseed[xseedLength], or null. xseed is not copied: it must stay until it is used up.
// In/out:  a negative xseedLength counts as 0. Release with randomReleaseContext.
// Errors:  ERR_NULL_POINTER context or xkeySeed null; ERR_INVALID_ARG unless 20 <= keyBytes <= 64; ERR_NULL_POINTER, on
//          purpose, when the heap refuses; ERR_RTOS_MUTEX_CREATE. *context is then null.
Status fips186NewContext(RandomContext** context, std::uint32_t keyBytes, const std::uint8_t* xkeySeed,
                         std::int32_t xseedLength, const std::uint8_t* xseed);

// fips186Generate: fills buffer[length], refilling the block whenever it is used up.
// Errors:  a length of 0 is OK at once; then ERR_NULL_POINTER; ERR_RTOS_MUTEX_WAIT, nothing is written then.
// Secrets: time depends on the length, and on whether a carry passes from XKEY's lowest 192 bits, once in 2^33 rounds.
Status fips186Generate(Fips186State* state, std::uint8_t* buffer, std::uint32_t length);

// fips186GenerateOverKey: generates keyBytes bytes and writes them over XKEY itself, each as it is produced, so
// that a refill in the middle works on a key that is partly overwritten. Errors as fips186Generate.
Status fips186GenerateOverKey(Fips186State* state);

// fips186Stir: two rounds without a lock, not to be run beside another user of a state with an XSEED; bytes of the
// block that were not handed out yet are replaced by fresh ones.
void fips186Stir(Fips186State* state);

#endif
