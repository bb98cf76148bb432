#include "core/cpu/target.h"
#include "core/hash/x86/sha_x86.h"

#include <immintrin.h>

#include <utility>

namespace {

alignas(16) constexpr std::uint32_t kRoundConstants[] = {
    0x428A2F98, 0x71374491, 0xB5C0FBCF, 0xE9B5DBA5, 0x3956C25B, 0x59F111F1, 0x923F82A4, 0xAB1C5ED5,
    0xD807AA98, 0x12835B01, 0x243185BE, 0x550C7DC3, 0x72BE5D74, 0x80DEB1FE, 0x9BDC06A7, 0xC19BF174,
    0xE49B69C1, 0xEFBE4786, 0x0FC19DC6, 0x240CA1CC, 0x2DE92C6F, 0x4A7484AA, 0x5CB0A9DC, 0x76F988DA,
    0x983E5152, 0xA831C66D, 0xB00327C8, 0xBF597FC7, 0xC6E00BF3, 0xD5A79147, 0x06CA6351, 0x14292967,
    0x27B70A85, 0x2E1B2138, 0x4D2C6DFC, 0x53380D13, 0x650A7354, 0x766A0ABB, 0x81C2C92E, 0x92722C85,
    0xA2BFE8A1, 0xA81A664B, 0xC24B8B70, 0xC76C51A3, 0xD192E819, 0xD6990624, 0xF40E3585, 0x106AA070,
    0x19A4C116, 0x1E376C08, 0x2748774C, 0x34B0BCB5, 0x391C0CB3, 0x4ED8AA4A, 0x5B9CCA4F, 0x682E6FF3,
    0x748F82EE, 0x78A5636F, 0x84C87814, 0x8CC70208, 0x90BEFFFA, 0xA4506CEB, 0xBEF9A3F7, 0xC67178F2,
};

// Four words of the schedule stand in one register, the first of them lowest; w[g % 4] holds words 4g to 4g + 3.
using Schedule = __m128i[4];

// The four rounds of group g, two at a time. The working variables are kept in the order that the instructions ask for.
template <std::size_t g> ZEL_TARGET_SHA inline void roundGroup(__m128i& abef, __m128i& cdgh, Schedule& w) {
    const __m128i constants = _mm_load_si128(reinterpret_cast<const __m128i*>(kRoundConstants) + g);
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
}
