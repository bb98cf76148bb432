// What makes a seed strong: two processes with the same pool, at the same moment, still get different seeds. And clocks that
// stand still.
#include "core/random/random.h"
#include "core/random/seed_pool.h"

#include <gtest/gtest.h>

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

TEST(SeedNoise, EndsThoughTheClocksStandStill) {
    RandomContext* context = nullptr;
    isClockStill = true;
    EXPECT_EQ(randomAcquireContext(&context), OK);
    isClockStill = false;
    EXPECT_EQ(randomReleaseContext(&context), OK);
}

} // namespace
