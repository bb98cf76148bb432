// The hash kernels for 64-bit ARM, by its SHA extensions. Contracts as in core/hash/sha_kernels.h; each runs only where its
// CPU features are.
#ifndef ZELSPI_CORE_HASH_ARM_SHA_ARM_H
#define ZELSPI_CORE_HASH_ARM_SHA_ARM_H

#include "core/cpu/cpu_features.h"

#include <cstddef>
#include <cstdint>

inline bool hasSha1() {
    return cpuFeatures().arm.sha1;
}
void sha1CompressArm(std::uint32_t* state, const std::uint8_t* blocks, std::size_t blockCount);
void sha1GArm(const std::uint64_t* block, std::uint64_t* out);

inline bool hasSha256() {
    return cpuFeatures().arm.sha256;
}
void sha256CompressArm(std::uint32_t* state, const std::uint8_t* blocks, std::size_t blockCount);

inline bool hasSha512() {
    return cpuFeatures().arm.sha512;
}
void sha512CompressArm(std::uint64_t* state, const std::uint8_t* blocks, std::size_t blockCount);

#endif
