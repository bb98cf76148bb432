// Seeding with entropy threads, at its real pace, and the shared context with its depot thread. The seed pool's first
// use fails here, so these tests stand in a program of their own and run in this order.
#include "core/random/internal/fips186.h"
#include "core/random/internal/seed_pool.h"
#include "core/random/random_global.h"
#include "platform/rtos_clock.h"
#include "tests/support/faults.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <thread>

namespace {

TEST(Seeding, A_TheSeedPoolIsMadeOnFirstUse) {
    std::uint8_t bytes[64];
    for (const unsigned number : {1u, 2u}) { // its two mutexes
        const Fault fault(PlatformService::mutexCreate, number);
        EXPECT_EQ(seedPoolGetBytes(bytes, 64), ERR_RTOS_MUTEX_CREATE);
        EXPECT_TRUE(fault.hasStruck());
        EXPECT_EQ(testheap::liveBlocks(), testheap::keptBlocks());
    }
    EXPECT_EQ(seedPoolInit(), OK);
    testheap::keep(2);
    EXPECT_EQ(seedPoolInit(), ERR_FALSE);
}

TEST(Seeding, B_ThreadsThatDoNotStart) {
    for (const unsigned number : {1u, 2u, 3u}) {
        const Fault fault(PlatformService::threadStart, number);
        RandomContext* context = nullptr;
        EXPECT_EQ(randomAcquireContext(&context), ERR_RTOS_THREAD_CREATE) << "thread " << number;
        EXPECT_EQ(context, nullptr);
    }
}

// Two acquisitions side by side, each with threads of its own.
TEST(Seeding, C_WithThreadsTakesSixSeconds) {
    RandomContext *first = nullptr, *second = nullptr;
    MsTimeStamp start{};
    (void)rtosDeltaMs(nullptr, &start);
    std::thread other([&second] { EXPECT_EQ(randomAcquireContext(&second), OK); });
    EXPECT_EQ(randomAcquireContext(&first), OK);
    EXPECT_GE(rtosDeltaMs(&start, nullptr), 6175u) << "the busy periods alone take that long";
    other.join();
    std::uint64_t a[8], b[8];
    first->state.xkey.asBlock(a);
    second->state.xkey.asBlock(b);
    EXPECT_FALSE(std::equal(a, a + 8, b));
    EXPECT_EQ(randomReleaseContext(&first), OK);
    EXPECT_EQ(randomReleaseContext(&second), OK);
}

TEST(Seeding, D_TheSharedContextWithoutADepot) {
    ASSERT_EQ(randomSetSeedingMode(kSeedWithoutThreads), OK);
    EXPECT_EQ(globalRandomContext(), nullptr);
    EXPECT_EQ(randomFreeGlobal(), ERR_RAND_CTX_NOT_INITIALIZED);
    EXPECT_EQ(randomReleaseGlobalContext(), ERR_RAND_CTX_NOT_INITIALIZED);
    EXPECT_EQ(randomAddGlobalEntropyBit(1), ERR_RAND_CTX_NOT_INITIALIZED);
    EXPECT_EQ(randomAddGlobalEntropyWord(1), ERR_RAND_CTX_NOT_INITIALIZED);

    ASSERT_EQ(randomInitGlobal(), OK);
    RandomContext* const context = globalRandomContext();
    ASSERT_NE(context, nullptr);
    EXPECT_EQ(randomInitGlobal(), OK);
    EXPECT_EQ(globalRandomContext(), context);
    EXPECT_EQ(randomAddGlobalEntropyBit(1), OK);
    const std::uint8_t before = context->state.xkey.byte(0), other = context->state.xkey.byte(4);
    EXPECT_EQ(randomAddGlobalEntropyWord(0x80000003), OK); // positions 2 to 33
    EXPECT_EQ(context->entropyBitCount, 33u);
    EXPECT_EQ(context->state.xkey.byte(0) ^ before, 0x0C);
    EXPECT_EQ(context->state.xkey.byte(4) ^ other, 0x02);
    EXPECT_EQ(randomFreeGlobal(), OK);
    EXPECT_EQ(globalRandomContext(), context) << "one user is left";
    EXPECT_EQ(randomFreeGlobal(), OK);
    EXPECT_EQ(globalRandomContext(), nullptr);

    // Released under its user: the next one makes it anew; the last one finds nothing and leaves nothing behind.
    EXPECT_EQ(randomInitGlobal(), OK);
    EXPECT_EQ(randomReleaseGlobalContext(), OK);
    EXPECT_EQ(randomInitGlobal(), OK);
    EXPECT_NE(globalRandomContext(), nullptr);
    EXPECT_EQ(randomFreeGlobal(), OK);
    EXPECT_EQ(randomReleaseGlobalContext(), OK);
    EXPECT_EQ(randomFreeGlobal(), ERR_RAND_CTX_NOT_INITIALIZED);
    EXPECT_EQ(randomInitGlobal(), OK);
    EXPECT_EQ(randomFreeGlobal(), OK);
    EXPECT_EQ(globalRandomContext(), nullptr) << "there was one user again";
    ASSERT_EQ(randomSetSeedingMode(kSeedWithThreads), OK);
}

TEST(Seeding, E_TheDepotFillsTheSharedContext) {
    {
        const Fault fault(PlatformService::threadStart, 1);
        EXPECT_EQ(randomInitGlobal(), ERR_RTOS_THREAD_CREATE);
        EXPECT_EQ(globalRandomContext(), nullptr);
    }
    MsTimeStamp start{};
    (void)rtosDeltaMs(nullptr, &start);
    ASSERT_EQ(randomInitGlobal(), OK);
    RandomContext* const context = globalRandomContext();
    ASSERT_NE(context, nullptr);
    std::uint8_t byte = 0;
    EXPECT_EQ(randomGenerate(context, &byte, 1), OK);
    EXPECT_LT(rtosDeltaMs(&start, nullptr), 5000u) << "usable at once, while the depot takes six seconds";
    const auto entropyBits = [context] {
        return std::atomic_ref(context->entropyBitCount).load();
    };
    EXPECT_LT(entropyBits(), 384u);
    const auto keyOf = [context] {
        std::uint64_t words[Xkey::kWords];
        context->state.xkey.asBlock(words);
        return words[2];
    };
    const std::uint64_t key = keyOf();
    while (entropyBits() < 384 && rtosDeltaMs(&start, nullptr) < 60'000) {
        rtosSleepMs(50);
    }
    EXPECT_EQ(entropyBits(), 384u);
    EXPECT_NE(keyOf(), key) << "of which some were 1";
    EXPECT_EQ(randomFreeGlobal(), OK); // waits for the depot's last steps
}

} // namespace
