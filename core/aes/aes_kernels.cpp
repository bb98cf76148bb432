#include "core/aes/aes_kernels.h"

std::span<const Kernel<AesModes>> aesKernels() {
    static const Kernel<AesModes> kernels[] = {{"portable", alwaysSupported, aesModesPortable}};
    return kernels;
}

const Kernel<AesModes>& aesKernel() {
    static const Kernel<AesModes>& chosen = chooseKernel(aesKernels());
    return chosen;
}
