// The contract of the platform layer, the same on every operating system.
#include "platform/os_random.h"
#include "platform/rtos_clock.h"
#include "platform/rtos_mutex.h"
#include "platform/rtos_thread.h"
#include "tests/support/faults.h"

#include <chrono>
#include <csignal>
#include <cstring>
#include <thread>
#include <vector>

namespace {

struct Mutex : testing::Test {
    Mutex() {
        EXPECT_EQ(rtosMutexCreate(&mutex, 7, 9), OK);
    }
    ~Mutex() override {
        EXPECT_EQ(rtosMutexFree(&mutex), OK);
    }
    RtosMutex mutex = nullptr;
};

TEST_F(Mutex, IsRecursiveAndItsOwnersAlone) {
    EXPECT_EQ(rtosMutexRelease(mutex), ERR_RTOS_MUTEX_RELEASE) << "nobody owns it";
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(rtosMutexWait(mutex), OK);
    }
    std::thread([this] {
        EXPECT_EQ(rtosMutexRelease(mutex), ERR_RTOS_MUTEX_RELEASE) << "not the owner";
#ifdef SIGALRM // with POSIX
        EXPECT_EQ(rtosMutexFree(&mutex), ERR_RTOS_MUTEX_FREE);
#endif
    }).join();
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(rtosMutexRelease(mutex), OK);
    }
    EXPECT_EQ(rtosMutexRelease(mutex), ERR_RTOS_MUTEX_RELEASE);
    EXPECT_EQ(rtosMutexWait(mutex), OK) << "its owner may free it, held as it is";
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
    std::thread([this] { EXPECT_EQ(rtosMutexWait(mutex), OK); }).join();
    EXPECT_EQ(rtosMutexWait(mutex), ERR_RTOS_MUTEX_WAIT);
    EXPECT_EQ(rtosMutexWait(mutex), OK);
    EXPECT_EQ(rtosMutexRelease(mutex), OK);
    EXPECT_EQ(rtosMutexRelease(mutex), ERR_RTOS_MUTEX_RELEASE);
    std::thread([this] { EXPECT_EQ(rtosMutexWait(mutex), OK); }).join(); // freed when nobody has noticed yet
}

TEST_F(Mutex, RefusalsAndTheGuardedPair) {
    RtosMutex refused = mutex, none = nullptr;
    std::uint32_t held = 0;
    const auto expect = [&held](Status status, Status expected, std::uint32_t heldNow) {
        EXPECT_EQ(status, expected);
        EXPECT_EQ(std::exchange(held, heldNow), heldNow);
    };
    expect(rtosMutexFree(&none), ERR_RTOS_MUTEX_FREE, 0);
    expect(rtosMutexFree(nullptr), ERR_RTOS_MUTEX_FREE, 0);
    expect(rtosMutexWait(nullptr), ERR_RTOS_MUTEX_WAIT, 0);
    expect(rtosMutexRelease(nullptr), ERR_RTOS_MUTEX_RELEASE, 0);
    expect(rtosMutexCreate(nullptr, 0, 0), ERR_NULL_POINTER, 0);
    expect(rtosMutexReleaseGuarded(mutex, &held), ERR_RTOS_WRAP_MUTEX_RELEASE, 0);
    expect(rtosMutexWaitGuarded(nullptr, &held), ERR_RTOS_MUTEX_WAIT, 0);
    expect(rtosMutexWaitGuarded(mutex, &held), OK, 1);
    expect(rtosMutexWaitGuarded(mutex, &held), ERR_RTOS_WRAP_MUTEX_WAIT, 1);
    expect(rtosMutexReleaseGuarded(nullptr, &held), ERR_RTOS_MUTEX_RELEASE, 1);
    expect(rtosMutexReleaseGuarded(mutex, &held), OK, 0);
    held = 2; // set, but not by a wait
    expect(rtosMutexWaitGuarded(mutex, &held), ERR_RTOS_WRAP_MUTEX_WAIT, 2);
    expect(rtosMutexReleaseGuarded(mutex, &held), ERR_RTOS_WRAP_MUTEX_RELEASE, 2);
    expect(rtosMutexWaitGuarded(mutex, nullptr), ERR_NULL_POINTER, 2);
    expect(rtosMutexReleaseGuarded(mutex, nullptr), ERR_NULL_POINTER, 2);
    const Fault fault(PlatformService::mutexCreate, 1);
    expect(rtosMutexCreate(&refused, 0, 0), ERR_RTOS_MUTEX_CREATE, 2);
    EXPECT_EQ(refused, nullptr);
}

