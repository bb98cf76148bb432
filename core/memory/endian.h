// Big-endian words in byte strings. Written as shifts, which compilers turn into one load or store with a byte swap.
// The portable code goes through these wherever the order of bytes in memory would show, and so works with any.
#ifndef ZELSPI_CORE_MEMORY_ENDIAN_H
#define ZELSPI_CORE_MEMORY_ENDIAN_H

#include "core/memory/byte_view.h"

#include <bit>
#include <cstddef>
#include <cstdint>

// loadBigEndian: the Word that stands in bytes[sizeof(Word)], most significant byte first, without alignment.
template <typename Word> Word loadBigEndian(const std::uint8_t* bytes) {
    Word word = 0;
    for (std::size_t i = 0; i < sizeof(Word); ++i) {
        word = static_cast<Word>(word << 8 | bytes[i]);
    }
    return word;
}

// storeBigEndian: writes word into bytes[sizeof(Word)], most significant byte first.
template <typename Word> void storeBigEndian(std::uint8_t* bytes, Word word) {
    for (std::size_t i = 0; i < sizeof(Word); ++i) {
        bytes[i] = static_cast<std::uint8_t>(word >> (8 * (sizeof(Word) - 1 - i)));
    }
}

// bigEndianBits: the bit length of an unsigned number in bytes, which may begin with zeros.
inline std::uint64_t bigEndianBits(ByteView bytes) {
    while (!bytes.empty() && bytes.front() == 0) {
        bytes = bytes.subspan(1);
    }
    return bytes.empty() ? 0 : 8 * std::uint64_t{bytes.size() - 1} + std::bit_width(bytes.front());
}

#endif
