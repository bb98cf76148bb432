#include "core/hash/internal/sha2_constants.h"
#include "core/hash/internal/sha2_portable.h"
#include "core/hash/sha_kernels.h"

namespace {

struct Sha256 {
    using Word = std::uint32_t;
    static constexpr int kBigSigma0[3] = {2, 13, 22};
    static constexpr int kBigSigma1[3] = {6, 11, 25};
    static constexpr int kSmallSigma0[3] = {7, 18, 3};
    static constexpr int kSmallSigma1[3] = {17, 19, 10};
    static constexpr const auto& kRoundConstants = kSha256RoundConstants;
};

} // namespace

void sha256CompressPortable(std::uint32_t* state, const std::uint8_t* blocks, std::size_t blockCount) {
    Sha2Compression<Sha256>::run(state, blocks, blockCount);
}
