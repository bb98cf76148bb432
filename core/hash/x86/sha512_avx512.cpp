#include "core/cpu/x86/clear_registers.h"
#include "core/cpu/x86/target.h"
#include "core/hash/internal/sha2_constants.h"
#include "core/hash/x86/sha_x86.h"
#include "core/memory/secret.h"

#include <immintrin.h>

#include <bit>
#include <utility>

#define SHA512_TARGET ZEL_TARGET_AVX512
#define SHA512_COMPRESS sha512CompressAvx512
#define SHA512_CLEAR clearAvx512Registers

namespace {

template <int first, int second, int shift> SHA512_TARGET inline __m256i smallSigma(__m256i x) {
    return _mm256_ternarylogic_epi64(_mm256_ror_epi64(x, first), _mm256_ror_epi64(x, second),
                                     _mm256_srli_epi64(x, shift), 0x96);
}

SHA512_TARGET inline __m256i oneOn(__m256i older, __m256i newer) {
    return _mm256_alignr_epi64(newer, older, 1);
}

} // namespace

#include "core/hash/x86/sha512_rounds.inc"
