// Every kernel that this CPU supports against the portable one, and the choice among them.
#include "core/hash/sha_kernels.h"

#include <gtest/gtest.h>

#include <iostream>
#include <random>
#include <string_view>
#include <vector>

namespace {

constexpr std::size_t kMaxBlocks = 9;

template <typename Word, typename Run>
void expectSameBits(std::span<const Kernel<Run>> kernels, std::size_t stateWords, Run portable) {
    std::mt19937_64 random(20021);
    std::vector<std::uint8_t> bytes(kMaxBlocks * 16 * sizeof(Word) + 64);
    for (const Kernel<Run>& kernel : kernels) {
        if (!kernel.isSupported()) {
            continue;
        }
        SCOPED_TRACE(kernel.name);
        for (std::size_t blockCount = 0; blockCount <= kMaxBlocks; ++blockCount) {
            for (const unsigned misalignment : {0u, 1u, 7u, 31u}) {
                for (std::uint8_t& byte : bytes) {
                    byte = static_cast<std::uint8_t>(random());
                }
                std::vector<Word> expected(stateWords), actual;
                for (Word& word : expected) {
                    word = static_cast<Word>(random());
                }
                actual = expected;
                portable(expected.data(), bytes.data() + misalignment, blockCount);
                kernel.run(actual.data(), bytes.data() + misalignment, blockCount);
                EXPECT_EQ(actual, expected) << blockCount << " blocks, misaligned by " << misalignment;
            }
        }
    }
}

TEST(ShaKernels, GiveTheSameBits) {
    expectSameBits<std::uint32_t>(sha1Kernels(), 5, &sha1CompressPortable);
    expectSameBits<std::uint32_t>(sha256Kernels(), 8, &sha256CompressPortable);
    expectSameBits<std::uint64_t>(sha512Kernels(), 8, &sha512CompressPortable);
}

template <typename Run>
void expectFirstSupported(std::string_view primitive, std::span<const Kernel<Run>> kernels, const Kernel<Run>& chosen) {
    std::cout << primitive << " runs on the kernel " << chosen.name << "\n";
    EXPECT_TRUE(chosen.isSupported());
    for (const Kernel<Run>* better = kernels.data(); better != &chosen; ++better) {
        EXPECT_FALSE(better->isSupported()) << better->name;
    }
    EXPECT_STREQ(kernels.back().name, "portable");
}

TEST(ShaKernels, TheBestSupportedOneIsChosen) {
    expectFirstSupported("SHA-1", sha1Kernels(), sha1Kernel());
    expectFirstSupported("SHA-256", sha256Kernels(), sha256Kernel());
    expectFirstSupported("SHA-512", sha512Kernels(), sha512Kernel());
}

// A table whose best kernel is not supported.
TEST(ShaKernels, AnUnsupportedKernelIsPassedOver) {
    const Kernel<int> table[] = {{"wide", [] { return false; }, 1}, {"narrow", alwaysSupported, 2}};
    EXPECT_STREQ(chooseKernel(std::span<const Kernel<int>>(table)).name, "narrow");
}

} // namespace
