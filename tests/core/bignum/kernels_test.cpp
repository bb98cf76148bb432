// The word-level kernels, every one of the tables that this CPU supports, and the residues above them, against slow products and
// the division.
#include "core/bignum/kernels.h"
#include "core/bignum/residues.h"
#include "core/bignum/vlong_math.h"
#include "tests/support/faults.h"
#include "tests/support/number.h"

namespace {

constexpr Unit kGuard = 0xC0FFEE0DDBA11ULL;

std::uint32_t sizeOf(const Units& units) {
    return static_cast<std::uint32_t>(units.size());
}

// The product digit by digit in base 2^16, which shares nothing with the kernels.
Units slowProduct(const Units& a, const Units& b) {
    const auto digit = [](const Units& units, std::size_t i) {
        return units[i / 4] >> (16 * (i % 4)) & 0xFFFF;
    };
    std::vector<std::uint64_t> sums(4 * (a.size() + b.size()));
    for (std::size_t i = 0; i < 4 * a.size(); ++i) {
        for (std::size_t j = 0; j < 4 * b.size(); ++j) {
            sums[i + j] += digit(a, i) * digit(b, j);
        }
    }
    Units product(a.size() + b.size());
    std::uint64_t carry = 0;
    for (std::size_t i = 0; i < sums.size(); ++i, carry >>= 16) {
        carry += sums[i];
        product[i / 4] |= (carry & 0xFFFF) << (16 * (i % 4));
    }
    return product;
}

Units unitsOf(const Number& a, std::uint32_t k) {
    Units units(a.get()->units, a.get()->units + a.get()->length);
    units.resize(k);
    return units;
}

// By columns (fewer than there are, all of them, and zeros above), unrolled, and by Karatsuba's method, where halves that are
// equal in one or both leave no middle product.
TEST(BignumKernels, ProductsAgreeWithSlowOnes) {
    for (const Kernel<BignumKernels>& kernel : bignumKernelTable()) {
        const BignumKernels& kernels = kernel.run;
        Random random(20261121);
        for (std::uint32_t round = 0; kernel.isSupported() && round < 1600; ++round) {
            const bool isColumns = round < 800;
            const std::uint32_t n = isColumns ? random.below(20) : 8U << round / 2 % 4;
            Units a = random.units(n, round % 2 == 0),
                  b = random.units(isColumns ? random.below(20) : n, round % (isColumns ? 3 : 2) == 0);
            for (Units* const halved : {&a, &b}) {
                if (!isColumns && round % (halved == &a ? 5 : 10) == 0) {
                    std::copy_n(halved->begin(), n / 2, halved->begin() + n / 2);
                }
            }
            const std::uint32_t columns = isColumns ? random.below(n + sizeOf(b) + 3) : 2 * n;
            Units result(columns + 1, kGuard), scratch(4 * n + 1, kGuard);
            Unit *const r = result.data(), *const s = scratch.data();
            for (const bool isSquare : {false, true}) {
                Units expected = slowProduct(a, isSquare ? a : b);
                if (isColumns) {
                    isSquare ? kernels.squareColumns(r, a.data(), n, columns)
                             : kernels.mulColumns(r, a.data(), n, b.data(), sizeOf(b), columns);
                } else if (n == 8) {
                    isSquare ? kernels.square8(r, a.data()) : kernels.mul8x8(r, a.data(), b.data());
                } else {
                    isSquare ? kernels.karatsubaSquare(r, a.data(), n, s)
                             : kernels.karatsubaMul(r, a.data(), b.data(), n, s);
                }
                expected.resize(columns);
                expected.push_back(kGuard);
                ASSERT_EQ(result, expected) << kernel.name << ", " << n << " units, square " << isSquare;
                ASSERT_EQ(scratch[4 * n], kGuard);
            }
        }
    }
}

// Of k units: the largest, one bit on top, the shortest, and any; odd, and above 1.
Units modulusOf(std::uint32_t k, std::uint32_t round, Random& random) {
    Units modulus = round % 5 == 0 ? Units(k, ~Unit{0}) : round % 5 < 3 ? Units(k) : random.units(k, round % 2 == 0);
    modulus[k - 1] |= round % 5 == 1 ? Unit{1} << 63 : 1;
    modulus[0] |= k == 1 ? 3 : 1;
    return modulus;
}

// a b / R mod m by its definition: the product with R must be a b mod m.
TEST(BignumKernels, MontgomeryProducts) {
    for (const Kernel<BignumKernels>& kernel : bignumKernelTable()) {
        Random random(20261121);
        for (const std::uint32_t k : {1U, 2U, 3U, 7U, 8U, 9U, 16U, 24U, 32U, 33U, 64U}) {
            for (std::uint32_t round = 0; kernel.isSupported() && round < 40; ++round) {
                const Number m(modulusOf(k, round, random));
                const Number a = reduced(round % 4 == 0 ? Number("-1") : Number(random.units(k)), m),
                             b = reduced(Number(random.units(k)), m);
                const MontModulus view{m.get()->units, nullptr, VLONG_montNegInverse64(m), k};
                Units left = unitsOf(a, k), right = unitsOf(b, k), scratch(montScratchUnits(k) + 1, kGuard);
                kernel.run.montMultiply(left.data(), left.data(), right.data(), view, scratch.data());
                ASSERT_EQ(reduced(shifted(Number(left), 64 * k), m), reduced(multiplied(a, b), m))
                    << kernel.name << ", " << k;
                kernel.run.montSquare(right.data(), right.data(), view, scratch.data());
                ASSERT_EQ(reduced(shifted(Number(right), 64 * k), m), reduced(multiplied(b, b), m))
                    << kernel.name << ", " << k;
                ASSERT_TRUE(VLONG_cmp(Number(left), m) < 0 && VLONG_cmp(Number(right), m) < 0);
                ASSERT_EQ(scratch.back(), kGuard);
            }
        }
    }
}

// Power: an exponentiation with its operands, and the answer of the portable kernel. Digits and carries are all zeros, all ones, or
// nearly so, and random ones, by turns; bases 0, m - 1, the root of a square, whose powers are 0, and any.
struct Power {
    Power(std::uint32_t k, std::uint32_t bits, std::uint32_t round, Random& random)
        : modulus(modulusOf(k, round, random)), exponent(random.units((bits + 63) / 64, round % 3 == 0)), result(k) {
        base = round % 7 == 0 ? modulus : random.units(k, round % 2 == 0);
        base[0] -= round % 7 == 0 ? Unit{1} : Unit{0};
        if (round % 5 == 3 && k % 2 == 0) {
            base = random.units(k / 2);
            base[0] |= 1;
            base[k / 2 - 1] |= Unit{1} << 63;
            modulus = slowProduct(base, base);
        }
        const Number m(modulus);
        base = round % 7 == 1 ? Units(k) : unitsOf(reduced(Number(base), m), k);
        exponent.back() &= ~Unit{0} >> (63 - (bits - 1) % 64);
        exponent.back() |= Unit{1} << (bits - 1) % 64;
        radixSquared = unitsOf(reduced(shifted(Number("1"), 128 * k), m), k);
        const MontModulus view{modulus.data(), radixSquared.data(), VLONG_montNegInverse64(m), k};
        task = {result.data(), base.data(), exponent.data(), bits, view, false};
        const ModExpKernel& portable = modExpKernelTable().back().run;
        Units scratch(portable.scratchUnits(k, bits, false));
        portable.one(task, scratch.data());
        expected = result;
        if (round % 3 != 0) { // a secret, with a public length of whole units
            task.isSecret = true;
            task.exponentBits = (bits + 63) / 64 * 64;
        }
    }
    Power(const Power&) = delete;
    Power& operator=(const Power&) = delete;

