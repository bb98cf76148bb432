// What makes a seed strong: two processes with the same pool, at the same moment, still get different seeds. And clocks that
// stand still.
#include "core/random/internal/seed_pool.h"
#include "core/random/random.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <ctime>
#include <set>
#include <string_view>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

static std::atomic<bool> isClockStill{false};

// In place of the C library's.
extern "C" int clock_gettime(clockid_t clock, timespec* time) noexcept {
    if (isClockStill) {
        *time = {1'000'000'000, 0};
        return 0;
    }
    return static_cast<int>(syscall(SYS_clock_gettime, clock, time));
}

namespace {

// Copies of the process come so close together that several of them see the same tick and second, all that the clocks give.
TEST(SeedNoise, CopiesOfAProcessGetDifferentSeeds) {
    using Seed = std::array<std::uint8_t, 64>;
    constexpr std::size_t kCopies = 60;
    auto* const seeds = static_cast<Seed*>(
        mmap(nullptr, kCopies * sizeof(Seed), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    ASSERT_EQ(seedPoolGetBytes(seeds[0].data(), 1), OK); // the pool is ready
    for (std::size_t copy = 0; copy < kCopies; ++copy) {
        if (fork() == 0) {
            _exit(seedPoolGetBytes(seeds[copy].data(), sizeof(Seed)));
        }
        EXPECT_GT(wait(nullptr), 0);
    }
    EXPECT_EQ(std::set<Seed>(seeds, seeds + kCopies).size(), kCopies);
    munmap(seeds, kCopies * sizeof(Seed));
}

extern "C" char __data_start[], _end[]; // where the linker has put the program's variables

bool isInAVariable(const std::uint8_t (&bytes)[16]) {
    const std::string_view variables(__data_start, static_cast<std::size_t>(_end - __data_start));
    return variables.find({reinterpret_cast<const char*>(bytes), sizeof bytes}) != std::string_view::npos;
}

TEST(SeedNoise, WhatIsHandedOutIsGoneFromThePool) {
    static std::uint8_t kept[16]; // a variable, which is found
    std::uint8_t seed[16];
    EXPECT_EQ(seedPoolGetBytes(seed, sizeof seed), OK);
    EXPECT_FALSE(isInAVariable(seed));
    EXPECT_EQ(seedPoolGetBytes(kept, sizeof kept), OK);
    EXPECT_TRUE(isInAVariable(kept));
}

TEST(SeedNoise, EndsThoughTheClocksStandStill) {
    RandomContext* context = nullptr;
    ASSERT_EQ(randomSetSeedingMode(kSeedWithThreads), OK);
    isClockStill = true;
    EXPECT_EQ(randomAcquireContext(&context), OK);
    isClockStill = false;
    EXPECT_EQ(randomReleaseContext(&context), OK);
}

} // namespace
