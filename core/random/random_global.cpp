#include "core/random/random_global.h"

#include "core/memory/secret.h"
#include "core/random/internal/acquire.h"
#include "core/random/internal/seed_pool.h"
#include "platform/rtos_clock.h"
#include "platform/rtos_thread.h"
#include "platform/static_lock.h"

#include <atomic>

namespace {

constexpr std::size_t kDepotBytes = 48;

std::atomic<RandomContext*> sharedContext{nullptr};
std::atomic<bool> depotRunning{false};

StaticLock usersLock; // guards users, and is held while the first acquires and the last releases
std::uint32_t users = 0;

// Held by whoever acquires or releases: so no depot can be started between the wait for it and the wait for the mutex.
StaticLock changeLock;

// The depot holds the mutex for more than six seconds, longer than anybody waits for it: so one waits for the depot.
void awaitDepot() {
    while (depotRunning.load(std::memory_order_acquire)) {
        rtosSleepMs(100);
    }
}

// Bytes of a context that was seeded with entropy threads.
Status drawFromPrivateContext(std::uint8_t* bytes) {
    RandomContext* context = nullptr;
    RETURN_IF_ERROR(acquireContextInMode(&context, kSeedWithThreads));
    const Status status = randomGenerate(context, bytes, kDepotBytes);
    (void)randomReleaseContext(&context); // it is not null: cannot fail
    return status;
}

Status fillFromDepot() {
    SecretArray<std::uint8_t, kDepotBytes> bytes;
    RETURN_IF_ERROR(drawFromPrivateContext(bytes.data()));
    for (std::size_t bit = 0; bit < 8 * kDepotBytes; ++bit) {
        RETURN_IF_ERROR(randomAddGlobalEntropyBit(static_cast<std::uint8_t>(bytes[bit / 8] >> (bit % 8))));
    }
    return OK;
}

void depotMain(void*) {
    if (!isError(seedStateWait())) {
        (void)fillFromDepot();    // nobody waits for it; without it the context stays as good as it was
        (void)seedStateRelease(); // this thread holds it: cannot fail
    }
    depotRunning.store(false, std::memory_order_release);
}

Status startDepot() {
    depotRunning.store(true, std::memory_order_relaxed);
    RtosThread thread = nullptr;
    const Status status = rtosCreateThread(depotMain, nullptr, 0, &thread);
    if (isError(status)) {
        depotRunning.store(false, std::memory_order_relaxed);
    }
    (void)rtosDestroyThread(thread); // runs on by itself
    return status;
}

// Makes the context; the caller holds the mutex. A context that is there stays.
Status makeShared(bool& isNew) {
    isNew = sharedContext.load() == nullptr;
    if (!isNew) {
        return OK;
    }
    RandomContext* context = nullptr;
    // The mode is an argument: private acquisitions read the process's own at the same time.
    RETURN_IF_ERROR(acquireContextInMode(&context, kSeedWithoutThreads));
    sharedContext.store(context);
    return OK;
}

void releaseShared() {
    RandomContext* context = sharedContext.exchange(nullptr);
    (void)randomReleaseContext(&context); // it is not null: cannot fail
}

} // namespace

Status randomAcquireGlobalContext() {
    const StaticLockHolder holder(changeLock);
    awaitDepot();
    RETURN_IF_ERROR(seedStateWait());
    bool isNew = false;
    Status status = makeShared(isNew);
    if (!isError(status) && isNew && randomGetSeedingMode() == kSeedWithThreads) {
        status = startDepot();
        if (isError(status)) {
            releaseShared();
        }
    }
    (void)seedStateRelease(); // this thread holds it: cannot fail
    return status;
}

Status randomReleaseGlobalContext() {
    const StaticLockHolder holder(changeLock);
    awaitDepot();
    RETURN_IF_ERROR(seedStateWait());
    const bool exists = sharedContext.load() != nullptr;
    if (exists) {
        releaseShared();
    }
    (void)seedStateRelease(); // this thread holds it: cannot fail
    return exists ? OK : ERR_RAND_CTX_NOT_INITIALIZED;
}

Status randomInitGlobal() {
    const StaticLockHolder holder(usersLock);
    if (users == 0 || globalRandomContext() == nullptr) { // it may have been released under its users
        RETURN_IF_ERROR(randomAcquireGlobalContext());
    }
    ++users;
    return OK;
}

Status randomFreeGlobal() {
    const StaticLockHolder holder(usersLock);
    if (users == 0) {
        return ERR_RAND_CTX_NOT_INITIALIZED;
    }
    const Status status = users == 1 ? randomReleaseGlobalContext() : OK;
    if (!isError(status) || status == ERR_RAND_CTX_NOT_INITIALIZED) { // else the context is still there
        --users;
    }
    return status;
}

RandomContext* globalRandomContext() {
    return sharedContext.load();
}

Status randomAddGlobalEntropyBit(std::uint8_t bit) {
    RandomContext* const context = sharedContext.load();
    return context == nullptr ? ERR_RAND_CTX_NOT_INITIALIZED : randomAddEntropyBit(context, bit);
}

Status randomAddGlobalEntropyWord(std::uint32_t word) {
    for (unsigned bit = 0; bit < 32; ++bit) {
        RETURN_IF_ERROR(randomAddGlobalEntropyBit(static_cast<std::uint8_t>(word >> bit)));
    }
    return OK;
}
