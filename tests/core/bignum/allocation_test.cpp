// Refuses each allocation of each operation in turn: the refusal is reported, nothing is left behind, no result
// published, and no unit buffer goes back to the heap unwiped.
#include "core/bignum/modexp.h"
#include "core/bignum/vlong_convert.h"
#include "core/bignum/vlong_math.h"
#include "core/memory/memory.h"
#include "tests/core/bignum/bignum_support.h"
#include "tests/support/test_heap.h"

#include <algorithm>
#include <functional>

namespace {

using bignumtest::Number;
using bignumtest::Random;

// An operation with a new record, without and with a queue that holds a used record.
void failNewRecord(const std::function<Status(vlong** out, vlong** queue)>& operation) {
    const auto use = [&](vlong** queue) {
        vlong* out = nullptr;
        const Status status = operation(&out, queue);
        EXPECT_EQ(out == nullptr, isError(status));
        if (out != nullptr) {
            EXPECT_EQ(VLONG_free(&out, queue), OK);
        }
        return status;
    };
    testheap::failEach([&] { return use(nullptr); });
    testheap::failEach([&] {
        vlong *queue = nullptr, *spare = nullptr;
        RETURN_IF_ERROR(VLONG_alloc(&spare, nullptr));
        Status status = VLONG_setUnit(spare, 2, 9);
        (void)VLONG_free(&spare, &queue);
        if (!isError(status)) {
            status = use(&queue);
        }
        EXPECT_EQ(VLONG_freeQueue(&queue), OK);
        return status;
    });
}

// An operation that changes its first operand.
void failInPlace(const Number& start, const std::function<Status(vlong*)>& operation) {
    testheap::failEach([&] {
        vlong* value = nullptr;
        RETURN_IF_ERROR(VLONG_newCopy(start.get(), &value, nullptr));
        const Status status = operation(value);
        EXPECT_TRUE(value->length == 0 || value->units[value->length - 1] != 0) << "not normalised";
        (void)VLONG_free(&value, nullptr);
        return status;
    });
}

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
    testheap::refuse(1);
    EXPECT_EQ(VLONG_addMagnitude(value, one), ERR_MEM_ALLOC_FAIL);
    testheap::refuse(0);
    EXPECT_TRUE(VLONG_isZero(value));
    EXPECT_EQ(VLONG_free(&value, nullptr), OK);
}

} // namespace
