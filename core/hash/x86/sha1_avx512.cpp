#include "core/cpu/x86/clear_registers.h"
#include "core/cpu/x86/target.h"
#include "core/hash/sha_kernels.h"
#include "core/hash/x86/sha_x86.h"

#include <immintrin.h>

#include <utility>

#define SHA1_TARGET ZEL_TARGET_SHA_AVX512
#define SHA1_COMPRESS sha1CompressAvx512
#define SHA1_G sha1GAvx512
#define SHA1_CLEAR clearAvx512Registers

namespace {

// Half the work of SHA1NEXTE, which every four rounds wait for.
SHA1_TARGET inline __m128i addE(__m128i abcd, __m128i words) {
    return _mm_mask_add_epi32(words, 0x8, words, _mm_rol_epi32(abcd, 30));
}

SHA1_TARGET inline __m128i laterWords(__m128i a, __m128i b, __m128i c, __m128i d) {
    return _mm_rol_epi32(_mm_xor_si128(_mm_ternarylogic_epi32(a, b, c, 0x96), d), 2);
}

} // namespace

#include "core/hash/x86/sha1_rounds.inc"
