#include "platform/os_random.h"

#include "platform/internal/fault_point.h"

#include <algorithm>
#include <windows.h>

#include <bcrypt.h>

Status osRandomBytes(std::uint8_t* bytes, std::size_t byteCount) {
    if (bytes == nullptr) {
        return ERR_NULL_POINTER;
    }
    if (platformServiceFails(PlatformService::randomBytes)) {
        return ERR_RTOS;
    }
    constexpr std::size_t kMostAtOnce = 1u << 30; // the count is 32 bits wide there
    while (byteCount > 0) {
        const std::size_t part = std::min(byteCount, kMostAtOnce);
        if (BCryptGenRandom(nullptr, bytes, static_cast<ULONG>(part), BCRYPT_USE_SYSTEM_PREFERRED_RNG) < 0) {
            return ERR_RTOS;
        }
        bytes += part;
        byteCount -= part;
    }
    return OK;
}
