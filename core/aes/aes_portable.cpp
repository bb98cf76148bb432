#include "core/aes/aes_kernels.h"
#include "core/aes/internal/aes_tables.h"
#include "core/memory/endian.h"

namespace {

constexpr std::size_t kBlockBytes = 16;

// One block as four columns, the first byte of each the highest.
struct Block {
    std::uint32_t c0, c1, c2, c3;
};

inline Block load(const std::uint8_t* bytes) {
    return {loadBigEndian<std::uint32_t>(bytes), loadBigEndian<std::uint32_t>(bytes + 4),
            loadBigEndian<std::uint32_t>(bytes + 8), loadBigEndian<std::uint32_t>(bytes + 12)};
}

inline void store(std::uint8_t* bytes, Block block) {
    storeBigEndian(bytes, block.c0);
    storeBigEndian(bytes + 4, block.c1);
    storeBigEndian(bytes + 8, block.c2);
    storeBigEndian(bytes + 12, block.c3);
}

inline Block operator^(Block a, Block b) {
    return {a.c0 ^ b.c0, a.c1 ^ b.c1, a.c2 ^ b.c2, a.c3 ^ b.c3};
}

inline std::uint32_t byteOf(std::uint32_t column, int row) {
    return column >> (24 - 8 * row) & 0xFF;
}

// A new column of an inner round from the four old ones that the shift of the rows brings together in it.
template <typename Table> inline std::uint32_t mixed(const Table& t, std::uint32_t key, std::uint32_t row0,
                                                     std::uint32_t row1, std::uint32_t row2, std::uint32_t row3) {
    return t[0][byteOf(row0, 0)] ^ t[1][byteOf(row1, 1)] ^ t[2][byteOf(row2, 2)] ^ t[3][byteOf(row3, 3)] ^ key;
}

// The two directions: an inner round and the last one, which substitutes and shifts but does not mix.

struct Encryption {
    static Block innerRound(const std::uint32_t* key, Block s) {
        const auto& t = kAesEncryptTables.t;
        return {mixed(t, key[0], s.c0, s.c1, s.c2, s.c3), mixed(t, key[1], s.c1, s.c2, s.c3, s.c0),
                mixed(t, key[2], s.c2, s.c3, s.c0, s.c1), mixed(t, key[3], s.c3, s.c0, s.c1, s.c2)};
    }
    static Block lastRound(const std::uint32_t* key, Block s) {
        return {last(key[0], s.c0, s.c1, s.c2, s.c3), last(key[1], s.c1, s.c2, s.c3, s.c0),
                last(key[2], s.c2, s.c3, s.c0, s.c1), last(key[3], s.c3, s.c0, s.c1, s.c2)};
    }

private:
    // Each table holds the S-box in two of its bytes: those are taken that already stand where they belong.
    static std::uint32_t last(std::uint32_t key, std::uint32_t row0, std::uint32_t row1, std::uint32_t row2,
                              std::uint32_t row3) {
        const auto& t = kAesEncryptTables.t;
        return key ^ (t[2][byteOf(row0, 0)] & 0xFF000000) ^ (t[3][byteOf(row1, 1)] & 0x00FF0000) ^
               (t[0][byteOf(row2, 2)] & 0x0000FF00) ^ (t[1][byteOf(row3, 3)] & 0x000000FF);
    }
};

struct Decryption {
    static Block innerRound(const std::uint32_t* key, Block s) {
        const auto& t = kAesDecryptTables.t;
        return {mixed(t, key[0], s.c0, s.c3, s.c2, s.c1), mixed(t, key[1], s.c1, s.c0, s.c3, s.c2),
                mixed(t, key[2], s.c2, s.c1, s.c0, s.c3), mixed(t, key[3], s.c3, s.c2, s.c1, s.c0)};
    }
    static Block lastRound(const std::uint32_t* key, Block s) {
        return {last(key[0], s.c0, s.c3, s.c2, s.c1), last(key[1], s.c1, s.c0, s.c3, s.c2),
                last(key[2], s.c2, s.c1, s.c0, s.c3), last(key[3], s.c3, s.c2, s.c1, s.c0)};
    }

private:
    static std::uint32_t last(std::uint32_t key, std::uint32_t row0, std::uint32_t row1, std::uint32_t row2,
                              std::uint32_t row3) {
        const std::uint8_t* const box = kAesDecryptTables.inverseSbox;
        const std::uint32_t upper = std::uint32_t{box[byteOf(row0, 0)]} << 8 | box[byteOf(row1, 1)];
        return key ^ ((upper << 8 | box[byteOf(row2, 2)]) << 8 | box[byteOf(row3, 3)]);
    }
};

inline Block addKey(const std::uint32_t* key, Block s) {
    return s ^ Block { key[0], key[1], key[2], key[3] };
}

template <typename Direction> Block transform(const std::uint32_t* keys, std::int32_t rounds, Block s) {
    s = addKey(keys, s);
    for (std::int32_t round = 1; round < rounds; ++round) {
        keys += 4;
        s = Direction::innerRound(keys, s);
    }
    return Direction::lastRound(keys + 4, s);
}

// Two independent blocks at once: each fills the other's waits for the tables.
template <typename Direction> void transformTwo(const std::uint32_t* keys, std::int32_t rounds, Block& a, Block& b) {
    a = addKey(keys, a);
    b = addKey(keys, b);
    for (std::int32_t round = 1; round < rounds; ++round) {
        keys += 4;
        a = Direction::innerRound(keys, a);
        b = Direction::innerRound(keys, b);
    }
    a = Direction::lastRound(keys + 4, a);
    b = Direction::lastRound(keys + 4, b);
}

// The modes. Every one reads a block before it writes one, so that input and output may be the same buffer.

template <typename Direction> void ecb(const std::uint32_t* keys, std::int32_t rounds, std::uint8_t*,
                                       const std::uint8_t* input, std::uint8_t* output, std::size_t blockCount) {
    for (; blockCount >= 2; blockCount -= 2, input += 2 * kBlockBytes, output += 2 * kBlockBytes) {
        Block a = load(input), b = load(input + kBlockBytes);
        transformTwo<Direction>(keys, rounds, a, b);
        store(output, a);
        store(output + kBlockBytes, b);
    }
    if (blockCount > 0) {
        store(output, transform<Direction>(keys, rounds, load(input)));
    }
}

void cbcEncrypt(const std::uint32_t* keys, std::int32_t rounds, std::uint8_t* iv, const std::uint8_t* input,
                std::uint8_t* output, std::size_t blockCount) {
    Block chain = load(iv);
    for (; blockCount > 0; --blockCount, input += kBlockBytes, output += kBlockBytes) {
        chain = transform<Encryption>(keys, rounds, load(input) ^ chain);
        store(output, chain);
    }
    store(iv, chain);
}

void cbcDecrypt(const std::uint32_t* keys, std::int32_t rounds, std::uint8_t* iv, const std::uint8_t* input,
                std::uint8_t* output, std::size_t blockCount) {
    Block chain = load(iv);
    for (; blockCount >= 2; blockCount -= 2, input += 2 * kBlockBytes, output += 2 * kBlockBytes) {
        const Block first = load(input), second = load(input + kBlockBytes);
        Block a = first, b = second;
        transformTwo<Decryption>(keys, rounds, a, b);
        store(output, a ^ chain);
        store(output + kBlockBytes, b ^ first);
        chain = second;
    }
    if (blockCount > 0) {
        const Block ciphertext = load(input);
        store(output, transform<Decryption>(keys, rounds, ciphertext) ^ chain);
        chain = ciphertext;
    }
    store(iv, chain);
}

void cfbEncrypt(const std::uint32_t* keys, std::int32_t rounds, std::uint8_t* iv, const std::uint8_t* input,
                std::uint8_t* output, std::size_t blockCount) {
    Block chain = load(iv);
    for (; blockCount > 0; --blockCount, input += kBlockBytes, output += kBlockBytes) {
        chain = transform<Encryption>(keys, rounds, chain) ^ load(input);
        store(output, chain);
    }
    store(iv, chain);
}

void cfbDecrypt(const std::uint32_t* keys, std::int32_t rounds, std::uint8_t* iv, const std::uint8_t* input,
                std::uint8_t* output, std::size_t blockCount) {
    Block chain = load(iv);
    for (; blockCount >= 2; blockCount -= 2, input += 2 * kBlockBytes, output += 2 * kBlockBytes) {
        const Block first = load(input), second = load(input + kBlockBytes);
        Block a = chain, b = first;
        transformTwo<Encryption>(keys, rounds, a, b);
        store(output, a ^ first);
        store(output + kBlockBytes, b ^ second);
        chain = second;
    }
    if (blockCount > 0) {
        const Block ciphertext = load(input);
        store(output, transform<Encryption>(keys, rounds, chain) ^ ciphertext);
        chain = ciphertext;
    }
    store(iv, chain);
}

void ofb(const std::uint32_t* keys, std::int32_t rounds, std::uint8_t* iv, const std::uint8_t* input,
         std::uint8_t* output, std::size_t blockCount) {
    Block chain = load(iv);
    for (; blockCount > 0; --blockCount, input += kBlockBytes, output += kBlockBytes) {
        chain = transform<Encryption>(keys, rounds, chain);
        store(output, chain ^ load(input));
    }
    store(iv, chain);
}

} // namespace

constinit const AesModes aesModesPortable = {
    .expandKey = aesExpandKeyPortable,
    .invertSchedule = aesInvertSchedulePortable,
    .ecbEncrypt = ecb<Encryption>,
    .ecbDecrypt = ecb<Decryption>,
    .cbcEncrypt = cbcEncrypt,
    .cbcDecrypt = cbcDecrypt,
    .cfbEncrypt = cfbEncrypt,
    .cfbDecrypt = cfbDecrypt,
    .ofb = ofb,
};
