#include "core/hash/internal/sha2_constants.h"
#include "core/hash/internal/sha2_portable.h"
#include "core/hash/sha_kernels.h"

namespace {

struct Sha512 {
    using Word = std::uint64_t;
    static constexpr int kBigSigma0[3] = {28, 34, 39};
    static constexpr int kBigSigma1[3] = {14, 18, 41};
    static constexpr int kSmallSigma0[3] = {1, 8, 7};
    static constexpr int kSmallSigma1[3] = {19, 61, 6};
    static constexpr const auto& kRoundConstants = kSha512RoundConstants;
};

} // namespace

void sha512CompressPortable(std::uint64_t* state, const std::uint8_t* blocks, std::size_t blockCount) {
    Sha2Compression<Sha512>::run(state, blocks, blockCount);
}
