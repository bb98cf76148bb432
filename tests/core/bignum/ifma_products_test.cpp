// Single products of every shape by their definition, with operands and moduli at both ends of what they may be.
#include "core/bignum/modexp.h"
#include "core/bignum/vlong_math.h"
#include "core/bignum/x86/ifma_products.h"
#include "core/bignum/x86/x86_kernels.h"
#include "tests/support/number.h"

namespace {

using namespace ifma;

Number lowered(Number value) {
    EXPECT_EQ(VLONG_decrement(value, nullptr), OK);
    return value;
}

template <typename S> struct alignas(64) Digits {
    Unit lanes[S::kNumberUnits] = {};

    void put(std::uint32_t task, const Number& number) {
        Units units(number.get()->units, number.get()->units + number.get()->length);
        units.resize(S::kNumberUnits + 1);
        for (std::uint32_t d = 0; d < S::V * S::kTaskLanes; ++d) {
            const std::uint32_t unit = d * kDigitBits / 64, shift = d * kDigitBits % 64;
            lanes[place<S>(task, d)] = (units[unit] >> shift | units[unit + 1] << 1 << (63 - shift)) & kDigitMask;
        }
    }
    Number get(std::uint32_t task) const {
        Units units(S::kNumberUnits + 1);
        for (std::uint32_t d = 0; d < S::V * S::kTaskLanes; ++d) {
            const std::uint32_t unit = d * kDigitBits / 64, shift = d * kDigitBits % 64;
            const Unit digit = lanes[place<S>(task, d)];
            EXPECT_LE(digit, kDigitMask);
            units[unit] |= digit << shift;
            units[unit + 1] |= digit >> 1 >> (63 - shift);
        }
        return Number(units);
    }
};

// By turns the largest, one of digits of all ones and one of a lone bit, the smallest, a random one: of so many bits, where
// the lowest `ones` are all set.
Number extremeModulus(std::uint32_t bits, std::uint32_t ones, std::uint32_t round, Random& random) {
    const std::uint32_t free = bits - ones;
    switch (round % 4) {
    case 0:
        return lowered(shifted(Number(1), bits));
    case 1:
        return lowered(shifted(lowered(shifted(Number(1), free)), ones));
    case 2:
        return lowered(shifted(Number(2), ones));
    default:
        return lowered(shifted(reduced(Number(random.units(bits / 64 + 1)), lowered(shifted(Number(1), free))), ones));
    }
}

// Operands: what one task of a product multiplies, both factors below twice the multiple.
struct Operands {
    Number modulus, multiple, a, b;
};

Operands extremeOperands(std::uint32_t bits, std::uint32_t ones, std::uint32_t round, std::uint32_t task,
                         Random& random) {
    const Number multiple = extremeModulus(bits + ones, ones, round + task, random), bound = shifted(multiple, 1);
    const auto factor = [&](std::uint32_t kind) {
        return kind == 0 ? lowered(bound) : kind == 1 ? Number(1) : reduced(Number(random.units(bits / 64 + 3)), bound);
    };
    return {extremeModulus(bits, 1, round + task, random), multiple, factor(round / 4 % 4), factor(round / 16)};
}

template <typename S> void checkProducts(Random& random) {
    SCOPED_TRACE(testing::Message() << S::k << " units, pair " << S::isPair);
    for (std::uint32_t round = 0; round < 64; ++round) {
        Digits<S> a, b, one, modulus, multiple, inverses, result;
        std::vector<Operands> tasks;
        for (std::uint32_t task = 0; task < S::kTasks; ++task) {
            const Operands& of =
                tasks.emplace_back(extremeOperands(64 * S::k, S::kZeroDigits * kDigitBits, round, task, random));
            Number above = of.multiple;
            EXPECT_EQ(VLONG_increment(above, nullptr), OK);
            a.put(task, of.a);
            b.put(task, of.b);
            one.put(task, Number(1));
            modulus.put(task, of.modulus);
            multiple.put(task, above);
            std::fill_n(inverses.lanes + task * S::kTaskLanes, S::kTaskLanes,
                        VLONG_montNegInverse64(of.modulus) & kDigitMask);
        }
        // The result times R is x y modulo m, and the result at most the bound.
        const auto check = [&](std::uint32_t task, const Number& xy, const Number& m, const Number& bound) {
            const Number r = result.get(task);
            ASSERT_LE(VLONG_cmpMagnitude(r, bound), 0) << round;
            ASSERT_EQ(reduced(shifted(r, S::kSteps * kDigitBits), m), reduced(xy, m)) << round;
        };
        const auto checkEach = [&](auto productOf, bool isReduced) {
            for (std::uint32_t task = 0; task < S::kTasks; ++task) {
                const Operands& of = tasks[task];
                isReduced ? check(task, productOf(of), of.modulus, of.modulus)
                          : check(task, productOf(of), of.multiple, shifted(of.multiple, 1));
            }
        };
        const Modulus m{modulus.lanes, multiple.lanes, inverses.lanes};
        multiply<S>(result.lanes, a.lanes, b.lanes, m);
        checkEach([](const Operands& of) { return multiplied(of.a, of.b); }, false);
        square<S>(result.lanes, a.lanes, m);
        checkEach([](const Operands& of) { return multiplied(of.a, of.a); }, false);
        leave<S>(result.lanes, a.lanes, one.lanes, m);
        checkEach([](const Operands& of) { return of.a; }, true);
    }
}

template <typename... S> void checkShapes() {
    Random random(20261122);
    (checkProducts<S>(random), ...);
}

TEST(IfmaProducts, AtBothEndsOfTheirBounds) {
    if (ifmaIsSupported()) {
        checkShapes<One512, One1024, One1536, One2048, One3072, One4096, Pair512, Pair1024, Pair1536, Pair2048>();
    }
}

} // namespace
