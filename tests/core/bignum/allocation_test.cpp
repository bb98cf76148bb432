// Refuses each allocation of each operation in turn: the refusal is reported, nothing is left behind, no result
// published, and no unit buffer goes back to the heap unwiped.
#include "core/bignum/modexp.h"
#include "core/bignum/vlong_convert.h"
#include "core/bignum/vlong_math.h"
#include "core/memory/memory.h"
#include "tests/core/bignum/bignum_support.h"
#include "tests/support/faults.h"

#include <algorithm>
#include <functional>

namespace {

using bignumtest::Number;
using bignumtest::Random;

class BignumAllocation : public testing::Test {
protected:
    void TearDown() override {
        EXPECT_EQ(testheap::dirtyFrees(), dirty_);
    }
    Random random_{11};

private:
    std::uint64_t dirty_ = testheap::dirtyFrees();
};

// What is left of a sum whose carry finds no room is zero, and must look like one.
TEST_F(BignumAllocation, ARefusedCarryLeavesANormalisedRecord) {
    const Number one(1);
    vlong* value = nullptr;
    ASSERT_EQ(VLONG_newValue(1, &value, nullptr), OK);
    value->length = value->capacity;
    std::fill_n(value->units, value->length, ~Unit{0});
    heapFaults().arm(1);
    EXPECT_EQ(VLONG_addMagnitude(value, one), ERR_MEM_ALLOC_FAIL);
    heapFaults().arm(0);
    EXPECT_TRUE(VLONG_isZero(value));
    EXPECT_EQ(VLONG_free(&value, nullptr), OK);
}

} // namespace
