// The shared context of the process, for callers that cannot wait six seconds: it is there at once, seeded without
// entropy threads, and a depot thread adds the entropy of a fully seeded context to it in the background.
//
// The Java provider does not use it: it has a context of its own.
#ifndef ZELSPI_CORE_RANDOM_RANDOM_GLOBAL_H
#define ZELSPI_CORE_RANDOM_RANDOM_GLOBAL_H

#include "core/random/random.h"

// randomInitGlobal, randomFreeGlobal: count the users of the shared context. The first acquires it, as does one that finds
// it released under the others; the last releases it.
// Errors:  those of randomAcquireGlobalContext and randomReleaseGlobalContext, the count is then unchanged;
//          ERR_RAND_CTX_NOT_INITIALIZED more frees than inits, or the last user finds no context: it is no longer counted.
Status randomInitGlobal();
Status randomFreeGlobal();

// randomAcquireGlobalContext: makes the shared context, unless it is there. Unless the seeding mode is without threads
// the depot thread is started.
// In/out:  waits, without limit, for the depot thread of an earlier context.
// Errors:  as randomAcquireContext; ERR_RTOS_THREAD_CREATE the depot thread could not be started, there is no context then.
Status randomAcquireGlobalContext();

// randomReleaseGlobalContext: waits, without limit, for the depot thread, and releases the shared context.
// Errors:  ERR_RAND_CTX_NOT_INITIALIZED there is none; ERR_RTOS_MUTEX_WAIT.
Status randomReleaseGlobalContext();

// globalRandomContext: the shared context, or null. It stays valid until it is released.
RandomContext* globalRandomContext();

// randomAddGlobalEntropyBit, randomAddGlobalEntropyWord: add to the shared context the lowest bit of `bit`, or the 32
// bits of `word` from the lowest up, until one fails.
// Errors:  ERR_RAND_CTX_NOT_INITIALIZED there is none.
Status randomAddGlobalEntropyBit(std::uint8_t bit);
Status randomAddGlobalEntropyWord(std::uint32_t word);

#endif
