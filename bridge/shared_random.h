// The one random context of the process (ZelObject::getRandomContext), as the engines draw from it.
#ifndef ZELSPI_BRIDGE_SHARED_RANDOM_H
#define ZELSPI_BRIDGE_SHARED_RANDOM_H

#include "core/random/random_bytes.h"

// isSharedRandomReady: whether the context has been made, so that nobody waits for it any more.
bool isSharedRandomReady();

// drawShared: randomGenerateCallback, but one that waits for as long as other threads keep the context busy: a Java
// program that merely waits is told nothing. The context lives as long as the process, so that there is always somebody who
// gives it back.
// Errors:  ERR_NULL_POINTER context null.
Status drawShared(void* context, std::uint32_t length, std::uint8_t* buffer);

// sharedBytes: what the algorithms of the core draw from, with drawShared as its source.
inline RandomBytes sharedBytes(RandomContext* context) {
    return {drawShared, context};
}

#endif
