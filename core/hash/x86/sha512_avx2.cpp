// Four words of the message schedule at a time in the vector registers, beside the rounds, which stay in the general
// ones: neither waits for the other.
#include "core/cpu/target.h"
#include "core/hash/sha2_constants.h"
#include "core/hash/x86/sha_x86.h"
#include "core/memory/secret.h"

#include <immintrin.h>

#include <bit>
#include <utility>

namespace {

using Word = std::uint64_t;

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
            storeAddends(addends, g, w[g], kSha512RoundConstants + 4 * g);
        }
        for (std::size_t t = 16; t < 80; t += 16) {
            sixteenRounds<false>(v, ab, w, addends, kSha512RoundConstants + t, std::make_index_sequence<4>());
        }
        sixteenRounds<true>(v, ab, w, addends, nullptr, std::make_index_sequence<4>());
        for (std::size_t i = 0; i < 8; ++i) {
            state[i] += v[i];
        }
    }
}
