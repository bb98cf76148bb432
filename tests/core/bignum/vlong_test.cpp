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
    EXPECT_EQ(value, Number("9.8.7"));
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

TEST(Vlong, ComparisonWithAUnitBelievesTheSignFlag) {
    const struct {
        const char* value;
        Unit unit;
        std::int32_t order;
    } cases[] = {{"0", 0, 0},  {"0", 1, -1},         {"5", 4, 1},   {"5", 5, 0},
                 {"5", 6, -1}, {"1.0", ~Unit{0}, 1}, {"-5", 0, -1}, {"-0", 0, -1}};
    for (const auto& test : cases) {
        EXPECT_EQ(VLONG_cmpUnit(Number(test.value), test.unit), test.order) << test.value;
    }
    EXPECT_EQ(VLONG_cmp(Number("-0"), Number("0")), 0);
    EXPECT_EQ(VLONG_cmp(Number("-0"), Number("-1")), 1);
    EXPECT_TRUE(VLONG_isZero(Number("-0")));
}

TEST(Vlong, SumsWithUnits) {
    const struct {
        const char *value, *plusOne, *minusOne;
    } cases[] = {{"0", "1", "-1"},
                 {"-1", "-0", "-2"},
                 {"1", "2", "0"},
                 {"ffffffffffffffff*2", "1.0.0", "ffffffffffffffff.fffffffffffffffe"},
                 {"-1.0", "-ffffffffffffffff", "-1.1"}};
    for (const auto& test : cases) {
        const Number up(test.value), down(test.value);
        EXPECT_EQ(VLONG_increment(up, nullptr), OK);
        EXPECT_EQ(VLONG_decrement(down, nullptr), OK);
        EXPECT_EQ(up, Number(test.plusOne));
        EXPECT_EQ(down, Number(test.minusOne));
    }
    const Number value("-5");
    EXPECT_EQ(VLONG_addUnit(value, ~Unit{0}, nullptr), OK);
    EXPECT_EQ(value, Number("fffffffffffffffa"));
    const Number small("1"), large("2.0"); // too large a subtrahend wraps within the length and touches nothing above
    EXPECT_EQ(VLONG_subMagnitude(small, large), OK);
    EXPECT_EQ(small, Number("1"));
}

TEST(Vlong, FromBytes) {
    const Bytes zeros(65535), ones(65535, 0xFF), tooMany(65536);
    const struct {
        Bytes bytes;
        const char* value;
    } cases[] = {{{0}, "0"},
                 {zeros, "0"},
                 {{0, 0, 1}, "1"},
                 {{1, 2, 3, 4, 5, 6, 7, 8}, "102030405060708"},
                 {{9, 1, 2, 3, 4, 5, 6, 7, 8}, "9.102030405060708"},
                 {ones, "ffffffffffffff.ffffffffffffffff*8191"}};
    Number value;
    for (const auto& test : cases) {
        EXPECT_EQ(
            VLONG_fromBytes(test.bytes.data(), static_cast<std::int32_t>(test.bytes.size()), value.out(), nullptr), OK);
        EXPECT_EQ(value, Number(test.value));
    }
    EXPECT_EQ(VLONG_fromBytes(zeros.data(), 0, value.out(), nullptr), OK);
    EXPECT_EQ(value, Number(Unit{0}));
    for (const std::int32_t count : {-1, std::numeric_limits<std::int32_t>::min(), 65536}) {
        EXPECT_EQ(VLONG_fromBytes(tooMany.data(), count, value.out(), nullptr), ERR_BAD_LENGTH) << count;
        EXPECT_EQ(value.get(), nullptr);
    }
}

