// The exponentiations of every kernel that this CPU supports, which are made of all its products, and the residues, against the
// division.
#include "core/bignum/kernels.h"
#include "core/bignum/residues.h"
#include "core/bignum/vlong_math.h"
#include "tests/support/number.h"

namespace {

constexpr Unit kGuard = 0xC0FFEE0DDBA11ULL;

Units unitsOf(const Number& a, std::uint32_t k) {
    Units units(a.get()->units, a.get()->units + a.get()->length);
    units.resize(k);
    return units;
}

// Of k units: the largest, one bit on top, the shortest, and any; odd, and above 1.
Units modulusOf(std::uint32_t k, std::uint32_t round, Random& random) {
    Units modulus = round % 5 == 0 ? Units(k, ~Unit{0}) : round % 5 < 3 ? Units(k) : random.units(k, round % 2 == 0);
    modulus[k - 1] |= round % 5 == 1 ? Unit{1} << 63 : 1;
    modulus[0] |= k == 1 ? 3 : 1;
    return modulus;
}

// Power: an exponentiation with its operands, and the answer by divisions. Digits and carries are all zeros, all ones, or nearly
// so, and random ones, by turns; bases 0, m - 1, the root of a square, whose powers are 0, and any.
struct Power {
    Power(std::uint32_t k, std::uint32_t bits, std::uint32_t round, Random& random)
        : modulus(modulusOf(k, round, random)), base(random.units(k, round % 2 == 0)),
          exponent(random.units((bits + 63) / 64, round % 3 == 0)), result(k) {
        if (round % 5 == 3 && k % 2 == 0) {
            base.resize(k / 2);
            base.front() |= 1;
            base.back() |= Unit{1} << 63;
            modulus = unitsOf(multiplied(Number(base), Number(base)), k);
        }
        const Number m(modulus);
        base = unitsOf(reduced(round % 7 == 0 ? Number("-1") : Number(round % 7 == 1 ? Units() : base), m), k);
        exponent.back() &= ~Unit{0} >> (63 - (bits - 1) % 64);
        exponent.back() |= Unit{1} << (bits - 1) % 64;
        radixSquared = unitsOf(reduced(shifted(Number("1"), 128 * k), m), k);
        Number power;
        EXPECT_EQ(VLONG_modExpBarrett(Number(base), Number(exponent), m, power.out(), nullptr), OK);
        expected = unitsOf(reduced(power, m), k);
        const bool isSecret = round % 3 != 0; // of a public length of whole units
        task = {result.data(),
                base.data(),
                exponent.data(),
                isSecret ? (bits + 63) / 64 * 64 : bits,
                {modulus.data(), radixSquared.data(), VLONG_montNegInverse64(m), k},
                isSecret};
    }

    // Whether the result is right; it is overwritten.
    bool isRight() {
        const bool right = result == expected;
        std::fill(result.begin(), result.end(), kGuard);
        return right;
    }

    Units modulus, base, exponent, result, radixSquared, expected;
    ModExpTask task{};
};

TEST(ModExpKernels, AgreeWithTheDivisionAloneAndInPairs) {
    Random random(20261121);
    for (const std::uint32_t k : {1U, 2U, 3U, 4U, 7U, 8U, 9U, 16U, 24U, 32U, 33U, 48U, 64U}) {
        for (std::uint32_t round = 0; round < 70; ++round) {
            constexpr std::uint32_t kBits[] = {17, 64, 65, 160, 1, 2, 66, 3, 161, 10};
            const std::uint32_t bits = round == 3 ? 64 * k : kBits[round % 10];
            Power power(k, bits, round, random), other(k, kBits[(round + 1) % 10], round, random);
            for (const Kernel<ModExpKernel>& kernel : modExpKernelTable()) {
                if (!kernel.isSupported() || !kernel.run.takes(k)) {
                    continue;
                }
                const std::size_t units = kernel.run.scratchUnits(
                    k, std::max(power.task.exponentBits, other.task.exponentBits), power.task.isSecret);
                SCOPED_TRACE(testing::Message() << kernel.name << ", " << k << " units, round " << round);
                Units scratch(units + 2, kGuard), inPlace(power.base);
                Unit* const unaligned = scratch.data() + round % 2;
                kernel.run.one(power.task, unaligned);
                ASSERT_TRUE(power.isRight());
                if (kernel.run.pair != nullptr) {
                    kernel.run.pair(power.task, other.task, unaligned);
                    ASSERT_TRUE(power.isRight() && other.isRight());
                }
                ModExpTask task = power.task;
                task.base = task.result = inPlace.data();
                kernel.run.one(task, unaligned);
                ASSERT_EQ(inPlace, power.expected);
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

} // namespace
