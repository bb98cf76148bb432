#include "core/cpu/arm/clear_registers.h"
#include "core/cpu/arm/target.h"
#include "core/hash/arm/sha_arm.h"
#include "core/hash/internal/sha2_constants.h"

#include <utility>

namespace {

// Two words in a register, the first of them lowest.
using Working = uint64x2_t[4];  // a and b, c and d, e and f, g and h
using Schedule = uint64x2_t[8]; // w[g % 8] holds words 2g and 2g + 1

// The upper word of `low` and the lower one of `high`.
ZEL_TARGET_SHA512 inline uint64x2_t between(uint64x2_t low, uint64x2_t high) {
    return vextq_u64(low, high, 1);
}

// The two rounds of group g, and the words that group g + 8 needs in the place of these. The working variables are not
// shifted along: the pair called ab stands at v[-g mod 4].
template <std::size_t g> ZEL_TARGET_SHA512 inline void roundGroup(Working& v, Schedule& w) {
    const uint64x2_t ab = v[(4 - g % 4) % 4], ef = v[(6 - g % 4) % 4];
    uint64x2_t &cd = v[(5 - g % 4) % 4], &gh = v[(7 - g % 4) % 4];
    const uint64x2_t addend = vaddq_u64(w[g % 8], vld1q_u64(kSha512RoundConstants + 2 * g));
    const uint64x2_t sum = vsha512hq_u64(vaddq_u64(gh, between(addend, addend)), between(ef, gh), between(cd, ef));
    gh = vsha512h2q_u64(sum, cd, ab);
    cd = vaddq_u64(cd, sum);
    if constexpr (g < 32) {
        const uint64x2_t early = vsha512su0q_u64(w[g % 8], w[(g + 1) % 8]);
        w[g % 8] = vsha512su1q_u64(early, w[(g + 7) % 8], between(w[(g + 4) % 8], w[(g + 5) % 8]));
    }
}

template <std::size_t... g>
ZEL_TARGET_SHA512 inline void allGroups(Working& v, Schedule& w, std::index_sequence<g...>) {
    (roundGroup<g>(v, w), ...);
}

} // namespace

ZEL_TARGET_SHA512 void sha512CompressArm(std::uint64_t* state, const std::uint8_t* blocks, std::size_t blockCount) {
    Working v = {vld1q_u64(state), vld1q_u64(state + 2), vld1q_u64(state + 4), vld1q_u64(state + 6)};
    for (; blockCount > 0; --blockCount, blocks += 128) {
        const uint64x2_t ab = v[0], cd = v[1], ef = v[2], gh = v[3];
        Schedule w;
        for (std::size_t g = 0; g < 8; ++g) {
            w[g] = vreinterpretq_u64_u8(vrev64q_u8(vld1q_u8(blocks + 16 * g)));
        }
        allGroups(v, w, std::make_index_sequence<40>());
        v[0] = vaddq_u64(v[0], ab);
        v[1] = vaddq_u64(v[1], cd);
        v[2] = vaddq_u64(v[2], ef);
        v[3] = vaddq_u64(v[3], gh);
    }
    vst1q_u64(state, v[0]);
    vst1q_u64(state + 2, v[1]);
    vst1q_u64(state + 4, v[2]);
    vst1q_u64(state + 6, v[3]);
    clearVectorRegisters();
}
