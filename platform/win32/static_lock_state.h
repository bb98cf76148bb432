#ifndef ZELSPI_PLATFORM_WIN32_STATIC_LOCK_STATE_H
#define ZELSPI_PLATFORM_WIN32_STATIC_LOCK_STATE_H

// An SRWLOCK is one pointer, and SRWLOCK_INIT is null. With this type no header has to include windows.h.
using StaticLockState = void*;
#define kFreeStaticLock nullptr

#endif
