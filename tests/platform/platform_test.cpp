// The contract of the platform layer, the same on every operating system.
#include "platform/os_random.h"
#include "platform/rtos_clock.h"
#include "platform/rtos_mutex.h"
#include "platform/rtos_thread.h"
#include "platform/static_lock.h"
#include "tests/support/faults.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <thread>
#include <vector>

namespace {

class Mutex : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(rtosMutexCreate(&mutex, 7, 9), OK);
    }
    void TearDown() override {
        if (mutex != nullptr) {
            EXPECT_EQ(rtosMutexFree(&mutex), OK);
        }
    }
    template <typename Work> static void elsewhere(Work work) {
        std::thread(work).join();
    }

    RtosMutex mutex = nullptr;
};

TEST_F(Mutex, IsRecursive) {
    EXPECT_EQ(rtosMutexRelease(mutex), ERR_RTOS_MUTEX_RELEASE) << "nobody owns it";
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(rtosMutexWait(mutex), OK);
    }
    elsewhere([this] { EXPECT_EQ(rtosMutexRelease(mutex), ERR_RTOS_MUTEX_RELEASE) << "not the owner"; });
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(rtosMutexRelease(mutex), OK);
    }
    EXPECT_EQ(rtosMutexRelease(mutex), ERR_RTOS_MUTEX_RELEASE);
    elsewhere([this] {
        EXPECT_EQ(rtosMutexWait(mutex), OK);
        EXPECT_EQ(rtosMutexRelease(mutex), OK);
    });
}

TEST_F(Mutex, IsWaitedForFiveSecondsOrHandedOver) {
    EXPECT_EQ(rtosMutexWait(mutex), OK);
    std::thread waiter([this] {
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(rtosMutexWait(mutex), ERR_RTOS_MUTEX_WAIT);
        EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(4900));
        EXPECT_EQ(rtosMutexRelease(mutex), ERR_RTOS_MUTEX_RELEASE);
        EXPECT_EQ(rtosMutexWait(mutex), OK);
        EXPECT_EQ(rtosMutexRelease(mutex), OK);
    });
    rtosSleepMs(6000); // in the waiter's second wait
    EXPECT_EQ(rtosMutexRelease(mutex), OK);
    waiter.join();
}

TEST_F(Mutex, SurvivesAnOwnerThatDied) {
    elsewhere([this] { EXPECT_EQ(rtosMutexWait(mutex), OK); });
    EXPECT_EQ(rtosMutexWait(mutex), ERR_RTOS_MUTEX_WAIT);
    EXPECT_EQ(rtosMutexWait(mutex), OK);
    EXPECT_EQ(rtosMutexRelease(mutex), OK);
    EXPECT_EQ(rtosMutexRelease(mutex), ERR_RTOS_MUTEX_RELEASE);
    elsewhere([this] { EXPECT_EQ(rtosMutexWait(mutex), OK); });
    EXPECT_EQ(rtosMutexFree(&mutex), OK) << "also when nobody has noticed yet";
}

TEST_F(Mutex, FreeingAndRefusals) {
    EXPECT_EQ(rtosMutexWait(mutex), OK);
    EXPECT_EQ(rtosMutexWait(mutex), OK);
    EXPECT_EQ(rtosMutexFree(&mutex), OK) << "its owner may";
    EXPECT_EQ(mutex, nullptr);
    EXPECT_EQ(rtosMutexFree(&mutex), ERR_RTOS_MUTEX_FREE);
    EXPECT_EQ(rtosMutexFree(nullptr), ERR_RTOS_MUTEX_FREE);
    EXPECT_EQ(rtosMutexWait(nullptr), ERR_RTOS_MUTEX_WAIT);
    EXPECT_EQ(rtosMutexRelease(nullptr), ERR_RTOS_MUTEX_RELEASE);
    EXPECT_EQ(rtosMutexCreate(nullptr, 0, 0), ERR_NULL_POINTER);
    const Fault fault(PlatformService::mutexCreate, 1);
    auto refused = reinterpret_cast<RtosMutex>(this);
    EXPECT_EQ(rtosMutexCreate(&refused, 0, 0), ERR_RTOS_MUTEX_CREATE);
    EXPECT_EQ(refused, nullptr);
}

