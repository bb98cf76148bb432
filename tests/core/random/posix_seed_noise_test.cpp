// What makes a seed strong: two processes with the same pool, at the same moment, still get different seeds. And clocks that
// stand still.
#include "core/random/random.h"
#include "core/random/seed_pool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <ctime>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {
std::atomic<bool> isClockStill{false};
}

// In place of the C library's.
extern "C" int clock_gettime(clockid_t clock, timespec* time) noexcept {
    if (isClockStill) {
        *time = {1'000'000'000, 0};
        return 0;
    }
    return static_cast<int>(syscall(SYS_clock_gettime, clock, time));
}

namespace {

using Seed = std::array<std::uint8_t, 64>;

// The seed that a copy of this process draws.
Seed seedOfACopy() {
    int ends[2];
    Seed seed{};
    EXPECT_EQ(pipe(ends), 0);
    const pid_t child = fork();
    if (child == 0) {
        const bool drawn = !isError(seedPoolGetBytes(seed.data(), seed.size()));
        _exit(drawn && write(ends[1], seed.data(), seed.size()) == static_cast<ssize_t>(seed.size()) ? 0 : 1);
    }
    EXPECT_EQ(read(ends[0], seed.data(), seed.size()), static_cast<ssize_t>(seed.size()));
    int status = 1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    close(ends[0]);
    close(ends[1]);
    return seed;
}

// Copies come so close together that several of them see the same tick and second, all that the clocks give.
TEST(SeedNoise, CopiesOfAProcessGetDifferentSeeds) {
    std::uint8_t byte = 0;
    ASSERT_EQ(seedPoolGetBytes(&byte, 1), OK); // the pool is ready
    std::array<Seed, 60> seeds;
    for (Seed& seed : seeds) {
        seed = seedOfACopy();
    }
    for (std::size_t i = 1; i < seeds.size(); ++i) {
        EXPECT_NE(seeds[i], seeds[i - 1]) << i;
    }
}

#if defined(__linux__) && defined(__GNUC__)
extern "C" char __data_start, _end; // where the linker has put the program's variables

// Whether the bytes stand among the program's variables; the sanitizers' gaps between those are looked at, too.
__attribute__((no_sanitize("address", "thread"))) bool isInAVariable(const std::uint8_t* bytes, std::size_t count) {
    for (const volatile char* at = &__data_start; at + count <= &_end; ++at) {
        std::size_t same = 0;
        while (same < count && static_cast<std::uint8_t>(at[same]) == bytes[same]) {
            ++same;
        }
        if (same == count) {
            return true;
        }
    }
    return false;
}

TEST(SeedNoise, WhatIsHandedOutIsGoneFromThePool) {
    __attribute__((used)) static std::uint8_t kept[16]; // a variable, which is found
    std::array<std::uint8_t, 40> seed;
    ASSERT_EQ(seedPoolGetBytes(seed.data(), seed.size()), OK);
    EXPECT_FALSE(isInAVariable(seed.data(), sizeof kept));
    std::copy_n(seed.begin(), sizeof kept, kept);
    EXPECT_TRUE(isInAVariable(seed.data(), sizeof kept));
}
#endif

TEST(SeedNoise, EndsThoughTheClocksStandStill) {
    RandomContext* context = nullptr;
    isClockStill = true;
    EXPECT_EQ(randomAcquireContext(&context), OK);
    isClockStill = false;
    EXPECT_EQ(randomReleaseContext(&context), OK);
}

} // namespace
