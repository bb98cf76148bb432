// The kernel tables and the choice from them.
#include "core/bignum/kernels.h"

#include "core/bignum/portable/portable_kernels.h"
#if defined(ZEL_X86_KERNELS)
#include "core/bignum/x86/x86_kernels.h"
#elif defined(ZEL_ARM_KERNELS)
#include "core/bignum/arm/arm_kernels.h"
#endif

namespace {

constexpr Kernel<BignumKernels> kBignumTable[] = {
#if defined(ZEL_X86_KERNELS)
    {"adx", adxIsSupported, RowKernels<AdxRows>::kProducts},
#elif defined(ZEL_ARM_KERNELS)
    {"mul", alwaysSupported, RowKernels<ArmRows>::kProducts},
#endif
    {"portable", alwaysSupported, kPortableBignumKernels},
};

constexpr Kernel<ModExpKernel> kModExpTable[] = {
#if defined(ZEL_X86_KERNELS)
    {"ifma", ifmaIsSupported, kIfmaModExpKernel},
    {"adx", adxIsSupported, RowKernels<AdxRows>::kModExp},
#elif defined(ZEL_ARM_KERNELS)
    {"mul", alwaysSupported, RowKernels<ArmRows>::kModExp},
#endif
    {"portable-windows", alwaysSupported, kPortableWindowsKernel},
    {"portable", alwaysSupported, kPortableModExpKernel},
};

} // namespace

std::span<const Kernel<BignumKernels>> bignumKernelTable() {
    return kBignumTable;
}

const BignumKernels& bignumKernels() {
    static const Kernel<BignumKernels>& kernel = chooseKernel(bignumKernelTable());
    return kernel.run;
}

std::span<const Kernel<ModExpKernel>> modExpKernelTable() {
    return kModExpTable;
}

const ModExpKernel& modExpKernelFor(const MontModulus& modulus, bool isSecret) {
    const bool isOdd = isSecret || (modulus.units[0] & 1) != 0;
    for (const Kernel<ModExpKernel>& kernel : modExpKernelTable()) {
        if (isOdd && kernel.isSupported() && kernel.run.takes(modulus.count) &&
            (isSecret || !kernel.run.isForSecrets)) {
            return kernel.run;
        }
    }
    return modExpKernelTable().back().run;
}
