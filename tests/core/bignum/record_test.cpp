// Records, storage, units, limits and Montgomery products: what the vectors do not reach.
#include "core/bignum/modexp.h"
#include "core/bignum/vlong_convert.h"
#include "core/bignum/vlong_math.h"
#include "tests/support/faults.h"
#include "tests/support/number.h"
#include "tests/support/vectors.h"

namespace {

TEST(Bignum, StorageUnitsAndBits) {
    const Number kept("-3.2.1"), value("0");
    EXPECT_EQ(VLONG_growKeep(kept, 10), OK);
    EXPECT_EQ(kept.get()->capacity, 13U);
    EXPECT_EQ(VLONG_growDiscard(kept, 13), OK); // enough there: the value stays
    EXPECT_EQ(VLONG_copy(kept, kept), OK);
    EXPECT_EQ(VLONG_copyMagnitude(kept, kept), OK);
    EXPECT_EQ(kept.text(), "-3.2.1");
    EXPECT_EQ(VLONG_growDiscard(kept, 14), OK);
    EXPECT_EQ(kept.get()->capacity, 15U);
    EXPECT_TRUE(VLONG_isZero(kept));
    for (const auto grow : {VLONG_growKeep, VLONG_growDiscard}) {
        const Number one("1");
        EXPECT_EQ(grow(one, ~std::uint64_t{0}), ERR_BAD_LENGTH);
        EXPECT_EQ(grow(one, kMaxUnits), OK);
        EXPECT_EQ(grow(one, kMaxUnits + 1), ERR_BAD_LENGTH); // though the spare units would hold it
    }
    EXPECT_FALSE(VLONG_testBit(value, 0));     // no units behind it yet
    EXPECT_EQ(VLONG_setUnit(value, 5, 0), OK); // a zero is not stored above the length
    EXPECT_EQ(value.text(), "0");
    EXPECT_EQ(VLONG_setUnit(value, 2, 0xABCD), OK);
    EXPECT_EQ(value.text(), "abcd.0*2");
    EXPECT_EQ(VLONG_getUnit(value, 2) + VLONG_getUnit(value, 3), 0xABCDU);
    EXPECT_TRUE(VLONG_getByte(value, 17) == 0xAB && VLONG_getByte(value, 4000) == 0);
    EXPECT_TRUE(VLONG_testBit(value, 143) && !VLONG_testBit(value, 144) && VLONG_bitLength(value) == 144);
    EXPECT_EQ(VLONG_setBit(value, 0), OK);
    EXPECT_EQ(VLONG_setUnit(value, 2, 0), OK); // the top goes, and the zero below it
    EXPECT_EQ(value.text(), "1");
    EXPECT_EQ(VLONG_setBit(value, 64 * kMaxUnits - 1), OK);
    EXPECT_EQ(VLONG_bitLength(value), 64 * kMaxUnits);
    EXPECT_EQ(VLONG_setBit(value, 64 * kMaxUnits), ERR_BAD_LENGTH);
    EXPECT_EQ(VLONG_setUnit(value, ~0U, 1), ERR_BAD_LENGTH);
}

TEST(Bignum, Limits) {
    std::vector<std::uint32_t> words(2 * kMaxUnits + 2);
    Number value;
    words.back() = 7; // behind zeros
    EXPECT_EQ(VLONG_fromWords32(words.data(), 2 * kMaxUnits + 2, value.out()), OK);
    EXPECT_EQ(value.text(), "7");
    words[1] = 1;
    EXPECT_EQ(VLONG_fromWords32(words.data() + 1, 2 * kMaxUnits, value.out()), OK);
    EXPECT_EQ(VLONG_fromWords32(words.data() + 1, 2 * kMaxUnits + 1, value.out()), ERR_BAD_LENGTH);
    EXPECT_EQ(VLONG_fromWords32(words.data() + 1, ~0U, value.out()), ERR_BAD_LENGTH);
    EXPECT_EQ(VLONG_fromBytes(Bytes(1).data(), -1, value.out(), nullptr), ERR_BAD_LENGTH);
    EXPECT_EQ(value.get(), nullptr);
    Bytes low(3);
    EXPECT_EQ(VLONG_toBytesFixed(Number("11223344"), low.data(), 3), OK); // the high byte is lost
    EXPECT_EQ(textOf(low), "223344");

    const Number one("1"), full(Units(kMaxUnits, 1)), small("1");
    { // a product above the limit takes no scratch
        const Fault refused(heapFaults(), 1);
        EXPECT_EQ(VLONG_square(small, full), ERR_BAD_LENGTH);
    }
    EXPECT_EQ(VLONG_setValue(small, 1), OK);
    EXPECT_EQ(VLONG_subMagnitude(small, Number("2.0")), OK); // an unordered difference stays within its units
    EXPECT_EQ(small.text(), "1");
    // Moduli for Montgomery's and for Barrett's method, then bases.
    for (const auto& [base, modulus, status] : {std::tuple{"3", "f.0*4092.1", OK},
                                                {"3", "f.0*4092.2", OK},
                                                {"3", "f.0*4094.1", ERR_BAD_LENGTH},
                                                {"3", "f.0*4094.2", ERR_BAD_LENGTH},
                                                {"5*8189", "7.7", OK},
                                                {"5*8190", "7.7", ERR_BAD_LENGTH}}) {
        EXPECT_EQ(VLONG_modExp(Number(base), one, Number(modulus), value.out(), nullptr), status) << modulus;
    }
    EXPECT_EQ(VLONG_barrettReduce(Number("1.0.0"), Number("7"), one, value.out(), nullptr), ERR_BAD_LENGTH);

    // What is left of a sum whose carry finds no room is zero, and must look like one.
    small.get()->length = small.get()->capacity;
    std::fill_n(small.get()->units, small.get()->length, ~Unit{0});
    const Fault refused(heapFaults(), 1);
    EXPECT_EQ(VLONG_addMagnitude(small, one), ERR_MEM_ALLOC_FAIL);
    EXPECT_TRUE(VLONG_isZero(small));
}

TEST(Bignum, PrintAndMontgomeryZeros) {
    testing::internal::CaptureStdout();
    EXPECT_EQ(VLONG_print("n", Number(std::string(98, 'a'))), OK);
    EXPECT_EQ(VLONG_print("zero", Number("0")), OK);
    std::string text = testing::internal::GetCapturedStdout();
    std::erase(text, '\r');
    const std::string line = std::string(48, 'A') + "\\\n";
    EXPECT_EQ(text, "n\n" + line + line + "AA\nzero\n\n");

    const Number zero("1"), a("5.5");
    zero.get()->units[0] = 0; // length 1 and no value, as a Montgomery product leaves it
    Number out;
    EXPECT_EQ(VLONG_mod(a, zero, out.out(), nullptr), ERR_DIVIDE_BY_ZERO);
    EXPECT_EQ(VLONG_mod(zero, a, out.out(), nullptr), OK);
    EXPECT_EQ(out.text(), "0");
}

struct Context : MontgomeryCtx {
    explicit Context(const Number& m) {
        EXPECT_EQ(VLONG_initMontgomeryCtx(this, m, nullptr), OK);
    }
    ~Context() {
        EXPECT_EQ(VLONG_clearMontgomeryCtx(this, nullptr), OK);
    }
};

// R mod m and small bases in Montgomery form are a single unit: 105 is 1.
const std::string kNearlyTheRadix = "ffffffffffffffff*15.ffffffffffffff97";

TEST(Montgomery, ProductsOfRecords) {
    const Number scratch("1"), tooLong(Units(17, 1)), zero("0"), one(105), two(2 * 105), seven(7 * 105);
    const Context context{Number(kNearlyTheRadix)}, empty(zero);
    const auto multiply = [&scratch](const MontgomeryCtx& by, vlong* a, const vlong* b) {
        return b == nullptr ? VLONG_montSquare(&by, a, scratch) : VLONG_montMultiply(&by, a, b, scratch);
    };
    for (const vlong* other : {one.get(), static_cast<vlong*>(nullptr)}) { // a square
        const Number x("0");
        EXPECT_EQ(multiply(context, x, other), OK);
        EXPECT_TRUE(x.get()->length == 1 && x.get()->units[0] == 0); // a zero is left with one unit
        EXPECT_EQ(multiply(context, tooLong, other), ERR_BAD_LENGTH);
        EXPECT_EQ(multiply(empty, one, other), ERR_BAD_MODULO);
    }
    EXPECT_EQ(multiply(context, one, tooLong), ERR_BAD_LENGTH);
    EXPECT_EQ(multiply(context, one, two), OK); // with too little room for the modulus
    EXPECT_EQ(one, two);
    EXPECT_EQ(multiply(context, seven, seven), OK);
    EXPECT_EQ(seven, Number(105 * 49));
}

TEST(Montgomery, EdgesOfContexts) {
    const Context empty(Number("0")), unity(Number("1")), five(Number("5")), half(Number("7*8")),
        large{Number(kNearlyTheRadix)};
    const Context longest(Number("1.0*4093.1")), tooLong(Number("1.0*4094.1")); // whose squared radix has no room
    EXPECT_TRUE(longest.radixSquared->length > 0 && tooLong.radixSquared->length == 0);
    const Number base("5.5.5.5"), zero("0");
    Number first, last;
    for (const auto& [context, powerToZero] : {std::pair{&empty, "none"}, {&unity, "0"}, {&five, "1"}}) {
        MontgomeryCtx* clone = nullptr;
        ASSERT_EQ(VLONG_cloneMontgomeryCtx(context, &clone, nullptr), OK);
        const Status expected = context == &empty ? ERR_DIVIDE_BY_ZERO : OK;
        EXPECT_EQ(VLONG_modExpCtx(clone, base, base, first.out(), nullptr), expected);
        EXPECT_EQ(VLONG_montExpWindow(clone, base, zero, first.out(), nullptr), expected);
        EXPECT_EQ(first.text(), powerToZero);
        EXPECT_EQ(VLONG_modExpCtx(clone, base, zero, first.out(), nullptr), OK);
        EXPECT_EQ(first.text(), "1");
        EXPECT_EQ(VLONG_deleteMontgomeryCtx(&clone, nullptr), OK);
        EXPECT_EQ(VLONG_deleteMontgomeryCtx(&clone, nullptr), OK);
    }
    EXPECT_EQ(VLONG_deleteMontgomeryCtx(nullptr, nullptr), OK);
    EXPECT_EQ(VLONG_clearMontgomeryCtx(nullptr, nullptr), OK);
    // Two powers at once: of moduli of different sizes, and where one is trivial (0^0 is 0), or fails.
    for (const auto& [value, other] : {std::pair{&base, &half}, {&zero, &large}, {&base, &large}}) {
        Number expected;
        EXPECT_EQ(VLONG_modExpCtxPair({&large, *value, *value, first.out()}, {other, base, base, last.out()}, nullptr),
                  OK);
        EXPECT_EQ(VLONG_modExpCtx(&large, *value, *value, expected.out(), nullptr), OK);
        EXPECT_EQ(first, expected);
        EXPECT_EQ(VLONG_modExpCtx(other, base, base, expected.out(), nullptr), OK);
        EXPECT_EQ(last, expected);
    }
    EXPECT_EQ(VLONG_modExpCtxPair({&large, base, base, first.out()}, {&empty, base, base, last.out()}, nullptr),
              ERR_DIVIDE_BY_ZERO);
    EXPECT_TRUE(first.get() == nullptr && last.get() == nullptr);
}

TEST(Bignum, NullArguments) {
    expectNullsRefusedByEach(
        VLONG_alloc, VLONG_free, VLONG_newValue, VLONG_newCopy, VLONG_barrettMu, VLONG_copy, VLONG_copyMagnitude,
        VLONG_addMagnitude, VLONG_subMagnitude, VLONG_square, VLONG_clear, VLONG_shiftLeft1, VLONG_shiftRight1,
        VLONG_setValue, VLONG_growKeep, VLONG_growDiscard, VLONG_setUnit, VLONG_setBit, VLONG_shiftLeft,
        VLONG_shiftRight, VLONG_fromBytes, VLONG_toBytesFixed, VLONG_fromMpint, VLONG_toMpint, VLONG_print, VLONG_add,
        VLONG_sub, VLONG_addUnit, VLONG_increment, VLONG_decrement, VLONG_mul, VLONG_mulColumns, VLONG_squareColumns,
        VLONG_divide, VLONG_mulSigned, VLONG_mod, VLONG_div, VLONG_gcd, VLONG_modInverse, VLONG_modExp,
        VLONG_modExpMontgomery, VLONG_modExpBarrett, VLONG_barrettReduce, VLONG_barrettMulMod, VLONG_newMontgomeryCtx,
        VLONG_initMontgomeryCtx, VLONG_cloneMontgomeryCtx, VLONG_montMultiply, VLONG_montSquare);
    const Context context(Number("5"));
    MontgomeryCtx *made = nullptr, bare{};
    const Number v("5");
    Number out;
    vlong *none = nullptr, **const q = nullptr, **const o = out.out();
    std::uint32_t word = 0;
    expectNullsRefused({VLONG_modExpCtx, VLONG_montExpWindow, VLONG_montExpBinary}, &context, v, v, o, q);
    expectNullsRefused({VLONG_toBytes}, v, nullptr, &word);
    expectNullsRefused({VLONG_fromWords32}, &word, 1, o);
    EXPECT_EQ(VLONG_free(&none, q), ERR_NULL_POINTER);
    EXPECT_EQ(VLONG_cloneMontgomeryCtx(&bare, &made, q), ERR_NULL_POINTER);
    EXPECT_EQ(VLONG_modExpCtx(&bare, v, v, o, q), ERR_NULL_POINTER);
    EXPECT_EQ(VLONG_modExpCtxPair({nullptr, v, v, o}, {&context, v, v, o}, q), ERR_NULL_POINTER);
    EXPECT_EQ(VLONG_modExpCtxPair({&context, v, v, o}, {&context, v, v, nullptr}, q), ERR_NULL_POINTER);
    EXPECT_EQ(VLONG_getUnit(nullptr, 0), 0U);
    EXPECT_EQ(VLONG_cmp(nullptr, v), -1);
    EXPECT_EQ(VLONG_cmpUnit(nullptr, 0), 0);
    EXPECT_TRUE(VLONG_isZero(nullptr));
}

} // namespace
