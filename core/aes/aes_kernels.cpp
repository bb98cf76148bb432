#include "core/aes/aes_kernels.h"

#if defined(ZEL_X86_KERNELS)
#include "core/aes/x86/aes_x86.h"
#elif defined(ZEL_ARM_KERNELS)
#include "core/aes/arm/aes_arm.h"
#endif

std::span<const Kernel<AesModes>> aesKernels() {
    static const Kernel<AesModes> kernels[] = {
#if defined(ZEL_X86_KERNELS)
        {"vaes", hasVaes, aesModesVaes},
        {"aes-ni", hasAesNi, aesModesNi},
#elif defined(ZEL_ARM_KERNELS)
        {"armv8-aes", hasAes, aesModesArm},
#endif
        {"portable", alwaysSupported, aesModesPortable},
    };
    return kernels;
}

const Kernel<AesModes>& aesKernel() {
    static const Kernel<AesModes>& chosen = chooseKernel(aesKernels());
    return chosen;
}
