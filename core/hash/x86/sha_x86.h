// The hash kernels for x86-64. Contracts as in core/hash/sha_kernels.h; each runs only where its CPU features are.
#ifndef ZELSPI_CORE_HASH_X86_SHA_X86_H
#define ZELSPI_CORE_HASH_X86_SHA_X86_H

#include "core/cpu/cpu_features.h"

#include <cstddef>
#include <cstdint>

// By the SHA extensions.
inline bool hasSha() {
    return cpuFeatures().x86.sha;
}
void sha1CompressNi(std::uint32_t* state, const std::uint8_t* blocks, std::size_t blockCount);
void sha1GNi(const std::uint64_t* block, std::uint64_t* out);
void sha256CompressNi(std::uint32_t* state, const std::uint8_t* blocks, std::size_t blockCount);

// As sha1CompressNi, with AVX-512's rotations and three-way logic.
inline bool hasShaAndAvx512() {
    return hasSha() && cpuFeatures().x86.avx512;
}
void sha1CompressAvx512(std::uint32_t* state, const std::uint8_t* blocks, std::size_t blockCount);
void sha1GAvx512(const std::uint64_t* block, std::uint64_t* out);

// The schedule in AVX2 registers, the rounds with BMI2's rotations.
inline bool hasAvx2() {
    return cpuFeatures().x86.avx2 && cpuFeatures().x86.bmi1 && cpuFeatures().x86.bmi2;
}
void sha512CompressAvx2(std::uint64_t* state, const std::uint8_t* blocks, std::size_t blockCount);

// The same with AVX-512's rotations and three-way logic on the same registers.
inline bool hasAvx512() {
    return cpuFeatures().x86.avx512 && hasAvx2();
}
void sha512CompressAvx512(std::uint64_t* state, const std::uint8_t* blocks, std::size_t blockCount);

#endif
