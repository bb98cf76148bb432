#include "core/cpu/x86/clear_registers.h"
#include "core/cpu/x86/target.h"
#include "core/hash/sha_kernels.h"
#include "core/hash/x86/sha_x86.h"

#include <immintrin.h>

#include <utility>

#define SHA1_TARGET ZEL_TARGET_SHA
#define SHA1_COMPRESS sha1CompressNi
#define SHA1_G sha1GNi
#define SHA1_CLEAR clearSseRegisters

namespace {

SHA1_TARGET inline __m128i addE(__m128i abcd, __m128i words) {
    return _mm_sha1nexte_epu32(abcd, words);
}

SHA1_TARGET inline __m128i laterWords(__m128i a, __m128i b, __m128i c, __m128i d) {
    const __m128i mixed = _mm_xor_si128(_mm_xor_si128(_mm_xor_si128(a, b), c), d);
    return _mm_or_si128(_mm_slli_epi32(mixed, 2), _mm_srli_epi32(mixed, 30));
}

} // namespace

#include "core/hash/x86/sha1_rounds.inc"
