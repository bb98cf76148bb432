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

TEST(ShaKernels, GiveTheSameBits) {
    expectSameBits<std::uint32_t>(sha1Kernels(), 5, &sha1CompressPortable);
    expectSameBits<std::uint32_t>(sha256Kernels(), 8, &sha256CompressPortable);
    expectSameBits<std::uint64_t>(sha512Kernels(), 8, &sha512CompressPortable);
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

TEST(ShaKernels, GiveThePublishedDigest) {
    expectDigestOfAbc<std::uint32_t>(sha1Kernels(), {std::begin(kSha1InitialState), std::end(kSha1InitialState)},
                                     {0xA9993E36, 0x4706816A, 0xBA3E2571, 0x7850C26C, 0x9CD0D89D});
    expectDigestOfAbc<std::uint32_t>(
        sha256Kernels(),
        {0x6A09E667, 0xBB67AE85, 0x3C6EF372, 0xA54FF53A, 0x510E527F, 0x9B05688C, 0x1F83D9AB, 0x5BE0CD19},
        {0xBA7816BF, 0x8F01CFEA, 0x414140DE, 0x5DAE2223, 0xB00361A3, 0x96177A9C, 0xB410FF61, 0xF20015AD});
    expectDigestOfAbc<std::uint64_t>(sha512Kernels(),
                                     {0x6A09E667F3BCC908, 0xBB67AE8584CAA73B, 0x3C6EF372FE94F82B, 0xA54FF53A5F1D36F1,
                                      0x510E527FADE682D1, 0x9B05688C2B3E6C1F, 0x1F83D9ABFB41BD6B, 0x5BE0CD19137E2179},
                                     {0xDDAF35A193617ABA, 0xCC417349AE204131, 0x12E6FA4E89A97EA2, 0x0A9EEEE64B55D39A,
                                      0x2192992A274FC1A8, 0x36BA3C23A3FEEBBD, 0x454D4423643CE80E, 0x2A9AC94FA54CA49F});
}

TEST(ShaKernels, TheBestSupportedOneIsChosen) {
    printCpuFeatures();
    const CpuFeatures& f = cpuFeatures();
    const bool isWide = f.sha && f.avx512 && f.vendor != CpuVendor::amd;
    expectChosen("SHA-1", sha1Kernels(), sha1Kernel(), {{"sha-avx512", isWide}, {"sha-ni", f.sha}});
    expectChosen("G", sha1GKernels(), sha1GKernel(), {{"sha-avx512", isWide}, {"sha-ni", f.sha}});
    expectChosen("SHA-256", sha256Kernels(), sha256Kernel(), {{"sha-ni", f.sha}});
    expectChosen("SHA-512", sha512Kernels(), sha512Kernel(),
                 {{"avx512", f.avx512 && f.bmi1 && f.bmi2}, {"avx2", f.avx2 && f.bmi1 && f.bmi2}});
    EXPECT_EQ(sha1Choice(sha1Kernels(), CpuVendor::other).data(), sha1Kernels().data());
    EXPECT_STREQ(sha1Choice(sha1Kernels(), CpuVendor::amd)[0].name, sha1Kernels().size() == 1 ? "portable" : "sha-ni");
}

#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__) // clang knows fewer names
TEST(ShaKernels, TheFeaturesAreThoseThatTheCompilerFinds) {
    const CpuFeatures& f = cpuFeatures();
#define SUPPORTS(name) (__builtin_cpu_supports(name) != 0)
#define FEATURE(flag, expected) EXPECT_EQ(f.flag, expected) << #flag;
#include "tests/core/hash/cpu_features.inc"
#undef FEATURE
#undef SUPPORTS
    EXPECT_EQ(f.vendor == CpuVendor::amd, __builtin_cpu_is("amd") != 0);
}
#endif

#if defined(ZEL_X86_KERNELS) && !defined(_WIN32) // which wants six registers back as they were
// The vector registers behind the call of a kernel, as the processor saves them.
template <typename Run, typename... Arguments> bool leavesRegisters(Run run, Arguments... arguments) {
    alignas(64) static std::uint8_t saved[4096];
    std::memset(saved, 0, sizeof saved);
    run(arguments...);
    // XMM, the upper halves of YMM, all of ZMM, in a form without gaps for AVX-512's masks.
    __asm__ volatile("xsave64 %0" : "+m"(saved) : "a"(0xC6), "d"(0));
    const auto isZero = [](std::uint8_t byte) {
        return byte == 0;
    };
    // Behind the x87 registers; without the header between the XMM registers and the others.
    return !std::all_of(saved + 160, saved + 416, isZero) || !std::all_of(saved + 576, std::end(saved), isZero);
}

TEST(ShaKernels, LeaveNothingInRegisters) {
    const std::vector<std::uint8_t> blocks(256, 0x35);
    const auto expectNothing = [](const auto& kernels, auto... arguments) {
        for (const auto& kernel : kernels.first(kernels.size() - 1)) {
            EXPECT_FALSE(cpuFeatures().avx && kernel.isSupported() && leavesRegisters(kernel.run, arguments...))
                << kernel.name;
        }
    };
    std::uint32_t narrow[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    std::uint64_t wide[8] = {1, 2, 3, 4, 5, 6, 7, 8}, out[3];
    expectNothing(sha1Kernels(), narrow, blocks.data(), std::size_t{2});
    expectNothing(sha1GKernels(), wide, out);
    expectNothing(sha256Kernels(), narrow, blocks.data(), std::size_t{2});
    expectNothing(sha512Kernels(), wide, blocks.data(), std::size_t{2});
}
#endif

// A table whose best kernel is not supported.
TEST(ShaKernels, AnUnsupportedKernelIsPassedOver) {
    const Kernel<int> table[] = {{"wide", [] { return false; }, 1}, {"narrow", alwaysSupported, 2}};
    EXPECT_STREQ(chooseKernel(std::span<const Kernel<int>>(table)).name, "narrow");
}

} // namespace