TEST(Vlong, ToBytes) {
    const struct {
        const char* value;
        std::uint32_t count;
        Status status;
        Bytes bytes;
    } cases[] = {{"0", 0, OK, {}},
                 {"0", 2, OK, {0, 0}},
                 {"-1ff", 2, OK, {1, 0xFF}},
                 {"1ff", 4, OK, {0, 0, 1, 0xFF}},
                 {"1ff", 1, ERR_BUFFER_OVERFLOW, {0xEE}},
                 {"1.0", 9, OK, {1, 0, 0, 0, 0, 0, 0, 0, 0}},
                 {"1.0", 8, ERR_BUFFER_OVERFLOW, Bytes(8, 0xEE)}};
    for (const auto& test : cases) {
        SCOPED_TRACE(test.value);
        Bytes buffer(test.count + 1, 0xEE);
        std::uint32_t count = test.count;
        EXPECT_EQ(VLONG_toBytes(Number(test.value), buffer.data(), &count), test.status);
        EXPECT_EQ(count, test.count);
        EXPECT_EQ(Bytes(buffer.begin(), buffer.end() - 1), test.bytes);
        EXPECT_EQ(buffer.back(), 0xEE);
    }
    for (const auto& [value, needed] : {std::pair{"0", 0U}, {"ff", 1U}, {"100", 2U}, {"1.0", 9U}}) {
        std::uint32_t count = 99;
        EXPECT_EQ(VLONG_toBytes(Number(value), nullptr, &count), OK);
        EXPECT_EQ(count, needed);
    }
    std::uint8_t low[3];
    EXPECT_EQ(VLONG_toBytesFixed(Number("11223344"), low, 3), OK); // the high byte is lost
    EXPECT_EQ(Bytes(low, low + 3), (Bytes{0x22, 0x33, 0x44}));
}

TEST(Vlong, FromWords32) {
    const std::uint32_t words[] = {1, 2, 3};
    Number value;
    for (const auto& [count, text] : {std::pair{0U, "0"}, {1U, "1"}, {2U, "100000002"}, {3U, "1.200000003"}}) {
        EXPECT_EQ(VLONG_fromWords32(words, count, value.out()), OK);
        EXPECT_EQ(value, Number(text));
    }
    EXPECT_EQ(VLONG_fromWords32(words, 2 * kMaxUnits + 1, value.out()), ERR_BAD_LENGTH);
    EXPECT_EQ(VLONG_fromWords32(words, std::numeric_limits<std::uint32_t>::max(), value.out()), ERR_BAD_LENGTH);
}

TEST(Vlong, FromMpint) {
    const struct {
        Bytes bytes;
        Status status;
        const char* value;
        std::uint32_t consumed; // 77: not set
    } cases[] = {{{0, 0, 0}, ERR_BAD_LENGTH, nullptr, 77},
                 {{0, 0, 0, 0}, OK, "0", 4},
                 {{0, 0, 0, 1, 0x7F, 0xEE}, OK, "7f", 5},
                 {{0, 0, 0, 1, 0xFF}, OK, "-1", 5},
                 {{0, 0, 0, 1, 0x80}, OK, "-0", 5}, // and so for every 80 00 ..: kept
                 {{0, 0, 0, 2, 0x80, 0}, OK, "-0", 6},
                 {{0, 0, 0, 9, 0x80, 0, 0, 0, 0, 0, 0, 0, 0}, OK, "-0", 13},
                 {{0, 0, 0, 2, 0xFF, 0x80}, OK, "-80", 6},
                 {{0, 0, 0, 3, 1, 2}, ERR_BAD_LENGTH, nullptr, 7},
                 {{0x7F, 0xFF, 0xFF, 0xFF}, ERR_BAD_LENGTH, nullptr, 0x80000003},
                 {{0xFF, 0xFF, 0xFF, 0xFF, 0}, ERR_BAD_LENGTH, nullptr, 3}};
    for (const auto& test : cases) {
        Number value;
        std::uint32_t consumed = 77;
        EXPECT_EQ(
            VLONG_fromMpint(test.bytes.data(), static_cast<std::uint32_t>(test.bytes.size()), value.out(), &consumed),
            test.status);
        EXPECT_EQ(consumed, test.consumed);
        EXPECT_EQ(value.text(), test.value == nullptr ? "none" : Number(test.value).text());
    }
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
    EXPECT_EQ(out, Number(Unit{0}));
}

