#include "core/aes/arm/aes_arm.h"

#include "core/cpu/arm/clear_registers.h"
#include "core/cpu/arm/target.h"
#include "core/memory/secret.h"

namespace {

constexpr std::size_t kBlockBytes = 16;
// Blocks in flight where the mode allows it: two pipelines with four cycles for a round ask for eight.
constexpr std::size_t kWide = 8;

// Words to bytes, bytes to words: in the words of a schedule the first byte is the highest.
ZEL_TARGET_CRYPTO inline uint8x16_t byteOrder(uint8x16_t words) {
    return vrev32q_u8(words);
}

// The schedule of a context as byte strings. The kernels use the keys from here, in memory that is wiped, or from
// registers that they clear, and leave no other copy.
class Keys {
public:
    ZEL_TARGET_CRYPTO Keys(const std::uint32_t* roundKeys, std::int32_t rounds)
        : rounds_(static_cast<std::size_t>(rounds)) {
        std::size_t index = 0;
        do {
            vst1q_u8(keys_.data() + kBlockBytes * index,
                     byteOrder(vreinterpretq_u8_u32(vld1q_u32(roundKeys + 4 * index))));
        } while (++index <= rounds_);
    }

    // The key of round `index`, which is at most the number of rounds.
    ZEL_TARGET_CRYPTO uint8x16_t operator[](std::size_t index) const {
        return vld1q_u8(keys_.data() + kBlockBytes * index);
    }
    ZEL_TARGET_CRYPTO uint8x16_t last() const {
        return (*this)[rounds_];
    }
    std::size_t rounds() const {
        return rounds_;
    }
    // Keeps the compiler from holding the keys in registers across blocks: there are too few, and it would spill some to
    // places that nobody wipes.
    void leaveInMemory() const {
        __asm__ volatile("" ::"r"(this) : "memory");
    }

private:
    alignas(kBlockBytes) SecretArray<std::uint8_t, 15 * kBlockBytes> keys_;
    std::size_t rounds_;
};

enum class Direction { encryption, decryption };

// The instructions add a round's key first and then substitute and shift: the mixing of the columns is an instruction of its
// own, which processors join to the one before, and the last key is left to add.
template <Direction direction> ZEL_TARGET_CRYPTO inline uint8x16_t lastRound(uint8x16_t x, uint8x16_t key) {
    return direction == Direction::encryption ? vaeseq_u8(x, key) : vaesdq_u8(x, key);
}

template <Direction direction, std::size_t width>
ZEL_TARGET_CRYPTO inline void oneRound(uint8x16_t (&x)[width], uint8x16_t key) {
    for (std::size_t i = 0; i < width; ++i) {
        const uint8x16_t shifted = lastRound<direction>(x[i], key);
        x[i] = direction == Direction::encryption ? vaesmcq_u8(shifted) : vaesimcq_u8(shifted);
    }
}

// All rounds, with `first` for the first key and without the last. Inlined by force, or the blocks would go through memory.
template <Direction direction, std::size_t width> ZEL_TARGET_CRYPTO __attribute__((always_inline)) inline void
allRounds(const Keys& keys, uint8x16_t first, uint8x16_t (&x)[width]) {
    oneRound<direction>(x, first);
    oneRound<direction>(x, keys[1]);
    oneRound<direction>(x, keys[2]);
    oneRound<direction>(x, keys[3]);
    oneRound<direction>(x, keys[4]);
    oneRound<direction>(x, keys[5]);
    oneRound<direction>(x, keys[6]);
    oneRound<direction>(x, keys[7]);
    oneRound<direction>(x, keys[8]);
    if (keys.rounds() >= 12) {
        oneRound<direction>(x, keys[9]);
        oneRound<direction>(x, keys[10]);
    }
    if (keys.rounds() >= 14) {
        oneRound<direction>(x, keys[11]);
        oneRound<direction>(x, keys[12]);
    }
    const uint8x16_t key = keys[keys.rounds() - 1];
    for (std::size_t i = 0; i < width; ++i) {
        x[i] = lastRound<direction>(x[i], key);
    }
}

// The modes whose blocks are independent: the cipher's input is the text, or the ciphertext before it, which in the
// other case is what its output is combined with.

enum class Parallel { ecb, cbc, cfb };

template <Parallel mode, Direction direction, std::size_t width> ZEL_TARGET_CRYPTO inline void
someBlocks(const Keys& keys, uint8x16_t& before, const std::uint8_t* input, std::uint8_t* output) {
    uint8x16_t x[width], other[width]; // other: what the result is combined with
    for (std::size_t i = 0; i < width; ++i) {
        const uint8x16_t text = vld1q_u8(input + kBlockBytes * i);
        x[i] = mode == Parallel::cfb ? before : text;
        other[i] = mode == Parallel::cfb ? text : before;
        before = text;
    }
    allRounds<direction>(keys, keys[0], x);
    for (std::size_t i = 0; i < width; ++i) {
        const uint8x16_t key = mode == Parallel::ecb ? keys.last() : veorq_u8(keys.last(), other[i]);
        vst1q_u8(output + kBlockBytes * i, veorq_u8(x[i], key));
    }
}

template <Parallel mode, Direction direction>
ZEL_TARGET_CRYPTO void parallel(const std::uint32_t* roundKeys, std::int32_t rounds, std::uint8_t* iv,
                                const std::uint8_t* input, std::uint8_t* output, std::size_t blockCount) {
    if (blockCount == 0) {
        return;
    }
    const Keys keys(roundKeys, rounds);
    uint8x16_t before = mode == Parallel::ecb ? vdupq_n_u8(0) : vld1q_u8(iv);
    for (; blockCount >= kWide; blockCount -= kWide, input += kWide * kBlockBytes, output += kWide * kBlockBytes) {
        keys.leaveInMemory();
        someBlocks<mode, direction, kWide>(keys, before, input, output);
    }
    for (; blockCount > 0; --blockCount, input += kBlockBytes, output += kBlockBytes) {
        keys.leaveInMemory();
        someBlocks<mode, direction, 1>(keys, before, input, output);
    }
    if (mode != Parallel::ecb) {
        vst1q_u8(iv, before);
    }
    clearVectorRegisters();
}

// The modes whose blocks wait for each other. The first round adds any key that it is given, so it is given one that
// contains the last one too, and what else the next block begins with: x goes from block to block through AES rounds alone.

enum class Chain { cbc, cfb, ofb };

template <Chain chain> ZEL_TARGET_CRYPTO void chained(const std::uint32_t* roundKeys, std::int32_t rounds,
                                                      std::uint8_t* iv, const std::uint8_t* input, std::uint8_t* output,
                                                      std::size_t blockCount) {
    if (blockCount == 0) {
        return;
    }
    const Keys keys(roundKeys, rounds);
    const uint8x16_t last = keys.last(), toNext = veorq_u8(last, keys[0]);
    uint8x16_t x[1] = {veorq_u8(vld1q_u8(iv), last)};
    uint8x16_t before = vdupq_n_u8(0); // in CFB the block of text before
    for (; blockCount > 0; --blockCount, input += kBlockBytes, output += kBlockBytes) {
        keys.leaveInMemory();
        const uint8x16_t text = vld1q_u8(input);
        allRounds<Direction::encryption>(keys, veorq_u8(toNext, chain == Chain::cbc ? text : before), x);
        vst1q_u8(output, veorq_u8(x[0], chain == Chain::cbc ? last : veorq_u8(last, text)));
        if (chain == Chain::cfb) {
            before = text;
        }
    }
    vst1q_u8(iv, veorq_u8(x[0], veorq_u8(last, before)));
    clearVectorRegisters();
}

// All four columns alike stay where they are when the rows shift, so that only the S-box is left of the last round.
ZEL_TARGET_CRYPTO std::uint32_t substituteWord(std::uint32_t word) {
    const uint8x16_t columns = vreinterpretq_u8_u32(vdupq_n_u32(word));
    return vgetq_lane_u32(vreinterpretq_u32_u8(vaeseq_u8(columns, vdupq_n_u8(0))), 0);
}

void expandKey(const std::uint8_t* key, std::uint32_t keyBits, std::uint32_t* roundKeys) {
    aesExpandKeyBy(substituteWord, key, keyBits, roundKeys);
    clearVectorRegisters();
}

ZEL_TARGET_CRYPTO void invertSchedule(const std::uint32_t* encryptRoundKeys, std::int32_t rounds,
                                      std::uint32_t* roundKeys) {
    const std::uint32_t* from = encryptRoundKeys + 4 * static_cast<std::size_t>(rounds);
    vst1q_u32(roundKeys, vld1q_u32(from));
    for (std::int32_t round = 1; round < rounds; ++round) {
        const uint8x16_t mixed = vaesimcq_u8(byteOrder(vreinterpretq_u8_u32(vld1q_u32(from -= 4))));
        vst1q_u32(roundKeys += 4, vreinterpretq_u32_u8(byteOrder(mixed)));
    }
    vst1q_u32(roundKeys + 4, vld1q_u32(encryptRoundKeys));
    clearVectorRegisters();
}

} // namespace

constinit const AesModes aesModesArm = {
    .expandKey = expandKey,
    .invertSchedule = invertSchedule,
    .ecbEncrypt = parallel<Parallel::ecb, Direction::encryption>,
    .ecbDecrypt = parallel<Parallel::ecb, Direction::decryption>,
    .cbcEncrypt = chained<Chain::cbc>,
    .cbcDecrypt = parallel<Parallel::cbc, Direction::decryption>,
    .cfbEncrypt = chained<Chain::cfb>,
    .cfbDecrypt = parallel<Parallel::cfb, Direction::encryption>,
    .ofb = chained<Chain::ofb>,
};
