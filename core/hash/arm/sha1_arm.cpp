#include "core/cpu/arm/clear_registers.h"
#include "core/cpu/arm/target.h"
#include "core/hash/arm/sha_arm.h"
#include "core/hash/sha_kernels.h"

#include <utility>

namespace {

// Four words of the schedule stand in one register, the first of them lowest; w[g % 4] holds words 4g to 4g + 3.
using Schedule = uint32x4_t[4];

constexpr std::uint32_t kRoundConstants[] = {0x5A827999, 0x6ED9EBA1, 0x8F1BBCDC, 0xCA62C1D6};

// The four rounds of group g, and the words that group g + 4 needs in the place of these.
template <std::size_t g> ZEL_TARGET_CRYPTO inline void roundGroup(uint32x4_t& abcd, std::uint32_t& e, Schedule& w) {
    const uint32x4_t addend = vaddq_u32(w[g % 4], vdupq_n_u32(kRoundConstants[g / 5]));
    const std::uint32_t next = vsha1h_u32(vgetq_lane_u32(abcd, 0));
    if constexpr (g < 5) {
        abcd = vsha1cq_u32(abcd, e, addend);
    } else if constexpr (g >= 10 && g < 15) {
        abcd = vsha1mq_u32(abcd, e, addend);
    } else {
        abcd = vsha1pq_u32(abcd, e, addend);
    }
    e = next;
    if constexpr (g < 16) {
        const uint32x4_t early = vsha1su0q_u32(w[g % 4], w[(g + 1) % 4], w[(g + 2) % 4]);
        w[g % 4] = vsha1su1q_u32(early, w[(g + 3) % 4]);
    }
}

template <std::size_t... g>
ZEL_TARGET_CRYPTO inline void allGroups(uint32x4_t& abcd, std::uint32_t& e, Schedule& w, std::index_sequence<g...>) {
    (roundGroup<g>(abcd, e, w), ...);
}

// The block in w through all rounds.
ZEL_TARGET_CRYPTO inline void compressBlock(uint32x4_t& abcd, std::uint32_t& e, Schedule& w) {
    const uint32x4_t abcdBefore = abcd;
    const std::uint32_t eBefore = e;
    allGroups(abcd, e, w, std::make_index_sequence<20>());
    abcd = vaddq_u32(abcd, abcdBefore);
    e += eBefore;
}

} // namespace

ZEL_TARGET_CRYPTO void sha1CompressArm(std::uint32_t* state, const std::uint8_t* blocks, std::size_t blockCount) {
    uint32x4_t abcd = vld1q_u32(state);
    std::uint32_t e = state[4];
    for (; blockCount > 0; --blockCount, blocks += 64) {
        Schedule w;
        for (std::size_t g = 0; g < 4; ++g) {
            w[g] = vreinterpretq_u32_u8(vrev32q_u8(vld1q_u8(blocks + 16 * g)));
        }
        compressBlock(abcd, e, w);
    }
    vst1q_u32(state, abcd);
    state[4] = e;
    clearVectorRegisters();
}

ZEL_TARGET_CRYPTO void sha1GArm(const std::uint64_t* block, std::uint64_t* out) {
    uint32x4_t abcd = vld1q_u32(kSha1InitialState);
    std::uint32_t e = kSha1InitialState[4];
    Schedule w;
    for (std::size_t g = 0; g < 4; ++g) {
        const uint64x2_t both = vcombine_u64(vld1_u64(block + 7 - 2 * g), vld1_u64(block + 6 - 2 * g));
        w[g] = vrev64q_u32(vreinterpretq_u32_u64(both));
    }
    compressBlock(abcd, e, w);
    const uint32x4_t badc = vrev64q_u32(abcd);
    const uint32x4_t edcb = vextq_u32(vdupq_n_u32(e), vextq_u32(badc, badc, 2), 3);
    vst1q_u64(out, vreinterpretq_u64_u32(edcb));
    out[2] = vgetq_lane_u32(abcd, 0);
    clearVectorRegisters();
}
