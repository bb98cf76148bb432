// The carries at the end of a product, for every shape: random numbers hardly ever have the last ones. The products themselves
// are seen by the powers of every kernel (bignum_test.cpp).
#include "core/bignum/vlong_math.h"
#include "core/bignum/x86/ifma_lanes.h"
#include "core/bignum/x86/x86_kernels.h"
#include "tests/support/number.h"

#include <random>

namespace {

using namespace ifma;

template <typename S> struct alignas(64) Digits {
    Unit lanes[S::kNumberUnits] = {};

    Number get(std::uint32_t task, Unit bits = kDigitMask) const {
        Number number("0");
        for (std::uint32_t d = S::V * S::kTaskLanes; d-- > 0;) {
            EXPECT_EQ(VLONG_shiftLeft(number, kDigitBits), OK);
            EXPECT_EQ(VLONG_addUnit(number, lanes[place<S>(task, d)] & bits, nullptr), OK);
        }
        return number;
    }
};

template <typename S, std::uint32_t... r>
ZEL_TARGET_IFMA void normaliseLanes(Unit* lanes, std::integer_sequence<std::uint32_t, r...> all) {
    Vector sum[S::V] = {load(lanes + r * kLanes)...};
    normalise<S>(sum, all);
    (_mm512_store_si512(lanes + r * kLanes, sum[r]), ...);
}

// Digits that are all ones but for a few.
template <typename S> void checkCarries(std::mt19937_64& random) {
    for (std::uint32_t round = 0; round < 1000; ++round) {
        Digits<S> sum;
        for (Unit& lane : sum.lanes) {
            const Unit nearly = kDigitMask - random() % 3 + (random() % 3 << kDigitBits);
            lane = random() % 16 != 0 ? kDigitMask : random() % 2 != 0 ? nearly : random() >> 2;
        }
        for (std::uint32_t task = 0; task < S::kTasks; ++task) {
            sum.lanes[place<S>(task, S::V * S::kTaskLanes - 1)] = 0;
        }
        const Digits<S> before = sum;
        normaliseLanes<S>(sum.lanes, std::make_integer_sequence<std::uint32_t, S::V>{});
        for (std::uint32_t task = 0; task < S::kTasks; ++task) {
            ASSERT_EQ(sum.get(task), before.get(task, ~Unit{0})) << S::k << " units, round " << round;
        }
    }
}

template <typename... S> void checkShapes() {
    std::mt19937_64 random(20261122);
    (checkCarries<S>(random), ...);
}

TEST(IfmaLanes, Carry) {
    if (ifmaIsSupported()) {
        checkShapes<One512, One1024, One1536, One2048, One3072, One4096, Pair512, Pair1024, Pair1536, Pair2048>();
    }
}

} // namespace
