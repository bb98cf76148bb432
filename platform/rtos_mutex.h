// Mutexes with a bounded wait: recursive, initially free, and never waited for longer than five seconds.
//
// A thread that ends while it owns a mutex abandons it. The next wait reports that as a failure, once, and leaves the
// mutex free, so that the wait after it succeeds.
#ifndef ZELSPI_PLATFORM_RTOS_MUTEX_H
#define ZELSPI_PLATFORM_RTOS_MUTEX_H

#include "core/status/status.h"

#include <cstdint>

// RtosMutex: an opaque handle; null means no mutex.
using RtosMutex = struct RtosMutexObject*;

// rtosMutexCreate: a new mutex in *mutex. mutexType and count are ignored.
// Errors:  ERR_NULL_POINTER mutex null; ERR_RTOS_MUTEX_CREATE, *mutex is then null.
Status rtosMutexCreate(RtosMutex* mutex, std::uint32_t mutexType, std::uint32_t count);

// rtosMutexWait: takes the mutex for the calling thread, which may own it already; waits at most 5,000 ms.
// Errors:  ERR_RTOS_MUTEX_WAIT timed out, abandoned by its owner, or null; the caller does not own it then.
Status rtosMutexWait(RtosMutex mutex);

// rtosMutexRelease: gives it back once.
// Errors:  ERR_RTOS_MUTEX_RELEASE the caller does not own it, or null.
Status rtosMutexRelease(RtosMutex mutex);

// rtosMutexFree: destroys *mutex, also when the caller owns it, and clears it. Nobody may be waiting for it.
// Errors:  ERR_RTOS_MUTEX_FREE mutex or *mutex null; on POSIX also a mutex that another thread owns, which stays.
Status rtosMutexFree(RtosMutex* mutex);

// rtosMutexWaitGuarded, rtosMutexReleaseGuarded: the same with a flag of the call site, so that a path that releases on
// every exit cannot release what it never took, and cannot take twice through one flag.
// In/out:  *held is 1 after a successful wait and 0 after a successful release; else unchanged.
// Errors:  ERR_NULL_POINTER held null; ERR_RTOS_WRAP_MUTEX_WAIT *held is set already; ERR_RTOS_WRAP_MUTEX_RELEASE *held
//          is not 1; the status of the wait or release.
Status rtosMutexWaitGuarded(RtosMutex mutex, std::uint32_t* held);
Status rtosMutexReleaseGuarded(RtosMutex mutex, std::uint32_t* held);

#endif
