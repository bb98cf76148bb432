// Which kernels this CPU runs: said, and that the choice falls on the best.
#include "core/aes/aes_kernels.h"
#include "core/bignum/kernels.h"
#include "core/cpu/cpu_features.h"
#include "core/hash/sha_kernels.h"

#include <gtest/gtest.h>

#include <iostream>
#include <vector>

namespace {

template <typename Run>
void expectBest(const char* primitive, std::span<const Kernel<Run>> kernels, const Kernel<Run>& chosen) {
    std::cout << primitive << " runs on the kernel " << chosen.name << "; supported:";
    for (const Kernel<Run>& kernel : kernels) {
        std::cout << (kernel.isSupported() ? " " : " not ") << kernel.name;
        EXPECT_FALSE(&kernel < &chosen && kernel.isSupported()) << primitive;
    }
    std::cout << "\n";
    EXPECT_TRUE(chosen.isSupported());
    EXPECT_STREQ(kernels.back().name, "portable");
}

TEST(KernelChoice, FallsOnTheBestThatTheCpuSupports) {
    expectBest("AES", aesKernels(), aesKernel());
    expectBest("SHA-1", sha1Choice(sha1Kernels(), cpuFeatures().vendor), sha1Kernel());
    expectBest("G", sha1Choice(sha1GKernels(), cpuFeatures().vendor), sha1GKernel());
    EXPECT_EQ(sha1Choice(sha1Kernels(), CpuVendor::other).data(), sha1Kernels().data());
    EXPECT_STREQ(sha1Choice(sha1Kernels(), CpuVendor::amd)[0].name, sha1Kernels().size() < 3 ? "portable" : "sha-ni");
    expectBest("SHA-256", sha256Kernels(), sha256Kernel());
    expectBest("SHA-512", sha512Kernels(), sha512Kernel());
    expectBest("Big integers", bignumKernelTable(), chooseKernel(bignumKernelTable()));
    expectBest("Powers", modExpKernelTable(), chooseKernel(modExpKernelTable()));
    const Unit odd[16] = {1}, even[16] = {2};
    EXPECT_EQ(&modExpKernelFor({odd, nullptr, 0, 16}, true), &chooseKernel(modExpKernelTable()).run);
    EXPECT_FALSE(modExpKernelFor({odd, nullptr, 0, 16}, false).isForSecrets);
    EXPECT_EQ(&modExpKernelFor({even, nullptr, 0, 16}, false), &modExpKernelTable().back().run); // alone takes those
}

#if defined(ZEL_X86_KERNELS) && !defined(__clang__) // which knows fewer names
#define SUPPORTS(name) (__builtin_cpu_supports(name) != 0)
TEST(KernelChoice, TheFeaturesAreThoseThatTheCompilerFinds) {
    const X86Features& f = cpuFeatures().x86;
    const bool avx512 = SUPPORTS("avx512f") && SUPPORTS("avx512dq") && SUPPORTS("avx512bw") && SUPPORTS("avx512vl");
    const std::vector<bool> found = {f.ssse3, f.sse41, f.aes,  f.sha,    f.bmi1, f.bmi2,
                                     f.adx,   f.avx,   f.avx2, f.avx512, f.vaes, f.ifma};
    EXPECT_EQ(found,
              (std::vector<bool>{SUPPORTS("ssse3"), SUPPORTS("sse4.1"), SUPPORTS("aes"), SUPPORTS("sha"),
                                 SUPPORTS("bmi"), SUPPORTS("bmi2"), SUPPORTS("adx"), SUPPORTS("avx"), SUPPORTS("avx2"),
                                 avx512, avx512 && SUPPORTS("vaes"), avx512 && SUPPORTS("avx512ifma")}));
    EXPECT_EQ(cpuFeatures().vendor == CpuVendor::amd, __builtin_cpu_is("amd") != 0);
}
#endif

} // namespace
