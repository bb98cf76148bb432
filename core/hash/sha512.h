// SHA-512 and SHA-384 (FIPS 180-2): streaming over a caller-owned context, and one-shot. The two differ in the initial
// value and in how much of the state the final writes. Lengths are in bytes; digests are big-endian.
#ifndef ZELSPI_CORE_HASH_SHA512_H
#define ZELSPI_CORE_HASH_SHA512_H

#include "core/status/status.h"

#include <cstdint>

inline constexpr std::uint32_t kSha384DigestBytes = 48;
inline constexpr std::uint32_t kSha512DigestBytes = 64;
inline constexpr std::uint32_t kSha512BlockBytes = 128;

// Sha512Context: a running SHA-384 or SHA-512 hash; a plain record that its owner may keep anywhere.
struct Sha512Context {
    std::uint64_t state[8];     // the chaining value
    std::uint64_t byteCount[2]; // message length so far, 128 bits, high word first
    std::int32_t bufferUsed;    // bytes waiting in buffer, 0 to 127
    std::uint8_t buffer[kSha512BlockBytes];
};

// sha512AllocContext: a new zeroed context in *context, to be initialised and released with sha512FreeContext.
// Errors:  ERR_NULL_POINTER context null; ERR_MEM_ALLOC_FAIL, *context is then null.
Status sha512AllocContext(Sha512Context** context);

// sha512FreeContext: wipes and frees *context and clears it.
// Errors:  ERR_NULL_POINTER context or *context null.
Status sha512FreeContext(Sha512Context** context);

// sha384Init, sha512Init: starts a new message. Errors: ERR_NULL_POINTER.
Status sha384Init(Sha512Context* context);
Status sha512Init(Sha512Context* context);

// sha512Update: appends data[length] to the message, for SHA-384 as well.
// Errors:  ERR_NULL_POINTER context or data null, also when length is 0.
Status sha512Update(Sha512Context* context, const std::uint8_t* data, std::uint32_t length);

// sha384Final, sha512Final: ends the message and writes the digest.
// Shapes:  out[kSha384DigestBytes], out[kSha512DigestBytes].
// Errors:  ERR_NULL_POINTER context or out null.
// Secrets: wipes the whole context, also when out is null; it must be initialised again.
Status sha384Final(Sha512Context* context, std::uint8_t* out);
Status sha512Final(Sha512Context* context, std::uint8_t* out);

// sha384Digest, sha512Digest: the digest of data[length] in out.
// Errors:  ERR_NULL_POINTER data (also when length is 0) or out null.
// Secrets: its own context is wiped on every path.
Status sha384Digest(const std::uint8_t* data, std::uint32_t length, std::uint8_t* out);
Status sha512Digest(const std::uint8_t* data, std::uint32_t length, std::uint8_t* out);

#endif