TEST(TimeStamps, ReadingAndElapsing) {
    MsTimeStamp now{};
    EXPECT_EQ(rtosDeltaMs(nullptr, &now), 0u);
    const std::chrono::duration<double, std::milli> since1970 = std::chrono::system_clock::now().time_since_epoch();
    EXPECT_NEAR(now.high * 0x1p32 + now.low, 11'644'473'600'000 + since1970.count(), 500) << "milliseconds since 1601";

    rtosSleepMs(30);
    const std::uint32_t elapsed = rtosDeltaMs(&now, nullptr);
    EXPECT_TRUE(elapsed >= 29 && elapsed < 30'000) << elapsed;
    MsTimeStamp start = now, future = now;
    EXPECT_GE(rtosDeltaMs(&start, &start), 29u) << "measured before the stamp moves on";
    EXPECT_GT(rtosTimeStampDiff(&now, &start), 0);
    EXPECT_EQ(rtosDeltaMs(nullptr, nullptr), 0u);
    rtosTimeStampAdd(&future, 3'600'000);
    const MsTimeStamp longAgo{now.high - 1, 0};
    EXPECT_EQ(rtosDeltaMs(&future, nullptr), 0xFFFFFFFFu);
    EXPECT_EQ(rtosDeltaMs(&longAgo, nullptr), 0xFFFFFFFFu);

    for (const auto& [a, b, difference] : {std::tuple<MsTimeStamp, MsTimeStamp, std::int32_t>{{1, 5}, {1, 5}, 0},
                                           {{0, 0xFFFFFFFF}, {1, 0}, 1},
                                           {{1, 0}, {1, 0x7FFFFFFF}, 0x7FFFFFFF},
                                           {{1, 0}, {1, 0x80000000}, -1},
                                           {{1, 1}, {1, 0}, -1},
                                           {{1, 0}, {2, 0}, -1}}) {
        EXPECT_EQ(rtosTimeStampDiff(&a, &b), difference) << a.low << ", " << b.low;
    }
    MsTimeStamp last{1, 0xFFFFFFFF};
    EXPECT_EQ(rtosTimeStampDiff(nullptr, &last), -1);
    rtosTimeStampAdd(&last, 2);
    EXPECT_TRUE(last.high == 2 && last.low == 1);
    rtosTimeStampAdd(nullptr, 1);
}

TEST(Clocks, CalendarTimeTickAndSleep) {
    GmtTime time;
    std::memset(&time, 0xAA, sizeof time);
    ASSERT_EQ(rtosTimeGMT(&time), OK);
    EXPECT_EQ(time.unwritten, 0xAA);
    using namespace std::chrono;
    const sys_days date = year(1970 + time.yearsSince1970) / month(time.month) / day(time.day);
    const auto told = date + hours(time.hour) + minutes(time.minute) + seconds(time.second);
    const auto late = std::time(nullptr) - duration_cast<seconds>(told.time_since_epoch()).count();
    EXPECT_TRUE(late >= 0 && late <= 2) << late;
    EXPECT_EQ(rtosTimeGMT(nullptr), ERR_NULL_POINTER);
    const Fault fault(PlatformService::calendarTime, 1);
    EXPECT_EQ(rtosTimeGMT(&time), ERR_RTOS_GMT_TIME_NOT_AVAILABLE);

    const std::uint32_t before = rtosGetTickCount();
    std::uint32_t passed = 0;
    for (int i = 0; i < 100 && passed < 20; ++i) { // ticks may be as long as 16 ms, and come late on a busy machine
        rtosSleepMs(40);
        rtosSleepMs(0);
        passed = rtosGetTickCount() - before;
    }
    EXPECT_TRUE(passed >= 20 && passed < 40'000) << passed;
}

// What threads tell: that they run, and of three signals how many they take: they live inside somebody else's process.
std::atomic<int> runs{0}, signalsTaken{0};

void tell(void* count) {
#ifdef SIGALRM // POSIX
    sigset_t mask;
    pthread_sigmask(SIG_SETMASK, nullptr, &mask);
    signalsTaken = 3 - sigismember(&mask, SIGUSR1) - sigismember(&mask, SIGTERM) - sigismember(&mask, SIGALRM);
#endif
    runs += *static_cast<int*>(count);
}

TEST(Threads, RunAndAreForgottenOrDoNotStart) {
    int five = 5;
    RtosThread thread = nullptr;
    const auto run = [&] {
        const int before = runs;
        RETURN_IF_ERROR(rtosCreateThread(tell, &five, 3, &thread));
        while (runs == before) {
            rtosSleepMs(1);
        }
        return rtosDestroyThread(thread);
    };
    refuseEach(run, ERR_RTOS_THREAD_CREATE);
    EXPECT_EQ(runs, 5) << "only the unhindered one started";
    EXPECT_EQ(signalsTaken, 0);
    EXPECT_EQ(thread, nullptr);
    EXPECT_EQ(rtosCreateThread(nullptr, nullptr, 0, &thread), ERR_NULL_POINTER);
    EXPECT_EQ(rtosCreateThread(tell, nullptr, 0, nullptr), ERR_NULL_POINTER);
    EXPECT_TRUE(rtosDestroyThread(nullptr) == OK && rtosInit() == OK && rtosShutdown() == OK);
#ifdef SIGALRM
    tell(&five);
    EXPECT_EQ(signalsTaken, 3) << "the maker's mask is as it was";
#endif
}

TEST(OsRandom, FillsAndRefuses) {
    std::vector<std::uint8_t> bytes(1000);
    EXPECT_EQ(osRandomBytes(bytes.data(), bytes.size()), OK);
    EXPECT_LT(std::count(bytes.end() - 500, bytes.end(), 0), 30);
    EXPECT_EQ(osRandomBytes(bytes.data(), 0), OK);
    EXPECT_EQ(osRandomBytes(nullptr, 0), ERR_NULL_POINTER);
}

} // namespace
