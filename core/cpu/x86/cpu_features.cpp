#include "core/cpu/cpu_features.h"

#include <cpuid.h>

#include <cstdint>

namespace {

// What CPUID answers for a leaf; all zero where the processor does not know the leaf.
struct CpuidAnswer {
    std::uint32_t eax = 0;
    std::uint32_t ebx = 0;
    std::uint32_t ecx = 0;
    std::uint32_t edx = 0;
};

CpuidAnswer cpuid(std::uint32_t leaf) {
    CpuidAnswer answer;
    (void)__get_cpuid_count(leaf, 0, &answer.eax, &answer.ebx, &answer.ecx, &answer.edx); // unknown: stays zero
    return answer;
}

constexpr bool bit(std::uint32_t word, unsigned index) {
    return (word >> index & 1) != 0;
}

// Which register states the operating system saves: XCR0, or nothing without XSAVE.
std::uint32_t savedStates(const CpuidAnswer& leaf1) {
    if (!bit(leaf1.ecx, 27)) { // OSXSAVE
        return 0;
    }
    std::uint32_t low = 0;
    std::uint32_t high = 0;
    __asm__ volatile("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
    return low;
}

CpuVendor vendor() {
    const CpuidAnswer leaf0 = cpuid(0);
    const bool isAmd = leaf0.ebx == 0x68747541 && leaf0.edx == 0x69746E65 && leaf0.ecx == 0x444D4163; // "AuthenticAMD"
    return isAmd ? CpuVendor::amd : CpuVendor::other;
}

X86Features detect() {
    constexpr std::uint32_t kYmmStates = 0x06; // XMM and the upper halves of YMM
    constexpr std::uint32_t kZmmStates = 0xE6; // also mask registers, upper halves of ZMM, ZMM16 to ZMM31
    const CpuidAnswer leaf1 = cpuid(1);
    const CpuidAnswer leaf7 = cpuid(7);
    const std::uint32_t states = savedStates(leaf1);
    const bool ymm = (states & kYmmStates) == kYmmStates;
    const bool zmm = (states & kZmmStates) == kZmmStates;

    X86Features features = {};
    features.ssse3 = bit(leaf1.ecx, 9);
    features.sse41 = bit(leaf1.ecx, 19);
    features.aes = bit(leaf1.ecx, 25);
    features.sha = bit(leaf7.ebx, 29) && features.ssse3 && features.sse41;
    features.bmi1 = bit(leaf7.ebx, 3);
    features.bmi2 = bit(leaf7.ebx, 8);
    features.adx = bit(leaf7.ebx, 19);
    features.avx = bit(leaf1.ecx, 28) && ymm;
    features.avx2 = bit(leaf7.ebx, 5) && features.avx;
    features.avx512 = zmm && features.avx2 && bit(leaf7.ebx, 16) && bit(leaf7.ebx, 17) && bit(leaf7.ebx, 30) &&
                      bit(leaf7.ebx, 31); // F, DQ, BW, VL
    features.vaes = features.avx512 && features.aes && bit(leaf7.ecx, 9);
    features.ifma = features.avx512 && bit(leaf7.ebx, 21);
    return features;
}

} // namespace

const CpuFeatures& cpuFeatures() {
    static const CpuFeatures features = {.x86 = detect(), .arm = {}, .vendor = vendor()};
    return features;
}
