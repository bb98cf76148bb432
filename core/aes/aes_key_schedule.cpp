#include "core/aes/aes_kernels.h"
#include "core/aes/internal/aes_tables.h"
#include "core/memory/endian.h"

#include <bit>

namespace {

std::uint32_t substituteWord(std::uint32_t word) {
    return aesSubstitute(word >> 24) << 24 | aesSubstitute(word >> 16 & 0xFF) << 16 |
           aesSubstitute(word >> 8 & 0xFF) << 8 | aesSubstitute(word & 0xFF);
}

// The decryption tables hold InvMixColumns of the inverse S-box; fed with S[x] they give InvMixColumns alone.
std::uint32_t inverseMixColumn(std::uint32_t word) {
    const auto& t = kAesDecryptTables.t;
    return t[0][aesSubstitute(word >> 24)] ^ t[1][aesSubstitute(word >> 16 & 0xFF)] ^
           t[2][aesSubstitute(word >> 8 & 0xFF)] ^ t[3][aesSubstitute(word & 0xFF)];
}

} // namespace

void aesExpandKeyBy(std::uint32_t (*substitute)(std::uint32_t), const std::uint8_t* key, std::uint32_t keyBits,
                    std::uint32_t* roundKeys) {
    const std::uint32_t keyWords = keyBits / 32;
    const std::uint32_t wordCount = 4 * (keyWords + 7);
    for (std::size_t i = 0; i < keyWords; ++i) {
        roundKeys[i] = loadBigEndian<std::uint32_t>(key + 4 * i);
    }
    std::uint32_t roundConstant = 0x01; // the powers of {02}; no key size needs more than the tenth, {36}
    for (std::uint32_t i = keyWords, inKey = 0; i < wordCount; ++i) {
        std::uint32_t word = roundKeys[i - 1];
        if (inKey == 0) {
            word = substitute(std::rotl(word, 8)) ^ roundConstant << 24;
            roundConstant = roundConstant << 1 ^ (roundConstant >= 0x80 ? 0x11Bu : 0u);
        } else if (keyWords == 8 && inKey == 4) {
            word = substitute(word);
        }
        roundKeys[i] = roundKeys[i - keyWords] ^ word;
        inKey = inKey + 1 == keyWords ? 0 : inKey + 1;
    }
}

void aesExpandKeyPortable(const std::uint8_t* key, std::uint32_t keyBits, std::uint32_t* roundKeys) {
    aesExpandKeyBy(substituteWord, key, keyBits, roundKeys);
}

void aesInvertSchedulePortable(const std::uint32_t* encryptRoundKeys, std::int32_t rounds, std::uint32_t* roundKeys) {
    const auto last = static_cast<std::size_t>(rounds);
    for (std::size_t round = 0; round <= last; ++round) {
        const std::uint32_t* const from = encryptRoundKeys + 4 * (last - round);
        const bool isInner = round != 0 && round != last;
        for (std::size_t i = 0; i < 4; ++i) {
            roundKeys[4 * round + i] = isInner ? inverseMixColumn(from[i]) : from[i];
        }
    }
}
