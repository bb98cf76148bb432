// Single products of every shape by their definition, with operands and moduli at both ends of what they may be.
#include "core/bignum/modexp.h"
#include "core/bignum/vlong_math.h"
#include "core/bignum/x86/ifma_products.h"
#include "core/bignum/x86/x86_kernels.h"
#include "tests/support/number.h"

#include <random>

namespace {

using namespace ifma;

template <typename S> struct alignas(64) Digits {
    Unit lanes[S::kNumberUnits] = {};

    void put(std::uint32_t task, Number number) {
        for (std::uint32_t d = 0; d < S::V * S::kTaskLanes; ++d) {
            lanes[place<S>(task, d)] = VLONG_getUnit(number, 0) & kDigitMask;
            EXPECT_EQ(VLONG_shiftRight(number, kDigitBits), OK);
        }
    }
    Number get(std::uint32_t task) const {
        Number number("0");
        for (std::uint32_t d = S::V * S::kTaskLanes; d-- > 0;) {
            EXPECT_EQ(VLONG_shiftLeft(number, kDigitBits), OK);
            EXPECT_EQ(VLONG_addUnit(number, lanes[place<S>(task, d)] & kDigitMask, nullptr), OK);
        }
        return number;
    }
};

Number randomNumber(std::mt19937_64& random, std::size_t unitCount) {
    Units units(unitCount);
    std::generate(units.begin(), units.end(), [&random] { return random(); });
    return Number(units);
}

// Of so many bits, where the lowest `ones` are all set; by turns the largest, one of digits of all ones and one of a lone bit,
// the smallest, a random one.
Number extremeModulus(std::uint32_t bits, std::uint32_t ones, std::uint32_t round, std::mt19937_64& random) {
    const Number all = shifted(Number(1), bits - ones), fewer = lowered(all);
    const Number any = reduced(randomNumber(random, bits / 64 + 1), fewer);
    const Number* const kinds[] = {&all, &fewer, nullptr, &any};
    return lowered(shifted(round % 4 == 2 ? Number(2) : *kinds[round % 4], ones));
}

// What one task of a product multiplies: both factors below twice the multiple.
struct Operands {
    Number modulus, multiple, a, b;
};

template <typename S> void checkProducts(std::mt19937_64& random) {
    SCOPED_TRACE(testing::Message() << S::k << " units, pair " << S::isPair);
    for (std::uint32_t round = 0; round < 64; ++round) {
        Digits<S> a, b, one, modulus, multiple, inverses, result;
        std::vector<Operands> tasks;
        for (std::uint32_t task = 0; task < S::kTasks; ++task) {
            constexpr std::uint32_t kBits = 64 * S::k, kOnes = S::kZeroDigits * kDigitBits;
            const Number m = extremeModulus(kBits, 1, round + task, random);
            Number above = extremeModulus(kBits + kOnes, kOnes, round + task, random);
            const auto factor = [&, bound = shifted(above, 1)](std::uint32_t kind) {
                return kind == 0   ? lowered(bound)
                       : kind == 1 ? Number(1)
                                   : reduced(randomNumber(random, S::k + 3), bound);
            };
            tasks.push_back({m, above, factor(round / 4 % 4), factor(round / 16)});
            EXPECT_EQ(VLONG_increment(above, nullptr), OK);
            a.put(task, tasks[task].a);
            b.put(task, tasks[task].b);
            one.put(task, Number(1));
            modulus.put(task, m);
            multiple.put(task, above);
            inverses.lanes[task] = VLONG_montNegInverse64(m) & kDigitMask;
        }
        // The result times R is the product modulo m' and at most 2 m', or that modulo m and at most m.
        const auto check = [&](bool isReduced, auto productOf) {
            for (std::uint32_t task = 0; task < S::kTasks; ++task) {
                const Operands& of = tasks[task];
                const Number r = result.get(task), m(isReduced ? of.modulus : of.multiple);
                ASSERT_LE(VLONG_cmpMagnitude(r, isReduced ? m : shifted(m, 1)), 0) << round;
                ASSERT_EQ(reduced(shifted(r, S::kSteps * kDigitBits), m), reduced(productOf(of), m)) << round;
            }
        };
        const Modulus m{modulus.lanes, multiple.lanes, inverses.lanes};
        multiply<S>(result.lanes, a.lanes, b.lanes, m);
        check(false, [](const Operands& of) { return multiplied(of.a, of.b); });
        square<S>(result.lanes, a.lanes, m);
        check(false, [](const Operands& of) { return multiplied(of.a, of.a); });
        leave<S>(result.lanes, a.lanes, one.lanes, m);
        check(true, [](const Operands& of) { return of.a; });
    }
}

template <typename... S> void checkShapes() {
    std::mt19937_64 random(20261122);
    (checkProducts<S>(random), ...);
}

TEST(IfmaProducts, AtBothEndsOfTheirBounds) {
    if (ifmaIsSupported()) {
        checkShapes<One512, One1024, One1536, One2048, One3072, One4096, Pair512, Pair1024, Pair1536, Pair2048>();
    }
}

} // namespace
