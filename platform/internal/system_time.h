// The clock that time stamps are read from. For use inside platform/.
#ifndef ZELSPI_PLATFORM_INTERNAL_SYSTEM_TIME_H
#define ZELSPI_PLATFORM_INTERNAL_SYSTEM_TIME_H

#include <cstdint>

// systemTimeMs: the operating system's clock in milliseconds since 1601.
std::uint64_t systemTimeMs();

#endif
