// The exponentiations of every kernel that this CPU supports, which are made of all its products, by the lines "modexp" of
// bignum_vectors.txt.
#include "core/bignum/kernels.h"
#include "core/bignum/residues.h"
#include "tests/support/number.h"
#include "tests/support/vectors.h"

namespace {

constexpr Unit kGuard = 0xC0FFEE0DDBA11ULL;

// The power alone and in place, and beside one of 2 modulo 2^(64 k) - 1, which is a single bit; all within the scratch.
void expectPower(const ModExpKernel& kernel, const Number& base, const Number& exponent, const Number& m,
                 const Number& expected, bool isSecret) {
    const std::uint32_t k = m.get()->length, bits = VLONG_bitLength(exponent), wholeBits = (bits + 63) / 64 * 64;
    constexpr std::uint32_t kOther = 0x12345; // of 17 bits
    const Unit other = kOther;
    const Units modulus = m.units(k), square = reduced(shifted(Number(1), 128 * k), m).units(k), from = base.units(k),
                power = exponent.units(wholeBits / 64), right = expected.units(k), ones(k, ~Unit{0}),
                one = Number(1).units(k), two = Number(2).units(k),
                bit = shifted(Number(1), kOther % (64 * k)).units(k);
    Units result = from, ofTwo(k);
    ModExpTask task{result.data(),
                    result.data(),
                    power.data(),
                    isSecret ? wholeBits : bits, // of a secret one its public length
                    {modulus.data(), square.data(), VLONG_montNegInverse64(m), k},
                    isSecret};
    ModExpTask beside{ofTwo.data(), two.data(), &other, isSecret ? 64U : 17U, {ones.data(), one.data(), 1, k},
                      isSecret};
    const std::size_t units = kernel.scratchUnits(k, std::max(task.exponentBits, beside.exponentBits), isSecret);
    Units scratch(units + 2, kGuard);
    Unit* const unaligned = scratch.data() + (isSecret ? 1 : 0);
    kernel.one(task, unaligned);
    ASSERT_EQ(result, right);
    task.base = from.data();
    for (const auto& [first, second] : {std::pair{&task, &beside}, {&beside, &task}}) {
        std::fill(result.begin(), result.end(), kGuard);
        if (kernel.pair != nullptr) {
            kernel.pair(*first, *second, unaligned);
        } else {
            kernel.one(*first, unaligned);
            kernel.one(*second, unaligned);
        }
        ASSERT_EQ(result, right);
        ASSERT_EQ(ofTwo, bit);
    }
    ASSERT_EQ(unaligned[units], kGuard);
}

TEST(ModExpKernels, GiveTheVectors) {
    for (const Words& vector : vectorsOf("core/bignum/bignum_vectors.txt", "modexp")) {
        const Number base(vector[0]), exponent(vector[1]), m(vector[2]);
        if (VLONG_isZero(exponent) || !takesResidues(m)) {
            continue;
        }
        SCOPED_TRACE(vector[2]);
        base.get()->negative = 0; // is not looked at
        const Number residue = reduced(base, m), expected = reduced(Number(vector[3]), m);
        for (const Kernel<ModExpKernel>& kernel : modExpKernelTable()) {
            for (const bool isSecret : {false, true}) {
                SCOPED_TRACE(kernel.name);
                if (kernel.isSupported() && kernel.run.takes(m.get()->length)) {
                    expectPower(kernel.run, residue, exponent, m, expected, isSecret);
                }
            }
        }
    }
    for (const char* const refused : {"0", "1", "1.0", "1*4096"}) {
        EXPECT_FALSE(takesResidues(Number(refused))) << refused;
    }
}

} // namespace
