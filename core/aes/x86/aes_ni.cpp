#include "core/aes/x86/aes_ni_keys.h"
#include "core/aes/x86/aes_x86.h"
#include "core/cpu/x86/clear_registers.h"

namespace {

constexpr std::size_t kBlockBytes = 16;
// Blocks in flight where the mode allows it. With what they are combined with, they fill the registers.
constexpr std::size_t kWide = 6;

ZEL_TARGET_AES inline __m128i load(const std::uint8_t* bytes) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
}

ZEL_TARGET_AES inline void store(std::uint8_t* bytes, __m128i block) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(bytes), block);
}

// Keeps the compiler from holding the keys in registers across blocks: there are too few, and it would spill some to
// places that nobody wipes.
inline void leaveInMemory(const AesNiKeys& keys) {
    __asm__ volatile("" ::"r"(&keys) : "memory");
}

enum class Direction { encryption, decryption };

template <Direction direction, std::size_t width>
ZEL_TARGET_AES inline void oneRound(__m128i (&x)[width], __m128i key) {
    for (std::size_t i = 0; i < width; ++i) {
        x[i] = direction == Direction::encryption ? _mm_aesenc_si128(x[i], key) : _mm_aesdec_si128(x[i], key);
    }
}

// All rounds but the last.
template <Direction direction, std::size_t width>
ZEL_TARGET_AES inline void innerRounds(const AesNiKeys& keys, __m128i (&x)[width]) {
    oneRound<direction>(x, keys[1]);
    oneRound<direction>(x, keys[2]);
    oneRound<direction>(x, keys[3]);
    oneRound<direction>(x, keys[4]);
    oneRound<direction>(x, keys[5]);
    oneRound<direction>(x, keys[6]);
    oneRound<direction>(x, keys[7]);
    oneRound<direction>(x, keys[8]);
    oneRound<direction>(x, keys[9]);
    if (keys.hasTwelve()) {
        oneRound<direction>(x, keys[10]);
        oneRound<direction>(x, keys[11]);
    }
    if (keys.hasFourteen()) {
        oneRound<direction>(x, keys[12]);
        oneRound<direction>(x, keys[13]);
    }
}

// The modes whose blocks are independent: the cipher's input is the text, or the ciphertext before it, which in the
// other case is what its output is combined with.

enum class Parallel { ecb, cbc, cfb };

template <Parallel mode, Direction direction, std::size_t width> ZEL_TARGET_AES inline void
someBlocks(const AesNiKeys& keys, __m128i& before, const std::uint8_t* input, std::uint8_t* output) {
    __m128i x[width], other[width]; // other: what the result is combined with
    for (std::size_t i = 0; i < width; ++i) {
        const __m128i text = load(input + kBlockBytes * i);
        x[i] = _mm_xor_si128(mode == Parallel::cfb ? before : text, keys[0]);
        other[i] = mode == Parallel::cfb ? text : before;
        before = text;
    }
    innerRounds<direction>(keys, x);
    for (std::size_t i = 0; i < width; ++i) {
        const __m128i key = mode == Parallel::ecb ? keys.last() : _mm_xor_si128(keys.last(), other[i]);
        x[i] = direction == Direction::encryption ? _mm_aesenclast_si128(x[i], key) : _mm_aesdeclast_si128(x[i], key);
    }
    for (std::size_t i = 0; i < width; ++i) {
        store(output + kBlockBytes * i, x[i]);
    }
}

template <Parallel mode, Direction direction>
ZEL_TARGET_AES void parallel(const std::uint32_t* roundKeys, std::int32_t rounds, std::uint8_t* iv,
                             const std::uint8_t* input, std::uint8_t* output, std::size_t blockCount) {
    if (blockCount == 0) {
        return;
    }
    const AesNiKeys keys(roundKeys, rounds);
    __m128i before = mode == Parallel::ecb ? _mm_setzero_si128() : load(iv);
    for (; blockCount >= kWide; blockCount -= kWide, input += kWide * kBlockBytes, output += kWide * kBlockBytes) {
        leaveInMemory(keys);
        someBlocks<mode, direction, kWide>(keys, before, input, output);
    }
    for (; blockCount > 0; --blockCount, input += kBlockBytes, output += kBlockBytes) {
        leaveInMemory(keys);
        someBlocks<mode, direction, 1>(keys, before, input, output);
    }
    if (mode != Parallel::ecb) {
        store(iv, before);
    }
    clearSseRegisters();
}

// All four columns alike stay where they are when the rows shift, so that only the S-box is left of the last round.
ZEL_TARGET_AES std::uint32_t substituteWord(std::uint32_t word) {
    const __m128i columns = _mm_set1_epi32(static_cast<int>(word));
    return static_cast<std::uint32_t>(_mm_cvtsi128_si32(_mm_aesenclast_si128(columns, _mm_setzero_si128())));
}