TEST_F(Mutex, TheGuardedPair) {
    std::uint32_t held = 0;
    EXPECT_EQ(rtosMutexReleaseGuarded(mutex, &held), ERR_RTOS_WRAP_MUTEX_RELEASE);
    EXPECT_EQ(rtosMutexWaitGuarded(mutex, &held), OK);
    EXPECT_EQ(held, 1u);
    EXPECT_EQ(rtosMutexWaitGuarded(mutex, &held), ERR_RTOS_WRAP_MUTEX_WAIT);
    EXPECT_EQ(rtosMutexReleaseGuarded(mutex, &held), OK);
    EXPECT_EQ(held, 0u);
    held = 2; // set, but not by a wait
    EXPECT_EQ(rtosMutexWaitGuarded(mutex, &held), ERR_RTOS_WRAP_MUTEX_WAIT);
    EXPECT_EQ(rtosMutexReleaseGuarded(mutex, &held), ERR_RTOS_WRAP_MUTEX_RELEASE);
    held = 0;
    EXPECT_EQ(rtosMutexWaitGuarded(nullptr, &held), ERR_RTOS_MUTEX_WAIT);
    EXPECT_EQ(held, 0u);
    held = 1;
    EXPECT_EQ(rtosMutexReleaseGuarded(mutex, &held), ERR_RTOS_MUTEX_RELEASE);
    EXPECT_EQ(held, 1u);
    EXPECT_EQ(rtosMutexWaitGuarded(mutex, nullptr), ERR_NULL_POINTER);
    EXPECT_EQ(rtosMutexReleaseGuarded(mutex, nullptr), ERR_NULL_POINTER);
}

TEST(TimeStamps, ReadingAndElapsing) {
    MsTimeStamp now{};
    EXPECT_EQ(rtosDeltaMs(nullptr, &now), 0u);
    const auto unixMs =
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::system_clock::now().time_since_epoch())
            .count();
    const auto stamp = static_cast<std::int64_t>(std::uint64_t{now.high} << 32 | now.low);
    EXPECT_LT(std::abs(stamp - 11'644'473'600'000 - unixMs), 2000) << "milliseconds since 1601";

    rtosSleepMs(30);
    const std::uint32_t elapsed = rtosDeltaMs(&now, nullptr);
    EXPECT_GE(elapsed, 29u);
    EXPECT_LT(elapsed, 30'000u);
    MsTimeStamp start = now;
    EXPECT_GE(rtosDeltaMs(&start, &start), 29u) << "measured before the stamp moves on";
    EXPECT_GT(rtosTimeStampDiff(&now, &start), 0);
    EXPECT_EQ(rtosDeltaMs(nullptr, nullptr), 0u);

    MsTimeStamp future = now;
    rtosTimeStampAdd(&future, 3'600'000);
    EXPECT_EQ(rtosDeltaMs(&future, nullptr), 0xFFFFFFFFu);
    const MsTimeStamp longAgo{now.high - 1, 0};
    EXPECT_EQ(rtosDeltaMs(&longAgo, nullptr), 0xFFFFFFFFu);
}

TEST(TimeStamps, Arithmetic) {
    const auto check = [](MsTimeStamp a, MsTimeStamp b, std::int32_t difference) {
        EXPECT_EQ(rtosTimeStampDiff(&a, &b), difference) << a.low << ", " << b.low;
    };
    check({1, 5}, {1, 5}, 0);
    check({0, 0xFFFFFFFF}, {1, 0}, 1);
    check({1, 0}, {1, 0x7FFFFFFF}, 0x7FFFFFFF);
    check({1, 0}, {1, 0x80000000}, -1);
    check({1, 1}, {1, 0}, -1);
    check({1, 0}, {2, 0}, -1);
    MsTimeStamp stamp{1, 0xFFFFFFFF};
    EXPECT_EQ(rtosTimeStampDiff(nullptr, &stamp), -1);
    rtosTimeStampAdd(&stamp, 2);
    EXPECT_EQ(stamp.high, 2u);
    EXPECT_EQ(stamp.low, 1u);
    rtosTimeStampAdd(nullptr, 1);
}