TEST(Vlong, NullArguments) {
    const Number n(5);
    Number result;
    vlong *v = n, *null = nullptr, **out = result.out();
    MontgomeryCtx context{};
    std::uint8_t byte = 0, *bytes = nullptr;
    std::uint32_t word = 0;
    vlong **const q = nullptr, **const none = nullptr;
    const Status statuses[] = {VLONG_alloc(none, q),
                               VLONG_free(none, q),
                               VLONG_free(&null, q),
                               VLONG_newValue(1, none, q),
                               VLONG_newCopy(null, out, q),
                               VLONG_newCopy(v, none, q),
                               VLONG_copy(null, v),
                               VLONG_copy(v, null),
                               VLONG_copyMagnitude(null, v),
                               VLONG_copyMagnitude(v, null),
                               VLONG_clear(null),
                               VLONG_setValue(null, 1),
                               VLONG_growKeep(null, 1),
                               VLONG_growDiscard(null, 1),
                               VLONG_setUnit(null, 0, 1),
                               VLONG_setBit(null, 0),
                               VLONG_fromBytes(nullptr, 0, out, q),
                               VLONG_fromBytes(&byte, -1, none, q),
                               VLONG_toBytes(null, &byte, &word),
                               VLONG_toBytes(v, &byte, nullptr),
                               VLONG_toBytesFixed(null, &byte, 1),
                               VLONG_toBytesFixed(v, nullptr, 1),
                               VLONG_fromWords32(nullptr, 0, out),
                               VLONG_fromWords32(&word, 0, none),
                               VLONG_fromMpint(nullptr, 4, out, &word),
                               VLONG_fromMpint(&byte, 1, none, &word),
                               VLONG_fromMpint(&byte, 1, out, nullptr),
                               VLONG_toMpint(null, &bytes, &word),
                               VLONG_toMpint(v, nullptr, &word),
                               VLONG_toMpint(v, &bytes, nullptr),
                               VLONG_print(nullptr, v),
                               VLONG_print("", null),
                               VLONG_add(null, v, q),
                               VLONG_add(v, null, q),
                               VLONG_sub(null, v, q),
                               VLONG_sub(v, null, q),
                               VLONG_addUnit(null, 1, q),
                               VLONG_increment(null, q),
                               VLONG_decrement(null, q),
                               VLONG_addMagnitude(null, v),
                               VLONG_addMagnitude(v, null),
                               VLONG_subMagnitude(null, v),
                               VLONG_subMagnitude(v, null),
                               VLONG_mul(null, v, v),
                               VLONG_mul(v, null, v),
                               VLONG_mul(v, v, null),
                               VLONG_square(null, v),
                               VLONG_square(v, null),
                               VLONG_mulSigned(null, v, out, q),
                               VLONG_mulSigned(v, null, out, q),
                               VLONG_mulSigned(v, v, none, q),
                               VLONG_mulColumns(null, v, v, 1),
                               VLONG_squareColumns(v, null, 1),
                               VLONG_divide(null, v, v, v, q),
                               VLONG_divide(v, null, v, v, q),
                               VLONG_divide(v, v, null, v, q),
                               VLONG_divide(v, v, v, null, q),
                               VLONG_mod(null, v, out, q),
                               VLONG_mod(v, null, out, q),
                               VLONG_mod(v, v, none, q),
                               VLONG_div(v, null, out, q),
                               VLONG_shiftLeft(null, 1),
                               VLONG_shiftRight(null, 1),
                               VLONG_shiftLeft1(null),
                               VLONG_shiftRight1(null),
                               VLONG_gcd(null, v, out, q),
                               VLONG_gcd(v, v, none, q),
                               VLONG_modInverse(null, v, out, q),
                               VLONG_modInverse(v, v, none, q),
                               VLONG_modExp(null, v, v, out, q),
                               VLONG_modExp(v, null, v, out, q),
                               VLONG_modExp(v, v, null, out, q),
                               VLONG_modExp(v, v, v, none, q),
                               VLONG_newMontgomeryCtx(nullptr, v, q),
                               VLONG_initMontgomeryCtx(&context, null, q),
                               VLONG_initMontgomeryCtx(nullptr, v, q),
                               VLONG_cloneMontgomeryCtx(nullptr, nullptr, q),
                               VLONG_modExpCtx(nullptr, v, v, out, q),
                               VLONG_modExpCtx(&context, v, v, out, q), // a context without a modulus
                               VLONG_montMultiply(nullptr, v, v, v),
                               VLONG_montMultiply(&context, v, v, null),
                               VLONG_montSquare(&context, null, v)};
    for (std::size_t i = 0; i < std::size(statuses); ++i) {
        EXPECT_EQ(statuses[i], ERR_NULL_POINTER) << "call " << i;
    }
    EXPECT_EQ(n, Number(5));
    EXPECT_EQ(VLONG_getUnit(nullptr, 0), 0U);
    EXPECT_EQ(VLONG_cmp(nullptr, n), -1);
    EXPECT_EQ(VLONG_cmpUnit(nullptr, 0), 0);
    EXPECT_TRUE(VLONG_isZero(nullptr));
}

} // namespace
