// Statuses, memory, and which kernels this CPU runs: said, and that the choice falls on the best.
#include "core/aes/aes_kernels.h"
#include "core/bignum/kernels.h"
#include "core/cpu/cpu_features.h"
#include "core/hash/sha_kernels.h"
#include "core/memory/memory.h"
#include "core/memory/secret.h"
#include "core/status/status.h"
#include "tests/support/faults.h"
#include "tests/support/vectors.h"

#include <iostream>

namespace {

Status name(const Words& in, Words& out) {
    const char* const name = statusName(std::stoi(in[0]));
    out = {name == nullptr ? "none" : name};
    return OK;
}

Status version(const Words& in, Words& out) {
    std::string buffer(64, '#');
    const Status status = getVersionText(numberOf(in[0]), buffer.data(), numberOf(in[1]));
    EXPECT_TRUE(status == OK || buffer == std::string(64, '#'));
    out = status == OK ? Words{buffer.c_str()} : Words();
    return status;
}

TEST(Status, NamesAndVersionTexts) {
    runVectors("core/status/status_vectors.txt", {{"name", name}, {"version", version}});
    char buffer[64];
    expectNullsRefused({getVersionText}, 1, buffer, 64);
    EXPECT_FALSE(isError(OK_SSL_USE_EMPTY_CERT)) << "success is what is not negative";
}

// The account after each test sees what is freed unwiped.
TEST(Memory, Blocks) {
    void *none = nullptr, *block = nullptr;
    std::uint64_t* record = nullptr;
    ASSERT_EQ(memAllocRecord(&record), OK);
    EXPECT_EQ(std::exchange(*record, 5), 0U);
    EXPECT_EQ(memFreeRecord(&record), OK);
    EXPECT_EQ(memFreeRecord(&record), ERR_NULL_POINTER);
    EXPECT_EQ(memFree(&none), ERR_NULL_POINTER);
    expectNullsRefused({memAlloc}, 1, &block);
    expectNullsRefused({memFree}, &none);
    refuseEach([] {
        SecretBuffer buffer;
        for (const std::size_t size : {40U, 8U}) { // the second in place of the first
            RETURN_IF_ERROR(buffer.alloc(size));
            std::fill_n(buffer.data(), size, std::uint8_t{0x5A});
        }
        void* released = buffer.release();
        EXPECT_TRUE(buffer.data() == nullptr && buffer.size() == 0);
        return memWipeAndFree(&released, 8);
    });
}

TEST(Memory, ByteOperations) {
    Bytes bytes = {1, 2, 3, 4, 5}, mask = {0xFF, 0x0F};
    EXPECT_EQ(memCopy(bytes.data() + 1, bytes.data(), 4), OK); // overlapping
    EXPECT_EQ(memXor(bytes.data(), mask.data(), 2), OK);
    EXPECT_EQ(memSet(bytes.data() + 3, 9, 2), OK);
    for (const std::int64_t count : {0, -1}) {
        EXPECT_TRUE(memCopy(bytes.data(), mask.data(), count) == OK && memSet(bytes.data(), 0, count) == OK);
        EXPECT_EQ(memXor(bytes.data(), mask.data(), count), OK);
    }
    expectNullsRefused({memCopy, memXor}, bytes.data(), mask.data(), -1);
    expectNullsRefused({memSet}, bytes.data(), 0, -1);
    EXPECT_EQ(bytes, (Bytes{0xFE, 0x0E, 2, 9, 9}));
}

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
    const std::vector<bool> ours = {f.ssse3, f.sse41, f.aes,  f.sha,    f.bmi1, f.bmi2,
                                    f.adx,   f.avx,   f.avx2, f.avx512, f.vaes, f.ifma};
    EXPECT_EQ(ours,
              (std::vector<bool>{SUPPORTS("ssse3"), SUPPORTS("sse4.1"), SUPPORTS("aes"), SUPPORTS("sha"),
                                 SUPPORTS("bmi"), SUPPORTS("bmi2"), SUPPORTS("adx"), SUPPORTS("avx"), SUPPORTS("avx2"),
                                 avx512, avx512 && SUPPORTS("vaes"), avx512 && SUPPORTS("avx512ifma")}));
    EXPECT_EQ(cpuFeatures().vendor == CpuVendor::amd, __builtin_cpu_is("amd") != 0);
}
#endif

} // namespace
