// The generator in known states; contexts without entropy threads, which cost no time; and at last, at its real pace, seeding
// with them, and the shared context with its depot thread.
#include "core/random/internal/fips186.h"
#include "core/random/internal/seed_pool.h"
#include "core/random/random_global.h"
#include "platform/rtos_clock.h"
#include "tests/support/faults.h"
#include "tests/support/in_threads.h"
#include "tests/support/vectors.h"

#include <memory>
#include <sstream>

namespace {

using Owned = std::unique_ptr<RandomContext,
                              decltype([](RandomContext* context) { EXPECT_EQ(randomReleaseContext(&context), OK); })>;

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

// What acquiring says, whose context goes again.
Status acquire() {
    RandomContext* context = nullptr;
    const Status status = randomAcquireContext(&context);
    EXPECT_EQ(randomReleaseContext(&context), isError(status) ? ERR_NULL_POINTER : OK);
    return status;
}

// First of all in this program: nobody has used the seed pool before.
TEST(Random, FirstUses) {
    ASSERT_EQ(randomSetSeedingMode(kSeedWithoutThreads), OK);
    for (const unsigned number : {1U, 2U}) { // the pool's two mutexes
        const Fault fault(PlatformService::mutexCreate, number);
        EXPECT_EQ(number == 1 ? seedPoolInit() : acquire(), ERR_RTOS_MUTEX_CREATE);
    }
    inThreads(8, [](unsigned) { EXPECT_EQ(acquire(), OK); });
    EXPECT_EQ(seedPoolInit(), ERR_FALSE);
    testheap::keep(2); // those mutexes
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

// The statuses of calls on the shared context, behind a + where it is there afterwards.
Status shared(const Words& in, Words& out) {
    const testheap::OwnWork own;
    for (const std::string& call : in) {
        const Status status = call == "init"      ? randomInitGlobal()
                              : call == "free"    ? randomFreeGlobal()
                              : call == "release" ? randomReleaseGlobalContext()
                              : call == "bit"     ? randomAddGlobalEntropyBit(1)
                                                  : randomAddGlobalEntropyWord(1);
        out.push_back((globalRandomContext() == nullptr ? "" : "+") + std::string(statusName(status)));
    }
    return OK;
}

TEST(Random, Vectors) {
    runVectors("core/random/random_vectors.txt",
               {{"fips186", knownStates}, {"badkey", knownStates}, {"shared", shared}});
}

TEST(Random, Arguments) {
    const Bytes key = bytesOf("1:1:64");
    std::uint8_t byte = 0;
    RandomContext *context = nullptr, *plain = nullptr;
    expectNullsRefused({fips186NewContext}, &context, 64, key.data(), 0, nullptr);
    expectNullsRefused({randomAcquireContext, randomReleaseContext}, &context);
    expectNullsRefused({randomAcquireContextOfKind}, &context, kRandomKindFips186);
    EXPECT_EQ(randomAcquireContextOfKind(&context, 2), ERR_INVALID_ARG);
    ASSERT_EQ(fips186NewContext(&context, 20, key.data(), -1, key.data()), OK); // as if there were no XSEED
    ASSERT_EQ(fips186NewContext(&plain, 20, key.data(), 0, nullptr), OK);
    const Owned first(context), second(plain);
    EXPECT_EQ(drawn(first, 40), drawn(second, 40));
    EXPECT_EQ(fips186Generate(nullptr, nullptr, 0), OK); // a length of 0 comes first
    expectNullsRefused({fips186Generate}, &plain->state, &byte, 1);
    ASSERT_EQ(randomAcquireContextOfKind(&context, 0), OK); // the other name of that kind
    EXPECT_EQ(randomReleaseContext(&context), OK);
    EXPECT_EQ(context, nullptr);
    expectNullsRefused({randomGenerate}, plain, &byte, 0);
    EXPECT_EQ(randomGenerate(plain, &byte, 0), OK);
    plain->kind = 1; // no context that there could be
    for (RandomContext* unusable : {plain, context}) {
        EXPECT_EQ(randomGenerateCallback(unusable, 1, &byte), ERR_NULL_POINTER);
        EXPECT_EQ(randomAddEntropyBit(unusable, 1), ERR_NULL_POINTER);
        EXPECT_EQ(randomReleaseContext(&unusable), ERR_NULL_POINTER);
    }
    plain->kind = 0;
    EXPECT_EQ(byte, 0);
    EXPECT_EQ(randomSetSeedingMode(2), ERR_INVALID_ARG);
    EXPECT_EQ(randomGetSeedingMode(), kSeedWithoutThreads);
}

TEST(Random, StreamsBitsAndSeeds) {
    const Owned first = acquired(), second = acquired();
    EXPECT_NE(drawn(first, 64), drawn(second, 64));
    EXPECT_NE(drawn(first, 64), drawn(first, 64));
    EXPECT_EQ(first->state.blockRemaining, 40 - 192 % 40) << "acquiring had left no byte of a block";
    const auto position = first->state.bitPosition;
    for (int i = 0; i < 512; ++i) {
        ASSERT_EQ(randomAddEntropyBit(first.get(), 1), OK);
    }
    EXPECT_EQ(first->state.bitPosition, position); // wraps around
    Bytes seed(200);
    EXPECT_EQ(seedPoolGetBytes(nullptr, 0), ERR_NULL_POINTER);
    EXPECT_EQ(seedPoolGetBytes(seed.data(), 200), OK);
    EXPECT_LT(std::count(seed.begin(), seed.end(), 0), 20);
}

// What acquiring and drawing ask of the system, each refused in turn.
TEST(Random, Refusals) {
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

TEST(Random, EntropyForTheSharedContext) {
    ASSERT_EQ(randomInitGlobal(), OK);
    RandomContext* const context = globalRandomContext();
    EXPECT_EQ(randomInitGlobal(), OK);
    EXPECT_EQ(globalRandomContext(), context);
    EXPECT_EQ(randomAddGlobalEntropyBit(1), OK);
    const std::uint8_t before = context->state.xkey.byte(0), other = context->state.xkey.byte(4);
    EXPECT_EQ(randomAddGlobalEntropyWord(0x80000003), OK); // positions 2 to 33
    EXPECT_EQ(context->entropyBitCount, 33U);
    EXPECT_EQ(context->state.xkey.byte(0) ^ before, 0x0C);
    EXPECT_EQ(context->state.xkey.byte(4) ^ other, 0x02);
    EXPECT_TRUE(randomFreeGlobal() == OK && randomFreeGlobal() == OK);
}

// Two acquisitions side by side, each with threads of its own, any of which may not start.
TEST(Random, SeedingWithThreadsTakesSixSeconds) {
    ASSERT_EQ(randomSetSeedingMode(kSeedWithThreads), OK);
    for (const unsigned number : {1U, 2U, 3U}) {
        const Fault fault(PlatformService::threadStart, number);
        EXPECT_EQ(acquire(), ERR_RTOS_THREAD_CREATE) << "thread " << number;
    }
    Bytes streams[2];
    MsTimeStamp start{};
    (void)rtosDeltaMs(nullptr, &start);
    inThreads(2, [&streams](unsigned number) { streams[number] = drawn(acquired(), 64); });
    EXPECT_GE(rtosDeltaMs(&start, nullptr), 6175U) << "the busy periods alone take that long";
    EXPECT_NE(streams[0], streams[1]);
}

TEST(Random, TheDepotFillsTheSharedContext) {
    ASSERT_EQ(randomSetSeedingMode(kSeedWithThreads), OK);
    {
        const Fault fault(PlatformService::threadStart, 1);
        EXPECT_EQ(randomInitGlobal(), ERR_RTOS_THREAD_CREATE);
        EXPECT_EQ(globalRandomContext(), nullptr);
    }
    ASSERT_EQ(randomInitGlobal(), OK);
    RandomContext& context = *globalRandomContext();
    std::uint64_t before[Xkey::kWords], after[Xkey::kWords];
    std::uint8_t byte = 0;
    EXPECT_EQ(randomGenerate(&context, &byte, 1), OK);
    const std::atomic_ref entropyBits(context.entropyBitCount);
    EXPECT_LT(entropyBits.load(), 384U) << "usable at once, while the depot takes six seconds";
    context.state.xkey.asBlock(before);
    for (int i = 0; i < 1200 && entropyBits.load() < 384; ++i) {
        rtosSleepMs(50);
    }
    EXPECT_EQ(entropyBits.load(), 384U);
    context.state.xkey.asBlock(after);
    EXPECT_FALSE(std::equal(before, before + Xkey::kWords, after)) << "some of which were 1";
    EXPECT_EQ(randomFreeGlobal(), OK); // waits for the depot's last steps
}

} // namespace
