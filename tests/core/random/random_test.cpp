// The generator in known states, and contexts without entropy threads, which cost no time.
#include "core/random/internal/fips186.h"
#include "core/random/internal/seed_pool.h"
#include "core/random/random.h"
#include "tests/support/faults.h"
#include "tests/support/in_threads.h"
#include "tests/support/vectors.h"

#include <memory>
#include <sstream>

namespace {

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

Bytes drawn(const Owned& context, std::uint32_t length) {
    Bytes bytes(length);
    EXPECT_EQ(randomGenerate(context.get(), bytes.data(), length), OK);
    return bytes;
}

// First of all in this program: nobody has used the seed pool before.
TEST(Random, A_FirstUsesAtOnce) {
    ASSERT_EQ(randomSetSeedingMode(kSeedWithoutThreads), OK); // for all of this program
    inThreads(8, [](unsigned) { EXPECT_NE(acquired(), nullptr); });
    testheap::keep(2); // the pool's two mutexes
}

Status knownStates(const Words& in, Words& out) {
    const Bytes key = bytesOf(in[0]), xseed = bytesOf(in[1]);
    RandomContext* context = nullptr;
    const Status status =
        fips186NewContext(&context, static_cast<std::uint32_t>(key.size()), key.data(),
                          static_cast<std::int32_t>(xseed.size()), xseed.empty() ? nullptr : xseed.data());
    EXPECT_EQ(context == nullptr, isError(status));
    if (heapFaults().hasStruck()) { // the heap's refusal has not the heap's status, on purpose
        return status == ERR_NULL_POINTER || status == ERR_RTOS_MUTEX_CREATE ? ERR_MEM_ALLOC_FAIL : ERR_FALSE;
    }
    RETURN_IF_ERROR(status);
    const Owned owned(context);
    Bytes output;
    std::istringstream steps(in[2]);
    for (std::string step; std::getline(steps, step, ',');) {
        const auto number = static_cast<std::uint32_t>(std::atoi(step.c_str() + 1));
        if (step[0] == 's') {
            fips186Stir(&context->state);
        } else if (step[0] == 'o') {
            EXPECT_EQ(fips186GenerateOverKey(&context->state), OK);
        } else if (step[0] == 'b') {
            EXPECT_EQ(randomAddEntropyBit(context, static_cast<std::uint8_t>(number)), OK);
        } else {
            output.resize(output.size() + number);
            EXPECT_EQ(randomGenerateCallback(context, number, output.data() + output.size() - number), OK);
        }
    }
    out = {textOf(output)};
    return OK;
}

TEST(Random, Vectors) {
    runVectors("core/random/random_vectors.txt", {{"fips186", knownStates}});
}

TEST(Random, Arguments) {
    const Bytes key = bytesOf("1:1:64");
    std::uint8_t byte = 0;
    RandomContext *context = nullptr, *plain = nullptr;
    expectNullsRefused({fips186NewContext}, &context, 64, key.data(), 0, nullptr);
    expectNullsRefused({randomAcquireContext, randomReleaseContext}, &context);
    expectNullsRefused({randomAcquireContextOfKind}, &context, kRandomKindFips186);
    EXPECT_EQ(randomAcquireContextOfKind(&context, 2), ERR_INVALID_ARG);
    EXPECT_EQ(randomReleaseContext(&context), ERR_NULL_POINTER);
    for (const std::uint32_t keyBytes : {0U, 19U, 65U, 256U + 20U, 0x80000014U}) {
        EXPECT_EQ(fips186NewContext(&context, keyBytes, key.data(), 0, nullptr), ERR_INVALID_ARG) << keyBytes;
    }
    ASSERT_EQ(fips186NewContext(&context, 20, key.data(), -1, key.data()), OK); // as if there were no XSEED
    ASSERT_EQ(fips186NewContext(&plain, 20, key.data(), 0, nullptr), OK);
    const Owned first(context), second(plain);
    EXPECT_EQ(drawn(first, 40), drawn(second, 40));
    EXPECT_EQ(fips186Generate(nullptr, nullptr, 0), OK); // a length of 0 comes first
    expectNullsRefused({fips186Generate}, &context->state, &byte, 1);
    for (const std::uint8_t kind : {std::uint8_t{0}, kRandomKindFips186}) {
        ASSERT_EQ(randomAcquireContextOfKind(&context, kind), OK);
        expectNullsRefused({randomGenerate}, context, &byte, 0);
        EXPECT_EQ(randomGenerate(context, &byte, 0), OK);
        context->kind = 1; // no context that there could be
        for (RandomContext* unusable : {context, static_cast<RandomContext*>(nullptr)}) {
            EXPECT_EQ(randomGenerateCallback(unusable, 1, &byte), ERR_NULL_POINTER);
            EXPECT_EQ(randomAddEntropyBit(unusable, 1), ERR_NULL_POINTER);
            EXPECT_EQ(randomReleaseContext(&unusable), ERR_NULL_POINTER);
        }
        context->kind = 0;
        EXPECT_EQ(randomReleaseContext(&context), OK);
        EXPECT_EQ(context, nullptr);
    }
    EXPECT_EQ(byte, 0);
    EXPECT_EQ(randomSetSeedingMode(2), ERR_INVALID_ARG);
    EXPECT_EQ(randomGetSeedingMode(), kSeedWithoutThreads);
}

TEST(Random, StreamsBitsAndSeeds) {
    const Owned first = acquired(), second = acquired();
    EXPECT_NE(drawn(first, 64), drawn(second, 64));
    EXPECT_NE(drawn(first, 64), drawn(first, 64));
    EXPECT_EQ(first->state.blockRemaining, 40 - 192 % 40) << "acquiring had left no byte of a block";
    EXPECT_EQ(first->entropyBitCount, 0U);
    const auto position = first->state.bitPosition;
    for (int i = 0; i < 512; ++i) {
        ASSERT_EQ(randomAddEntropyBit(first.get(), 1), OK);
    }
    EXPECT_EQ(first->state.bitPosition, position); // wraps around
    EXPECT_EQ(first->entropyBitCount, 512U);
    Bytes seed(200);
    EXPECT_EQ(seedPoolGetBytes(nullptr, 0), ERR_NULL_POINTER);
    EXPECT_EQ(seedPoolGetBytes(seed.data(), 200), OK);
    EXPECT_LT(std::count(seed.begin(), seed.end(), 0), 20);
}

// What acquiring and drawing ask of the system, each refused in turn.
TEST(Random, Refusals) {
    const auto acquire = [] {
        RandomContext* context = nullptr;
        const Status status = randomAcquireContext(&context);
        EXPECT_EQ(randomReleaseContext(&context), isError(status) ? ERR_NULL_POINTER : OK);
        return status;
    };
    for (const auto& [service, refusal] : {std::pair{PlatformService::mutexCreate, ERR_RTOS_MUTEX_CREATE},
                                           {PlatformService::mutexWait, ERR_RTOS_MUTEX_WAIT},
                                           {PlatformService::randomBytes, ERR_RTOS}}) {
        const std::uint64_t before = platformFaults(service).calls();
        refuseEach(acquire, refusal, platformFaults(service));
        EXPECT_GT(platformFaults(service).calls(), before + 1) << "was never asked for";
    }
    const Fault noCalendar(PlatformService::calendarTime, 1);
    EXPECT_EQ(acquire(), OK); // does without
    EXPECT_TRUE(noCalendar.hasStruck());

    const Owned context = acquired();
    Bytes bytes(64, 0x77);
    const Fault fault(PlatformService::mutexWait, 1);
    EXPECT_EQ(randomGenerate(context.get(), bytes.data(), 64), ERR_RTOS_MUTEX_WAIT);
    EXPECT_EQ(bytes, Bytes(64, 0x77));
    const Fault unreleased(PlatformService::mutexRelease, 1);
    EXPECT_EQ(randomGenerate(context.get(), bytes.data(), 64), OK) << "the status of the release does not count";
    EXPECT_EQ(rtosMutexRelease(context->state.mutex), OK); // what the fault kept held
}

// Under the thread sanitizer: drawing, adding bits and stirring all at once.
TEST(Random, ManyThreadsOnOneContext) {
    const Owned context = acquired();
    inThreads(16, [&context](unsigned thread) {
        for (int i = 0; i < 400; ++i) {
            if (thread % 4 == 0) {
                fips186Stir(&context->state);
            } else if (thread % 4 == 1) {
                EXPECT_EQ(randomAddEntropyBit(context.get(), 1), OK);
            } else {
                (void)drawn(context, 100);
            }
        }
    });
    EXPECT_EQ(context->entropyBitCount, 1600U);
    EXPECT_LT(context->state.bitPosition, 512U);
}

} // namespace
