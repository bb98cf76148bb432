#include "platform/rtos_thread.h"

#include "core/memory/memory.h"
#include "platform/internal/fault_point.h"

#include <csignal>
#include <pthread.h>

struct RtosThreadObject {
    pthread_t thread;
};

namespace {

// What a new thread is given; it frees the record.
struct Start {
    RtosThreadEntry entry;
    void* argument;
};

void* run(void* argument) {
    auto* start = static_cast<Start*>(argument);
    const Start own = *start;
    (void)memFreeRecord(&start); // it is not null: cannot fail
    own.entry(own.argument);
    return nullptr;
}

// Starts the thread with every signal blocked, as it inherits the mask of its maker.
bool startWithoutSignals(pthread_t* thread, Start* start) {
    sigset_t all, before;
    sigfillset(&all);
    if (pthread_sigmask(SIG_SETMASK, &all, &before) != 0) {
        return false;
    }
    const bool started = pthread_create(thread, nullptr, run, start) == 0;
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return started;
}

} // namespace

Status rtosCreateThread(RtosThreadEntry entry, void* argument, std::uint32_t, RtosThread* thread) {
    if (entry == nullptr || thread == nullptr) {
        return ERR_NULL_POINTER;
    }
    *thread = nullptr;
    RtosThreadObject* object = nullptr;
    Start* start = nullptr;
    if (!platformServiceFails(PlatformService::threadStart) && !isError(memAllocRecord(&object)) &&
        !isError(memAllocRecord(&start))) {
        *start = {entry, argument};
        if (startWithoutSignals(&object->thread, start)) {
            *thread = object;
            return OK;
        }
    }
    (void)memFreeRecord(&start); // either may be missing
    (void)memFreeRecord(&object);
    return ERR_RTOS_THREAD_CREATE;
}

Status rtosDestroyThread(RtosThread thread) {
    if (thread != nullptr) {
        pthread_detach(thread->thread);
        (void)memFreeRecord(&thread); // it is not null: cannot fail
    }
    return OK;
}
