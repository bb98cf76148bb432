// Threads live inside somebody else's process, whose signals are none of their business.
#include "platform/rtos_clock.h"
#include "platform/rtos_thread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>

namespace {

TEST(Threads, TakeNoSignals) {
    static std::atomic<int> blocked{-1};
    const auto look = [](void*) {
        sigset_t mask;
        pthread_sigmask(SIG_SETMASK, nullptr, &mask);
        blocked = sigismember(&mask, SIGUSR1) + sigismember(&mask, SIGTERM) + sigismember(&mask, SIGALRM);
    };
    RtosThread thread = nullptr;
    ASSERT_EQ(rtosCreateThread(look, nullptr, 0, &thread), OK);
    EXPECT_EQ(rtosDestroyThread(thread), OK);
    for (int i = 0; i < 1000 && blocked < 0; ++i) {
        rtosSleepMs(10);
    }
    EXPECT_EQ(blocked, 3);
    sigset_t own;
    pthread_sigmask(SIG_SETMASK, nullptr, &own);
    EXPECT_EQ(sigismember(&own, SIGUSR1), 0) << "the maker's mask is as it was";
}

} // namespace
