// ByteView: bytes that are read and not owned; null for none.
#ifndef ZELSPI_CORE_MEMORY_BYTE_VIEW_H
#define ZELSPI_CORE_MEMORY_BYTE_VIEW_H

#include <cstdint>
#include <span>

using ByteView = std::span<const std::uint8_t>;

// lengthOf: the length as the fixed signatures take it. No view here is of 2^32 bytes or more.
inline std::uint32_t lengthOf(ByteView bytes) {
    return static_cast<std::uint32_t>(bytes.size());
}

#endif
