// The state of a StaticLock on POSIX systems.
#ifndef ZELSPI_PLATFORM_POSIX_STATIC_LOCK_STATE_H
#define ZELSPI_PLATFORM_POSIX_STATIC_LOCK_STATE_H

#include <pthread.h>

using StaticLockState = pthread_mutex_t;
#define kFreeStaticLock PTHREAD_MUTEX_INITIALIZER

#endif
