#include "core/random/big_endian_add.h"

#include "core/memory/endian.h"

namespace {

using Word = std::uint64_t;
constexpr std::size_t kWordBytes = sizeof(Word);

} // namespace

void bigEndianAdd(std::uint8_t* a, std::size_t aLength, const std::uint8_t* b, std::size_t bLength, unsigned carryIn) {
    Word carry = carryIn;
    std::size_t remaining = aLength; // bytes of a still to be added to
    // Whole words while both have them.
    for (; remaining >= kWordBytes && bLength >= kWordBytes; remaining -= kWordBytes, bLength -= kWordBytes) {
        const Word sum = loadBigEndian<Word>(a + remaining - kWordBytes) + carry;
        const Word total = sum + loadBigEndian<Word>(b + bLength - kWordBytes);
        carry = (sum < carry ? 1u : 0u) + (total < sum ? 1u : 0u);
        storeBigEndian(a + remaining - kWordBytes, total);
    }
    // Byte by byte to the end of b, and on to a word's edge.
    for (; remaining > 0 && (bLength > 0 || remaining % kWordBytes != 0); --remaining) {
        carry += a[remaining - 1];
        carry += bLength > 0 ? b[--bLength] : 0u;
        a[remaining - 1] = static_cast<std::uint8_t>(carry);
        carry >>= 8;
    }
    // The carry through the rest of a.
    for (; remaining >= kWordBytes; remaining -= kWordBytes) {
        const Word sum = loadBigEndian<Word>(a + remaining - kWordBytes) + carry;
        carry = sum < carry ? 1 : 0;
        storeBigEndian(a + remaining - kWordBytes, sum);
    }
}
