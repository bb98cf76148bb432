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

    // Returns what is above the last lane.
    Number put(std::uint32_t task, Number number) {
        for (std::uint32_t d = 0; d < S::V * S::kTaskLanes; ++d) {
            lanes[place<S>(task, d)] = VLONG_getUnit(number, 0) & kDigitMask;
            EXPECT_EQ(VLONG_shiftRight(number, kDigitBits), OK);
        }
        return number;
    }
    Number get(std::uint32_t task, Unit bits = kDigitMask) const {
        Number number("0");
        for (std::uint32_t d = S::V * S::kTaskLanes; d-- > 0;) {
            EXPECT_EQ(VLONG_shiftLeft(number, kDigitBits), OK);
            EXPECT_EQ(VLONG_addUnit(number, lanes[place<S>(task, d)] & bits, nullptr), OK);
        }
        return number;
    }
};

Number randomNumber(std::mt19937_64& random, std::size_t unitCount) {
    Units units(unitCount);
    std::generate(units.begin(), units.end(), [&random] { return random(); });
    return Number(units);
}

// Of so many bits; by turns the lowest ones are 1, so that m' is as large as can be, all ones, so that m' is m, or random, and
// above them are all ones, a lone 1 or random bits.
Number extremeModulus(std::uint32_t bits, std::uint32_t lowBits, std::uint32_t round, std::mt19937_64& random) {
    const auto part = [&](std::uint32_t kind, std::uint32_t partBits) {
        const Number end = shifted(Number(1), partBits);
        return kind == 0 ? Number(1) : kind == 1 ? lowered(end) : reduced(randomNumber(random, bits / 64), end);
    };
    Number modulus = shifted(part(round / 3 % 3, bits - lowBits), lowBits);
    EXPECT_EQ(VLONG_add(modulus, part(round % 3, lowBits), nullptr), OK);
    EXPECT_EQ(VLONG_setBit(modulus, 0), OK);
    return modulus;
}

// What one task of a product multiplies: both factors below 3 m.
struct Operands {
    Number modulus, bound, a, b;
};

template <typename S> void checkProducts(std::mt19937_64& random) {
    SCOPED_TRACE(testing::Message() << S::k << " units, pair " << S::isPair);
    for (std::uint32_t round = 0; round < 81; ++round) {
        Digits<S> a, b, one, modulus, multiple, top, inverses, result;
        std::vector<Operands> tasks;
        for (std::uint32_t task = 0; task < S::kTasks; ++task) {
            const std::uint32_t zeroBits = S::kZeroDigits * kDigitBits;
            const Number m = extremeModulus(64 * S::k, zeroBits, round + task, random);
            const Number bound = multiplied(Number(3), m);
            const auto factor = [&](std::uint32_t kind) {
                return kind == 0   ? lowered(bound)
                       : kind == 1 ? Number(1)
                                   : reduced(randomNumber(random, S::k + 3), bound);
            };
            tasks.push_back({m, bound, factor(round / 9 % 3), factor(round / 27)});
            a.put(task, tasks[task].a);
            b.put(task, tasks[task].b);
            one.put(task, Number(1));
            modulus.put(task, m);
            // -1/m to the first 64 bits, and by a step of Newton to twice as many
            const Number inverse(VLONG_montNegInverse64(m));
            Number next = multiplied(inverse, m);
            EXPECT_EQ(VLONG_addUnit(next, 2, nullptr), OK);
            Number above = multiplied(m, reduced(multiplied(inverse, next), shifted(Number(1), zeroBits)));
            EXPECT_EQ(VLONG_increment(above, nullptr), OK);
            top.lanes[task] = VLONG_getUnit(multiple.put(task, above), 0);
            inverses.lanes[task] = VLONG_getUnit(inverse, 0) & kDigitMask;
        }
        // The result times R is the product modulo m, and at most as large as the bound.
        const auto check = [&](auto boundOf, auto productOf) {
            for (std::uint32_t task = 0; task < S::kTasks; ++task) {
                const Operands& of = tasks[task];
                const Number r = result.get(task);
                ASSERT_LE(VLONG_cmpMagnitude(r, boundOf(of)), 0) << round;
                ASSERT_EQ(reduced(shifted(r, S::kSteps * kDigitBits), of.modulus), reduced(productOf(of), of.modulus))
                    << round;
            }
        };
        const auto atMost3M = [](const Operands& of) {
            return of.bound;
        };
        const Modulus m{modulus.lanes, multiple.lanes, top.lanes, inverses.lanes};
        multiply<S>(result.lanes, a.lanes, b.lanes, m);
        check(atMost3M, [](const Operands& of) { return multiplied(of.a, of.b); });
        square<S>(result.lanes, a.lanes, m);
        check(atMost3M, [](const Operands& of) { return multiplied(of.a, of.a); });
        leave<S>(result.lanes, a.lanes, one.lanes, m);
        check([](const Operands& of) { return of.modulus; }, [](const Operands& of) { return of.a; });
    }
}

template <typename S, std::uint32_t... r>
ZEL_TARGET_IFMA void normaliseLanes(Unit* lanes, std::integer_sequence<std::uint32_t, r...> all) {
    Vector sum[S::V] = {load(lanes + r * kLanes)...};
    normalise<S>(sum, all);
    (_mm512_store_si512(lanes + r * kLanes, sum[r]), ...);
}

// Carries between digits that are all ones but for a few: products have them once in 2^52.
template <typename S> void checkCarries(std::mt19937_64& random) {
    for (std::uint32_t round = 0; round < 1000; ++round) {
        Digits<S> sum;
        for (Unit& lane : sum.lanes) {
            const Unit nearly = kDigitMask - random() % 3 + (random() % 3 << kDigitBits);
            lane = random() % 16 != 0 ? kDigitMask : random() % 2 != 0 ? nearly : random() >> 2;
        }
        for (std::uint32_t task = 0; task < S::kTasks; ++task) {
            sum.lanes[place<S>(task, S::V * S::kTaskLanes - 1)] = 0;
        }
        const Digits<S> before = sum;
        normaliseLanes<S>(sum.lanes, std::make_integer_sequence<std::uint32_t, S::V>{});
        for (std::uint32_t task = 0; task < S::kTasks; ++task) {
            ASSERT_EQ(sum.get(task), before.get(task, ~Unit{0})) << S::k << " units, round " << round;
        }
    }
}

template <typename... S> void checkShapes() {
    std::mt19937_64 random(20261122);
    ((checkProducts<S>(random), checkCarries<S>(random)), ...);
}

TEST(IfmaProducts, AtBothEndsOfTheirBounds) {
    if (ifmaIsSupported()) {
        checkShapes<One512, One1024, One1536, One2048, One3072, One4096, Pair512, Pair1024, Pair1536, Pair2048>();
    }
}

} // namespace
