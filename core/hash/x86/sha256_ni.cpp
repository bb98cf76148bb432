#include "core/cpu/x86/clear_registers.h"
#include "core/cpu/x86/target.h"
#include "core/hash/internal/sha2_constants.h"
#include "core/hash/x86/sha_x86.h"

#include <immintrin.h>

#include <utility>

namespace {

// Four words of the schedule stand in one register, the first of them lowest; w[g % 4] holds words 4g to 4g + 3.
using Schedule = __m128i[4];

// The four rounds of group g, two at a time. The working variables are kept in the order that the instructions ask for.
template <std::size_t g> ZEL_TARGET_SHA inline void roundGroup(__m128i& abef, __m128i& cdgh, Schedule& w) {
    const __m128i constants = _mm_load_si128(reinterpret_cast<const __m128i*>(kSha256RoundConstants) + g);
    const __m128i addend = _mm_add_epi32(w[g % 4], constants);
    cdgh = _mm_sha256rnds2_epu32(cdgh, abef, addend);
    abef = _mm_sha256rnds2_epu32(abef, cdgh, _mm_shuffle_epi32(addend, 0x0E));
    if constexpr (g < 12) { // the words that group g + 4 needs, in the place of these
        const __m128i sevenBack = _mm_alignr_epi8(w[(g + 3) % 4], w[(g + 2) % 4], 4);
        const __m128i early = _mm_add_epi32(_mm_sha256msg1_epu32(w[g % 4], w[(g + 1) % 4]), sevenBack);
        w[g % 4] = _mm_sha256msg2_epu32(early, w[(g + 3) % 4]);
    }
}

template <std::size_t... g>
ZEL_TARGET_SHA inline void allGroups(__m128i& abef, __m128i& cdgh, Schedule& w, std::index_sequence<g...>) {
    (roundGroup<g>(abef, cdgh, w), ...);
}

} // namespace

ZEL_TARGET_SHA void sha256CompressNi(std::uint32_t* state, const std::uint8_t* blocks, std::size_t blockCount) {
    const __m128i bigEndian = _mm_set_epi64x(0x0C0D0E0F08090A0B, 0x0405060700010203);
    __m128i* const halves = reinterpret_cast<__m128i*>(state);
    const __m128i cdab = _mm_shuffle_epi32(_mm_loadu_si128(halves), 0xB1);
    const __m128i efgh = _mm_shuffle_epi32(_mm_loadu_si128(halves + 1), 0x1B);
    __m128i abef = _mm_alignr_epi8(cdab, efgh, 8);
    __m128i cdgh = _mm_blend_epi16(efgh, cdab, 0xF0);
    for (; blockCount > 0; --blockCount, blocks += 64) {
        const __m128i abefBefore = abef, cdghBefore = cdgh;
        Schedule w;
        for (int g = 0; g < 4; ++g) {
            w[g] = _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(blocks) + g), bigEndian);
        }
        allGroups(abef, cdgh, w, std::make_index_sequence<16>());
        abef = _mm_add_epi32(abef, abefBefore);
        cdgh = _mm_add_epi32(cdgh, cdghBefore);
    }
    const __m128i feba = _mm_shuffle_epi32(abef, 0x1B);
    const __m128i dchg = _mm_shuffle_epi32(cdgh, 0xB1);
    _mm_storeu_si128(halves, _mm_blend_epi16(feba, dchg, 0xF0));
    _mm_storeu_si128(halves + 1, _mm_alignr_epi8(dchg, feba, 8));
    clearSseRegisters();
}
