// The compression functions behind the hashes, one kernel table for each word size and round function.
#ifndef ZELSPI_CORE_HASH_SHA_KERNELS_H
#define ZELSPI_CORE_HASH_SHA_KERNELS_H

#include "core/cpu/cpu_features.h"
#include "core/cpu/kernel.h"

#include <cstddef>
#include <cstdint>

// Sha1Compress, Sha256Compress, Sha512Compress: runs blockCount blocks through the compression function.
// Shapes:  state[5] or state[8], the chaining value, read and written; blocks[blockCount * 64], for SHA-512 * 128,
//          without alignment.
// Secrets: constant time; the message schedule and all else on the stack is wiped. All but the portable ones also
//          clear the vector registers.
// Source:  FIPS 180-2, section 6.
using Sha1Compress = void (*)(std::uint32_t* state, const std::uint8_t* blocks, std::size_t blockCount);
using Sha256Compress = void (*)(std::uint32_t* state, const std::uint8_t* blocks, std::size_t blockCount);
using Sha512Compress = void (*)(std::uint64_t* state, const std::uint8_t* blocks, std::size_t blockCount);

// Sha1G: one block through SHA-1's compression function from the standard initial value, from integer to integer, as the
// random generator computes with them.
// Shapes:  block[8], out[3]: what stands big-endian in the block, and in the 20 bytes of the digest, as 64-bit words, the
//          lowest first.
// Secrets: as above.
using Sha1G = void (*)(const std::uint64_t* block, std::uint64_t* out);
inline constexpr std::uint32_t kSha1InitialState[] = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476, 0xC3D2E1F0};

// The kernels of each table, best first.
std::span<const Kernel<Sha1Compress>> sha1Kernels();
std::span<const Kernel<Sha1G>> sha1GKernels();
std::span<const Kernel<Sha256Compress>> sha256Kernels();
std::span<const Kernel<Sha512Compress>> sha512Kernels();

// sha1Choice: what a processor of that vendor chooses from in a table of SHA-1. AMD's do without the first kernel: AVX-512's
// rotations replace instructions that are slow on Intel's processors only.
template <typename Run>
std::span<const Kernel<Run>> sha1Choice(std::span<const Kernel<Run>> kernels, CpuVendor vendor) {
    return vendor == CpuVendor::amd && kernels.size() > 1 ? kernels.subspan(1) : kernels;
}

// The kernels that the hashes run on: the first of each table, or choice, that this CPU supports.
const Kernel<Sha1Compress>& sha1Kernel();
const Kernel<Sha1G>& sha1GKernel();
const Kernel<Sha256Compress>& sha256Kernel();
const Kernel<Sha512Compress>& sha512Kernel();

// The portable kernels.
void sha1CompressPortable(std::uint32_t* state, const std::uint8_t* blocks, std::size_t blockCount);
void sha1GPortable(const std::uint64_t* block, std::uint64_t* out);
void sha256CompressPortable(std::uint32_t* state, const std::uint8_t* blocks, std::size_t blockCount);
void sha512CompressPortable(std::uint64_t* state, const std::uint8_t* blocks, std::size_t blockCount);

#endif
