// The word-level kernels: every one of the table that this CPU supports, against each other and against identities.
#include "core/bignum/kernels.h"
#include "core/bignum/modexp.h"
#include "core/bignum/vlong_math.h"
#include "core/cpu/cpu_features.h"
#include "tests/core/bignum/bignum_support.h"

#include <algorithm>
#include <iostream>
#include <memory>

namespace {

using bignumtest::Number;
using bignumtest::Random;
using bignumtest::Units;

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
    for (std::size_t i = 0; i < sums.size(); ++i) {
        carry += sums[i];
        product[i / 4] |= (carry & 0xFFFF) << (16 * (i % 4));
        carry >>= 16;
    }
    return product;
}

// Runs check(kernels, random) for every supported kernel.
template <typename Check> void forEachKernel(Check check) {
    for (const Kernel<BignumKernels>& kernel : bignumKernelTable()) {
        if (kernel.isSupported()) {
            SCOPED_TRACE(kernel.name);
            Random random(20261121);
            check(kernel.run, random);
        }
    }
}

TEST(BignumKernels, ProductsAgreeWithSlowOnes) {
    forEachKernel([](const BignumKernels& kernels, Random& random) {
        for (int round = 0; round < 1000; ++round) {
            const Units a = random.units(random.below(20), round % 2 == 0),
                        b = random.units(random.below(20), round % 3 == 0);
            const Units product = slowProduct(a, b), square = slowProduct(a, a);
            const std::uint32_t n = random.below(sizeOf(product) + 3); // fewer columns, all of them, and zeros above
            Units result(n + 1, kGuard);
            kernels.mulColumns(result.data(), a.data(), sizeOf(a), b.data(), sizeOf(b), n);
            for (std::uint32_t i = 0; i < n; ++i) {
                ASSERT_EQ(result[i], i < product.size() ? product[i] : 0);
            }
            kernels.squareColumns(result.data(), a.data(), sizeOf(a), n);
            for (std::uint32_t i = 0; i < n; ++i) {
                ASSERT_EQ(result[i], i < square.size() ? square[i] : 0);
            }
            ASSERT_EQ(result[n], kGuard);
        }
    });
}

TEST(BignumKernels, UnrolledAndKaratsubaAgreeWithColumns) {
    forEachKernel([](const BignumKernels& kernels, Random& random) {
        for (const std::uint32_t n : {8U, 16U, 32U, 64U}) {
            for (int round = 0; round < 400; ++round) {
                Units a = random.units(n, round % 2 == 0), b = random.units(n, round % 2 == 0);
                if (round % 5 == 0) { // halves that are equal in one or both: the middle product is 0
                    std::copy_n(a.begin(), n / 2, a.begin() + n / 2);
                }
                if (round % 10 == 0) {
                    std::copy_n(b.begin(), n / 2, b.begin() + n / 2);
                }
                Units expected(2 * n), result(2 * n + 1, kGuard), scratch(4 * n + 1, kGuard);
                const auto check = [&] {
                    ASSERT_TRUE(std::equal(expected.begin(), expected.end(), result.begin())) << n << " units";
                    ASSERT_EQ(result[2 * n], kGuard);
                    ASSERT_EQ(scratch[4 * n], kGuard);
                };
                kernels.mulColumns(expected.data(), a.data(), n, b.data(), n, 2 * n);
                n == 8 ? kernels.mul8x8(result.data(), a.data(), b.data())
                       : kernels.karatsubaMul(result.data(), a.data(), b.data(), n, scratch.data());
                check();
                kernels.squareColumns(expected.data(), a.data(), n, 2 * n);
                n == 8 ? kernels.square8(result.data(), a.data())
                       : kernels.karatsubaSquare(result.data(), a.data(), n, scratch.data());
                check();
            }
        }
    });
}

TEST(BignumKernels, RowsUndoEachOther) {
    forEachKernel([](const BignumKernels& kernels, Random& random) {
        for (int round = 0; round < 2000; ++round) {
            const std::uint32_t n = random.below(20);
            const Units a = random.units(n, round % 2 == 0), b = random.units(n, round % 2 == 0);
            const Unit w = random.units(1, true)[0];
            Units sum(n), back = a;
            const Unit carry = kernels.addUnits(sum.data(), a.data(), b.data(), n);
            ASSERT_EQ(kernels.subUnits(sum.data(), sum.data(), b.data(), n), carry);
            ASSERT_EQ(sum, a);
            Units wide = slowProduct(b, {w});
            wide.resize(n + 1); // w * b
            const Unit top = kernels.addUnits(wide.data(), wide.data(), a.data(), n) + wide[n];
            ASSERT_EQ(kernels.mulAddUnit(back.data(), b.data(), n, w), top);
            ASSERT_TRUE(std::equal(back.begin(), back.end(), wide.begin()));
            ASSERT_EQ(kernels.mulSubUnit(back.data(), b.data(), n, w), top);
            ASSERT_EQ(back, a);
        }
    });
}

