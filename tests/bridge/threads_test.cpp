// Every engine in 64 threads at once, each thread with engines of its own, from the first use in the process on: the
// making of the random context, the choices of kernels and whatever else happens once meet here. Under the thread
// sanitizer above all.
#include "core/random/random.h"
#include "tests/bridge/script.h"
#include "tests/support/in_threads.h"

namespace {

// The first passage of each script, each the first of some threads. All wait for the one context while it is being seeded.
TEST(Threads, EveryEngineInSixtyFour) {
    ASSERT_EQ(randomSetSeedingMode(kSeedWithThreads), OK);
    std::vector<Passage> passages;
    for (const char* const file : {"random", "cipher", "digest", "rsa", "dsa"}) {
        for (const Script& script : readScript(file)) {
            passages.push_back(script.passages.front());
        }
    }
    inThreads(64, [&](unsigned thread) {
        Player player;
        for (std::size_t i = 0; i < 3 * passages.size(); ++i) {
            player.play(passages[(thread + i) % passages.size()]);
        }
        player.finish();
    });
    testheap::keep(4); // the random context, its mutex and those of the seed pool
}

} // namespace
