// The word-level kernels: every one of the table that this CPU supports, against each other and against identities.
#include "core/bignum/kernels.h"
#include "core/bignum/modexp.h"
#include "core/bignum/vlong_math.h"
#include "tests/support/number.h"

#include <algorithm>
#include <memory>

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

// By columns (fewer than there are, all of them, and zeros above), unrolled, and by Karatsuba's method, where halves that are
// equal in one or both leave no middle product.
TEST(BignumKernels, ProductsAgreeWithSlowOnes) {
    forEachKernel([](const BignumKernels& kernels, Random& random) {
        for (std::uint32_t round = 0; round < 2400; ++round) {
            constexpr std::uint32_t kSizes[] = {8, 16, 32, 64};
            const bool isColumns = round < 800;
            const std::uint32_t n = isColumns ? random.below(20) : kSizes[round / 2 % 4];
            Units a = random.units(n, round % 2 == 0),
                  b = random.units(isColumns ? random.below(20) : n, round % (isColumns ? 3 : 2) == 0);
            for (Units* const halved : {&a, &b}) {
                if (!isColumns && round % (halved == &a ? 5 : 10) == 0) {
                    std::copy_n(halved->begin(), n / 2, halved->begin() + n / 2);
                }
            }
            const std::uint32_t columns = isColumns ? random.below(n + sizeOf(b) + 3) : 2 * n;
            Units result(columns + 1, kGuard), scratch(4 * n + 1, kGuard);
            for (const bool isSquare : {false, true}) {
                const Units& other = isSquare ? a : b;
                Units expected = slowProduct(a, other);
                if (isColumns) {
                    isSquare ? kernels.squareColumns(result.data(), a.data(), n, columns)
                             : kernels.mulColumns(result.data(), a.data(), n, b.data(), sizeOf(b), columns);
                } else if (n == 8) {
                    isSquare ? kernels.square8(result.data(), a.data())
                             : kernels.mul8x8(result.data(), a.data(), b.data());
                } else {
                    isSquare ? kernels.karatsubaSquare(result.data(), a.data(), n, scratch.data())
                             : kernels.karatsubaMul(result.data(), a.data(), b.data(), n, scratch.data());
                }
                expected.resize(columns);
                expected.push_back(kGuard);
                ASSERT_EQ(result, expected) << n << " units, square " << isSquare;
                ASSERT_EQ(scratch[4 * n], kGuard);
            }
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
    case 3: // the square of the base, which becomes 0
        if (k % 2 == 0) {
            base = random.units(k / 2);
            base[0] |= 1;
            base[k / 2 - 1] |= Unit{1} << 63;
            modulus = slowProduct(base, base);
            base.resize(k);
            break;
        }
        [[fallthrough]];
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
    } else if (round % 5 != 3 || k % 2 != 0) {
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

} // namespace