TEST(BignumKernels, DivisionOfTwoUnitsByOne) {
    forEachKernel([](const BignumKernels& kernels, Random& random) {
        for (int round = 0; round < 20000; ++round) {
            Units in = random.units(3, true);
            Unit d = in[0] >> random.below(64);
            d = d == 0 ? 1 : d;
            const Unit high = in[1] % d, low = in[2];
            const Unit q = kernels.div128by64(high, low, d);
            Units rest = {low, high};
            const Units product = slowProduct({q}, {d});
            ASSERT_EQ(kernels.subUnits(rest.data(), rest.data(), product.data(), 2), 0U);
            ASSERT_TRUE(rest[1] == 0 && rest[0] < d) << high << " " << low << " " << d;
        }
    });
}

// a * b / R mod m by its definition: the product with R must be a * b mod m. Moduli at both ends of their length.
TEST(BignumKernels, MontgomeryProducts) {
    forEachKernel([](const BignumKernels& kernels, Random& random) {
        for (const std::uint32_t k : {1U, 2U, 3U, 7U, 8U, 9U, 16U, 24U, 32U, 33U, 64U}) {
            for (int round = 0; round < 60; ++round) {
                Units modulus = random.units(k, round % 3 != 0);
                modulus[0] |= 1;
                modulus[k - 1] = round % 4 == 0 ? 1 : (round % 4 == 1 ? ~Unit{0} : modulus[k - 1] | 1);
                const Number m(modulus);
                const auto reduced = [&](Number value) {
                    Number rest;
                    EXPECT_EQ(VLONG_mod(value, m, rest.out(), nullptr), OK);
                    EXPECT_EQ(VLONG_growKeep(rest, k), OK);
                    std::fill(rest.get()->units + rest.get()->length, rest.get()->units + k, Unit{0});
                    return rest;
                };
                Number top = m; // m - 1, the largest operand
                EXPECT_EQ(VLONG_decrement(top, nullptr), OK);
                const Number a = reduced(round % 5 == 0 ? top : Number(random.units(k))),
                             b = reduced(Number(random.units(k)));
                const MontModulus view{m.get()->units, nullptr, VLONG_montNegInverse64(m), k};
                Units result(a.get()->units, a.get()->units + k), scratch(montScratchUnits(k) + 1, kGuard);
                const auto check = [&](const Number& x, const Number& y) {
                    Number product(result), radix;
                    ASSERT_EQ(VLONG_cmpMagnitude(product, m), -1);
                    EXPECT_EQ(VLONG_shiftLeft(product, 64 * k), OK);
                    EXPECT_EQ(VLONG_mulSigned(x, y, radix.out(), nullptr), OK);
                    ASSERT_EQ(reduced(product), reduced(radix)) << k;
                    ASSERT_EQ(scratch.back(), kGuard);
                };
                kernels.montMultiply(result.data(), result.data(), b.get()->units, view, scratch.data());
                check(a, b);
                kernels.montSquare(result.data(), b.get()->units, view, scratch.data());
                check(b, b);
            }
        }
    });
}

