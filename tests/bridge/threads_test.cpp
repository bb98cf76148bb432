// Every engine in 64 threads at once, each thread with engines of its own, from the first use in the process on: the
// making of the random context, the choices of kernels and whatever else happens once meet here. Under the thread
// sanitizer above all. And a thread that holds locks and sleeps.
#include "bridge/zel_object.h"
#include "core/bignum/scoped_vlong.h"
#include "core/pubkey/key_der.h"
#include "core/pubkey/rsa.h"
#include "core/random/fips186.h"
#include "core/random/random.h"
#include "tests/bridge/script.h"
#include "tests/support/gate.h"
#include "tests/support/hex.h"
#include "tests/support/test_heap.h"

#include <gtest/gtest.h>

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
    Gate start;
    std::vector<std::thread> threads;
    for (unsigned thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&, thread] {
            Player player;
            start.wait();
            for (unsigned i = 0; i < kRounds * passages.size(); ++i) {
                player.play(passages[(thread + i) % passages.size()]);
            }
            player.finish();
        });
    }
    start.open();
    for (std::thread& thread : threads) {
        thread.join();
    }
    testheap::keep(4); // the random context, its mutex and those of the seed pool
}

// Who waits for a key's is told after five seconds, and nothing has happened; who waits for random bytes waits on.
TEST(BusyLocks, AreWaitedFor) {
    ASSERT_EQ(randomSetSeedingMode(kSeedWithoutThreads), OK);
    const Passage draws = readScript("random.txt").front().passages.front();
    Player player;
    player.play(draws);
    FakeJni jni;
    RandomContext* const random = ZelObject::getRandomContext(jni.env());
    testheap::keep(4);
    ScopedKey key;
    const std::vector<std::uint8_t> der = fromHex(readScript("rsa_keys.txt").front().values.at("rsa512Private"));
    ASSERT_EQ(AsymKey_FromPkcs8Der(der.data(), static_cast<std::uint32_t>(der.size()), key.get()), OK);
    RSAKey* const rsa = asymKeyRsa(key.get());
    ScopedVlong input(nullptr), output(nullptr);
    ASSERT_EQ(VLONG_newValue(2, input.out(), nullptr), OK);
    const auto blinded = [&] {
        return Rsa_PrivateOp(rsa, input.get(), randomGenerateCallback, random, output.out(), nullptr);
    };

    Gate held, done;
    std::thread holder([&] {
        EXPECT_EQ(rtosMutexWait(random->state.mutex), OK);
        EXPECT_EQ(rtosMutexWait(rsa->blinding.mutex), OK);
        held.open();
        done.wait(); // asleep
        EXPECT_EQ(rtosMutexRelease(rsa->blinding.mutex), OK);
        EXPECT_EQ(rtosMutexRelease(random->state.mutex), OK);
    });
    held.wait();
    std::thread drawer([&] { player.play(draws); }); // begins to wait first, and waits on
    EXPECT_EQ(blinded(), ERR_RTOS_MUTEX_WAIT);
    EXPECT_EQ(output.get(), nullptr);
    done.open();
    holder.join();
    drawer.join();
    player.finish();
    EXPECT_EQ(blinded(), OK);
}

} // namespace
