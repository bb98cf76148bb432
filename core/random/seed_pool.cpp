#include "core/random/internal/seed_pool.h"

#include "core/hash/sha1.h"
#include "core/memory/secret.h"
#include "platform/os_random.h"
#include "platform/rtos_clock.h"
#include "platform/rtos_mutex.h"
#include "platform/static_lock.h"

#include <algorithm>

namespace {

constexpr std::size_t kPoolBytes = 64;
constexpr std::size_t kNoiseBytes = 128;

// The pool proper is the first 64 bytes; the fourth output of a stir lands in bytes 60 to 79, of which nobody reads the
// last sixteen.
std::uint8_t seedPool[80];
std::uint8_t seedOutput[kPoolBytes];
std::uint32_t seedOutputIndex = kPoolBytes; // the next unread byte of seedOutput

bool seedPoolReady = false;
StaticLock readyLock; // guards seedPoolReady and the making of the mutexes, which are never freed
RtosMutex seedPoolMutex = nullptr;
RtosMutex seedStateMutex = nullptr; // guards the process-wide shared context

Status makeReady() {
    RETURN_IF_ERROR(rtosMutexCreate(&seedPoolMutex, 0, 0));
    if (const Status status = rtosMutexCreate(&seedStateMutex, 0, 0); isError(status)) {
        (void)rtosMutexFree(&seedPoolMutex); // it is not null: cannot fail
        return status;
    }
    seedOutputIndex = kPoolBytes;
    seedPoolReady = true;
    return OK;
}

Status ensureReady() {
    const StaticLockHolder holder(readyLock);
    return seedPoolReady ? OK : makeReady();
}

void stir() {
    for (std::size_t k = 0; k < 4; ++k) {
        (void)sha1G(seedPool, seedPool + kSha1DigestBytes * k); // fails for null only
    }
}

// Mixed in, not replaced: bytes that were not handed out yet keep their share.
void refill() {
    (void)memXor(seedOutput, seedPool, kPoolBytes); // fails for null only
    stir();
    seedOutputIndex = 0;
}

Status mixTiming() {
    const std::uint32_t tick = rtosGetTickCount();
    for (std::size_t i = 0; i < 4; ++i) {
        seedPool[i] ^= static_cast<std::uint8_t>(tick >> (8 * i));
    }
    GmtTime time{};
    (void)rtosTimeGMT(&time); // without a calendar there is that much less to mix
    const std::uint8_t calendar[] = {static_cast<std::uint8_t>(time.yearsSince1970),
                                     static_cast<std::uint8_t>(time.yearsSince1970 >> 8),
                                     time.month,
                                     time.day,
                                     time.hour,
                                     time.minute,
                                     time.second,
                                     time.unwritten};
    for (std::size_t k = 0; k < sizeof calendar; ++k) {
        seedPool[kPoolBytes - 1 - k] ^= calendar[k];
    }
    for (std::size_t i = 0; i < kPoolBytes; ++i) {
        seedPool[(i + 4) % kPoolBytes] ^= static_cast<std::uint8_t>(i + 103);
    }
    // Unpredictable bytes, where a guess at left-over stack contents would be weak and undefined besides.
    SecretArray<std::uint8_t, kNoiseBytes> noise;
    RETURN_IF_ERROR(osRandomBytes(noise.data(), noise.size()));
    for (std::size_t i = 0; i < kNoiseBytes; ++i) {
        seedPool[i % kPoolBytes] ^= noise[i];
    }
    stir();
    return OK;
}

// Fills the buffer; the caller holds seedPoolMutex.
Status takeBytes(std::uint8_t* buffer, std::uint32_t length) {
    RETURN_IF_ERROR(mixTiming());
    refill();
    stir();
    while (length > 0) {
        const std::uint32_t count = std::min(static_cast<std::uint32_t>(kPoolBytes) - seedOutputIndex, length);
        if (count == 0) {
            RETURN_IF_ERROR(mixTiming());
            refill();
            continue;
        }
        (void)memCopy(buffer, seedOutput + seedOutputIndex, count); // fails for null only
        memWipe(seedOutput + seedOutputIndex, count);
        seedOutputIndex += count;
        buffer += count;
        length -= count;
    }
    return OK;
}

} // namespace

Status seedPoolInit() {
    const StaticLockHolder holder(readyLock);
    return seedPoolReady ? ERR_FALSE : makeReady();
}

Status seedPoolGetBytes(std::uint8_t* buffer, std::uint32_t length) {
    if (buffer == nullptr) {
        return ERR_NULL_POINTER;
    }
    RETURN_IF_ERROR(ensureReady());
    std::uint32_t held = 0;
    RETURN_IF_ERROR(rtosMutexWaitGuarded(seedPoolMutex, &held));
    const Status status = takeBytes(buffer, length);
    (void)rtosMutexReleaseGuarded(seedPoolMutex, &held); // the bytes are good all the same
    return status;
}

Status seedStateWait() {
    RETURN_IF_ERROR(ensureReady());
    return rtosMutexWait(seedStateMutex);
}

Status seedStateRelease() {
    return rtosMutexRelease(seedStateMutex);
}
