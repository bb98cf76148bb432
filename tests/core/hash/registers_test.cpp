// What the hash kernels leave in the vector registers.
#include "core/cpu/cpu_features.h"
#include "core/hash/sha_kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

namespace {

#if (defined(ZEL_X86_KERNELS) && !defined(_WIN32)) || defined(ZEL_ARM_KERNELS) // Windows wants six back as they were
// The vector registers behind the call of a kernel, as the processor saves them.
template <typename Run, typename... Arguments> bool leavesRegisters(Run run, Arguments... arguments) {
    alignas(64) static std::uint8_t saved[4096];
    std::memset(saved, 0, sizeof saved);
    run(arguments...);
#if defined(ZEL_ARM_KERNELS)
    std::uint8_t* to = saved;
    // All but V8 to V15, of which the lower halves belong to the caller.
    __asm__ volatile("st1 {v0.16b-v3.16b}, [%0], #64\n\tst1 {v4.16b-v7.16b}, [%0], #64\n\t"
                     "st1 {v16.16b-v19.16b}, [%0], #64\n\tst1 {v20.16b-v23.16b}, [%0], #64\n\t"
                     "st1 {v24.16b-v27.16b}, [%0], #64\n\tst1 {v28.16b-v31.16b}, [%0], #64"
                     : "+r"(to)::"memory");
#else
    if (!cpuFeatures().x86.avx) {
        return false;
    }
    // XMM, the upper halves of YMM, all of ZMM, in a form without gaps for AVX-512's masks.
    __asm__ volatile("xsave64 %0" : "+m"(saved) : "a"(0xC6), "d"(0));
    std::memset(saved, 0, 160);       // the x87 registers
    std::memset(saved + 416, 0, 160); // the header
#endif
    const auto isZero = [](std::uint8_t byte) {
        return byte == 0;
    };
    return !std::all_of(std::begin(saved), std::end(saved), isZero);
}

TEST(Hash, LeaveNothingInRegisters) {
    const std::vector<std::uint8_t> blocks(256, 0x35);
    const auto expectNothing = [](const auto& kernels, auto... arguments) {
        for (const auto& kernel : kernels.first(kernels.size() - 1)) {
            EXPECT_FALSE(kernel.isSupported() && leavesRegisters(kernel.run, arguments...)) << kernel.name;
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

} // namespace