// Power: an exponentiation with its operands, and the answer of the portable kernel.
struct Power {
    Power(Units m, Units b, Units e, std::uint32_t bits)
        : modulus(m), base(b), exponent(std::move(e)), result(m.size()) {
        const auto k = sizeOf(modulus);
        const Number number(modulus);
        Number square(1), reduced;
        EXPECT_EQ(VLONG_shiftLeft(square, 128 * k), OK);
        EXPECT_EQ(VLONG_mod(square, number, reduced.out(), nullptr), OK);
        radixSquared.assign(reduced.get()->units, reduced.get()->units + reduced.get()->length);
        radixSquared.resize(k);
        task = {result.data(),
                base.data(),
                exponent.data(),
                bits,
                {modulus.data(), radixSquared.data(), VLONG_montNegInverse64(number), k},
                false};
        const ModExpKernel& portable = modExpKernelTable().back().run;
        Units scratch(portable.scratchUnits(k, bits, false));
        portable.one(task, scratch.data());
        expected = result;
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

// Operands whose digits and carries are all zeros, all ones, or nearly so, and random ones, by turns.
std::unique_ptr<Power> extremePower(std::uint32_t k, std::uint32_t bits, std::uint32_t round, Random& random) {
    Units modulus(k), base = random.units(k, round % 2 == 0), exponent = random.units((bits + 63) / 64, round % 3 == 0);
    switch (round % 5) {
    case 0: // just below the radix
        modulus.assign(k, ~Unit{0});
        break;
    case 1: // a lone top bit
        modulus[k - 1] = Unit{1} << 63;
        break;
    case 2: // the shortest
        modulus[k - 1] = 1;
        break;
    default:
        modulus = random.units(k, round % 5 == 3);
        modulus[k - 1] |= 2;
        break;
    }
    modulus[0] |= k == 1 ? 3 : 1;
    if (round % 7 == 0) { // m - 1
        base = modulus;
        base[0] -= 1;
    } else if (round % 7 == 1) {
        base.assign(k, 0);
    } else {
        base[k - 1] %= modulus[k - 1]; // below m
    }
    exponent.back() &= ~Unit{0} >> (63 - (bits - 1) % 64);
    exponent.back() |= Unit{1} << (bits - 1) % 64;
    return std::make_unique<Power>(modulus, base, exponent, bits);
}

TEST(ModExpKernels, AgreeWithThePortableOneAloneAndInPairs) {
    for (const Kernel<ModExpKernel>& kernel : modExpKernelTable()) {
        SCOPED_TRACE(kernel.name);
        Random random(20261121);
        for (const std::uint32_t k : {1U, 2U, 8U, 9U, 16U, 24U, 32U, 33U, 48U, 64U}) {
            for (std::uint32_t round = 0; kernel.isSupported() && kernel.run.takes(k) && round < 70; ++round) {
                constexpr std::uint32_t kBits[] = {17, 64, 65, 160, 1, 2, 66, 3, 161, 10};
                const std::uint32_t bits = round == 3 ? 64 * k : kBits[round % 10], otherBits = kBits[(round + 1) % 10];
                const auto power = extremePower(k, bits, round, random),
                           other = extremePower(k, otherBits, round / 5 + 1, random);
                for (ModExpTask* const task : {&power->task, &other->task}) {
                    if (round % 3 != 0) { // a secret, with a public length of whole units
                        task->isSecret = true;
                        task->exponentBits = (task->exponentBits + 63) / 64 * 64;
                    }
                }
                const std::size_t units = kernel.run.scratchUnits(
                    k, std::max(power->task.exponentBits, other->task.exponentBits), power->task.isSecret);
                Units scratch(units + 2, kGuard);
                Unit* const unaligned = scratch.data() + round % 2;
                kernel.run.one(power->task, unaligned);
                ASSERT_TRUE(power->isRight()) << k << " units, " << bits << " bits, round " << round;
                if (kernel.run.pair != nullptr) {
                    kernel.run.pair(power->task, other->task, unaligned);
                    ASSERT_TRUE(power->isRight()) << k << " units, " << bits << " bits, round " << round;
                    ASSERT_TRUE(other->isRight()) << k << " units, " << otherBits << " bits, round " << round;
                }
                power->task.result = power->base.data(); // in place
                kernel.run.one(power->task, unaligned);
                ASSERT_EQ(power->base, power->expected);
                ASSERT_EQ(unaligned[units], kGuard);
            }
        }
    }
}

TEST(ModExpKernels, AFactorOfTheModulusRaisedToZero) {
    for (const Kernel<ModExpKernel>& kernel : modExpKernelTable()) {
        SCOPED_TRACE(kernel.name);
        Random random(1);
        for (const std::uint32_t k : {8U, 16U, 24U, 32U, 48U, 64U}) {
            if (!kernel.isSupported()) {
                break;
            }
            Units root = random.units(k / 2), square(k);
            root[0] |= 1;
            root[k / 2 - 1] |= Unit{1} << 63;
            bignumKernels().squareColumns(square.data(), root.data(), k / 2, k);
            root.resize(k);
            for (const std::uint32_t bits : {2U, 65U}) {
                Power power(square, root, Units{2, 1}, bits);
                EXPECT_EQ(power.expected, Units(k));
                Units scratch(kernel.run.scratchUnits(k, bits, true));
                kernel.run.one(power.task, scratch.data());
                EXPECT_TRUE(power.isRight()) << k;
            }
        }
    }
}

TEST(BignumKernels, TheBestForThisCpuIsActive) {
#if defined(ZEL_X86_KERNELS)
    const CpuFeatures& cpu = cpuFeatures();
    const bool isAdx = cpu.bmi2 && cpu.adx, isIfma = cpu.ifma && cpu.bmi2;
#else
    const bool isAdx = false, isIfma = false;
#endif
    const auto nameOf = [](std::uint32_t k, Unit low, bool isSecret) {
        Units units(k, low);
        const ModExpKernel& chosen = modExpKernelFor({units.data(), nullptr, 0, k}, isSecret);
        for (const Kernel<ModExpKernel>& kernel : modExpKernelTable()) {
            if (&kernel.run == &chosen) {
                return kernel.name;
            }
        }
        return "none";
    };
    const char* const general = isAdx ? "adx" : "portable";
    EXPECT_STREQ(chooseKernel(bignumKernelTable()).name, general);
    for (const bool isSecret : {false, true}) {
        const char* const window = isSecret && !isAdx ? "portable-windows" : general;
        for (const std::uint32_t k : {8U, 16U, 24U, 32U, 48U, 64U}) {
            EXPECT_STREQ(nameOf(k, 1, isSecret), isIfma ? "ifma" : window);
        }
        EXPECT_STREQ(nameOf(17, 1, isSecret), window);
    }
    EXPECT_STREQ(nameOf(16, 2, false), "portable"); // an even modulus
    std::cout << "Big integers run on the kernel " << general << ", powers modulo 1024 bits run on the kernel "
              << nameOf(16, 1, true) << "\n";
}

} // namespace
