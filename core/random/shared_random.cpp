#include "core/random/shared_random.h"

#include "platform/rtos_clock.h"
#include "platform/static_lock.h"

#include <atomic>

namespace {

// Published when it is ready and never before: nobody sees a context that is still being seeded.
std::atomic<RandomContext*> sharedContext{nullptr};

// Not one of the core's mutexes: their limit of five seconds is less than an acquisition takes.
StaticLock makingLock;

// How many threads have waited for the context for as long as the core lets them. Its mutex knows no order: while there are
// any, the others stand back, but not for longer, so that nobody starves in a crowd.
std::atomic<int> overdue{0};
constexpr std::uint32_t kStandBackMs = 5000;

Status makeShared() {
    const StaticLockHolder holder(makingLock);
    if (sharedContext.load(std::memory_order_acquire) != nullptr) {
        return OK; // made while this thread waited
    }
    RandomContext* context = nullptr;
    RETURN_IF_ERROR(randomAcquireContext(&context));
    sharedContext.store(context, std::memory_order_release);
    return OK;
}

} // namespace

Status sharedRandom(RandomContext** context) {
    *context = sharedContext.load(std::memory_order_acquire);
    if (*context == nullptr) {
        RETURN_IF_ERROR(makeShared());
        *context = sharedContext.load(std::memory_order_acquire);
    }
    return OK;
}

bool isSharedRandomReady() {
    return sharedContext.load(std::memory_order_acquire) != nullptr;
}

Status drawShared(void* context, std::uint32_t length, std::uint8_t* buffer) {
    if (overdue.load(std::memory_order_relaxed) != 0) {
        const std::uint32_t start = rtosGetTickCount(); // a sleep can take many times what is asked for
        do {
            rtosSleepMs(1);
        } while (overdue.load(std::memory_order_relaxed) != 0 && rtosGetTickCount() - start < kStandBackMs);
    }
    Status status = randomGenerateCallback(context, length, buffer);
    if (status == ERR_RTOS_MUTEX_WAIT) { // the core's limit, or an owner that has ended
        overdue.fetch_add(1, std::memory_order_relaxed);
        do {
            status = randomGenerateCallback(context, length, buffer);
        } while (status == ERR_RTOS_MUTEX_WAIT);
        overdue.fetch_sub(1, std::memory_order_relaxed);
    }
    return status;
}
