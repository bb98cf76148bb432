#include "platform/rtos_thread.h"

#include "core/memory/memory.h"
#include "platform/fault_point.h"

#include <process.h>
#include <windows.h>

namespace {

// What a new thread is told; it frees the record.
struct Start {
    RtosThreadEntry entry;
    void* argument;
};

unsigned __stdcall run(void* argument) {
    auto* start = static_cast<Start*>(argument);
    const Start told = *start;
    (void)memFreeRecord(&start); // it exists
    told.entry(told.argument);
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
        (void)memFreeRecord(&start); // it exists
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