// The modes whose blocks wait for each other. The last round adds any key that it is given, so it is given one that
// contains what the next block's first step would add: x goes from block to block through AES rounds alone.

enum class Chain { cbc, cfb, ofb };

template <Chain chain> ZEL_TARGET_AES void chained(const std::uint32_t* roundKeys, std::int32_t rounds,
                                                   std::uint8_t* iv, const std::uint8_t* input, std::uint8_t* output,
                                                   std::size_t blockCount) {
    if (blockCount == 0) {
        return;
    }
    const AesNiKeys keys(roundKeys, rounds);
    __m128i x[1] = {_mm_xor_si128(load(iv), keys[0])};
    __m128i text = load(input); // in CBC the block to come, once the first is under way
    if (chain == Chain::cbc) {
        x[0] = _mm_xor_si128(x[0], text);
    }
    for (; blockCount > 0; --blockCount, input += kBlockBytes, output += kBlockBytes) {
        leaveInMemory(keys);
        if (chain == Chain::cbc) {
            text = blockCount > 1 ? load(input + kBlockBytes) : _mm_setzero_si128();
        } else {
            text = load(input);
        }
        const __m128i toNext = _mm_xor_si128(keys.last(), keys[0]);
        innerRounds<Direction::encryption>(keys, x);
        const __m128i beforeLast = x[0];
        x[0] = _mm_aesenclast_si128(beforeLast, chain == Chain::ofb ? toNext : _mm_xor_si128(toNext, text));
        const __m128i lastKey = chain == Chain::cbc ? keys.last() : _mm_xor_si128(keys.last(), text);
        store(output, _mm_aesenclast_si128(beforeLast, lastKey));
    }
    store(iv, _mm_xor_si128(x[0], keys[0]));
    clearSseRegisters();
}

} // namespace

void aesNiCbcEncrypt(const std::uint32_t* roundKeys, std::int32_t rounds, std::uint8_t* iv, const std::uint8_t* input,
                     std::uint8_t* output, std::size_t blockCount) {
    chained<Chain::cbc>(roundKeys, rounds, iv, input, output, blockCount);
}

void aesNiCfbEncrypt(const std::uint32_t* roundKeys, std::int32_t rounds, std::uint8_t* iv, const std::uint8_t* input,
                     std::uint8_t* output, std::size_t blockCount) {
    chained<Chain::cfb>(roundKeys, rounds, iv, input, output, blockCount);
}

void aesNiOfb(const std::uint32_t* roundKeys, std::int32_t rounds, std::uint8_t* iv, const std::uint8_t* input,
              std::uint8_t* output, std::size_t blockCount) {
    chained<Chain::ofb>(roundKeys, rounds, iv, input, output, blockCount);
}

void aesNiExpandKey(const std::uint8_t* key, std::uint32_t keyBits, std::uint32_t* roundKeys) {
    aesExpandKeyBy(substituteWord, key, keyBits, roundKeys);
    clearSseRegisters();
}

ZEL_TARGET_AES void aesNiDecryptionSchedule(const std::uint32_t* encryptRoundKeys, std::int32_t rounds,
                                            std::uint32_t* roundKeys) {
    const __m128i* from = reinterpret_cast<const __m128i*>(encryptRoundKeys) + rounds;
    __m128i* to = reinterpret_cast<__m128i*>(roundKeys);
    _mm_storeu_si128(to++, _mm_loadu_si128(from--));
    for (std::int32_t round = 1; round < rounds; ++round) {
        const __m128i mixed = _mm_aesimc_si128(AesNiKeys::byteOrder(_mm_loadu_si128(from--)));
        _mm_storeu_si128(to++, AesNiKeys::byteOrder(mixed));
    }
    _mm_storeu_si128(to, _mm_loadu_si128(from));
    clearSseRegisters();
}

constinit const AesModes aesModesNi = {
    .expandKey = aesNiExpandKey,
    .invertSchedule = aesNiDecryptionSchedule,
    .ecbEncrypt = parallel<Parallel::ecb, Direction::encryption>,
    .ecbDecrypt = parallel<Parallel::ecb, Direction::decryption>,
    .cbcEncrypt = aesNiCbcEncrypt,
    .cbcDecrypt = parallel<Parallel::cbc, Direction::decryption>,
    .cfbEncrypt = aesNiCfbEncrypt,
    .cfbDecrypt = parallel<Parallel::cfb, Direction::encryption>,
    .ofb = aesNiOfb,
};
