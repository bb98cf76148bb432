// The streaming that SHA-1 and SHA-2 share: buffering, padding and output, written once for the three context records.
//
// An Algorithm names its Context, kDigestBytes, the initial value kInitialState and compress(context, blocks,
// blockCount).
#ifndef ZELSPI_CORE_HASH_INTERNAL_SHA_STREAM_H
#define ZELSPI_CORE_HASH_INTERNAL_SHA_STREAM_H

#include "core/memory/endian.h"
#include "core/memory/secret.h"

#include <algorithm>
#include <cstring>

namespace sha {

inline void addToByteCount(std::uint64_t& byteCount, std::uint32_t length) {
    byteCount += length;
}

inline void addToByteCount(std::uint64_t (&byteCount)[2], std::uint32_t length) {
    byteCount[1] += length;
    byteCount[0] += byteCount[1] < length ? 1 : 0;
}

// Turns the count into bits in place, as it stays in a finished SHA-1 context, and writes it behind the padding.
inline void storeBitCount(std::uint64_t& byteCount, std::uint8_t* blockEnd) {
    byteCount *= 8;
    storeBigEndian(blockEnd - 8, byteCount);
}

inline void storeBitCount(std::uint64_t (&byteCount)[2], std::uint8_t* blockEnd) {
    byteCount[0] = byteCount[0] << 3 | byteCount[1] >> 61;
    byteCount[1] <<= 3;
    storeBigEndian(blockEnd - 16, byteCount[0]);
    storeBigEndian(blockEnd - 8, byteCount[1]);
}

template <typename Algorithm, typename Context> Status init(Context* context) {
    if (context == nullptr) {
        return ERR_NULL_POINTER;
    }
    *context = Context{};
    std::copy(std::begin(Algorithm::kInitialState), std::end(Algorithm::kInitialState), context->state);
    return OK;
}

template <typename Algorithm, typename Context>
Status update(Context* context, const std::uint8_t* data, std::uint32_t length) {
    if (context == nullptr || data == nullptr) {
        return ERR_NULL_POINTER;
    }
    constexpr std::size_t blockBytes = sizeof context->buffer;
    addToByteCount(context->byteCount, length);
    auto used = static_cast<std::size_t>(context->bufferUsed);
    std::size_t remaining = length;
    if (used > 0) {
        const std::size_t count = std::min(blockBytes - used, remaining);
        std::memcpy(context->buffer + used, data, count);
        used += count;
        data += count;
        remaining -= count;
        if (used == blockBytes) {
            Algorithm::compress(context->state, context->buffer, 1);
            used = 0;
        }
    }
    if (remaining >= blockBytes) {
        Algorithm::compress(context->state, data, remaining / blockBytes);
        data += remaining - remaining % blockBytes;
        remaining %= blockBytes;
    }
    std::memcpy(context->buffer + used, data, remaining);
    context->bufferUsed = static_cast<std::int32_t>(used + remaining);
    return OK;
}

template <typename Algorithm, typename Context> void writeDigest(const Context* context, std::uint8_t* out) {
    constexpr std::size_t wordBytes = sizeof context->state[0];
    for (std::size_t i = 0; i < Algorithm::kDigestBytes / wordBytes; ++i) {
        if constexpr (wordBytes == 4 && std::endian::native == std::endian::little) {
            // storeBigEndian in a row becomes slow vector instructions.
            const std::uint32_t swapped = __builtin_bswap32(context->state[i]);
            std::memcpy(out + wordBytes * i, &swapped, wordBytes);
        } else {
            storeBigEndian(out + wordBytes * i, context->state[i]);
        }
    }
}

// Pads, compresses the rest and writes the digest. bufferUsed is 0 afterwards, so that a spent context is still safe to
// use (with a wrong result).
template <typename Algorithm, typename Context> Status finish(Context* context, std::uint8_t* out) {
    if (context == nullptr || out == nullptr) {
        return ERR_NULL_POINTER;
    }
    constexpr std::size_t blockBytes = sizeof context->buffer;
    constexpr std::size_t countBytes = sizeof context->byteCount;
    auto used = static_cast<std::size_t>(context->bufferUsed);
    context->buffer[used++] = 0x80;
    if (used > blockBytes - countBytes) {
        std::memset(context->buffer + used, 0, blockBytes - used);
        Algorithm::compress(context->state, context->buffer, 1);
        used = 0;
    }
    std::memset(context->buffer + used, 0, blockBytes - used);
    storeBitCount(context->byteCount, context->buffer + blockBytes);
    Algorithm::compress(context->state, context->buffer, 1);
    context->bufferUsed = 0;
    writeDigest<Algorithm>(context, out);
    return OK;
}

// As finish; the context is wiped whether or not it could be finished.
template <typename Algorithm, typename Context> Status finishAndWipe(Context* context, std::uint8_t* out) {
    const Status status = finish<Algorithm>(context, out);
    if (context != nullptr) {
        memWipe(context, sizeof *context);
    }
    return status;
}

// The digest at once: nothing is buffered, and a message with no more bytes than fit the tail is one call of the kernel.
template <typename Algorithm> Status digest(const std::uint8_t* data, std::uint32_t length, std::uint8_t* out) {
    if (data == nullptr || out == nullptr) {
        return ERR_NULL_POINTER;
    }
    using Context = typename Algorithm::Context;
    constexpr std::size_t blockBytes = sizeof Context::buffer;
    constexpr std::size_t countBytes = sizeof Context::byteCount;
    struct Work {
        decltype(Context::state) state;
        decltype(Context::byteCount) byteCount;
        std::uint8_t tail[2 * blockBytes]; // the end of the message, its padding and its length
    };
    SecretArray<Work, 1> secret;
    Work& work = *secret.data();
    std::copy(std::begin(Algorithm::kInitialState), std::end(Algorithm::kInitialState), work.state);
    std::memset(&work.byteCount, 0, sizeof work.byteCount);
    addToByteCount(work.byteCount, length);
    std::size_t remaining = length;
    if (remaining > sizeof work.tail - 1 - countBytes) {
        Algorithm::compress(work.state, data, remaining / blockBytes);
        data += remaining - remaining % blockBytes;
        remaining %= blockBytes;
    }
    const std::size_t tailBytes = (remaining + countBytes) / blockBytes * blockBytes + blockBytes;
    std::memset(work.tail, 0, sizeof work.tail);
    (void)memCopy(
        work.tail, data,
        static_cast<std::int64_t>(remaining)); // memcpy would be a string instruction here, which begins slowly
    work.tail[remaining] = 0x80;
    storeBitCount(work.byteCount, work.tail + tailBytes);
    Algorithm::compress(work.state, work.tail, tailBytes / blockBytes);
    writeDigest<Algorithm>(&work, out);
    return OK;
}

} // namespace sha

#endif
