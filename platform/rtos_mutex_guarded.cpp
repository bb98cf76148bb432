#include "platform/rtos_mutex.h"

Status rtosMutexWaitGuarded(RtosMutex mutex, std::uint32_t* held) {
    if (held == nullptr) {
        return ERR_NULL_POINTER;
    }
    if (*held != 0) {
        return ERR_RTOS_WRAP_MUTEX_WAIT;
    }
    RETURN_IF_ERROR(rtosMutexWait(mutex));
    *held = 1;
    return OK;
}

Status rtosMutexReleaseGuarded(RtosMutex mutex, std::uint32_t* held) {
    if (held == nullptr) {
        return ERR_NULL_POINTER;
    }
    if (*held != 1) {
        return ERR_RTOS_WRAP_MUTEX_RELEASE;
    }
    RETURN_IF_ERROR(rtosMutexRelease(mutex));
    *held = 0;
    return OK;
}
