// Four words of the message schedule at a time in the vector registers, beside the rounds, which stay in the general
// ones: neither waits for the other.
#include "core/cpu/target.h"
#include "core/hash/x86/sha_x86.h"
#include "core/memory/secret.h"

#include <immintrin.h>

#include <bit>
#include <utility>

namespace {

using Word = std::uint64_t;

alignas(32) constexpr Word kRoundConstants[] = {
    0x428A2F98D728AE22, 0x7137449123EF65CD, 0xB5C0FBCFEC4D3B2F, 0xE9B5DBA58189DBBC, 0x3956C25BF348B538,
    0x59F111F1B605D019, 0x923F82A4AF194F9B, 0xAB1C5ED5DA6D8118, 0xD807AA98A3030242, 0x12835B0145706FBE,
    0x243185BE4EE4B28C, 0x550C7DC3D5FFB4E2, 0x72BE5D74F27B896F, 0x80DEB1FE3B1696B1, 0x9BDC06A725C71235,
    0xC19BF174CF692694, 0xE49B69C19EF14AD2, 0xEFBE4786384F25E3, 0x0FC19DC68B8CD5B5, 0x240CA1CC77AC9C65,
    0x2DE92C6F592B0275, 0x4A7484AA6EA6E483, 0x5CB0A9DCBD41FBD4, 0x76F988DA831153B5, 0x983E5152EE66DFAB,
    0xA831C66D2DB43210, 0xB00327C898FB213F, 0xBF597FC7BEEF0EE4, 0xC6E00BF33DA88FC2, 0xD5A79147930AA725,
    0x06CA6351E003826F, 0x142929670A0E6E70, 0x27B70A8546D22FFC, 0x2E1B21385C26C926, 0x4D2C6DFC5AC42AED,
    0x53380D139D95B3DF, 0x650A73548BAF63DE, 0x766A0ABB3C77B2A8, 0x81C2C92E47EDAEE6, 0x92722C851482353B,
    0xA2BFE8A14CF10364, 0xA81A664BBC423001, 0xC24B8B70D0F89791, 0xC76C51A30654BE30, 0xD192E819D6EF5218,
    0xD69906245565A910, 0xF40E35855771202A, 0x106AA07032BBD1B8, 0x19A4C116B8D2D0C8, 0x1E376C085141AB53,
    0x2748774CDF8EEB99, 0x34B0BCB5E19B48A8, 0x391C0CB3C5C95A63, 0x4ED8AA4AE3418ACB, 0x5B9CCA4F7763E373,
    0x682E6FF3D6B2B8A3, 0x748F82EE5DEFB2FC, 0x78A5636F43172F60, 0x84C87814A1F0AB72, 0x8CC702081A6439EC,
    0x90BEFFFA23631E28, 0xA4506CEBDE82BDE9, 0xBEF9A3F7B2C67915, 0xC67178F2E372532B, 0xCA273ECEEA26619C,
    0xD186B8C721C0C207, 0xEADA7DD6CDE0EB1E, 0xF57D4F7FEE6ED178, 0x06F067AA72176FBA, 0x0A637DC5A2C898A6,
    0x113F9804BEF90DAE, 0x1B710B35131C471B, 0x28DB77F523047D84, 0x32CAAB7B40C72493, 0x3C9EBE0A15C9BEBC,
    0x431D67C49C100D4C, 0x4CC5D4BECB3E42B6, 0x597F299CFC657E2A, 0x5FCB6FAB3AD6FAEC, 0x6C44198C4A475817,
};

using Schedule = __m256i[4];           // the last sixteen words, four in a register
using Addends = SecretArray<Word, 16>; // of the last sixteen rounds: word of the schedule + constant

// The two rotations and the shift of a small sigma.
template <int first, int second, int shift> ZEL_TARGET_AVX2 inline __m256i smallSigma(__m256i x) {
    const __m256i low = _mm256_xor_si256(_mm256_srli_epi64(x, first), _mm256_srli_epi64(x, second));
    const __m256i high = _mm256_xor_si256(_mm256_slli_epi64(x, 64 - first), _mm256_slli_epi64(x, 64 - second));
    return _mm256_xor_si256(_mm256_xor_si256(low, high), _mm256_srli_epi64(x, shift));
}

// The three upper words of `older` and the lowest of `newer`.
ZEL_TARGET_AVX2 inline __m256i oneOn(__m256i older, __m256i newer) {
    return _mm256_permute4x64_epi64(_mm256_blend_epi32(older, newer, 0x03), 0x39);
}

ZEL_TARGET_AVX2 inline void storeAddends(Addends& addends, std::size_t g, __m256i words, const Word* constants) {
    const __m256i sum = _mm256_add_epi64(words, _mm256_load_si256(reinterpret_cast<const __m256i*>(constants)));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(addends.data() + 4 * g), sum);
}

