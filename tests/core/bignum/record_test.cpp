// Records, storage, units, limits and Montgomery products: what the vectors do not reach.
#include "core/bignum/modexp.h"
#include "core/bignum/vlong_convert.h"
#include "core/bignum/vlong_math.h"
#include "tests/support/faults.h"
#include "tests/support/number.h"
#include "tests/support/vectors.h"

#include <limits>

namespace {

constexpr std::uint32_t kHuge = std::numeric_limits<std::uint32_t>::max();

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
        EXPECT_EQ(grow(one, std::numeric_limits<std::uint64_t>::max()), ERR_BAD_LENGTH);
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
    EXPECT_EQ(VLONG_setUnit(value, kHuge, 1), ERR_BAD_LENGTH);
}

TEST(Bignum, Limits) {
    const std::vector<std::uint32_t> words(2 * kMaxUnits, 1);
    Number value;
    for (const auto& [count, status] :
         {std::pair{2 * kMaxUnits, OK}, {2 * kMaxUnits + 1, ERR_BAD_LENGTH}, {kHuge, ERR_BAD_LENGTH}}) {
        EXPECT_EQ(VLONG_fromWords32(words.data(), count, value.out()), status);
    }
    std::vector<std::uint32_t> behindZeros(2 * kMaxUnits + 2);
    behindZeros.back() = 7;
    EXPECT_EQ(VLONG_fromWords32(behindZeros.data(), 2 * kMaxUnits + 2, value.out()), OK);
    EXPECT_EQ(value.text(), "7");
    EXPECT_EQ(VLONG_fromBytes(Bytes(1).data(), -1, value.out(), nullptr), ERR_BAD_LENGTH);
    EXPECT_EQ(value.get(), nullptr);
    Bytes low(3);
    EXPECT_EQ(VLONG_toBytesFixed(Number("11223344"), low.data(), 3), OK); // the high byte is lost
    EXPECT_EQ(textOf(low), "223344");

    const Number three("3"), one("1"), full(Units(kMaxUnits, 1)), small("1");
    { // a product above the limit takes no scratch
        const Fault refused(heapFaults(), 1);
        EXPECT_EQ(VLONG_square(small, full), ERR_BAD_LENGTH);
    }
    EXPECT_EQ(VLONG_setValue(small, 1), OK);
    EXPECT_EQ(VLONG_subMagnitude(small, Number("2.0")), OK); // an unordered difference stays within its units
    EXPECT_EQ(small.text(), "1");
    // Moduli for Montgomery's and for Barrett's method, then bases.
    for (const auto& [base, exponent, modulus, status] : {std::tuple{"3", "1", "f.0*4092.1", OK},
                                                          {"3", "1", "f.0*4092.2", OK},
                                                          {"3", "1", "f.0*4094.1", ERR_BAD_LENGTH},
                                                          {"3", "1", "f.0*4094.2", ERR_BAD_LENGTH},
                                                          {"5*8189", "3", "7.7", OK},
                                                          {"5*8190", "3", "7.7", ERR_BAD_LENGTH}}) {
        EXPECT_EQ(VLONG_modExp(Number(base), Number(exponent), Number(modulus), value.out(), nullptr), status)
            << modulus;
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

TEST(Montgomery, ForeignModuliDoNoHarm) {
    for (const char* text : {"0", "1", "2", "8000000000000000", "5.6", "1.0.0", "-7.7"}) {
        SCOPED_TRACE(text);
        const Number m(text);
        const Context original(m);
        Number result;
        MontgomeryCtx* clone = nullptr;
        ASSERT_EQ(VLONG_cloneMontgomeryCtx(&original, &clone, nullptr), OK);
        for (const char* base : {"3", "5.5.5.5"}) {
            const Status status = VLONG_modExpCtx(clone, Number(base), Number("f00d"), result.out(), nullptr);
            EXPECT_EQ(status, VLONG_isZero(m) ? ERR_DIVIDE_BY_ZERO : OK);
            EXPECT_TRUE(isError(status) ? result.get() == nullptr : VLONG_cmpMagnitude(result, m) < 0);
        }
        EXPECT_EQ(VLONG_modExpCtx(clone, Number("5"), Number("0"), result.out(), nullptr), OK);
        EXPECT_EQ(result.text(), "1");
        const Status status = VLONG_montExpWindow(clone, Number("5"), Number("0"), result.out(), nullptr);
        EXPECT_TRUE(status == ERR_DIVIDE_BY_ZERO || result.text() == (m == Number("1") ? "0" : "1"));
        EXPECT_EQ(VLONG_deleteMontgomeryCtx(&clone, nullptr), OK);
        EXPECT_EQ(VLONG_deleteMontgomeryCtx(&clone, nullptr), OK);
    }
    const Context longest(Number("1.0*4093.1")), tooLong(Number("1.0*4094.1")); // whose squared radix has no room
    EXPECT_TRUE(longest.radixSquared->length > 0 && tooLong.radixSquared->length == 0);
    EXPECT_EQ(VLONG_deleteMontgomeryCtx(nullptr, nullptr), OK);
    EXPECT_EQ(VLONG_clearMontgomeryCtx(nullptr, nullptr), OK);
}

TEST(Montgomery, PairsOfDifferentPowers) {
    const Context small(Number("7.7.7")), large{Number(kNearlyTheRadix)}, other(Number("fffffffffffffffd*16")),
        empty(Number("0"));
    const Number a("123456789abcdef*16"), b("abc*16"), longest("fedcba9876543210*16");
    const auto power = [](const MontgomeryCtx& context, const Number& base, const Number& exponent) {
        Number result;
        EXPECT_EQ(VLONG_modExpCtx(&context, base, exponent, result.out(), nullptr), OK);
        return result;
    };
    Number first, last;
    for (const Context* second : {&small, &large, &other}) {
        for (const Number& e : {Number("0"), Number("3"), longest}) {
            EXPECT_EQ(VLONG_modExpCtxPair({&large, a, e, first.out()}, {second, b, longest, last.out()}, nullptr), OK);
            EXPECT_EQ(first, power(large, a, e));
            EXPECT_EQ(last, power(*second, b, longest));
        }
    }
    EXPECT_EQ(VLONG_modExpCtxPair({&large, a, b, first.out()}, {&empty, a, b, last.out()}, nullptr),
              ERR_DIVIDE_BY_ZERO);
    EXPECT_TRUE(first.get() == nullptr && last.get() == nullptr);
}

TEST(Bignum, NullArguments) {
    const Context context(Number("5"));
    MontgomeryCtx *made = nullptr, place{}, bare{};
    Number out;
    vlong *v = Number("5").release(), *none = nullptr, **const q = nullptr, **const o = out.out();
    std::uint8_t byte = 0, *bytes = nullptr;
    std::uint32_t word = 0;
    expectNullsRefused({VLONG_alloc}, o, q);
    expectNullsRefused({VLONG_free}, &none, q);
    EXPECT_EQ(VLONG_free(&none, q), ERR_NULL_POINTER);
    expectNullsRefused({VLONG_newValue}, 1, o, q);
    expectNullsRefused({VLONG_newCopy, VLONG_barrettMu}, v, o, q);
    expectNullsRefused({VLONG_copy, VLONG_copyMagnitude, VLONG_addMagnitude, VLONG_subMagnitude, VLONG_square}, v, v);
    expectNullsRefused({VLONG_clear, VLONG_shiftLeft1, VLONG_shiftRight1}, v);
    expectNullsRefused({VLONG_setValue}, v, 1);
    expectNullsRefused({VLONG_growKeep, VLONG_growDiscard}, v, 1);
    expectNullsRefused({VLONG_setUnit}, v, 0, 1);
    expectNullsRefused({VLONG_setBit, VLONG_shiftLeft, VLONG_shiftRight}, v, 0);
    expectNullsRefused({VLONG_fromBytes}, &byte, -1, o, q);
    expectNullsRefused({VLONG_toBytes}, v, nullptr, &word);
    expectNullsRefused({VLONG_toBytesFixed}, v, &byte, 1);
    expectNullsRefused({VLONG_fromWords32}, &word, 0, o);
    expectNullsRefused({VLONG_fromMpint}, &byte, 1, o, &word);
    expectNullsRefused({VLONG_toMpint}, v, &bytes, &word);
    expectNullsRefused({VLONG_print}, "", v);
    expectNullsRefused({VLONG_add, VLONG_sub}, v, v, q);
    expectNullsRefused({VLONG_addUnit}, v, 1, q);
    expectNullsRefused({VLONG_increment, VLONG_decrement}, v, q);
    expectNullsRefused({VLONG_mul}, v, v, v);
    expectNullsRefused({VLONG_mulColumns}, v, v, v, 1);
    expectNullsRefused({VLONG_squareColumns}, v, v, 1);
    expectNullsRefused({VLONG_divide}, v, v, v, v, q);
    expectNullsRefused({VLONG_mulSigned, VLONG_mod, VLONG_div, VLONG_gcd, VLONG_modInverse}, v, v, o, q);
    expectNullsRefused({VLONG_modExp, VLONG_modExpMontgomery, VLONG_modExpBarrett, VLONG_barrettReduce}, v, v, v, o, q);
    expectNullsRefused({VLONG_barrettMulMod}, v, v, v, v, o, q);
    expectNullsRefused({VLONG_newMontgomeryCtx}, &made, v, q);
    expectNullsRefused({VLONG_initMontgomeryCtx}, &place, v, q);
    expectNullsRefused({VLONG_cloneMontgomeryCtx}, &context, &made, q);
    expectNullsRefused({VLONG_modExpCtx, VLONG_montExpWindow, VLONG_montExpBinary}, &context, v, v, o, q);
    expectNullsRefused({VLONG_montMultiply}, &context, v, v, v);
    expectNullsRefused({VLONG_montSquare}, &context, v, v);
    EXPECT_EQ(VLONG_cloneMontgomeryCtx(&bare, &made, q), ERR_NULL_POINTER);
    EXPECT_EQ(VLONG_modExpCtx(&bare, v, v, o, q), ERR_NULL_POINTER);
    EXPECT_EQ(VLONG_modExpCtxPair({nullptr, v, v, o}, {&context, v, v, o}, q), ERR_NULL_POINTER);
    EXPECT_EQ(VLONG_modExpCtxPair({&context, v, v, o}, {&context, v, v, nullptr}, q), ERR_NULL_POINTER);
    EXPECT_EQ(textOf(v), "5");
    EXPECT_EQ(VLONG_free(&v, q), OK);
    EXPECT_EQ(VLONG_getUnit(nullptr, 0), 0U);
    EXPECT_EQ(VLONG_cmp(nullptr, Number("5")), -1);
    EXPECT_EQ(VLONG_cmpUnit(nullptr, 0), 0);
    EXPECT_TRUE(VLONG_isZero(nullptr));
}

} // namespace
