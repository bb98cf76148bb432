// The compression functions behind the hashes, one kernel table for each word size and round function.
#ifndef ZELSPI_CORE_HASH_SHA_KERNELS_H
#define ZELSPI_CORE_HASH_SHA_KERNELS_H

#include "core/cpu/kernel.h"

#include <cstddef>
#include <cstdint>

// Sha1Compress, Sha256Compress, Sha512Compress: runs blockCount blocks through the compression function.
// Shapes:  state[5] or state[8], the chaining value, read and written; blocks[blockCount * 64], for SHA-512 * 128,
//          without alignment.
// Secrets: constant time; the message schedule is wiped.
// Source:  FIPS 180-2, section 6.
using Sha1Compress = void (*)(std::uint32_t* state, const std::uint8_t* blocks, std::size_t blockCount);
using Sha256Compress = void (*)(std::uint32_t* state, const std::uint8_t* blocks, std::size_t blockCount);
using Sha512Compress = void (*)(std::uint64_t* state, const std::uint8_t* blocks, std::size_t blockCount);

// The kernels of each table, best first.
std::span<const Kernel<Sha1Compress>> sha1Kernels();
std::span<const Kernel<Sha256Compress>> sha256Kernels();
std::span<const Kernel<Sha512Compress>> sha512Kernels();

// The kernels that the hashes run on: the first of each table that this CPU supports.
const Kernel<Sha1Compress>& sha1Kernel();
const Kernel<Sha256Compress>& sha256Kernel();
const Kernel<Sha512Compress>& sha512Kernel();

// The portable kernels.
void sha1CompressPortable(std::uint32_t* state, const std::uint8_t* blocks, std::size_t blockCount);
void sha256CompressPortable(std::uint32_t* state, const std::uint8_t* blocks, std::size_t blockCount);
void sha512CompressPortable(std::uint64_t* state, const std::uint8_t* blocks, std::size_t blockCount);

#endif
