// Exponentiation and Montgomery contexts; the powers themselves are in the vectors.
#include "core/bignum/kernels.h"
#include "core/bignum/modexp.h"
#include "core/bignum/vlong_math.h"
#include "tests/core/bignum/bignum_support.h"

#include <memory>

namespace {

using bignumtest::Number;
using bignumtest::Random;
using bignumtest::Units;

struct DeleteContext {
    void operator()(MontgomeryCtx* context) const {
        EXPECT_EQ(VLONG_deleteMontgomeryCtx(&context, nullptr), OK);
        EXPECT_EQ(context, nullptr);
    }
};
using Context = std::unique_ptr<MontgomeryCtx, DeleteContext>;

Context newContext(const Number& modulus) {
    MontgomeryCtx* context = nullptr;
    EXPECT_EQ(VLONG_newMontgomeryCtx(&context, modulus, nullptr), OK);
    return Context(context);
}

Number mod(const Number& a, const Number& m) {
    Number rest;
    EXPECT_EQ(VLONG_mod(a, m, rest.out(), nullptr), OK);
    return rest;
}

Number times(const Number& a, const Number& b) {
    Number product;
    EXPECT_EQ(VLONG_mulSigned(a, b, product.out(), nullptr), OK);
    return product;
}

Number power(const MontgomeryCtx* context, const Number& base, const Number& exponent) {
    Number result;
    EXPECT_EQ(VLONG_modExpCtx(context, base, exponent, result.out(), nullptr), OK);
    return result;
}

// 2^1024 - 105: R mod m and small bases in Montgomery form are a single unit.
Number nearlyTheRadix() {
    Units units(16, ~Unit{0});
    units[0] = Unit{0} - 105;
    return Number(units);
}

TEST(ModExp, TheFirstRuleThatAppliesDecides) {
    const struct {
        const char *base, *exponent, *modulus, *result;
        Status status;
    } cases[] = {{"0", "0", "0", "none", ERR_BAD_MODULO},
                 {"3", "2", "0", "none", ERR_BAD_MODULO},
                 {"0", "0", "7", "0", OK},
                 {"0", "5", "1", "0", OK},
                 {"5", "0", "1", "1", OK},
                 {"5", "0", "7.7", "1", OK},
                 {"5", "1", "1", "0", OK},
                 {"-0", "0", "7", "0", OK}};
    for (const auto& test : cases) {
        Number result;
        EXPECT_EQ(VLONG_modExp(Number(test.base), Number(test.exponent), Number(test.modulus), result.out(), nullptr),
                  test.status);
        EXPECT_EQ(result.text(), test.result);
    }
}

TEST(ModExp, WindowWidthsByExponentLength) {
    const std::pair<std::uint32_t, std::uint32_t> widths[] = {{0, 2},   {1, 2},   {23, 2},  {24, 3},  {79, 3},  {80, 4},
                                                              {239, 4}, {240, 5}, {671, 5}, {672, 6}, {4096, 6}};
    for (const auto& [bits, width] : widths) {
        EXPECT_EQ(VLONG_windowWidth(bits), width) << bits;
    }
}

// Every exponent up to 2,000 and long ones: no window may read a bit or a table entry too many, or lose a bit.
TEST(ModExp, WindowsCoverEveryExponent) {
    const Number base(3), modulus("1.0000000000000033");
    const Context context = newContext(modulus);
    Number expected(1);
    for (Unit exponent = 1; exponent < 2000; ++exponent) {
        Number next = mod(times(expected, base), modulus);
        expected.swap(next);
        ASSERT_EQ(power(context.get(), base, Number(exponent)), expected) << exponent;
    }
    Random random(5);
    for (std::uint32_t bits = 1; bits < 800; bits += 7) {
        const Number exponent(random.units(bits / 64 + 1));
        Number byBits;
        ASSERT_EQ(VLONG_montExpBinary(context.get(), base, exponent, byBits.out(), nullptr), OK);
        ASSERT_EQ(power(context.get(), base, exponent), byBits);
    }
}

TEST(ModExp, MontgomeryProductsOfRecords) {
    const Number m = nearlyTheRadix(), zero(Unit{0}), scratch(1), tooLong(Units(17, 1)), a(5);
    const Context context = newContext(m);
    for (const auto run :
         {+[](const MontgomeryCtx*c, vlong*x, vlong*y, vlong*s) { return VLONG_montMultiply(c, x, y, s); },
          +[](const MontgomeryCtx*c, vlong*x, vlong*, vlong*s) {
              return VLONG_montSquare(c, x, s);
          }}) {
        const Number x(Unit{0});
        EXPECT_EQ(run(context.get(), x, a, scratch), OK);
        EXPECT_EQ(x.get()->length, 1U); // a zero is left with one unit
        EXPECT_EQ(x.get()->units[0], 0U);
        EXPECT_EQ(run(context.get(), tooLong, a, scratch), ERR_BAD_LENGTH);
        const Context empty = newContext(Number(Unit{0}));
        EXPECT_EQ(run(empty.get(), a, a, scratch), ERR_BAD_MODULO);
    }
    EXPECT_EQ(VLONG_montMultiply(context.get(), a, tooLong, scratch), ERR_BAD_LENGTH);
    const Number residue(105),
        other(2 * 105); // 1 and 2 in Montgomery form: records with too little room for the modulus
    EXPECT_LT(residue.get()->capacity, 16U);
    EXPECT_EQ(VLONG_montMultiply(context.get(), residue, other, scratch), OK);
    EXPECT_EQ(residue, Number(2 * 105));
    EXPECT_EQ(other.get()->length, 1U);
    const Number same(Unit{105 * 7});
    EXPECT_EQ(VLONG_montMultiply(context.get(), same, same, scratch), OK);
    EXPECT_EQ(same, Number(105 * 49));
}

TEST(MontgomeryContext, Fields) {
    Random random(9);
    for (std::size_t k = 1; k < 40; ++k) {
        for (const bool extreme : {false, true}) {
            Units units = random.units(k, extreme);
            units[0] |= 1;
            units[k - 1] |= 2;
            const Number m(units);
            const Context context = newContext(m);
            Number radix(1), inverse;
            EXPECT_EQ(VLONG_shiftLeft(radix, static_cast<std::uint32_t>(64 * k)), OK);
            EXPECT_EQ(VLONG_cmp(context->R, radix), 0);
            EXPECT_EQ(VLONG_cmp(context->modulus, m), 0);
            EXPECT_EQ(context->negInverse * units[0], ~Unit{0});
            EXPECT_EQ(VLONG_modInverse(radix, m, inverse.out(), nullptr), OK); // not how the context has made it
            EXPECT_EQ(VLONG_cmp(context->RInverse, inverse), 0) << m.text();
            EXPECT_EQ(VLONG_cmp(context->radixSquared, mod(times(radix, radix), m)), 0);
        }
    }
}

TEST(MontgomeryContext, ForeignModuliDoNoHarm) {
    const Number scratch(1);
    for (const char* text : {"0", "1", "2", "8000000000000000", "5.6", "1.0.0", "-7.7"}) {
        SCOPED_TRACE(text);
        const Number m(text);
        const Context original = newContext(m);
        MontgomeryCtx* copy = nullptr;
        ASSERT_EQ(VLONG_cloneMontgomeryCtx(original.get(), &copy, nullptr), OK);
        const Context context(copy); // a clone, which is to be as safe as what it was made from
        for (const char* base : {"3", "5.5.5.5"}) {
            Number result;
            const Status status = VLONG_modExpCtx(context.get(), Number(base), Number("f00d"), result.out(), nullptr);
            EXPECT_EQ(status, VLONG_isZero(m) ? ERR_DIVIDE_BY_ZERO : OK);
            EXPECT_EQ(result.get() == nullptr, isError(status));
            EXPECT_TRUE(isError(status) || VLONG_cmpMagnitude(result, m) < 0);
        }
        EXPECT_EQ(power(context.get(), Number(5), Number(Unit{0})), Number(1));
        Number one;
        const Status status = VLONG_montExpWindow(context.get(), Number(5), Number(Unit{0}), one.out(), nullptr);
        EXPECT_TRUE(status == ERR_DIVIDE_BY_ZERO || one.text() == (Number(text) == Number(1) ? "0" : "1"));
    }
}

TEST(MontgomeryContext, ClonesStandAlone) {
    const Number m = nearlyTheRadix();
    Context original = newContext(m);
    MontgomeryCtx* copy = nullptr;
    ASSERT_EQ(VLONG_cloneMontgomeryCtx(original.get(), &copy, nullptr), OK);
    const Context clone(copy);
    const Number expected = power(original.get(), Number(7), Number("abc.def"));
    original.reset();
    EXPECT_EQ(power(clone.get(), Number(7), Number("abc.def")), expected);
    EXPECT_EQ(VLONG_deleteMontgomeryCtx(nullptr, nullptr), OK);
    MontgomeryCtx* none = nullptr;
    EXPECT_EQ(VLONG_deleteMontgomeryCtx(&none, nullptr), OK);
    EXPECT_EQ(VLONG_clearMontgomeryCtx(nullptr, nullptr), OK);
}

TEST(ModExp, PairsAgreeWithSinglePowers) {
    Random random(10);
    const Context small = newContext(Number("7.7.7")), large = newContext(nearlyTheRadix()),
                  other = newContext(Number(Units(16, ~Unit{0} - 2)));
    const Number exponents[] = {Number(Unit{0}), Number(3), Number(random.units(16))};
    for (const Context* second : {&small, &large, &other}) {
        for (const Number& exponent : exponents) {
            const Number a(random.units(16)), b(random.units(16));
            Number first, last;
            EXPECT_EQ(VLONG_modExpCtxPair({large.get(), a, exponent, first.out()},
                                          {second->get(), b, exponents[2], last.out()}, nullptr),
                      OK);
            EXPECT_EQ(first, power(large.get(), a, exponent));
            EXPECT_EQ(last, power(second->get(), b, exponents[2]));
        }
    }
    const Context empty = newContext(Number(Unit{0}));
    vlong *first = nullptr, *last = nullptr;
    EXPECT_EQ(VLONG_modExpCtxPair({large.get(), exponents[1], exponents[1], &first},
                                  {empty.get(), exponents[1], exponents[1], &last}, nullptr),
              ERR_DIVIDE_BY_ZERO);
    EXPECT_EQ(first, nullptr);
    EXPECT_EQ(last, nullptr);
}

TEST(ModExp, SizeLimit) {
    Number result;
    const Number three(3);
    for (const Unit low : {Unit{1}, Unit{2}}) { // by Montgomery's and by Barrett's method
        for (const auto& [units, status] : {std::pair{4094U, OK}, {4096U, ERR_BAD_LENGTH}}) {
            Units modulus(units);
            modulus[0] = low;
            modulus[units - 1] = ~Unit{0};
            EXPECT_EQ(VLONG_modExp(three, Number(1), Number(modulus), result.out(), nullptr), status) << units;
        }
    }
    const Number longBase(Units(kMaxUnits - 2, 5)), m("7.7");
    EXPECT_EQ(VLONG_modExp(longBase, three, m, result.out(), nullptr), ERR_BAD_LENGTH);
    EXPECT_EQ(VLONG_modExp(Number(Units(kMaxUnits - 3, 5)), three, m, result.out(), nullptr), OK);
    const Number mu(1);
    EXPECT_EQ(VLONG_barrettReduce(Number("1.0.0"), Number(7), mu, result.out(), nullptr), ERR_BAD_LENGTH);
}

} // namespace
