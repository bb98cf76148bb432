// CpuFeatures: what the processor offers and the operating system has switched on.
#ifndef ZELSPI_CORE_CPU_CPU_FEATURES_H
#define ZELSPI_CORE_CPU_CPU_FEATURES_H

// CpuVendor: the maker of the processor; which kernel is the fastest can depend on it.
enum class CpuVendor { other, amd };

// X86Features: what kernels may use. The flags of instructions on wide vectors are set only where the operating system
// saves those registers.
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

// ArmFeatures: the cryptographic extensions of 64-bit ARM, each of which a processor can lack.
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
