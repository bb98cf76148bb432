// Records, storage, units and conversions; what the vectors do not reach in sums and quotients.
#include "core/bignum/modexp.h"
#include "core/bignum/vlong_convert.h"
#include "core/bignum/vlong_math.h"
#include "core/memory/memory.h"
#include "tests/core/bignum/bignum_support.h"
#include "tests/support/test_heap.h"

#include <algorithm>
#include <limits>

namespace {

using bignumtest::Number;
using bignumtest::Units;

using Bytes = std::vector<std::uint8_t>;

TEST(Vlong, QueueRecyclesRecordsAndWipesAtTheEnd) {
    const std::uint64_t live = testheap::liveBlocks(), dirty = testheap::dirtyFrees();
    vlong *queue = nullptr, *first = nullptr, *second = nullptr;
    ASSERT_EQ(VLONG_newValue(7, &first, &queue), OK);
    ASSERT_EQ(VLONG_newValue(8, &second, &queue), OK);
    first->negative = 1;
    vlong* const firstRecord = first;
    const Unit* const firstUnits = first->units;
    EXPECT_EQ(VLONG_free(&first, &queue), OK);
    EXPECT_EQ(VLONG_free(&second, &queue), OK);
    EXPECT_EQ(first, nullptr);
    EXPECT_EQ(queue->next, firstRecord);
    EXPECT_EQ(firstUnits[0], 7U); // parked as it was
    ASSERT_EQ(VLONG_alloc(&second, &queue), OK);
    ASSERT_EQ(VLONG_alloc(&first, &queue), OK); // last in, first out
    EXPECT_EQ(first, firstRecord);
    EXPECT_EQ(first->units, firstUnits);
    EXPECT_EQ(first->length, 0U);
    EXPECT_EQ(first->negative, 0U);
    EXPECT_EQ(first->next, nullptr);
    EXPECT_EQ(queue, nullptr);
    EXPECT_EQ(VLONG_free(&first, &queue), OK);
    EXPECT_EQ(VLONG_free(&second, nullptr), OK);
    EXPECT_EQ(VLONG_freeQueue(&queue), OK);
    EXPECT_EQ(VLONG_freeQueue(&queue), OK);
    EXPECT_EQ(VLONG_freeQueue(nullptr), OK);
    EXPECT_EQ(testheap::liveBlocks(), live);
    EXPECT_EQ(testheap::dirtyFrees(), dirty);
}

TEST(Vlong, StorageGrowth) {
    const std::uint64_t dirty = testheap::dirtyFrees();
    const Number kept("3.2.1");
    EXPECT_EQ(VLONG_growKeep(kept, 10), OK);
    EXPECT_EQ(kept.get()->capacity, 13U);
    EXPECT_EQ(kept, Number("3.2.1"));
    EXPECT_EQ(VLONG_growDiscard(kept, 13), OK); // enough there: the value stays
    EXPECT_EQ(kept, Number("3.2.1"));
    EXPECT_EQ(VLONG_growDiscard(kept, 14), OK);
    EXPECT_EQ(kept.get()->capacity, 15U);
    EXPECT_EQ(kept, Number(Unit{0}));
    for (const auto grow : {VLONG_growKeep, VLONG_growDiscard}) {
        const Number value(1);
        EXPECT_EQ(grow(value, kMaxUnits + 1), ERR_BAD_LENGTH);
        EXPECT_EQ(grow(value, std::numeric_limits<std::uint64_t>::max()), ERR_BAD_LENGTH);
        EXPECT_EQ(grow(value, kMaxUnits), OK);
        EXPECT_GT(value.get()->capacity, kMaxUnits);
        EXPECT_EQ(grow(value, kMaxUnits + 1), ERR_BAD_LENGTH); // though the spare units would hold it
    }
    EXPECT_EQ(testheap::dirtyFrees(), dirty);
}

TEST(Vlong, CopyOntoItselfKeepsTheValue) {
    const Number value("-9.8.7");
    EXPECT_EQ(VLONG_copy(value, value), OK);
    EXPECT_EQ(value, Number("-9.8.7"));
    EXPECT_EQ(VLONG_copyMagnitude(value, value), OK);
    EXPECT_EQ(value, Number("-9.8.7"));
}

TEST(Vlong, UnitsAndBits) {
    const Number value;
    ASSERT_EQ(const_cast<Number&>(value).alloc(), OK);
    EXPECT_EQ(VLONG_getUnit(value, 0), 0U); // no units behind it yet
    EXPECT_FALSE(VLONG_testBit(value, 0));
    EXPECT_EQ(VLONG_bitLength(value), 0U);
    EXPECT_EQ(VLONG_montNegInverse64(value), VLONG_montNegInverse64(Number(Unit{0})));
    EXPECT_EQ(VLONG_setUnit(value, 5, 0), OK); // a zero is not stored above the length
    EXPECT_EQ(value, Number(Unit{0}));
    EXPECT_EQ(VLONG_setUnit(value, 2, 0xABCD), OK);
    EXPECT_EQ(value, Number("abcd.0.0"));
    EXPECT_EQ(VLONG_bitLength(value), 144U);
    EXPECT_EQ(VLONG_getByte(value, 16), 0xCD);
    EXPECT_EQ(VLONG_getByte(value, 17), 0xAB);
    EXPECT_EQ(VLONG_getByte(value, 4000), 0);
    EXPECT_TRUE(VLONG_testBit(value, 143));
    EXPECT_FALSE(VLONG_testBit(value, 144));
    EXPECT_EQ(VLONG_setBit(value, 0), OK);
    EXPECT_EQ(VLONG_setUnit(value, 2, 0), OK); // the top goes, and the zero below it
    EXPECT_EQ(value, Number(1));
    EXPECT_EQ(VLONG_setBit(value, 64 * kMaxUnits - 1), OK);
    EXPECT_EQ(VLONG_bitLength(value), 64 * kMaxUnits);
    EXPECT_EQ(VLONG_setBit(value, 64 * kMaxUnits), ERR_BAD_LENGTH);
    EXPECT_EQ(VLONG_setBit(value, std::numeric_limits<std::uint32_t>::max()), ERR_BAD_LENGTH);
    EXPECT_EQ(VLONG_setUnit(value, std::numeric_limits<std::uint32_t>::max(), 1), ERR_BAD_LENGTH);
}

TEST(Vlong, LimitsOfBytesAndWords) {
    const Bytes zeros(65536), ones(65535, 0xFF);
    Number value;
    EXPECT_EQ(VLONG_fromBytes(ones.data(), 65535, value.out(), nullptr), OK);
    EXPECT_EQ(value, Number("ffffffffffffff.ffffffffffffffff*8191"));
    for (const std::int32_t count :
         {65536, -1, std::numeric_limits<std::int32_t>::min()}) { // one too many though all zero
        EXPECT_EQ(VLONG_fromBytes(zeros.data(), count, value.out(), nullptr), ERR_BAD_LENGTH);
        EXPECT_EQ(value.get(), nullptr);
    }
    const std::vector<std::uint32_t> words(2 * kMaxUnits, 1);
    EXPECT_EQ(VLONG_fromWords32(words.data(), 2 * kMaxUnits, value.out()), OK);
    EXPECT_EQ(VLONG_fromWords32(words.data(), 2 * kMaxUnits + 1, value.out()), ERR_BAD_LENGTH);
    EXPECT_EQ(VLONG_fromWords32(words.data(), std::numeric_limits<std::uint32_t>::max(), value.out()), ERR_BAD_LENGTH);
    std::vector<std::uint32_t> behindZeros(2 * kMaxUnits + 2);
    behindZeros.back() = 7;
    EXPECT_EQ(VLONG_fromWords32(behindZeros.data(), 2 * kMaxUnits + 2, value.out()), OK);
    EXPECT_EQ(value.text(), "7");
    std::uint8_t low[3];
    EXPECT_EQ(VLONG_toBytesFixed(Number("11223344"), low, 3), OK); // the high byte is lost
    EXPECT_EQ(Bytes(low, low + 3), (Bytes{0x22, 0x33, 0x44}));
}

TEST(Vlong, AProductAboveTheLimitIsRefusedBeforeItTakesScratch) {
    const Number a(Units(kMaxUnits, 1)), product(1);
    testheap::refuse(1);
    EXPECT_EQ(VLONG_square(product, a), ERR_BAD_LENGTH);
    testheap::refuse(0);
}

TEST(Vlong, AnUnorderedDifferenceStaysWithinItsUnits) {
    const Number small("1"), large("2.0");
    EXPECT_EQ(VLONG_subMagnitude(small, large), OK);
    EXPECT_EQ(small, Number("1"));
}

TEST(Vlong, Print) {
    const Bytes bytes(49, 0xA5);
    Number value;
    ASSERT_EQ(VLONG_fromBytes(bytes.data(), 49, value.out(), nullptr), OK);
    testing::internal::CaptureStdout();
    EXPECT_EQ(VLONG_print("n", value), OK);
    EXPECT_EQ(VLONG_print("zero", Number("0")), OK);
    std::string text = testing::internal::GetCapturedStdout();
    text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
    const std::string line = "A5A5A5A5A5A5A5A5A5A5A5A5A5A5A5A5A5A5A5A5A5A5A5A5\\\n";
    EXPECT_EQ(text, "n\n" + line + line + "A5\nzero\n\n");
}

TEST(Vlong, MontgomeryZeroAsADivisor) {
    const Number zero(1), a("5.5");
    zero.get()->units[0] = 0; // length 1 and no value, as a Montgomery product leaves it
    Number out;
    EXPECT_EQ(VLONG_mod(a, zero, out.out(), nullptr), ERR_DIVIDE_BY_ZERO);
    EXPECT_EQ(VLONG_mod(zero, a, out.out(), nullptr), OK);
    EXPECT_EQ(out.get()->length, 0u);
}

TEST(Vlong, NullArguments) {
    const Number n(5);
    Number result;
    vlong *v = n, *null = nullptr, **out = result.out();
    MontgomeryCtx context{}, whole{}, *made = nullptr;
    ASSERT_EQ(VLONG_initMontgomeryCtx(&whole, v, nullptr), OK);
    std::uint8_t byte = 0, *bytes = nullptr;
    std::uint32_t word = 0;
    vlong **const q = nullptr, **const none = nullptr;
    const Status statuses[] = {
#include "tests/core/bignum/null_arguments.inc"
    };
    for (std::size_t i = 0; i < std::size(statuses); ++i) {
        EXPECT_EQ(statuses[i], ERR_NULL_POINTER) << "call " << i;
    }
    EXPECT_EQ(VLONG_clearMontgomeryCtx(&whole, nullptr), OK);
    EXPECT_EQ(n, Number(5));
    EXPECT_EQ(VLONG_getUnit(nullptr, 0), 0U);
    EXPECT_EQ(VLONG_cmp(nullptr, n), -1);
    EXPECT_EQ(VLONG_cmpUnit(nullptr, 0), 0);
    EXPECT_TRUE(VLONG_isZero(nullptr));
}

} // namespace
