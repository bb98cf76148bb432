#include "core/asn1/byte_stream.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace {

// The MemStream behind a handle, or null when it or its buffer is.
MemStream* usable(void* handle) {
    auto* const stream = static_cast<MemStream*>(handle);
    return stream == nullptr || stream->buffer == nullptr ? nullptr : stream;
}

bool isAtEnd(const MemStream& stream) {
    return stream.position < 0 || stream.position >= stream.size;
}

Status memGetc(void* handle, std::uint8_t* octet) {
    MemStream* const stream = usable(handle);
    if (stream == nullptr || octet == nullptr) {
        return ERR_NULL_POINTER;
    }
    if (isAtEnd(*stream)) {
        return ERR_FALSE;
    }
    *octet = stream->buffer[stream->position++];
    return OK;
}

Status memUngetc(void* handle, std::uint8_t octet) {
    MemStream* const stream = usable(handle);
    if (stream == nullptr) {
        return ERR_NULL_POINTER;
    }
    // A seek may have led outside the buffer, where there is no place to put the octet.
    if (stream->position < 1 || stream->position > stream->size) {
        return ERR_FALSE;
    }
    std::uint8_t& place = stream->buffer[--stream->position];
    if (place != octet) {
        place = octet;
    }
    return OK;
}

Status memTell(void* handle, std::int32_t* position) {
    const MemStream* const stream = usable(handle);
    if (stream == nullptr || position == nullptr) {
        return ERR_NULL_POINTER;
    }
    *position = stream->position;
    return OK;
}

Status memSeek(void* handle, std::int32_t offset, std::uint32_t origin) {
    MemStream* const stream = usable(handle);
    if (stream == nullptr) {
        return ERR_NULL_POINTER;
    }
    std::int64_t position = stream->position;
    if (origin == kSeekAbsolute) {
        position = offset;
    } else if (origin == kSeekRelative) {
        position += offset;
    } else if (origin == kSeekBackFromEnd) {
        position = std::int64_t{stream->size} - offset;
    }
    using Limits = std::numeric_limits<std::int32_t>;
    stream->position = static_cast<std::int32_t>(std::clamp<std::int64_t>(position, Limits::min(), Limits::max()));
    return OK;
}

Status memEof(void* handle, bool* atEnd) {
    const MemStream* const stream = usable(handle);
    if (stream == nullptr || atEnd == nullptr) {
        return ERR_NULL_POINTER;
    }
    *atEnd = isAtEnd(*stream);
    return OK;
}

Status memRead(void* handle, std::uint32_t itemSize, std::uint32_t itemCount, void* buffer, std::uint32_t* itemsRead) {
    MemStream* const stream = usable(handle);
    if (stream == nullptr || buffer == nullptr || itemsRead == nullptr) {
        return ERR_NULL_POINTER;
    }
    *itemsRead = 0;
    if (isAtEnd(*stream)) {
        return OK;
    }
    const auto available = static_cast<std::uint32_t>(stream->size - stream->position);
    *itemsRead = itemSize == 0 ? itemCount : std::min(itemCount, available / itemSize); // an empty item fits
    const std::uint32_t byteCount = itemSize * *itemsRead;
    std::memcpy(buffer, stream->buffer + stream->position, byteCount);
    stream->position += static_cast<std::int32_t>(byteCount);
    return OK;
}

const std::uint8_t* memAccess(void* handle, std::uint32_t offset, std::uint32_t length) {
    const MemStream* const stream = usable(handle);
    // In 64 bits: offset + length comes from foreign input.
    if (stream == nullptr || std::int64_t{offset} + length > stream->size) {
        return nullptr;
    }
    return stream->buffer + offset;
}

Status memStopAccess(void* handle, const std::uint8_t* /*octets*/) {
    return usable(handle) == nullptr ? ERR_NULL_POINTER : OK;
}

constexpr ByteStreamOperations kMemStreamOperations = {
    memGetc, memUngetc, memTell, memSeek, memEof, memRead, memAccess, memStopAccess,
};

} // namespace

Status MemStream_Init(MemStream* memStream, std::int32_t size, const void* buffer) {
    if (memStream == nullptr) {
        return ERR_NULL_POINTER;
    }
    // Written to by ungetc of a changed octet only, which nobody does on constant input.
    auto* const octets = static_cast<std::uint8_t*>(const_cast<void*>(buffer));
    *memStream = {octets, size, 0};
    return OK;
}

Status ByteStream_Bind(ByteStream* stream, MemStream* handle) {
    if (stream == nullptr) {
        return ERR_NULL_POINTER;
    }
    *stream = {handle, &kMemStreamOperations};
    return OK;
}

const std::uint8_t* ByteStream_MemAccess(ByteStream stream, std::uint32_t offset, std::uint32_t length) {
    return stream.operations == nullptr ? nullptr : stream.operations->memaccess(stream.handle, offset, length);
}

Status ByteStream_StopAccess(ByteStream stream, const std::uint8_t* octets) {
    return stream.operations == nullptr ? ERR_NULL_POINTER : stream.operations->stopaccess(stream.handle, octets);
}