    // Whether the result is right; it is overwritten.
    bool isRight() {
        const bool right = result == expected;
        std::fill(result.begin(), result.end(), kGuard);
        return right;
    }

    Units modulus, base, exponent, result, radixSquared, expected;
    ModExpTask task{};
};

TEST(ModExpKernels, AgreeWithThePortableOneAloneAndInPairs) {
    for (const Kernel<ModExpKernel>& kernel : modExpKernelTable()) {
        Random random(20261121);
        for (const std::uint32_t k : {1U, 2U, 8U, 9U, 16U, 24U, 32U, 33U, 48U, 64U}) {
            for (std::uint32_t round = 0; kernel.isSupported() && kernel.run.takes(k) && round < 70; ++round) {
                constexpr std::uint32_t kBits[] = {17, 64, 65, 160, 1, 2, 66, 3, 161, 10};
                const std::uint32_t bits = round == 3 ? 64 * k : kBits[round % 10];
                Power power(k, bits, round, random), other(k, kBits[(round + 1) % 10], round, random);
                const std::size_t units = kernel.run.scratchUnits(
                    k, std::max(power.task.exponentBits, other.task.exponentBits), power.task.isSecret);
                SCOPED_TRACE(testing::Message() << kernel.name << ", " << k << " units, round " << round);
                Units scratch(units + 2, kGuard);
                Unit* const unaligned = scratch.data() + round % 2;
                kernel.run.one(power.task, unaligned);
                ASSERT_TRUE(power.isRight());
                if (kernel.run.pair != nullptr) {
                    kernel.run.pair(power.task, other.task, unaligned);
                    ASSERT_TRUE(power.isRight() && other.isRight());
                }
                power.task.result = power.base.data(); // in place
                kernel.run.one(power.task, unaligned);
                ASSERT_EQ(power.base, power.expected);
                ASSERT_EQ(unaligned[units], kGuard);
            }
        }
    }
}

TEST(Residues, AgreeWithTheDivision) {
    Random random(21);
    for (const std::uint32_t k : {1U, 2U, 3U, 8U, 9U, 12U, 16U, 32U}) {
        for (std::uint32_t round = 0; round < 40; ++round) {
            const Number m(modulusOf(k, round, random)), any(Units(k, ~Unit{0}));
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
                EXPECT_EQ(Number(Units(r, r + k)), reduced(value, m));
                EXPECT_LT(VLONG_cmp(Number(Units(r, r + k)), m), 0);
            };
            for (const std::uint32_t n : {0U, 1U, k, 2 * k, 2 * k + 1, 5 * k - 1}) {
                const Units x = round % 3 == 0 ? Units(n, ~Unit{0}) : random.units(n, round % 2 == 0);
                residues.reduce(r, x.data(), n);
                expect(Number(x));
            }
            const Units x = random.units(k), y = unitsOf(reduced(Number(round % 3 == 0 ? "-1" : "5.4.3.2"), m), k);
            residues.reduce(a, x.data(), k);
            residues.reduce(b, y.data(), k);
            Number sum(Units(a, a + k)), difference(sum), right(y);
            EXPECT_EQ(VLONG_add(sum, right, nullptr), OK);
            EXPECT_EQ(VLONG_sub(difference, right, nullptr), OK);
            residues.add(r, a, b);
            expect(sum);
            residues.subtract(r, a, b);
            expect(difference);
            residues.multiply(r, any.get()->units, b); // one factor may be any units
            expect(multiplied(any, right));
            residues.subtract(a, a, a);
            EXPECT_EQ(Number(Units(a, a + k)).text(), "0");
            EXPECT_EQ(VLONG_deleteMontgomeryCtx(&context, nullptr), OK);
            EXPECT_EQ(VLONG_deleteMontgomeryCtx(&secret, nullptr), OK);
        }
    }
    for (const char* const refused : {"0", "1", "1.0", "1*4096"}) {
        EXPECT_FALSE(takesResidues(Number(refused))) << refused;
    }
}

// Modulo 2^127 - 1 and 2^64 - 59, which are prime, and modulo a multiple of 3.
TEST(Residues, InversesModuloPrimes) {
    for (const auto& [modulus, value, hasInverse] : {std::tuple{"7fffffffffffffff.ffffffffffffffff", Unit{12345}, true},
                                                     {"ffffffffffffffc5", 2, true},
                                                     {"3", 2, true},
                                                     {"7fffffffffffffff.ffffffffffffffff", 0, false},
                                                     {"1.ffffffffffffffff", 3, false}}) {
        const Number m(modulus);
        for (const bool isSecret : {false, true}) {
            refuseEach([&, value = value, hasInverse = hasInverse] {
                Residues residues;
                RETURN_IF_ERROR(residues.start(m, 2));
                Unit *const a = residues.take(), *const r = residues.take();
                a[0] = value;
                bool isFound = !hasInverse;
                RETURN_IF_ERROR(residues.invert(r, a, isSecret, &isFound));
                residues.multiply(r, r, a);
                EXPECT_EQ(isFound, hasInverse);
                EXPECT_EQ(residues.isOne(r), hasInverse ? 1U : 0U);
                return OK;
            });
        }
    }
}

} // namespace
