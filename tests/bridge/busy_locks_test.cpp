// A thread that holds locks and sleeps: who waits for a key's is told after five seconds, and nothing has happened; who waits
// for random bytes waits on.
#include "bridge/zel_object.h"
#include "core/bignum/scoped_vlong.h"
#include "core/pubkey/key_der.h"
#include "core/pubkey/rsa.h"
#include "core/random/fips186.h"
#include "tests/bridge/engine_uses.h"
#include "tests/support/gate.h"

#include <thread>

namespace {

TEST(BusyLocks, AreWaitedFor) {
    ASSERT_EQ(randomSetSeedingMode(kSeedWithoutThreads), OK);
    EngineUses engines;
    ASSERT_EQ(engines.draws(), "right");
    RandomContext* const random = ZelObject::getRandomContext(engines.jni.env());

    ScopedKey key;
    const std::vector<std::uint8_t> der = fromHex(EngineUses::keys().rsaPrivate);
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
    std::thread drawer([&] { EXPECT_EQ(engines.draws(), "right"); }); // begins to wait first, and waits on
    EXPECT_EQ(blinded(), ERR_RTOS_MUTEX_WAIT);
    EXPECT_EQ(output.get(), nullptr);
    done.open();
    holder.join();
    drawer.join();
    EXPECT_EQ(blinded(), OK);
}

} // namespace
