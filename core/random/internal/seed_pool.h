// The seed pool: process-wide seed material, stirred with SHA-1 and fed from clocks and from the operating system's
// unpredictable bytes. Those 128 bytes at every mixing are what makes a seed strong; the clocks alone could be guessed.
#ifndef ZELSPI_CORE_RANDOM_INTERNAL_SEED_POOL_H
#define ZELSPI_CORE_RANDOM_INTERNAL_SEED_POOL_H

#include "core/status/status.h"

#include <cstdint>

// seedPoolInit: makes the pool ready; seedPoolGetBytes does it by itself on first use.
// Errors:  ERR_FALSE it is ready already; ERR_RTOS_MUTEX_CREATE, it is then still not ready.
Status seedPoolInit();

// seedPoolGetBytes: fills buffer[length] with fresh seed material. Any thread may call it.
// Errors:  ERR_NULL_POINTER; ERR_RTOS_MUTEX_CREATE; ERR_RTOS_MUTEX_WAIT; ERR_RTOS no unpredictable bytes.
// Secrets: what is handed out is wiped from the pool.
Status seedPoolGetBytes(std::uint8_t* buffer, std::uint32_t length);

// seedStateWait, seedStateRelease: the process-wide mutex that guards the shared context (random_global.h); it is made
// together with the pool's own.
// Errors:  ERR_RTOS_MUTEX_CREATE; ERR_RTOS_MUTEX_WAIT; ERR_RTOS_MUTEX_RELEASE.
Status seedStateWait();
Status seedStateRelease();

#endif
