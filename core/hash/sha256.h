// SHA-256 and SHA-224 (FIPS 180-2): streaming over a caller-owned context, and one-shot. The two differ in the initial
// value and in how much of the state the final writes. Lengths are in bytes; digests are big-endian.
#ifndef ZELSPI_CORE_HASH_SHA256_H
#define ZELSPI_CORE_HASH_SHA256_H

#include "core/status/status.h"

#include <cstdint>

inline constexpr std::uint32_t kSha224DigestBytes = 28;
inline constexpr std::uint32_t kSha256DigestBytes = 32;
inline constexpr std::uint32_t kSha256BlockBytes = 64;

// Sha256Context: a running SHA-224 or SHA-256 hash; a plain record that its owner may keep anywhere.
struct Sha256Context {
    std::uint32_t state[8];  // the chaining value
    std::uint64_t byteCount; // message length so far
    std::int32_t bufferUsed; // bytes waiting in buffer, 0 to 63
    std::uint8_t buffer[kSha256BlockBytes];
};

// sha256AllocContext: a new zeroed context in *context, to be initialised and released with sha256FreeContext.
// Errors:  ERR_NULL_POINTER context null; ERR_MEM_ALLOC_FAIL, *context is then null.
Status sha256AllocContext(Sha256Context** context);

// sha256FreeContext: wipes and frees *context and clears it.
// Errors:  ERR_NULL_POINTER context or *context null.
Status sha256FreeContext(Sha256Context** context);

// sha224Init, sha256Init: starts a new message. Errors: ERR_NULL_POINTER.
Status sha224Init(Sha256Context* context);
Status sha256Init(Sha256Context* context);

// sha256Update: appends data[length] to the message, for SHA-224 as well.
// Errors:  ERR_NULL_POINTER context or data null, also when length is 0.
Status sha256Update(Sha256Context* context, const std::uint8_t* data, std::uint32_t length);

// sha224Final, sha256Final: ends the message and writes the digest.
// Shapes:  out[kSha224DigestBytes], out[kSha256DigestBytes].
// Errors:  ERR_NULL_POINTER context or out null.
// Secrets: wipes the whole context, also when out is null; it must be initialised again.
Status sha224Final(Sha256Context* context, std::uint8_t* out);
Status sha256Final(Sha256Context* context, std::uint8_t* out);

// sha224Digest, sha256Digest: the digest of data[length] in out.
// Errors:  ERR_NULL_POINTER data (also when length is 0) or out null.
// Secrets: its own context is wiped on every path.
Status sha224Digest(const std::uint8_t* data, std::uint32_t length, std::uint8_t* out);
Status sha256Digest(const std::uint8_t* data, std::uint32_t length, std::uint8_t* out);

#endif
