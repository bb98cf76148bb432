// The entropy threads: three short-lived threads that, together with their caller, stir a fresh generator state for
// some six seconds, paced by the clock.
#ifndef ZELSPI_CORE_RANDOM_INTERNAL_ENTROPY_THREADS_H
#define ZELSPI_CORE_RANDOM_INTERNAL_ENTROPY_THREADS_H

#include "core/random/internal/fips186.h"
#include "platform/rtos_clock.h"

// runEntropyThreads: stirs until the threads are done. They have left the state when this returns, on failure too.
// In/out:  start is when the acquisition began; the caller's own sleeps are paced by it.
// Errors:  ERR_RTOS_THREAD_CREATE a thread could not be started; a second or two go by until the others have left.
Status runEntropyThreads(Fips186State* state, const MsTimeStamp* start);

#endif
