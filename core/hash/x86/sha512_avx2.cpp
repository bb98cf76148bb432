#include "core/cpu/x86/clear_registers.h"
#include "core/cpu/x86/target.h"
#include "core/hash/internal/sha2_constants.h"
#include "core/hash/x86/sha_x86.h"
#include "core/memory/secret.h"

#include <immintrin.h>

#include <bit>
#include <utility>

#define SHA512_TARGET ZEL_TARGET_AVX2
#define SHA512_COMPRESS sha512CompressAvx2
#define SHA512_CLEAR clearAvxRegisters

namespace {

template <int first, int second, int shift> SHA512_TARGET inline __m256i smallSigma(__m256i x) {
    const __m256i low = _mm256_xor_si256(_mm256_srli_epi64(x, first), _mm256_srli_epi64(x, second));
    const __m256i high = _mm256_xor_si256(_mm256_slli_epi64(x, 64 - first), _mm256_slli_epi64(x, 64 - second));
    return _mm256_xor_si256(_mm256_xor_si256(low, high), _mm256_srli_epi64(x, shift));
}

SHA512_TARGET inline __m256i oneOn(__m256i older, __m256i newer) {
    return _mm256_permute4x64_epi64(_mm256_blend_epi32(older, newer, 0x03), 0x39);
}

} // namespace

#include "core/hash/x86/sha512_rounds.inc"
