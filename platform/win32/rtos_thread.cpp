#include "platform/rtos_thread.h"

#include "core/memory/memory.h"
#include "platform/internal/fault_point.h"

#include <process.h>
#include <windows.h>

namespace {

// What a new thread is given; it frees the record.
struct Start {
    RtosThreadEntry entry;
    void* argument;
};

unsigned __stdcall run(void* argument) {
    auto* start = static_cast<Start*>(argument);
    const Start own = *start;
    (void)memFreeRecord(&start); // it is not null: cannot fail
    own.entry(own.argument);
    return 0;
}

} // namespace

Status rtosCreateThread(RtosThreadEntry entry, void* argument, std::uint32_t, RtosThread* thread) {
    if (entry == nullptr || thread == nullptr) {
        return ERR_NULL_POINTER;
    }
    *thread = nullptr;
    Start* start = nullptr;
    if (platformServiceFails(PlatformService::threadStart) || isError(memAllocRecord(&start))) {
        return ERR_RTOS_THREAD_CREATE;
    }
    *start = {entry, argument};
    *thread = reinterpret_cast<RtosThread>(_beginthreadex(nullptr, 0, run, start, 0, nullptr));
    if (*thread == nullptr) {
        (void)memFreeRecord(&start); // it is not null: cannot fail
        return ERR_RTOS_THREAD_CREATE;
    }
    return OK;
}

Status rtosDestroyThread(RtosThread thread) {
    if (thread != nullptr) {
        CloseHandle(reinterpret_cast<HANDLE>(thread));
    }
    return OK;
}
