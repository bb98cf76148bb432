#include "core/hash/sha1.h"

#include "core/hash/internal/sha_stream.h"
#include "core/hash/sha_kernels.h"

namespace {

struct Sha1 {
    using Context = Sha1Context;
    static constexpr std::uint32_t kDigestBytes = kSha1DigestBytes;
    static constexpr auto& kInitialState = kSha1InitialState;

    static void compress(std::uint32_t* state, const std::uint8_t* blocks, std::size_t blockCount) {
        sha1Kernel().run(state, blocks, blockCount);
    }
};

} // namespace

Status sha1AllocContext(Sha1Context** context) {
    return memAllocRecord(context);
}

Status sha1FreeContext(Sha1Context** context) {
    return memFreeRecord(context);
}

Status sha1Init(Sha1Context* context) {
    return sha::init<Sha1>(context);
}

Status sha1Update(Sha1Context* context, const std::uint8_t* data, std::uint32_t length) {
    return sha::update<Sha1>(context, data, length);
}

Status sha1Final(Sha1Context* context, std::uint8_t* out) {
    // Leaves the spent context as it is, on purpose: only the SHA-2 finals wipe.
    return sha::finish<Sha1>(context, out);
}

Status sha1Digest(const std::uint8_t* data, std::uint32_t length, std::uint8_t* out) {
    return sha::digest<Sha1>(data, length, out);
}

Status sha1G(const std::uint8_t* block, std::uint8_t* out) {
    if (block == nullptr || out == nullptr) {
        return ERR_NULL_POINTER;
    }
    SecretArray<std::uint32_t, kSha1StateWords> state;
    std::copy(std::begin(kSha1InitialState), std::end(kSha1InitialState), state.data());
    Sha1::compress(state.data(), block, 1);
    // Written only now: the random generator's seed pool takes a result into the block it was made from.
    for (std::size_t i = 0; i < state.size(); ++i) {
        storeBigEndian(out + 4 * i, state[i]);
    }
    return OK;
}
