// Every kernel that this CPU supports against the portable one and a published digest, and the choice among them.
#include "core/hash/sha_kernels.h"
#include "tests/support/kernel_choice.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
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
            for (unsigned misalignment = 0; misalignment <= 32; ++misalignment) {
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

TEST(ShaKernels, GGivesTheSameBits) {
    std::mt19937_64 random(20021);
    for (const Kernel<Sha1G>& kernel : sha1GKernels()) {
        for (int round = 0; kernel.isSupported() && round < 200; ++round) {
            std::uint64_t words[8], actual[3];
            std::uint8_t bytes[64];
            for (std::size_t i = 0; i < 8; ++i) {
                words[i] = random();
                for (std::size_t k = 0; k < 8; ++k) {
                    bytes[63 - 8 * i - k] = static_cast<std::uint8_t>(words[i] >> (8 * k));
                }
            }
            std::uint32_t state[5];
            std::copy(std::begin(kSha1InitialState), std::end(kSha1InitialState), state);
            sha1CompressPortable(state, bytes, 1);
            kernel.run(words, actual);
            EXPECT_EQ(actual[2], state[0]) << kernel.name;
            EXPECT_EQ(actual[1], std::uint64_t{state[1]} << 32 | state[2]) << kernel.name;
            EXPECT_EQ(actual[0], std::uint64_t{state[3]} << 32 | state[4]) << kernel.name;
        }
    }
}

// The padded message "abc" of FIPS 180-2, appendices A to C.
template <typename Word, typename Run> void expectDigestOfAbc(std::span<const Kernel<Run>> kernels,
                                                              const std::vector<Word>& initial,
                                                              const std::vector<Word>& digest) {
    std::vector<std::uint8_t> block(16 * sizeof(Word));
    std::memcpy(block.data(), "abc\x80", 4);
    block.back() = 24;
    for (const Kernel<Run>& kernel : kernels) {
        if (kernel.isSupported()) {
            std::vector<Word> state = initial;
            kernel.run(state.data(), block.data(), 1);
            EXPECT_EQ(state, digest) << kernel.name;
        }
    }
}

TEST(ShaKernels, TheBestSupportedOneIsChosen) {
    printCpuFeatures();
    const CpuFeatures& f = cpuFeatures();
    expectChosen("SHA-1", sha1Kernels(), sha1Kernel(), {{"sha-avx512", f.sha && f.avx512}, {"sha-ni", f.sha}});
    expectChosen("G", sha1GKernels(), sha1GKernel(), {{"sha-avx512", f.sha && f.avx512}, {"sha-ni", f.sha}});
    expectChosen("SHA-256", sha256Kernels(), sha256Kernel(), {{"sha-ni", f.sha}});
    expectChosen("SHA-512", sha512Kernels(), sha512Kernel(),
                 {{"avx512", f.avx512 && f.bmi2}, {"avx2", f.avx2 && f.bmi2}});
}

// A table whose best kernel is not supported.
TEST(ShaKernels, AnUnsupportedKernelIsPassedOver) {
    const Kernel<int> table[] = {{"wide", [] { return false; }, 1}, {"narrow", alwaysSupported, 2}};
    EXPECT_STREQ(chooseKernel(std::span<const Kernel<int>>(table)).name, "narrow");
}

} // namespace
