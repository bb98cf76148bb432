// SHA-1 (FIPS 180-2): streaming over a caller-owned context, one-shot, and the bare compression that the random
// generator uses as its G function. Lengths are in bytes; digests are big-endian.
#ifndef ZELSPI_CORE_HASH_SHA1_H
#define ZELSPI_CORE_HASH_SHA1_H

#include "core/status/status.h"

#include <cstddef>
#include <cstdint>

inline constexpr std::uint32_t kSha1DigestBytes = 20;
inline constexpr std::uint32_t kSha1BlockBytes = 64;

// Sha1Context: a running hash; a plain record that its owner may keep anywhere.
struct Sha1Context {
    std::uint32_t state[5];  // the chaining value H0 to H4
    std::uint64_t byteCount; // message length so far
    std::int32_t bufferUsed; // bytes waiting in buffer, 0 to 63
    std::uint8_t buffer[kSha1BlockBytes];
};

// sha1AllocContext: a new zeroed context in *context, to be initialised and released with sha1FreeContext.
// Errors:  ERR_NULL_POINTER context null; ERR_MEM_ALLOC_FAIL, *context is then null.
Status sha1AllocContext(Sha1Context** context);

// sha1FreeContext: wipes and frees *context and clears it.
// Errors:  ERR_NULL_POINTER context or *context null.
Status sha1FreeContext(Sha1Context** context);

// sha1Init: starts a new message. Errors: ERR_NULL_POINTER.
Status sha1Init(Sha1Context* context);

// sha1Update: appends data[length] to the message.
// Errors:  ERR_NULL_POINTER context or data null, also when length is 0.
Status sha1Update(Sha1Context* context, const std::uint8_t* data, std::uint32_t length);

// sha1Final: ends the message and writes the digest.
// Shapes:  out[kSha1DigestBytes].
// In/out:  the context is spent: it must be initialised again. A second final gives a wrong digest, not an error.
// Errors:  ERR_NULL_POINTER context or out null; the context is then unchanged.
// Secrets: unlike the SHA-2 finals this one does not wipe the context; its owner does.
Status sha1Final(Sha1Context* context, std::uint8_t* out);

// sha1Digest: the digest of data[length] in out[kSha1DigestBytes].
// Errors:  ERR_NULL_POINTER data (also when length is 0) or out null.
// Secrets: its own context is wiped on every path.
Status sha1Digest(const std::uint8_t* data, std::uint32_t length, std::uint8_t* out);

inline constexpr std::size_t kSha1StateWords = 5;

// sha1G: one compression of block[64] from the standard initial value, without padding and length.
// Shapes:  out[20], the five words big-endian; out may overlap block.
// Errors:  ERR_NULL_POINTER.
// See also sha1GKernel in sha_kernels.h, which takes and gives words.
Status sha1G(const std::uint8_t* block, std::uint8_t* out);

#endif
