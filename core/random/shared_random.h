// The one random context of the process, fully seeded, as the engines for Java and the functions for C draw from it.
#ifndef ZELSPI_CORE_RANDOM_SHARED_RANDOM_H
#define ZELSPI_CORE_RANDOM_SHARED_RANDOM_H

#include "core/random/random_bytes.h"

// sharedRandom: the context in *context; the first caller makes it, the others wait for that, without limit. It lives until
// the process ends.
// In/out:  *context is null on failure; the next call tries again.
// Errors:  as randomAcquireContext.
Status sharedRandom(RandomContext** context);

// isSharedRandomReady: whether the context has been made, so that nobody waits for it any more.
bool isSharedRandomReady();

// drawShared: randomGenerateCallback without the limit of five seconds: while other threads keep the context busy it
// waits, which is no failure. The context lives as long as the process, so the wait ends when those threads are done.
// Errors:  ERR_NULL_POINTER context null.
Status drawShared(void* context, std::uint32_t length, std::uint8_t* buffer);

// sharedBytes: what the algorithms of the core draw from, with drawShared as its source.
inline RandomBytes sharedBytes(RandomContext* context) {
    return {drawShared, context};
}

#endif
