#ifndef ZELSPI_PLATFORM_WIN32_STATIC_LOCK_STATE_H
#define ZELSPI_PLATFORM_WIN32_STATIC_LOCK_STATE_H

// The single pointer that an SRWLOCK is; null is SRWLOCK_INIT. So no header of ours brings windows.h with it.
using StaticLockState = void*;
#define kFreeStaticLock nullptr

#endif
