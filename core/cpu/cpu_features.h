// CpuFeatures: what the processor offers and the operating system has switched on.
#ifndef ZELSPI_CORE_CPU_CPU_FEATURES_H
#define ZELSPI_CORE_CPU_CPU_FEATURES_H

// CpuVendor: who makes the processor, where kernels are faster on one's than on another's.
enum class CpuVendor { other, amd };

// X86Features: every flag includes the registers that its instructions need: those of the wide vectors count only when the
// operating system saves them.
struct X86Features {
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
};

// ArmFeatures: the cryptographic extensions of 64-bit ARM, which each processor has or has not.
struct ArmFeatures {
    bool aes;
    bool sha1;
    bool sha256;
    bool sha512;
};

// CpuFeatures: all false for another architecture than the library is built for, and in a build without kernels for it.
struct CpuFeatures {
    X86Features x86;
    ArmFeatures arm;
    CpuVendor vendor;
};

// cpuFeatures: asked for once, at the first call; immutable.
const CpuFeatures& cpuFeatures();

#endif
