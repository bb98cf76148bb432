// The random generator: contexts of the general-purpose generator of FIPS 186-2 (Appendix 3.1), seeded by this library.
//
// A context is made once and kept: making one takes more than six seconds unless the seeding mode says otherwise. All
// threads may generate from one context and add entropy bits to it. Its security rests on the unpredictable bytes of
// the operating system that enter the seed pool (seed_pool.h); the clock readings and the entropy threads come on top.
#ifndef ZELSPI_CORE_RANDOM_RANDOM_H
#define ZELSPI_CORE_RANDOM_RANDOM_H

#include "core/status/status.h"

#include <cstdint>

struct RandomContext;

// The only kind of context to ask for.
inline constexpr std::uint8_t kRandomKindFips186 = 1;

// The seeding modes: with the entropy threads (the default), or without.
inline constexpr std::uint8_t kSeedWithThreads = 0;
inline constexpr std::uint8_t kSeedWithoutThreads = 1;

// randomAcquireContext: a new, seeded context in *context. Blocks for a little over six seconds in mode 0.
// In/out:  *context is null until the context is ready. Release it with randomReleaseContext.
// Errors:  ERR_NULL_POINTER context null, or the heap refuses; ERR_RTOS_MUTEX_CREATE; ERR_RTOS_MUTEX_WAIT;
//          ERR_RTOS_THREAD_CREATE; ERR_RTOS the operating system gave no unpredictable bytes.
Status randomAcquireContext(RandomContext** context);

// randomAcquireContextOfKind: the same; kind 0 means kRandomKindFips186.
// Errors:  as above; ERR_INVALID_ARG another kind.
Status randomAcquireContextOfKind(RandomContext** context, std::uint8_t kind);

// randomReleaseContext: wipes and frees *context and clears it. Nobody may be using it.
// Errors:  ERR_NULL_POINTER context or *context null, or a record of another kind.
Status randomReleaseContext(RandomContext** context);

// randomAddEntropyBit: mixes the lowest bit of the argument into the context. Takes no lock: bits added at the same
// moment by several threads may coincide.
// Errors:  ERR_NULL_POINTER context null or of another kind.
Status randomAddEntropyBit(RandomContext* context, std::uint8_t bit);

// randomGenerate: fills buffer[length].
// Errors:  ERR_NULL_POINTER context or buffer null (also for length 0), or a context of another kind;
//          ERR_RTOS_MUTEX_WAIT other threads kept the context busy for five seconds; nothing is written then.
Status randomGenerate(RandomContext* context, std::uint8_t* buffer, std::uint32_t length);

// RandomSource: a source of random bytes as other algorithms take it, together with the context that it works on.
using RandomSource = Status (*)(void* context, std::uint32_t length, std::uint8_t* buffer);

// randomGenerateCallback: randomGenerate as a RandomSource; context is a RandomContext.
Status randomGenerateCallback(void* context, std::uint32_t length, std::uint8_t* buffer);

// randomSetSeedingMode: the mode of acquisitions from now on, for the whole process. Errors: ERR_INVALID_ARG.
Status randomSetSeedingMode(std::uint8_t mode);
std::uint8_t randomGetSeedingMode();

#endif
