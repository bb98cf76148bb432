// CpuFeatures: what the processor offers and the operating system has switched on.
#ifndef ZELSPI_CORE_CPU_CPU_FEATURES_H
#define ZELSPI_CORE_CPU_CPU_FEATURES_H

// CpuVendor: who makes the processor, where kernels are faster on one's than on another's.
enum class CpuVendor { other, amd };

// Every flag includes the registers that its instructions need: those of the wide vectors count only when the operating
// system saves them. All false on other processors than x86-64.
struct CpuFeatures {
    bool ssse3;
    bool sse41;
    bool aes;
    bool sha;
    bool bmi1;
    bool bmi2;
    bool adx;
    bool avx;
    bool avx2;
    bool avx512; // F, DQ, BW and VL together
    bool vaes;   // with avx512
    bool ifma;   // with avx512
    CpuVendor vendor;
};

// cpuFeatures: asked of the processor once, at the first call; immutable.
const CpuFeatures& cpuFeatures();

#endif
