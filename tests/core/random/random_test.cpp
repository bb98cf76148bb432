// Contexts without entropy threads, which cost no time: arguments, refusals, streams, threads.
#include "core/random/fips186.h"
#include "core/random/random.h"
#include "core/random/seed_pool.h"
#include "tests/support/faults.h"
#include "tests/support/gate.h"
#include "tests/support/hex.h"
#include "tests/support/test_heap.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <thread>

namespace {

class Random : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(randomSetSeedingMode(kSeedWithoutThreads), OK);
    }
    void TearDown() override {
        ASSERT_EQ(randomSetSeedingMode(kSeedWithThreads), OK);
    }
};

struct Release {
    void operator()(RandomContext* context) const {
        EXPECT_EQ(randomReleaseContext(&context), OK);
    }
};
using Owned = std::unique_ptr<RandomContext, Release>;

Owned acquired() {
    RandomContext* context = nullptr;
    EXPECT_EQ(randomAcquireContext(&context), OK);
    return Owned(context);
}

std::vector<std::uint8_t> drawn(const Owned& context, std::uint32_t length) {
    std::vector<std::uint8_t> bytes(length);
    EXPECT_EQ(randomGenerate(context.get(), bytes.data(), length), OK);
    return bytes;
}

// First of all in this program: nobody has used the seed pool before.
TEST_F(Random, FirstUsesAtOnce) {
    Gate start;
    std::vector<std::thread> threads;
    for (unsigned thread = 0; thread < 8; ++thread) {
        threads.emplace_back([&start] {
            start.wait();
            EXPECT_NE(acquired(), nullptr);
        });
    }
    start.open();
    for (std::thread& thread : threads) {
        thread.join();
    }
    testheap::keep(2); // the pool's two mutexes
}

TEST_F(Random, Arguments) {
    RandomContext* context = nullptr;
    EXPECT_EQ(randomAcquireContext(nullptr), ERR_NULL_POINTER);
    EXPECT_EQ(randomAcquireContextOfKind(nullptr, 2), ERR_NULL_POINTER);
    EXPECT_EQ(randomAcquireContextOfKind(&context, 2), ERR_INVALID_ARG);
    EXPECT_EQ(randomReleaseContext(nullptr), ERR_NULL_POINTER);
    EXPECT_EQ(randomReleaseContext(&context), ERR_NULL_POINTER);
    std::uint8_t byte = 0;
    EXPECT_EQ(randomGenerate(nullptr, &byte, 0), ERR_NULL_POINTER);
    EXPECT_EQ(randomGenerateCallback(nullptr, 1, &byte), ERR_NULL_POINTER);
    EXPECT_EQ(randomAddEntropyBit(nullptr, 1), ERR_NULL_POINTER);

    for (const std::uint8_t kind : {std::uint8_t{0}, kRandomKindFips186}) {
        ASSERT_EQ(randomAcquireContextOfKind(&context, kind), OK);
        EXPECT_EQ(randomGenerate(context, nullptr, 0), ERR_NULL_POINTER);
        EXPECT_EQ(randomGenerate(context, &byte, 0), OK);
        EXPECT_EQ(byte, 0);
        context->kind = 1; // no context that there could be
        EXPECT_EQ(randomGenerate(context, &byte, 1), ERR_NULL_POINTER);
        EXPECT_EQ(randomAddEntropyBit(context, 1), ERR_NULL_POINTER);
        EXPECT_EQ(randomReleaseContext(&context), ERR_NULL_POINTER);
        context->kind = 0;
        EXPECT_EQ(randomReleaseContext(&context), OK);
        EXPECT_EQ(context, nullptr);
    }
    EXPECT_EQ(randomSetSeedingMode(2), ERR_INVALID_ARG);
    EXPECT_EQ(randomGetSeedingMode(), kSeedWithoutThreads);
}

TEST_F(Random, NoTwoContextsGiveTheSameStream) {
    const Owned first = acquired(), second = acquired();
    EXPECT_NE(drawn(first, 64), drawn(second, 64));
    EXPECT_NE(drawn(first, 64), drawn(first, 64));
    EXPECT_EQ(first->entropyBitCount, 0u);
    EXPECT_EQ(first->state.blockRemaining, 40 - 192 % 40) << "acquiring had left no byte of a block";
}

