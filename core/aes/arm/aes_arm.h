// The AES kernel for 64-bit ARM, by its AES instructions. It is constant time: the instructions take the same time for all
// keys and data, and nothing branches on either. Contracts as in core/aes/aes_kernels.h.
#ifndef ZELSPI_CORE_AES_ARM_AES_ARM_H
#define ZELSPI_CORE_AES_ARM_AES_ARM_H

#include "core/aes/aes_kernels.h"
#include "core/cpu/cpu_features.h"

inline bool hasAes() {
    return cpuFeatures().arm.aes;
}
extern const AesModes aesModesArm;

#endif
