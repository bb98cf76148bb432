// Big integers from and to bytes, words and text. The general conventions stand at the head of vlong.h.
#ifndef ZELSPI_CORE_BIGNUM_VLONG_CONVERT_H
#define ZELSPI_CORE_BIGNUM_VLONG_CONVERT_H

#include "core/bignum/vlong.h"

// VLONG_fromBytes: a new non-negative value from an unsigned big-endian byte string.
// Shapes:  bytes[byteCount]; leading zeros are allowed, byteCount 0 gives zero.
// Errors:  ERR_NULL_POINTER bytes or out null; ERR_BAD_LENGTH byteCount negative or above 65,535, whatever the bytes
//          hold; ERR_MEM_ALLOC_FAIL.
// Source:  OS2IP, RFC 8017 section 4.2.
Status VLONG_fromBytes(const std::uint8_t* bytes, std::int32_t byteCount, vlong** out, vlong** queue);

// VLONG_toBytes: writes |value| as an unsigned big-endian byte string, left-padded with zeros.
// Shapes:  buffer[*count] bytes; needs ceil(bitLength / 8) of them.
// In/out:  buffer null: *count := the bytes needed. Otherwise exactly *count bytes are written.
// Errors:  ERR_NULL_POINTER value or count null; ERR_BUFFER_OVERFLOW *count too small, nothing written.
// Secrets: time depends on the length of value.
// Source:  I2OSP, RFC 8017 section 4.1, without the range error.
Status VLONG_toBytes(const vlong* value, std::uint8_t* buffer, std::uint32_t* count);

// VLONG_toBytesFixed: writes the low count bytes of |value|, big-endian. A longer value silently loses its high bytes:
// callers size count from a modulus.
// Errors:  ERR_NULL_POINTER.
Status VLONG_toBytesFixed(const vlong* value, std::uint8_t* buffer, std::uint32_t count);

// VLONG_fromWords32: a new non-negative value from 32-bit words, most significant word first.
// Shapes:  words[wordCount]; leading zeros are allowed, wordCount 0 gives zero.
// Errors:  ERR_NULL_POINTER words or out null; growth.
Status VLONG_fromWords32(const std::uint32_t* words, std::uint32_t wordCount, vlong** out);

// VLONG_fromMpint: a new value from a 4-byte big-endian length L and L bytes of big-endian two's complement.
// Shapes:  bytes[byteCount], of which *consumed := L + 4 are read. It is set as soon as the prefix is read, so also
//          when L is then refused, and wraps around for an L near 2^32.
// Errors:  ERR_NULL_POINTER bytes, out or consumed null; ERR_BAD_LENGTH fewer than 4 bytes, L negative, above what
//          follows or above 65,535; ERR_MEM_ALLOC_FAIL.
// Oddity:  a body 80, 80 00, 80 00 00 ... (the most negative value of its length) reads as zero with the sign flag set.
Status VLONG_fromMpint(const std::uint8_t* bytes, std::uint32_t byteCount, vlong** out, std::uint32_t* consumed);

// VLONG_toMpint: the same form in a new buffer that the caller releases with memFree.
// Shapes:  (*out)[*count]. Zero has no body. A bit length that is a multiple of 8 gets a byte 00 or FF in front.
// Errors:  ERR_NULL_POINTER; ERR_MEM_ALLOC_FAIL.
Status VLONG_toMpint(const vlong* value, std::uint8_t** out, std::uint32_t* count);

// VLONG_print: a debug dump to standard output: the label on a line, |value| in hexadecimal bytes, a backslash and a
// line break after every 24th of them, a final line break.
// Errors:  ERR_NULL_POINTER. Secrets: prints value.
Status VLONG_print(const char* label, const vlong* value);

#endif
