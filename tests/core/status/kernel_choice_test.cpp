// Which kernels this CPU runs: said, and that the choice falls on the best.
#include "core/aes/aes_kernels.h"
#include "core/bignum/kernels.h"
#include "core/cpu/cpu_features.h"
#include "core/hash/sha_kernels.h"

#include <gtest/gtest.h>

#include <iostream>

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
    const CpuFeatures& f = cpuFeatures();
    std::cout << "CPU features:" << (f.ssse3 ? " ssse3" : "") << (f.sse41 ? " sse4.1" : "") << (f.aes ? " aes" : "")
              << (f.sha ? " sha" : "") << (f.bmi2 ? " bmi2" : "") << (f.adx ? " adx" : "") << (f.avx ? " avx" : "")
              << (f.avx2 ? " avx2" : "") << (f.avx512 ? " avx512" : "") << (f.vaes ? " vaes" : "")
              << (f.ifma ? " ifma" : "") << "\n";
    expectBest("AES", aesKernels(), aesKernel());
    expectBest("SHA-1", sha1Kernels(), sha1Kernel());
    expectBest("G", sha1GKernels(), sha1GKernel());
    expectBest("SHA-256", sha256Kernels(), sha256Kernel());
    expectBest("SHA-512", sha512Kernels(), sha512Kernel());
    expectBest("Big integers", bignumKernelTable(), chooseKernel(bignumKernelTable()));
    expectBest("Powers", modExpKernelTable(), chooseKernel(modExpKernelTable()));
    const Unit odd[16] = {1}, even[16] = {2};
    EXPECT_EQ(&modExpKernelFor({odd, nullptr, 0, 16}), &chooseKernel(modExpKernelTable()).run);
    EXPECT_EQ(&modExpKernelFor({even, nullptr, 0, 16}), &modExpKernelTable().back().run); // alone takes even moduli
}

} // namespace
