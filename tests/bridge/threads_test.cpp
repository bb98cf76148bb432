// Every engine in 64 threads at once, each thread with engines of its own, from the first use in the process on: the
// making of the random context, the choices of kernels and whatever else happens once meet here. Under the thread
// sanitizer above all.
#include "core/random/random.h"
#include "tests/bridge/engine_uses.h"
#include "tests/support/gate.h"

#include <thread>

namespace {

constexpr unsigned kThreads = 64;
constexpr unsigned kRounds = 3;

TEST(Threads, EveryEngineInSixtyFour) {
    ASSERT_EQ(randomSetSeedingMode(kSeedWithoutThreads), OK);
    constexpr std::string (EngineUses::*kUses[])() = {&EngineUses::draws, &EngineUses::encrypts, &EngineUses::digests,
                                                      &EngineUses::signsRsa, &EngineUses::signsDsa};
    (void)EngineUses::keys();
    Gate start;
    std::vector<std::thread> threads;
    for (unsigned thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&, thread] {
            EngineUses engines;
            start.wait();
            for (unsigned i = 0; i < kRounds * std::size(kUses); ++i) { // each kind is the first of some threads
                EXPECT_EQ((engines.*kUses[(thread + i) % std::size(kUses)])(), "right");
            }
            EXPECT_EQ(engines.jni.violations, std::vector<std::string>());
        });
    }
    start.open();
    for (std::thread& thread : threads) {
        thread.join();
    }
    testheap::keep(4); // the random context, its mutex and those of the seed pool
}

} // namespace
