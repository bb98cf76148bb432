#include "core/aes/x86/aes_ni_keys.h"
#include "core/aes/x86/aes_x86.h"
#include "core/cpu/x86/clear_registers.h"

namespace {

constexpr std::size_t kBlockBytes = 16;
constexpr std::size_t kBlocksInRegister = 4;
constexpr std::size_t kRegisters = 4; // that go through the rounds together

enum class Direction { encryption, decryption };
enum class Mode { ecb, cbc, cfb };

// The round keys, each four times over. All stay in registers: there are 32.
struct WideKeys {
    __m512i first, inner[13], last;
    bool hasTwelve, hasFourteen;
};

ZEL_TARGET_VAES inline WideKeys widen(const AesNiKeys& keys) {
    WideKeys wide;
    wide.first = _mm512_broadcast_i32x4(keys[0]);
    for (std::size_t i = 0; i < 9; ++i) {
        wide.inner[i] = _mm512_broadcast_i32x4(keys[i + 1]);
    }
    wide.hasTwelve = keys.hasTwelve();
    wide.hasFourteen = keys.hasFourteen();
    for (std::size_t i = 9; i < 13; ++i) {
        const bool isPresent = i < 11 ? wide.hasTwelve : wide.hasFourteen;
        wide.inner[i] = isPresent ? _mm512_broadcast_i32x4(keys[i + 1]) : _mm512_setzero_si512();
    }
    wide.last = _mm512_broadcast_i32x4(keys.last());
    return wide;
}

template <Direction direction, std::size_t width>
ZEL_TARGET_VAES inline void oneRound(__m512i (&x)[width], __m512i key) {
    for (std::size_t i = 0; i < width; ++i) {
        x[i] = direction == Direction::encryption ? _mm512_aesenc_epi128(x[i], key) : _mm512_aesdec_epi128(x[i], key);
    }
}

template <Direction direction, std::size_t width>
ZEL_TARGET_VAES inline void innerRounds(const WideKeys& keys, __m512i (&x)[width]) {
    oneRound<direction>(x, keys.inner[0]);
    oneRound<direction>(x, keys.inner[1]);
    oneRound<direction>(x, keys.inner[2]);
    oneRound<direction>(x, keys.inner[3]);
    oneRound<direction>(x, keys.inner[4]);
    oneRound<direction>(x, keys.inner[5]);
    oneRound<direction>(x, keys.inner[6]);
    oneRound<direction>(x, keys.inner[7]);
    oneRound<direction>(x, keys.inner[8]);
    if (keys.hasTwelve) {
        oneRound<direction>(x, keys.inner[9]);
        oneRound<direction>(x, keys.inner[10]);
    }
    if (keys.hasFourteen) {
        oneRound<direction>(x, keys.inner[11]);
        oneRound<direction>(x, keys.inner[12]);
    }
}

// `width` registers of blocks; `lanes` says which 64-bit halves of blocks there are in each. before: the register of
// ciphertext before these blocks. The cipher's input is the text, or in CFB the ciphertext before it, which otherwise is
// what its output is combined with.
template <Mode mode, Direction direction, std::size_t width> ZEL_TARGET_VAES inline void
someBlocks(const WideKeys& keys, __m512i& before, const std::uint8_t* input, std::uint8_t* output, __mmask8 lanes) {
    __m512i x[width], other[width];
    for (std::size_t i = 0; i < width; ++i) {
        const __m512i text = _mm512_maskz_loadu_epi64(lanes, input + kBlocksInRegister * kBlockBytes * i);
        const __m512i oneBack = mode == Mode::ecb ? text : _mm512_alignr_epi64(text, before, 6);
        x[i] = _mm512_xor_si512(mode == Mode::cfb ? oneBack : text, keys.first);
        other[i] = mode == Mode::cfb ? text : oneBack;
        before = text;
    }
    innerRounds<direction>(keys, x);
    for (std::size_t i = 0; i < width; ++i) {
        const __m512i key = mode == Mode::ecb ? keys.last : _mm512_xor_si512(keys.last, other[i]);
        x[i] = direction == Direction::encryption ? _mm512_aesenclast_epi128(x[i], key)
                                                  : _mm512_aesdeclast_epi128(x[i], key);
    }
    for (std::size_t i = 0; i < width; ++i) {
        _mm512_mask_storeu_epi64(output + kBlocksInRegister * kBlockBytes * i, lanes, x[i]);
    }
}

// narrow: the same for less than a register, for which four copies of each key would not pay.
template <Mode mode, Direction direction, AesModeRun AesModes::*narrow>
ZEL_TARGET_VAES void parallel(const std::uint32_t* roundKeys, std::int32_t rounds, std::uint8_t* iv,
                              const std::uint8_t* input, std::uint8_t* output, std::size_t blockCount) {
    if (blockCount < kBlocksInRegister) {
        (aesModesNi.*narrow)(roundKeys, rounds, iv, input, output, blockCount);
        return;
    }
    const AesNiKeys narrowKeys(roundKeys, rounds);
    const WideKeys keys = widen(narrowKeys);
    __m512i before = _mm512_setzero_si512();
    if (mode != Mode::ecb) { // the block that is `before` goes last into its register
        before = _mm512_broadcast_i32x4(_mm_loadu_si128(reinterpret_cast<const __m128i*>(iv)));
        const std::uint8_t* const lastBlock = input + kBlockBytes * (blockCount - 1);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(iv), _mm_loadu_si128(reinterpret_cast<const __m128i*>(lastBlock)));
    }
    constexpr std::size_t atOnce = kRegisters * kBlocksInRegister;
    for (; blockCount >= atOnce; blockCount -= atOnce, input += atOnce * kBlockBytes, output += atOnce * kBlockBytes) {
        someBlocks<mode, direction, kRegisters>(keys, before, input, output, 0xFF);
    }
    for (; blockCount >= kBlocksInRegister; blockCount -= kBlocksInRegister) {
        someBlocks<mode, direction, 1>(keys, before, input, output, 0xFF);
        input += kBlocksInRegister * kBlockBytes;
        output += kBlocksInRegister * kBlockBytes;
    }
    if (blockCount > 0) {
        const auto lanes = static_cast<__mmask8>((1u << 2 * blockCount) - 1);
        someBlocks<mode, direction, 1>(keys, before, input, output, lanes);
    }
    clearAvx512Registers();
}

} // namespace

constinit const AesModes aesModesVaes = {
    .expandKey = aesNiExpandKey,
    .invertSchedule = aesNiDecryptionSchedule,
    .ecbEncrypt = parallel<Mode::ecb, Direction::encryption, &AesModes::ecbEncrypt>,
    .ecbDecrypt = parallel<Mode::ecb, Direction::decryption, &AesModes::ecbDecrypt>,
    .cbcEncrypt = aesNiCbcEncrypt,
    .cbcDecrypt = parallel<Mode::cbc, Direction::decryption, &AesModes::cbcDecrypt>,
    .cfbEncrypt = aesNiCfbEncrypt,
    .cfbDecrypt = parallel<Mode::cfb, Direction::encryption, &AesModes::cfbDecrypt>,
    .ofb = aesNiOfb,
};
