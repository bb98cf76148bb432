// Sums of big-endian integers of any length.
#ifndef ZELSPI_CORE_RANDOM_BIG_ENDIAN_ADD_H
#define ZELSPI_CORE_RANDOM_BIG_ENDIAN_ADD_H

#include <cstddef>
#include <cstdint>

// bigEndianAdd: a := (a + b + carryIn) mod 2^(8 * aLength), both big-endian and aligned at their last bytes.
// Shapes:  a[aLength], b[bLength]; what b has beyond aLength bytes at its front does not count.
// Secrets: time depends on the lengths only.
void bigEndianAdd(std::uint8_t* a, std::size_t aLength, const std::uint8_t* b, std::size_t bLength, unsigned carryIn);

#endif
