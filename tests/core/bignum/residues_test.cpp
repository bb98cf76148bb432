// Residues against the division: moduli of every form, operands at both ends of their bounds.
#include "core/bignum/residues.h"
#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong_math.h"
#include "tests/support/faults.h"
#include "tests/support/number.h"

#include <algorithm>

namespace {

Number mod(const Number& a, const Number& m) {
    Number rest;
    EXPECT_EQ(VLONG_mod(a, m, rest.out(), nullptr), OK);
    if (rest.get()->negative != 0 && !VLONG_isZero(rest)) {
        EXPECT_EQ(VLONG_add(rest, m, nullptr), OK);
    }
    rest.get()->negative = 0;
    return rest;
}

// Of k units: the largest, the smallest, one bit on top, and any.
Units modulusOf(std::uint32_t k, int round, Random& random) {
    Units units = random.units(k, round % 2 == 0);
    if (round % 5 < 2) {
        std::fill(units.begin(), units.end(), round % 5 == 0 ? ~Unit{0} : Unit{0});
    }
    units[k - 1] |= round % 5 == 2 ? Unit{1} << 63 : Unit{1};
    units[0] |= k == 1 ? 3 : 1;
    return units;
}

TEST(Residues, AgreeWithTheDivision) {
    Random random(21);
    for (const std::uint32_t k : {1U, 2U, 3U, 8U, 9U, 12U, 16U, 32U}) {
        for (int round = 0; round < 40; ++round) {
            const Units units = modulusOf(k, round, random);
            const Number m(units);
            SCOPED_TRACE(testing::Message() << k << " units, round " << round);
            ASSERT_TRUE(takesResidues(m));
            MontgomeryCtx *context = nullptr, *secret = nullptr;
            ASSERT_EQ(VLONG_newMontgomeryCtx(&context, m, nullptr), OK);
            ASSERT_EQ(VLONG_newSecretMontgomeryCtx(&secret, m, nullptr), OK);
            EXPECT_EQ(VLONG_cmp(secret->radixSquared, context->radixSquared), 0);
            EXPECT_EQ(VLONG_cmp(secret->RInverse, context->RInverse), 0);
            Residues residues;
            ASSERT_EQ(round % 2 == 0 ? residues.start(m, 3) : residues.start(*secret, 3), OK);
            Unit *const a = residues.take(), *const b = residues.take(), *const r = residues.take();
            const auto expect = [&](const Number& value) {
                EXPECT_EQ(Number(Units(r, r + k)), mod(value, m));
                EXPECT_LT(VLONG_cmp(Number(Units(r, r + k)), m), 0);
            };
            for (const std::uint32_t n : {0U, 1U, k, 2 * k, 2 * k + 1, 5 * k - 1}) {
                Units x = round % 3 == 0 ? Units(n, ~Unit{0}) : random.units(n, round % 2 == 0);
                residues.reduce(r, x.data(), n);
                expect(Number(x));
            }
            Units x = random.units(k), y = round % 3 == 0 ? units : random.units(k, true);
            y[0] -= round % 3 == 0 ? 1 : 0; // m - 1
            residues.reduce(a, x.data(), k);
            residues.reduce(b, y.data(), k);
            const Number left(Units(a, a + k)), right(Units(b, b + k)), any(Units(k, ~Unit{0}));
            Number sum(left), difference(left), product;
            EXPECT_EQ(VLONG_add(sum, right, nullptr), OK);
            EXPECT_EQ(VLONG_sub(difference, right, nullptr), OK);
            residues.add(r, a, b);
            expect(sum);
            residues.subtract(r, a, b);
            expect(difference);
            EXPECT_EQ(VLONG_mulSigned(any, right, product.out(), nullptr), OK);
            residues.multiply(r, any.get()->units, b); // one factor may be any units
            expect(product);
            std::copy_n(a, k, r);
            residues.subtract(r, r, r);
            expect(Number(Unit{0}));
            EXPECT_EQ(VLONG_deleteMontgomeryCtx(&context, nullptr), OK);
            EXPECT_EQ(VLONG_deleteMontgomeryCtx(&secret, nullptr), OK);
        }
    }
    EXPECT_FALSE(takesResidues(Number(Unit{0})) || takesResidues(Number(Unit{1})) || takesResidues(Number("1.0")) ||
                 takesResidues(Number(Units(4096, 1))));
}

// Modulo 2^127 - 1 and 2^64 - 59, which are prime, and modulo a multiple of 3.
TEST(Residues, InversesModuloPrimes) {
    const struct {
        const char* modulus;
        Unit value;
        bool isFound;
    } rows[] = {{"7fffffffffffffff.ffffffffffffffff", 12345, true},
                {"ffffffffffffffc5", 2, true},
                {"3", 2, true},
                {"7fffffffffffffff.ffffffffffffffff", 0, false},
                {"1.ffffffffffffffff", 3, false}};
    for (const auto& row : rows) {
        const Number m(row.modulus);
        for (const bool isSecret : {false, true}) {
            refuseEach([&] {
                Residues residues;
                RETURN_IF_ERROR(residues.start(m, 2));
                Unit *const a = residues.take(), *const r = residues.take();
                a[0] = row.value;
                bool isFound = !row.isFound;
                RETURN_IF_ERROR(residues.invert(r, a, isSecret, &isFound));
                EXPECT_EQ(isFound, row.isFound) << row.modulus;
                residues.multiply(r, r, a);
                EXPECT_EQ(residues.isOne(r), row.isFound ? 1U : 0U);
                return OK;
            });
        }
    }
}

} // namespace
