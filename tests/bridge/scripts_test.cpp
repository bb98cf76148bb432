// Every script: as it stands, and with each allocation, lock and call of the VM refused in turn.
#include "bridge/pieces.h"
#include "bridge/zel_secure_random.h"
#include "core/random/internal/fips186.h"
#include "core/random/random.h"
#include "tests/bridge/script.h"

#include <array>
#include <filesystem>

namespace {

class Scripts : public testing::TestWithParam<const char*> {};

void playAll(const std::string& name) {
    for (const Script& script : readScript(name)) {
        for (const Passage& passage : script.passages) {
            if (passage.options.contains("posix") && std::filesystem::path::preferred_separator == '\\') {
                continue;
            }
            for (const bool pinsArrays : {false, true}) {
                SCOPED_TRACE(passage.name);
                Player player(pinsArrays);
                player.play(passage);
                player.finish();
            }
        }
    }
}

// A passage with one kind of call refused in turn, of a "sparse" one ever fewer.
void refuseEach(const Passage& passage, const std::string& kind, std::set<std::string>& outcomes) {
    bool wasRefused = true;
    for (unsigned number = 1; wasRefused; number += passage.options.contains("sparse") ? 1 + number / 4 : 1) {
        SCOPED_TRACE(passage.name + ", " + kind + " " + std::to_string(number));
        Player player(number % 2 == 0);
        wasRefused = player.play(passage, &outcomes, kind, number);
        player.finish();
        wasRefused &= !testing::Test::HasFailure(); // one is enough
    }
}

TEST_P(Scripts, AsTheyStandAndWithEachCallRefused) {
    playAll(GetParam());
    for (const Script& script : readScript(GetParam())) {
        std::set<std::string> outcomes = script.mayRaise;
        // More than once: the allocations of a DSA signature vary with its nonce.
        for (int passes = 0; passes == 0 || (passes < 20 && outcomes.size() < script.raises.size()); ++passes) {
            for (const Passage& passage : script.passages) {
                for (const char* const kind : {"allocation", "lock", "mutex", "call", "quiet call"}) {
                    if (!passage.options.contains("once")) {
                        refuseEach(passage, kind, outcomes);
                    }
                }
            }
        }
        EXPECT_EQ(outcomes, script.raises);
    }
}

// The one without the random context comes first: a context stays made for the process.
TEST(BeforeTheContext, OneExceptionStandsOnTheOther) {
    ASSERT_EQ(randomSetSeedingMode(kSeedWithoutThreads), OK);
    RandomContext* warm = nullptr; // the seed pool makes its mutexes
    ASSERT_EQ(randomAcquireContext(&warm), OK);
    ASSERT_EQ(randomReleaseContext(&warm), OK);
    playAll("no_context");
    FakeJni jni;
    ASSERT_NE(ZelObject::getRandomContext(jni.env()), nullptr);
    testheap::keep(4); // the context, its mutex and those of the seed pool
}

// What scripts cannot see of the secure random engine: an array as long as any can be, and what becomes of a seed.
TEST(Pieces, CoverTheLongestArray) {
    std::int64_t covered = 0;
    EXPECT_TRUE(forEachPiece(INT32_MAX, [&](jint offset, jint count) {
        EXPECT_EQ(offset, std::exchange(covered, covered + count));
        return count > 0 && count <= kPieceBytes;
    }));
    EXPECT_EQ(covered, INT32_MAX);
}

TEST(Seed, CountsByTheLowestBitOfEachByte) {
    FakeJni jni;
    RandomContext* const context = ZelObject::getRandomContext(jni.env());
    const std::uint32_t before = context->entropyBitCount;
    const auto changesTheKey = [&](const Bytes& seed) {
        std::array<std::uint64_t, Xkey::kWords> key, after;
        context->state.xkey.asBlock(key.data());
        ZelSecureRandom::instance()->setSeed(jni.env(), nullptr, jni.newBytes(seed));
        context->state.xkey.asBlock(after.data());
        return key != after;
    };
    Bytes seed(100'000, 2); // no lowest bit is set
    EXPECT_FALSE(changesTheKey(seed));
    seed.back() = 1;
    EXPECT_TRUE(changesTheKey(seed));
    EXPECT_FALSE(changesTheKey({}));
    EXPECT_EQ(context->entropyBitCount, before + 200'000);
}

INSTANTIATE_TEST_SUITE_P(Files, Scripts,
                         testing::Values("frame", "digest", "cipher", "rsa", "dsa", "random", "key_pair",
                                         "file_signature"),
                         [](const auto& script) { return std::string(script.param); });

} // namespace
