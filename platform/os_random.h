// Unpredictable bytes from the operating system.
#ifndef ZELSPI_PLATFORM_OS_RANDOM_H
#define ZELSPI_PLATFORM_OS_RANDOM_H

#include "core/status/status.h"

#include <cstddef>
#include <cstdint>

// osRandomBytes: fills bytes[byteCount] from the operating system's generator (getrandom, BCryptGenRandom).
// Errors:  ERR_NULL_POINTER; ERR_RTOS the system gave none, bytes is then undefined.
Status osRandomBytes(std::uint8_t* bytes, std::size_t byteCount);

#endif
