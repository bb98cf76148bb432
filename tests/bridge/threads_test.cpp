// Every engine in 64 threads at once, each thread with engines of its own, from the first use in the process on: the
// making of the random context, the choices of kernels and whatever else happens once meet here. Under the thread
// sanitizer above all.
#include "core/random/random.h"
#include "tests/bridge/script.h"

#include <thread>

namespace {

constexpr unsigned kThreads = 64;
constexpr unsigned kRounds = 3;

// The first passage of each script, each the first of some threads. All wait for the one context while it is being seeded.
TEST(Threads, EveryEngineInSixtyFour) {
    ASSERT_EQ(randomSetSeedingMode(kSeedWithThreads), OK);
    std::vector<Passage> passages;
    for (const char* const file : {"random.txt", "cipher.txt", "digest.txt", "rsa.txt", "dsa.txt"}) {
        for (const Script& script : readScript(file)) {
            passages.push_back(script.passages.front());
        }
    }
    std::atomic<bool> mayStart{false};
    std::vector<std::thread> threads;
    for (unsigned thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&, thread] {
            Player player;
            while (!mayStart) {
                std::this_thread::yield();
            }
            for (unsigned i = 0; i < kRounds * passages.size(); ++i) {
                player.play(passages[(thread + i) % passages.size()]);
            }
            player.finish();
        });
    }
    mayStart = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    testheap::keep(4); // the random context, its mutex and those of the seed pool
}

} // namespace
