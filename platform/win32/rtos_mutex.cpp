#include "platform/rtos_mutex.h"

#include "platform/internal/fault_point.h"

#include <windows.h>

namespace {

constexpr DWORD kWaitMs = 5000;

HANDLE handleOf(RtosMutex mutex) {
    return reinterpret_cast<HANDLE>(mutex);
}

} // namespace

Status rtosMutexCreate(RtosMutex* mutex, std::uint32_t, std::uint32_t) {
    if (mutex == nullptr) {
        return ERR_NULL_POINTER;
    }
    const bool refused = platformServiceFails(PlatformService::mutexCreate);
    *mutex = refused ? nullptr : reinterpret_cast<RtosMutex>(CreateMutexA(nullptr, FALSE, nullptr));
    return *mutex == nullptr ? ERR_RTOS_MUTEX_CREATE : OK;
}

Status rtosMutexWait(RtosMutex mutex) {
    if (mutex == nullptr || platformServiceFails(PlatformService::mutexWait)) {
        return ERR_RTOS_MUTEX_WAIT;
    }
    const DWORD result = WaitForSingleObject(handleOf(mutex), kWaitMs);
    if (result == WAIT_ABANDONED) {
        ReleaseMutex(handleOf(mutex)); // the wait gave it to this thread all the same
    }
    return result == WAIT_OBJECT_0 ? OK : ERR_RTOS_MUTEX_WAIT;
}

Status rtosMutexRelease(RtosMutex mutex) {
    if (mutex == nullptr || platformServiceFails(PlatformService::mutexRelease)) {
        return ERR_RTOS_MUTEX_RELEASE;
    }
    return ReleaseMutex(handleOf(mutex)) ? OK : ERR_RTOS_MUTEX_RELEASE;
}

Status rtosMutexFree(RtosMutex* mutex) {
    if (mutex == nullptr || *mutex == nullptr || !CloseHandle(handleOf(*mutex))) {
        return ERR_RTOS_MUTEX_FREE;
    }
    *mutex = nullptr;
    return OK;
}
