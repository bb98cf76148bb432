#include "platform/rtos_mutex.h"

#include "core/memory/memory.h"
#include "platform/internal/fault_point.h"

#include <cerrno>
#include <ctime>
#include <pthread.h>

// ThreadSanitizer does not know the wait by the monotonic clock and would report false races: its builds wait by the other.
#if defined(__SANITIZE_THREAD__)
#define ZEL_WAIT_BY_WALL_CLOCK 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define ZEL_WAIT_BY_WALL_CLOCK 1
#endif
#endif

struct RtosMutexObject {
    pthread_mutex_t mutex;
};

namespace {

constexpr std::time_t kWaitSeconds = 5;

// Waits until a deadline that no change of the wall clock moves.
int lockWithinLimit(pthread_mutex_t* mutex) {
    timespec deadline{};
#ifdef ZEL_WAIT_BY_WALL_CLOCK
    clock_gettime(CLOCK_REALTIME, &deadline);
    deadline.tv_sec += kWaitSeconds;
    return pthread_mutex_timedlock(mutex, &deadline);
#else
    clock_gettime(CLOCK_MONOTONIC, &deadline);
    deadline.tv_sec += kWaitSeconds;
    return pthread_mutex_clocklock(mutex, CLOCK_MONOTONIC, &deadline);
#endif
}

// Recursive, and robust: an owner that has ended is noticed.
bool initialise(pthread_mutex_t* mutex) {
    pthread_mutexattr_t attributes;
    if (pthread_mutexattr_init(&attributes) != 0) {
        return false;
    }
    const bool done = pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE) == 0 &&
                      pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST) == 0 &&
                      pthread_mutex_init(mutex, &attributes) == 0;
    pthread_mutexattr_destroy(&attributes);
    return done;
}

// After an abandoned wait the caller owns the mutex: it is made usable again, and given back.
void recover(pthread_mutex_t* mutex) {
    pthread_mutex_consistent(mutex);
    pthread_mutex_unlock(mutex);
}

} // namespace

Status rtosMutexCreate(RtosMutex* mutex, std::uint32_t, std::uint32_t) {
    if (mutex == nullptr) {
        return ERR_NULL_POINTER;
    }
    *mutex = nullptr;
    RtosMutexObject* object = nullptr;
    if (platformServiceFails(PlatformService::mutexCreate) || isError(memAllocRecord(&object))) {
        return ERR_RTOS_MUTEX_CREATE;
    }
    if (!initialise(&object->mutex)) {
        (void)memFreeRecord(&object); // it is not null: cannot fail
        return ERR_RTOS_MUTEX_CREATE;
    }
    *mutex = object;
    return OK;
}

Status rtosMutexWait(RtosMutex mutex) {
    if (mutex == nullptr || platformServiceFails(PlatformService::mutexWait)) {
        return ERR_RTOS_MUTEX_WAIT;
    }
    int result = pthread_mutex_trylock(&mutex->mutex);
    if (result == EBUSY) {
        result = lockWithinLimit(&mutex->mutex);
    }
    if (result == EOWNERDEAD) {
        recover(&mutex->mutex);
    }
    return result == 0 ? OK : ERR_RTOS_MUTEX_WAIT;
}

Status rtosMutexRelease(RtosMutex mutex) {
    if (mutex == nullptr || platformServiceFails(PlatformService::mutexRelease)) {
        return ERR_RTOS_MUTEX_RELEASE;
    }
    return pthread_mutex_unlock(&mutex->mutex) == 0 ? OK : ERR_RTOS_MUTEX_RELEASE;
}

Status rtosMutexFree(RtosMutex* mutex) {
    if (mutex == nullptr || *mutex == nullptr) {
        return ERR_RTOS_MUTEX_FREE;
    }
    pthread_mutex_t* const held = &(*mutex)->mutex;
    const int error = pthread_mutex_trylock(held); // succeeds for its owner too
    if (error == EOWNERDEAD) {
        pthread_mutex_consistent(held);
    } else if (error != 0) {
        return ERR_RTOS_MUTEX_FREE;
    }
    while (pthread_mutex_unlock(held) == 0) {
    }
    if (pthread_mutex_destroy(held) != 0) {
        return ERR_RTOS_MUTEX_FREE;
    }
    return memFreeRecord(mutex);
}