TEST(Clocks, CalendarTime) {
    GmtTime time;
    std::memset(&time, 0xAA, sizeof time);
    ASSERT_EQ(rtosTimeGMT(&time), OK);
    const std::time_t now = std::time(nullptr);
    EXPECT_EQ(time.unwritten, 0xAA);
    using namespace std::chrono;
    const year_month_day date(year(1970 + time.yearsSince1970), month(time.month), day(time.day));
    const auto told = sys_days(date) + hours(time.hour) + minutes(time.minute) + seconds(time.second);
    EXPECT_LE(now - duration_cast<seconds>(told.time_since_epoch()).count(), 2);
    EXPECT_GE(now, duration_cast<seconds>(told.time_since_epoch()).count());
    EXPECT_EQ(rtosTimeGMT(nullptr), ERR_NULL_POINTER);
    const Fault fault(PlatformService::calendarTime, 1);
    EXPECT_EQ(rtosTimeGMT(&time), ERR_RTOS_GMT_TIME_NOT_AVAILABLE);
}

TEST(Clocks, TickAndSleep) {
    const std::uint32_t before = rtosGetTickCount();
    rtosSleepMs(40);
    rtosSleepMs(0);
    const std::uint32_t passed = rtosGetTickCount() - before;
    EXPECT_GE(passed, 20u); // ticks may be as long as 16 ms
    EXPECT_LT(passed, 40'000u);
}

TEST(Threads, RunAndAreForgotten) {
    static std::atomic<int> seen;
    seen = 0;
    refuseEach(
        [] {
            const int before = seen;
            static int argument = 5;
            RtosThread thread = nullptr;
            RETURN_IF_ERROR(
                rtosCreateThread([](void* told) { seen += *static_cast<int*>(told); }, &argument, 3, &thread));
            while (seen != before + argument) {
                rtosSleepMs(1);
            }
            return rtosDestroyThread(thread);
        },
        ERR_RTOS_THREAD_CREATE);
    EXPECT_EQ(seen, 5) << "only the last one started";
}

TEST(Threads, ThatDoNotStart) {
    RtosThread thread = nullptr;
    EXPECT_EQ(rtosCreateThread(nullptr, nullptr, 0, &thread), ERR_NULL_POINTER);
    EXPECT_EQ(rtosCreateThread([](void*) {}, nullptr, 0, nullptr), ERR_NULL_POINTER);
    EXPECT_EQ(rtosDestroyThread(nullptr), OK);
    EXPECT_EQ(rtosInit(), OK);
    EXPECT_EQ(rtosShutdown(), OK);
    const Fault fault(PlatformService::threadStart, 1);
    EXPECT_EQ(rtosCreateThread([](void*) {}, nullptr, 0, &thread), ERR_RTOS_THREAD_CREATE);
    EXPECT_EQ(thread, nullptr);
}

TEST(OsRandom, FillsWithDifferentBytes) {
    std::vector<std::uint8_t> first(1000), second(1000);
    EXPECT_EQ(osRandomBytes(first.data(), first.size()), OK);
    EXPECT_EQ(osRandomBytes(second.data(), second.size()), OK);
    EXPECT_NE(first, second);
    EXPECT_EQ(osRandomBytes(first.data(), 0), OK);
    EXPECT_EQ(osRandomBytes(nullptr, 0), ERR_NULL_POINTER);
    const Fault fault(PlatformService::randomBytes, 1);
    EXPECT_EQ(osRandomBytes(first.data(), 1), ERR_RTOS);
}

TEST(StaticLocks, Exclude) {
    static StaticLock lock;
    static int inside;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([] {
            for (int round = 0; round < 20; ++round) {
                const StaticLockHolder holder(lock);
                ++inside;
                rtosSleepMs(1);
                EXPECT_EQ(inside, 1);
                --inside;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

} // namespace
