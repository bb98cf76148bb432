#include "platform/os_random.h"

#include "platform/internal/fault_point.h"

#include <cerrno>
#include <sys/random.h>

Status osRandomBytes(std::uint8_t* bytes, std::size_t byteCount) {
    if (bytes == nullptr) {
        return ERR_NULL_POINTER;
    }
    if (platformServiceFails(PlatformService::randomBytes)) {
        return ERR_RTOS;
    }
    while (byteCount > 0) {
        const ssize_t got = getrandom(bytes, byteCount, 0);
        if (got > 0) {
            bytes += got;
            byteCount -= static_cast<std::size_t>(got);
        } else if (got == 0 || errno != EINTR) {
            return ERR_RTOS;
        }
    }
    return OK;
}