TEST_F(Random, EntropyBitsWrapAround) {
    const Owned context = acquired();
    const auto position = context->state.bitPosition;
    for (int i = 0; i < 512; ++i) {
        ASSERT_EQ(randomAddEntropyBit(context.get(), 1), OK);
    }
    EXPECT_EQ(context->state.bitPosition, position);
    EXPECT_EQ(context->entropyBitCount, 512u);
}

// What acquiring asks of the heap and of the system, each refused in turn.
TEST_F(Random, Refusals) {
    ASSERT_NE(acquired(), nullptr); // the seed pool is ready now
    const std::uint64_t live = testheap::liveBlocks(), dirty = testheap::dirtyFrees();
    const auto check = [](PlatformService service, Status refusal) {
        unsigned number = 1;
        for (bool hasStruck = true; hasStruck; ++number) {
            SCOPED_TRACE(testing::Message() << statusName(refusal) << " at call " << number);
            const Fault fault(service, number);
            RandomContext* context = nullptr;
            const Status status = randomAcquireContext(&context);
            hasStruck = fault.hasStruck();
            ASSERT_EQ(status, hasStruck ? refusal : OK);
            ASSERT_EQ(randomReleaseContext(&context), hasStruck ? ERR_NULL_POINTER : OK);
        }
        EXPECT_GT(number, 2u) << "was never asked for";
    };
    check(PlatformService::mutexCreate, ERR_RTOS_MUTEX_CREATE);
    check(PlatformService::mutexWait, ERR_RTOS_MUTEX_WAIT);
    check(PlatformService::randomBytes, ERR_RTOS);
    EXPECT_EQ(testheap::liveBlocks(), live);
    EXPECT_EQ(testheap::dirtyFrees(), dirty);

    const Fault noCalendar(PlatformService::calendarTime, 1);
    EXPECT_NE(acquired(), nullptr); // does without
    EXPECT_TRUE(noCalendar.hasStruck());
}

TEST_F(Random, AFailingWaitWritesNothing) {
    const Owned context = acquired();
    std::vector<std::uint8_t> bytes(64, 0x77);
    const Fault fault(PlatformService::mutexWait, 1);
    EXPECT_EQ(randomGenerate(context.get(), bytes.data(), 64), ERR_RTOS_MUTEX_WAIT);
    EXPECT_EQ(bytes, std::vector<std::uint8_t>(64, 0x77));
    const Fault unreleased(PlatformService::mutexRelease, 1);
    EXPECT_EQ(randomGenerate(context.get(), bytes.data(), 64), OK) << "the status of the release does not count";
    EXPECT_EQ(rtosMutexRelease(context->state.mutex), OK); // what the fault kept held
}

// Under the thread sanitizer: drawing, adding bits and stirring all at once.
TEST_F(Random, ManyThreadsOnOneContext) {
    const Owned context = acquired();
    std::vector<std::thread> threads;
    for (unsigned thread = 0; thread < 16; ++thread) {
        threads.emplace_back([&context, thread] {
            std::uint8_t bytes[100];
            for (int i = 0; i < 400; ++i) {
                if (thread % 4 == 0) {
                    fips186Stir(&context->state);
                } else if (thread % 4 == 1) {
                    EXPECT_EQ(randomAddEntropyBit(context.get(), 1), OK);
                } else {
                    EXPECT_EQ(randomGenerate(context.get(), bytes, sizeof bytes), OK);
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(context->entropyBitCount, 1600u);
    EXPECT_LT(context->state.bitPosition, 512u);
}

TEST_F(Random, SeedPool) {
    std::vector<std::uint8_t> first(200), second(200);
    EXPECT_EQ(seedPoolGetBytes(nullptr, 0), ERR_NULL_POINTER);
    EXPECT_EQ(seedPoolGetBytes(first.data(), 200), OK);
    EXPECT_EQ(seedPoolGetBytes(second.data(), 200), OK);
    EXPECT_NE(first, second);
    EXPECT_LT(std::count(first.begin(), first.end(), 0), 20);
    EXPECT_EQ(seedPoolInit(), ERR_FALSE) << "it is ready";
}

} // namespace
