#include "core/hash/sha_kernels.h"

#if defined(ZEL_X86_KERNELS)
#include "core/hash/x86/sha_x86.h"
#elif defined(ZEL_ARM_KERNELS)
#include "core/hash/arm/sha_arm.h"
#endif

namespace {

constexpr Kernel<Sha1Compress> kSha1Kernels[] = {
#if defined(ZEL_X86_KERNELS)
    {"sha-avx512", hasShaAndAvx512, sha1CompressAvx512},
    {"sha-ni", hasSha, sha1CompressNi},
#elif defined(ZEL_ARM_KERNELS)
    {"armv8-sha", hasSha1, sha1CompressArm},
#endif
    {"portable", alwaysSupported, sha1CompressPortable},
};
constexpr Kernel<Sha1G> kSha1GKernels[] = {
#if defined(ZEL_X86_KERNELS)
    {"sha-avx512", hasShaAndAvx512, sha1GAvx512},
    {"sha-ni", hasSha, sha1GNi},
#elif defined(ZEL_ARM_KERNELS)
    {"armv8-sha", hasSha1, sha1GArm},
#endif
    {"portable", alwaysSupported, sha1GPortable},
};
constexpr Kernel<Sha256Compress> kSha256Kernels[] = {
#if defined(ZEL_X86_KERNELS)
    {"sha-ni", hasSha, sha256CompressNi},
#elif defined(ZEL_ARM_KERNELS)
    {"armv8-sha", hasSha256, sha256CompressArm},
#endif
    {"portable", alwaysSupported, sha256CompressPortable},
};
constexpr Kernel<Sha512Compress> kSha512Kernels[] = {
#if defined(ZEL_X86_KERNELS)
    {"avx512", hasAvx512, sha512CompressAvx512},
    {"avx2", hasAvx2, sha512CompressAvx2},
#elif defined(ZEL_ARM_KERNELS)
    {"armv8-sha512", hasSha512, sha512CompressArm},
#endif
    {"portable", alwaysSupported, sha512CompressPortable},
};

// The kernel that this CPU runs, found once.
template <auto table> const auto& chosenOf() {
    static const auto& chosen = chooseKernel(table());
    return chosen;
}
template <auto table> const auto& chosenOfSha1() {
    static const auto& chosen = chooseKernel(sha1Choice(table(), cpuFeatures().vendor));
    return chosen;
}

} // namespace

std::span<const Kernel<Sha1Compress>> sha1Kernels() {
    return kSha1Kernels;
}

std::span<const Kernel<Sha1G>> sha1GKernels() {
    return kSha1GKernels;
}

std::span<const Kernel<Sha256Compress>> sha256Kernels() {
    return kSha256Kernels;
}

std::span<const Kernel<Sha512Compress>> sha512Kernels() {
    return kSha512Kernels;
}

const Kernel<Sha1Compress>& sha1Kernel() {
    return chosenOfSha1<sha1Kernels>();
}

const Kernel<Sha1G>& sha1GKernel() {
    return chosenOfSha1<sha1GKernels>();
}

const Kernel<Sha256Compress>& sha256Kernel() {
    return chosenOf<sha256Kernels>();
}

const Kernel<Sha512Compress>& sha512Kernel() {
    return chosenOf<sha512Kernels>();
}
