#include "platform/static_lock.h"

#include <windows.h>

static_assert(sizeof(SRWLOCK) == sizeof(StaticLockState));

void StaticLock::lock() {
    AcquireSRWLockExclusive(reinterpret_cast<SRWLOCK*>(&state_));
}

void StaticLock::unlock() {
    ReleaseSRWLockExclusive(reinterpret_cast<SRWLOCK*>(&state_));
}
