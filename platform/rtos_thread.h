// Threads that end by themselves: started here, never joined; their starter learns from flags when they are done.
#ifndef ZELSPI_PLATFORM_RTOS_THREAD_H
#define ZELSPI_PLATFORM_RTOS_THREAD_H

#include "core/status/status.h"

#include <cstdint>

// rtosInit, rtosShutdown: nothing to do; OK.
Status rtosInit();
Status rtosShutdown();

// RtosThread: an opaque handle; null means no thread.
using RtosThread = struct RtosThreadObject*;
using RtosThreadEntry = void (*)(void* argument);

// rtosCreateThread: starts entry(argument) in a thread of its own, with the default stack size; threadType is ignored.
// On POSIX the thread takes no signals: it lives inside somebody else's process.
// In/out:  *thread is to be given to rtosDestroyThread.
// Errors:  ERR_NULL_POINTER entry or thread null; ERR_RTOS_THREAD_CREATE. *thread is then null.
Status rtosCreateThread(RtosThreadEntry entry, void* argument, std::uint32_t threadType, RtosThread* thread);

// rtosDestroyThread: closes the handle; the thread itself runs on. Null does nothing.
Status rtosDestroyThread(RtosThread thread);

#endif
