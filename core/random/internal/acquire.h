// Acquiring in a given seeding mode, whatever the process's mode is.
#ifndef ZELSPI_CORE_RANDOM_INTERNAL_ACQUIRE_H
#define ZELSPI_CORE_RANDOM_INTERNAL_ACQUIRE_H

#include "core/random/random.h"

// acquireContextInMode: randomAcquireContext in that mode.
Status acquireContextInMode(RandomContext** context, std::uint8_t mode);

#endif
