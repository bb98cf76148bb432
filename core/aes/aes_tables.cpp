#include "core/aes/internal/aes_tables.h"

#include <bit>

namespace {

// The product in GF(2^8) modulo x^8 + x^4 + x^3 + x + 1 (FIPS-197, section 4.2).
constexpr std::uint8_t multiply(std::uint32_t a, std::uint32_t b) {
    std::uint32_t product = 0;
    for (; b != 0; b >>= 1) {
        product ^= (b & 1) != 0 ? a : 0;
        a = a << 1 ^ ((a & 0x80) != 0 ? 0x11B : 0);
    }
    return static_cast<std::uint8_t>(product);
}

struct Sboxes {
    std::uint8_t forward[256];
    std::uint8_t inverse[256];
};

// FIPS-197, section 5.1.1: the inverse in the field, then the affine map.
constexpr Sboxes makeSboxes() {
    Sboxes boxes{};
    // p runs through the powers of the generator {03}, q through those of its inverse {f6}, so q is the inverse of p.
    std::uint8_t p = 1, q = 1;
    do {
        const std::uint32_t affine = 0x63u ^ q ^ std::rotl(q, 1) ^ std::rotl(q, 2) ^ std::rotl(q, 3) ^ std::rotl(q, 4);
        boxes.forward[p] = static_cast<std::uint8_t>(affine);
        p = multiply(p, 0x03);
        q = multiply(q, 0xF6);
    } while (p != 1);
    boxes.forward[0] = 0x63;
    for (std::uint32_t x = 0; x < 256; ++x) {
        boxes.inverse[boxes.forward[x]] = static_cast<std::uint8_t>(x);
    }
    return boxes;
}

constexpr Sboxes kSboxes = makeSboxes();

constexpr std::uint32_t column(std::uint32_t b0, std::uint32_t b1, std::uint32_t b2, std::uint32_t b3) {
    return b0 << 24 | b1 << 16 | b2 << 8 | b3;
}

constexpr AesEncryptTables makeEncryptTables() {
    AesEncryptTables tables{};
    for (std::uint32_t x = 0; x < 256; ++x) {
        const std::uint32_t s = kSboxes.forward[x];
        const std::uint32_t word = column(multiply(s, 2), s, s, multiply(s, 3));
        for (int row = 0; row < 4; ++row) {
            tables.t[row][x] = std::rotr(word, 8 * row);
        }
    }
    return tables;
}

constexpr AesDecryptTables makeDecryptTables() {
    AesDecryptTables tables{};
    for (std::uint32_t x = 0; x < 256; ++x) {
        const std::uint32_t s = kSboxes.inverse[x];
        const std::uint32_t word = column(multiply(s, 0x0E), multiply(s, 0x09), multiply(s, 0x0D), multiply(s, 0x0B));
        for (int row = 0; row < 4; ++row) {
            tables.t[row][x] = std::rotr(word, 8 * row);
        }
        tables.inverseSbox[x] = kSboxes.inverse[x];
    }
    return tables;
}

} // namespace

constinit const AesEncryptTables kAesEncryptTables = makeEncryptTables();
constinit const AesDecryptTables kAesDecryptTables = makeDecryptTables();
