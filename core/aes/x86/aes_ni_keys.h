// Round keys as the AES instructions take them.
#ifndef ZELSPI_CORE_AES_X86_AES_NI_KEYS_H
#define ZELSPI_CORE_AES_X86_AES_NI_KEYS_H

#include "core/cpu/x86/target.h"
#include "core/memory/secret.h"

#include <immintrin.h>

// AesNiKeys: the schedule of a context as byte strings; in its words the first byte is the highest. Kernels use the keys
// from here, in memory that is wiped, or from registers that they clear, and leave no other copy.
class AesNiKeys {
public:
    ZEL_TARGET_AES AesNiKeys(const std::uint32_t* roundKeys, std::int32_t rounds) : rounds_(rounds) {
        const __m128i* const words = reinterpret_cast<const __m128i*>(roundKeys);
        std::size_t index = 0;
        do {
            keys_[index].bytes = byteOrder(_mm_loadu_si128(words + index));
        } while (++index <= static_cast<std::size_t>(rounds));
    }

    // byteOrder: words to bytes, bytes to words.
    ZEL_TARGET_AES static __m128i byteOrder(__m128i words) {
        return _mm_shuffle_epi8(words, _mm_set_epi64x(0x0C0D0E0F08090A0B, 0x0405060700010203));
    }

    // The key of round `index`, which is at most the number of rounds.
    const __m128i& operator[](std::size_t index) const {
        return keys_[index].bytes;
    }
    const __m128i& last() const {
        return keys_[static_cast<std::size_t>(rounds_)].bytes;
    }
    bool hasTwelve() const {
        return rounds_ >= 12;
    }
    bool hasFourteen() const {
        return rounds_ >= 14;
    }

private:
    struct Key {
        __m128i bytes;
    };
    SecretArray<Key, 15> keys_;
    std::int32_t rounds_;
};

#endif
