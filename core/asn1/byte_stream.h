// The stream that ASN.1 input is read through, and its one backend, a buffer in memory.
//
// A ByteStream is a handle and a table of operations on it. It owns nothing and is copied by value; copies share the
// position, which belongs to the handle. Every operation fails with ERR_NULL_POINTER (memaccess: gives null) when the
// handle, the buffer behind it, or a pointer that it is to write through is null.
#ifndef ZELSPI_CORE_ASN1_BYTE_STREAM_H
#define ZELSPI_CORE_ASN1_BYTE_STREAM_H

#include "core/status/status.h"

#include <cstdint>

// The origins of a seek. Any other one leaves the position as it is and still succeeds.
inline constexpr std::uint32_t kSeekAbsolute = 1;
inline constexpr std::uint32_t kSeekRelative = 2;
inline constexpr std::uint32_t kSeekBackFromEnd = 3; // position = size - offset

struct ByteStreamOperations {
    // Reads one octet. ERR_FALSE when there is none at the position.
    Status (*getc)(void* handle, std::uint8_t* octet);
    // Steps back and puts the octet there. ERR_FALSE at the start. The input is written to only when the octet differs
    // from the one that stands there, so that pushing back what was read is safe on constant input.
    Status (*ungetc)(void* handle, std::uint8_t octet);
    Status (*tell)(void* handle, std::int32_t* position);
    // May lead outside the input, where nothing can be read. A position out of range of its type is held at the limit.
    Status (*seek)(void* handle, std::int32_t offset, std::uint32_t origin);
    Status (*eof)(void* handle, bool* isAtEnd);
    // Copies whole items while the next one fits before the end. Items of no octets all fit, but not at the end.
    Status (*read)(void* handle, std::uint32_t itemSize, std::uint32_t itemCount, void* buffer,
                   std::uint32_t* itemsRead);
    // The length octets at the offset, without copying; null when they are not all there. Valid until stopaccess.
    const std::uint8_t* (*memaccess)(void* handle, std::uint32_t offset, std::uint32_t length);
    Status (*stopaccess)(void* handle, const std::uint8_t* octets);
};

struct ByteStream {
    void* handle;
    const ByteStreamOperations* operations;
};

// A buffer read as a stream. The buffer is the caller's and must outlive every use of the stream.
struct MemStream {
    std::uint8_t* buffer;
    std::int32_t size; // below 0 counts as empty
    std::int32_t position;
};

// MemStream_Init: a stream over buffer[size] that stands at its start. The buffer is not checked here.
// Errors:  ERR_NULL_POINTER memStream null.
Status MemStream_Init(MemStream* memStream, std::int32_t size, const void* buffer);

// ByteStream_Bind: makes stream the stream of a MemStream. The handle is checked by each operation.
// Errors:  ERR_NULL_POINTER stream null.
Status ByteStream_Bind(ByteStream* stream, MemStream* handle);

// ByteStream_MemAccess, ByteStream_StopAccess: the stream's memaccess and stopaccess.
// Errors:  null, ERR_NULL_POINTER for a stream that is not bound.
const std::uint8_t* ByteStream_MemAccess(ByteStream stream, std::uint32_t offset, std::uint32_t length);
Status ByteStream_StopAccess(ByteStream stream, const std::uint8_t* octets);

#endif
