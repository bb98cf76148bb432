#include "core/aes/aes_kernels.h"

#if defined(ZEL_X86_KERNELS)
#include "core/aes/x86/aes_x86.h"
#include "core/cpu/cpu_features.h"
#endif

std::span<const Kernel<AesModes>> aesKernels() {
    static const Kernel<AesModes> kernels[] = {
#if defined(ZEL_X86_KERNELS)
        {"vaes", [] { return cpuFeatures().vaes; }, aesModesVaes},
        {"aes-ni", [] { return cpuFeatures().aes && cpuFeatures().sse41 && cpuFeatures().ssse3; }, aesModesNi},
#endif
        {"portable", alwaysSupported, aesModesPortable},
    };
    return kernels;
}

const Kernel<AesModes>& aesKernel() {
    static const Kernel<AesModes>& chosen = chooseKernel(aesKernels());
    return chosen;
}
