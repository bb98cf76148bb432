// What scripts cannot see of the secure random engine: what becomes of a seed, and pieces of arrays of any length.
#include "bridge/pieces.h"
#include "bridge/zel_secure_random.h"
#include "core/random/fips186.h"
#include "core/random/random.h"
#include "tests/bridge/fake_jni.h"

#include "tests/support/test_heap.h"

#include <gtest/gtest.h>

#include <array>

namespace {

TEST(Pieces, CoverEveryLengthOnce) {
    for (const jint length : std::initializer_list<jint>{0, 1, kPieceBytes - 1, kPieceBytes, kPieceBytes + 1,
                                                         INT32_MAX - 65535, INT32_MAX}) {
        std::int64_t covered = 0;
        EXPECT_TRUE(forEachPiece(length, [&](jint offset, jint count) {
            EXPECT_EQ(offset, covered);
            covered += count;
            return count > 0 && count <= kPieceBytes;
        }));
        EXPECT_EQ(covered, length);
    }
    int calls = 0;
    EXPECT_FALSE(forEachPiece(3 * kPieceBytes, [&](jint, jint) { return ++calls < 2; }));
    EXPECT_EQ(calls, 2);
}

TEST(Seed, CountsByTheLowestBitOfEachByte) {
    ASSERT_EQ(randomSetSeedingMode(kSeedWithoutThreads), OK);
    FakeJni jni;
    const auto setSeed = [&](const std::vector<std::uint8_t>& seed) {
        ZelSecureRandom::instance()->setSeed(jni.env(), nullptr, jni.newBytes(seed));
    };
    RandomContext* const context = ZelObject::getRandomContext(jni.env());
    testheap::keep(4);
    const std::uint32_t before = context->entropyBitCount;
    const auto key = std::to_array(context->state.xkey);
    setSeed(std::vector<std::uint8_t>(100'000, 2));
    EXPECT_EQ(context->entropyBitCount, before + 100'000);
    EXPECT_EQ(std::to_array(context->state.xkey), key) << "no lowest bit was set";
    setSeed({1});
    EXPECT_NE(std::to_array(context->state.xkey), key);
    setSeed({});
    EXPECT_EQ(context->entropyBitCount, before + 100'001);
}

} // namespace
