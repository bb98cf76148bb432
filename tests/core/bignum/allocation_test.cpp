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

TEST_F(BignumAllocation, Arithmetic) {
    for (const std::size_t n : {3U, 8U, 16U}) {
        const Number a(random_.units(n)), b(random_.units(n)), large(random_.units(2 * n), true);
        const std::uint8_t bytes[12] = {0, 0, 0, 8, 0xF0, 1, 2, 3, 4, 5, 6, 7};
        const std::uint32_t words[3] = {1, 2, 3};
        std::uint32_t consumed = 0;
        failNewRecord([&](vlong** out, vlong** queue) { return VLONG_newCopy(a, out, queue); });
        failNewRecord([&](vlong** out, vlong** queue) { return VLONG_fromBytes(bytes, 12, out, queue); });
        failNewRecord([&](vlong** out, vlong**) { return VLONG_fromWords32(words, 3, out); });
        failNewRecord([&](vlong** out, vlong**) { return VLONG_fromMpint(bytes, 12, out, &consumed); });
        failNewRecord([&](vlong** out, vlong** queue) { return VLONG_mulSigned(a, b, out, queue); });
        failNewRecord([&](vlong** out, vlong** queue) { return VLONG_mulSigned(a, a, out, queue); });
        failNewRecord([&](vlong** out, vlong** queue) { return VLONG_mod(large, b, out, queue); });
        failNewRecord([&](vlong** out, vlong** queue) { return VLONG_div(large, b, out, queue); });
        failNewRecord([&](vlong** out, vlong** queue) { return VLONG_gcd(large, b, out, queue); });
        failNewRecord([&](vlong** out, vlong** queue) { return VLONG_modInverse(a, b, out, queue); });
        failInPlace(a, [&](vlong* value) { return VLONG_add(value, large, nullptr); });
        failInPlace(a, [&](vlong* value) { return VLONG_sub(value, large, nullptr); });
        failInPlace(a, [&](vlong* value) { return VLONG_decrement(value, nullptr); });
        failInPlace(a, [&](vlong* value) { return VLONG_shiftLeft(value, 64 * 9); });
    }
    const Number five(5);
    testheap::failEach([&] {
        std::uint8_t* bytes = nullptr;
        std::uint32_t count = 0;
        const Status status = VLONG_toMpint(five, &bytes, &count);
        void* block = bytes;
        (void)memWipeAndFree(&block, count);
        return status;
    });
}

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

// At 16 and 32 units every product in the scan needs scratch: a refusal there must not yield a wrong power.
TEST_F(BignumAllocation, Exponentiation) {
    for (const std::size_t k : {1U, 2U, 8U, 16U, 32U, 64U}) {
        bignumtest::Units units = random_.units(k);
        units[0] |= 1;
        const Number m(units), base(random_.units(k + 1)), exponent(random_.units(k < 32 ? 2 : 1));
        Number expected;
        ASSERT_EQ(VLONG_modExpBarrett(base, exponent, m, expected.out(), nullptr), OK);
        const auto checked = [&](Status status, vlong** out) {
            if (!isError(status)) {
                EXPECT_EQ(VLONG_cmp(*out, expected), 0);
            }
            return status;
        };
        failNewRecord(
            [&](vlong** out, vlong** queue) { return checked(VLONG_modExp(base, exponent, m, out, queue), out); });
        failNewRecord([&](vlong** out, vlong** queue) {
            return checked(VLONG_modExpBarrett(base, exponent, m, out, queue), out);
        });
        Number mu;
        ASSERT_EQ(VLONG_barrettMu(m, mu.out(), nullptr), OK);
        failNewRecord([&](vlong** out, vlong** queue) { return VLONG_barrettMu(m, out, queue); });
        failNewRecord([&](vlong** out, vlong** queue) { return VLONG_barrettMulMod(m, m, m, mu, out, queue); });
        MontgomeryCtx whole{};
        ASSERT_EQ(VLONG_initMontgomeryCtx(&whole, m, nullptr), OK);
        failNewRecord([&](vlong** out, vlong** queue) {
            return checked(VLONG_montExpBinary(&whole, base, exponent, out, queue), out);
        });
        ASSERT_EQ(VLONG_clearMontgomeryCtx(&whole, nullptr), OK);
        testheap::failEach([&] {
            MontgomeryCtx *context = nullptr, *clone = nullptr;
            Status status = VLONG_newMontgomeryCtx(&context, m, nullptr);
            if (!isError(status)) {
                status = VLONG_cloneMontgomeryCtx(context, &clone, nullptr);
            }
            vlong *first = nullptr, *second = nullptr;
            if (!isError(status)) {
                status =
                    VLONG_modExpCtxPair({context, base, exponent, &first}, {clone, base, exponent, &second}, nullptr);
                EXPECT_EQ(first == nullptr, isError(status));
                EXPECT_EQ(second == nullptr, isError(status));
                EXPECT_TRUE(isError(status) || (VLONG_cmp(first, expected) == 0 && VLONG_cmp(second, expected) == 0));
            }
            (void)VLONG_free(&first, nullptr); // null after a refusal
            (void)VLONG_free(&second, nullptr);
            EXPECT_EQ(VLONG_deleteMontgomeryCtx(&context, nullptr), OK);
            EXPECT_EQ(VLONG_deleteMontgomeryCtx(&clone, nullptr), OK);
            return status;
        });
    }
}

} // namespace
