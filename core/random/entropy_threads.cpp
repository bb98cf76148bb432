#include "core/random/internal/entropy_threads.h"

#include "platform/rtos_thread.h"

#include <atomic>

namespace {

// What the threads of one acquisition share. Each acquisition has a record of its own, so two may run side by side.
// A flag is cleared with release order and read with acquire order: who finds all of them clear sees what the threads
// did.
struct EntropyThreadBlock {
    Fips186State* state;
    std::atomic<bool> toggleRunning{true};
    std::atomic<bool> scrambleRunning{true};
    std::atomic<bool> stirRunning{true};
    std::atomic<int> alive{0}; // threads that may still use this record

    bool isRunning(const std::atomic<bool>& flag) const {
        return flag.load(std::memory_order_acquire);
    }
    static void clear(std::atomic<bool>& flag) {
        flag.store(false, std::memory_order_release);
    }
    bool anyRunning() const {
        return isRunning(toggleRunning) || isRunning(scrambleRunning) || isRunning(stirRunning);
    }
};

MsTimeStamp timeNow() {
    MsTimeStamp now{};
    (void)rtosDeltaMs(nullptr, &now); // 0 without a start
    return now;
}

std::uint32_t elapsedMs(const MsTimeStamp& since) {
    return rtosDeltaMs(&since, nullptr);
}

// The next sleep of a thread: `base` to `base` + 3 ms, as the clock has it.
void sleepPaced(const MsTimeStamp& since, std::uint32_t base) {
    rtosSleepMs(((elapsedMs(since) >> 1) & 3) + base);
}

// Flips one bit in every byte of XKEY, one after the other; then goes on with byte 0 alone while the stir thread runs.
void toggle(EntropyThreadBlock& block) {
    Fips186State* const state = block.state;
    MsTimeStamp since = timeNow();
    for (std::size_t i = 0; i < state->xkey.keyBytes(); ++i) {
        state->xkey.xorByte(i, 0x10);
        sleepPaced(since, 13);
    }
    EntropyThreadBlock::clear(block.toggleRunning);
    since = timeNow();
    while (block.isRunning(block.stirRunning) && elapsedMs(since) < 5000) {
        state->xkey.xorByte(0, 0x10); // only byte 0, on purpose
        sleepPaced(since, 13);
    }
}

// One pass over XKEY from its last byte to its first; in the second phase it ends as soon as the stir thread has.
void scramblePass(EntropyThreadBlock& block, const MsTimeStamp& since, bool isSecondPhase) {
    Fips186State* const state = block.state;
    for (std::size_t i = state->xkey.keyBytes(); i-- > 0;) {
        if (isSecondPhase && !block.isRunning(block.stirRunning)) {
            return;
        }
        const unsigned x = state->xkey.byte(i); // four odd multiples: the lowest bit becomes 0, on purpose
        state->xkey.setByte(i, static_cast<std::uint8_t>(x ^ 13 * x ^ 37 * x ^ 57 * x));
        sleepPaced(since, 7);
    }
}

void scramble(EntropyThreadBlock& block) {
    MsTimeStamp since = timeNow();
    scramblePass(block, since, false);
    EntropyThreadBlock::clear(block.scrambleRunning);
    since = timeNow();
    while (block.isRunning(block.stirRunning) && elapsedMs(since) < 5100) {
        scramblePass(block, since, true);
    }
}

// Stirs for that long; false when the clock stands still. Then nothing tells the time but the work itself: the count allows
// ten times as long at 50 ns a stir, which is faster than any processor. The seed's strength does not rest on this.
bool stirFor(Fips186State* state, const MsTimeStamp& since, std::uint32_t milliseconds) {
    const std::uint32_t limit = milliseconds * 10 * (1'000'000 / 50);
    std::uint32_t last = 0;
    for (std::uint32_t still = 0; still < limit; ++still) {
        fips186Stir(state);
        const std::uint32_t elapsed = elapsedMs(since);
        if (elapsed >= milliseconds) {
            return true;
        }
        still = elapsed == last ? still : 0;
        last = elapsed;
    }
    return false;
}

// Busy periods of 19, 152, 285, ... ms, ten of them for a key of 64 bytes.
void stir(EntropyThreadBlock& block) {
    bool isClockMoving = true;
    for (std::uint32_t i = 0; isClockMoving && i < block.state->xkey.keyBytes(); i += 7) {
        const MsTimeStamp since = timeNow();
        isClockMoving = stirFor(block.state, since, (i + 1) * 19);
        sleepPaced(since, 3);
    }
    EntropyThreadBlock::clear(block.stirRunning);
}

template <void (*work)(EntropyThreadBlock&)> void threadMain(void* argument) {
    auto& block = *static_cast<EntropyThreadBlock*>(argument);
    work(block);
    block.alive.fetch_sub(1, std::memory_order_release); // the last touch of the record
}

void awaitEnd(const EntropyThreadBlock& block) {
    while (block.alive.load(std::memory_order_acquire) != 0) {
        rtosSleepMs(1);
    }
}

Status startThreads(EntropyThreadBlock& block, RtosThread (&threads)[3]) {
    constexpr RtosThreadEntry kEntries[] = {threadMain<toggle>, threadMain<scramble>, threadMain<stir>};
    for (std::size_t i = 0; i < 3; ++i) {
        block.alive.fetch_add(1, std::memory_order_relaxed);
        if (const Status status = rtosCreateThread(kEntries[i], &block, 0, &threads[i]); isError(status)) {
            block.alive.fetch_sub(1, std::memory_order_relaxed);
            return status;
        }
    }
    return OK;
}

void stirWhileRunning(EntropyThreadBlock& block, const MsTimeStamp* start) {
    while (block.anyRunning()) {
        fips186Stir(block.state);
        rtosSleepMs(((elapsedMs(*start) >> 1) & 255) + 1);
    }
    fips186Stir(block.state);
}

} // namespace

Status runEntropyThreads(Fips186State* state, const MsTimeStamp* start) {
    EntropyThreadBlock block{state};
    RtosThread threads[3] = {};
    const Status status = startThreads(block, threads);
    if (isError(status)) {
        EntropyThreadBlock::clear(block.stirRunning); // sends the others home
    } else {
        stirWhileRunning(block, start);
    }
    // With the flags clear a thread may still be in its last sleep: it has to leave before the state goes anywhere.
    awaitEnd(block);
    for (const RtosThread thread : threads) {
        (void)rtosDestroyThread(thread); // null for one that did not start
    }
    return status;
}
