// The tables of the FIPS-197 rounds, derived from the S-box when the library is compiled.
//
// A round substitutes, shifts and mixes; the tables do all three at once for one byte of a column. With a row of the
// state in table t[row], a new column is t[0][b0] ^ t[1][b1] ^ t[2][b2] ^ t[3][b3] ^ key. t[row] is t[0] with its words
// rotated right by 8 * row bits.
#ifndef ZELSPI_CORE_AES_INTERNAL_AES_TABLES_H
#define ZELSPI_CORE_AES_INTERNAL_AES_TABLES_H

#include <cstdint>

struct alignas(64) AesEncryptTables {
    std::uint32_t t[4][256]; // t[0][x] = {02} S[x], S[x], S[x], {03} S[x], the highest byte first
};

struct alignas(64) AesDecryptTables {
    std::uint32_t t[4][256]; // t[0][x] = {0e} I[x], {09} I[x], {0d} I[x], {0b} I[x]; I is the inverse S-box
    std::uint8_t inverseSbox[256];
};

extern const AesEncryptTables kAesEncryptTables;
extern const AesDecryptTables kAesDecryptTables;

// aesSubstitute: S[x]; the S-box stands in the middle bytes of the encryption table.
inline std::uint32_t aesSubstitute(std::uint32_t x) {
    return kAesEncryptTables.t[0][x] >> 8 & 0xFF;
}

#endif
