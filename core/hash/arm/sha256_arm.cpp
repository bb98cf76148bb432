#include "core/cpu/arm/clear_registers.h"
#include "core/cpu/arm/target.h"
#include "core/hash/arm/sha_arm.h"
#include "core/hash/internal/sha2_constants.h"

#include <utility>

namespace {

// Four words of the schedule stand in one register, the first of them lowest; w[g % 4] holds words 4g to 4g + 3.
using Schedule = uint32x4_t[4];

// The four rounds of group g, and the words that group g + 4 needs in the place of these.
template <std::size_t g> ZEL_TARGET_CRYPTO inline void roundGroup(uint32x4_t& abcd, uint32x4_t& efgh, Schedule& w) {
    const uint32x4_t addend = vaddq_u32(w[g % 4], vld1q_u32(kSha256RoundConstants + 4 * g));
    uint32x4_t abcdBefore = abcd;
    __asm__(""
            : "+w"(abcdBefore)); // the copy of the two: the compiler would let SHA256H, which comes first, wait for it
    abcd = vsha256hq_u32(abcd, efgh, addend);
    efgh = vsha256h2q_u32(efgh, abcdBefore, addend);
    if constexpr (g < 12) {
        const uint32x4_t early = vsha256su0q_u32(w[g % 4], w[(g + 1) % 4]);
        w[g % 4] = vsha256su1q_u32(early, w[(g + 2) % 4], w[(g + 3) % 4]);
    }
}

template <std::size_t... g>
ZEL_TARGET_CRYPTO inline void allGroups(uint32x4_t& abcd, uint32x4_t& efgh, Schedule& w, std::index_sequence<g...>) {
    (roundGroup<g>(abcd, efgh, w), ...);
}

} // namespace

ZEL_TARGET_CRYPTO void sha256CompressArm(std::uint32_t* state, const std::uint8_t* blocks, std::size_t blockCount) {
    uint32x4_t abcd = vld1q_u32(state), efgh = vld1q_u32(state + 4);
    for (; blockCount > 0; --blockCount, blocks += 64) {
        const uint32x4_t abcdBefore = abcd, efghBefore = efgh;
        Schedule w;
        for (std::size_t g = 0; g < 4; ++g) {
            w[g] = vreinterpretq_u32_u8(vrev32q_u8(vld1q_u8(blocks + 16 * g)));
        }
        allGroups(abcd, efgh, w, std::make_index_sequence<16>());
        abcd = vaddq_u32(abcd, abcdBefore);
        efgh = vaddq_u32(efgh, efghBefore);
    }
    vst1q_u32(state, abcd);
    vst1q_u32(state + 4, efgh);
    clearVectorRegisters();
}