// The words sixteen after those of w[g], in their place. The second pair needs the first: sigma runs twice.
template <std::size_t g> ZEL_TARGET_AVX2 inline void scheduleGroup(Schedule& w) {
    const __m256i nine = oneOn(w[(g + 2) % 4], w[(g + 3) % 4]);
    const __m256i fifteen = smallSigma<1, 8, 7>(oneOn(w[g], w[(g + 1) % 4]));
    const __m256i early = _mm256_add_epi64(_mm256_add_epi64(w[g], nine), fifteen);
    const __m256i last = _mm256_permute4x64_epi64(w[(g + 3) % 4], 0x0E);
    const __m256i pair = _mm256_add_epi64(early, smallSigma<19, 61, 6>(last)); // good in its lower half
    const __m256i other = smallSigma<19, 61, 6>(_mm256_permute4x64_epi64(pair, 0x40));
    w[g] = _mm256_blend_epi32(pair, _mm256_add_epi64(early, other), 0xF0);
}

// The t-th of sixteen rounds. The eight working variables are not shifted along: the one called a stands at v[-t mod
// 8]. ab: a ^ b of the round before, which is b ^ c now.
template <std::size_t t> ZEL_TARGET_AVX2 inline void round(Word (&v)[8], Word& ab, const Addends& addends) {
    const Word a = v[(16 - t) % 8], b = v[(17 - t) % 8];
    const Word e = v[(20 - t) % 8], f = v[(21 - t) % 8], g = v[(22 - t) % 8];
    Word &d = v[(19 - t) % 8], &h = v[(23 - t) % 8];
    h += addends[t] + ((e & f) + (~e & g)) + (std::rotr(e, 14) ^ std::rotr(e, 18) ^ std::rotr(e, 41));
    d += h;
    const Word bc = ab;
    ab = a ^ b;
    h += ((ab & bc) ^ b) + (std::rotr(a, 28) ^ std::rotr(a, 34) ^ std::rotr(a, 39));
}

// Four rounds, and beside them what the group needs sixteen rounds on.
template <bool isLast, std::size_t g> ZEL_TARGET_AVX2 inline void
roundGroup(Word (&v)[8], Word& ab, Schedule& w, Addends& addends, const Word* nextConstants) {
    if constexpr (!isLast) {
        scheduleGroup<g>(w);
    }
    round<4 * g>(v, ab, addends);
    round<4 * g + 1>(v, ab, addends);
    round<4 * g + 2>(v, ab, addends);
    round<4 * g + 3>(v, ab, addends);
    if constexpr (!isLast) {
        storeAddends(addends, g, w[g], nextConstants + 4 * g);
    }
}

template <bool isLast, std::size_t... g>
ZEL_TARGET_AVX2 inline void sixteenRounds(Word (&v)[8], Word& ab, Schedule& w, Addends& addends,
                                          const Word* nextConstants, std::index_sequence<g...>) {
    (roundGroup<isLast, g>(v, ab, w, addends, nextConstants), ...);
}

} // namespace

ZEL_TARGET_AVX2 void sha512CompressAvx2(std::uint64_t* state, const std::uint8_t* blocks, std::size_t blockCount) {
    const __m256i bigEndian = _mm256_broadcastsi128_si256(_mm_set_epi64x(0x08090A0B0C0D0E0F, 0x0001020304050607));
    Addends addends;
    for (; blockCount > 0; --blockCount, blocks += 128) {
        Word v[8] = {state[0], state[1], state[2], state[3], state[4], state[5], state[6], state[7]};
        Word ab = v[1] ^ v[2];
        Schedule w;
        for (std::size_t g = 0; g < 4; ++g) {
            const __m256i bytes = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(blocks) + g);
            w[g] = _mm256_shuffle_epi8(bytes, bigEndian);
            storeAddends(addends, g, w[g], kRoundConstants + 4 * g);
        }
        for (std::size_t t = 16; t < 80; t += 16) {
            sixteenRounds<false>(v, ab, w, addends, kRoundConstants + t, std::make_index_sequence<4>());
        }
        sixteenRounds<true>(v, ab, w, addends, nullptr, std::make_index_sequence<4>());
        for (std::size_t i = 0; i < 8; ++i) {
            state[i] += v[i];
        }
    }
}
