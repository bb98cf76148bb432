// Which kernel a CPU of these features is to run on.
#ifndef ZELSPI_TESTS_SUPPORT_KERNEL_CHOICE_H
#define ZELSPI_TESTS_SUPPORT_KERNEL_CHOICE_H

#include "core/cpu/cpu_features.h"
#include "core/cpu/kernel.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <iostream>
#include <string_view>

inline void printCpuFeatures() {
    const CpuFeatures& f = cpuFeatures();
    std::cout << "CPU features:" << (f.ssse3 ? " ssse3" : "") << (f.sse41 ? " sse4.1" : "") << (f.aes ? " aes" : "")
              << (f.sha ? " sha" : "") << (f.bmi1 ? " bmi1" : "") << (f.bmi2 ? " bmi2" : "") << (f.adx ? " adx" : "")
              << (f.avx ? " avx" : "") << (f.avx2 ? " avx2" : "") << (f.avx512 ? " avx512" : "")
              << (f.vaes ? " vaes" : "") << (f.ifma ? " ifma" : "") << (f.vendor == CpuVendor::amd ? ", by AMD" : "")
              << "\n";
}

struct KernelCondition {
    std::string_view name;
    bool holds;
};

// expectChosen: that the library runs on the first of the x86 kernels whose condition holds, else on the portable one;
// prints which it is, and which others this CPU runs.
template <typename Run> void expectChosen(std::string_view primitive, std::span<const Kernel<Run>> kernels,
                                          const Kernel<Run>& chosen,
                                          std::initializer_list<KernelCondition> x86Kernels) {
    std::string_view expected = "portable";
#if defined(ZEL_X86_KERNELS)
    for (const KernelCondition* kernel = x86Kernels.end(); kernel != x86Kernels.begin();) {
        --kernel;
        expected = kernel->holds ? kernel->name : expected;
    }
    EXPECT_EQ(kernels.size(), x86Kernels.size() + 1);
#else
    (void)x86Kernels;
    EXPECT_EQ(kernels.size(), 1u);
#endif
    EXPECT_EQ(chosen.name, expected);
    EXPECT_STREQ(kernels.back().name, "portable");
    std::cout << primitive << " runs on the kernel " << chosen.name << "; supported:";
    for (const Kernel<Run>& kernel : kernels) {
        std::cout << (kernel.isSupported() ? " " : " not ") << kernel.name;
    }
    std::cout << "\n";
}

#endif
