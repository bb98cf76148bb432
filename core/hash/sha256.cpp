#include "core/hash/sha256.h"

#include "core/hash/internal/sha_stream.h"
#include "core/hash/sha_kernels.h"

namespace {

struct Sha256 {
    using Context = Sha256Context;
    static constexpr std::uint32_t kDigestBytes = kSha256DigestBytes;
    static constexpr std::uint32_t kInitialState[] = {
        0x6A09E667, 0xBB67AE85, 0x3C6EF372, 0xA54FF53A, 0x510E527F, 0x9B05688C, 0x1F83D9AB, 0x5BE0CD19,
    };

    static void compress(std::uint32_t* state, const std::uint8_t* blocks, std::size_t blockCount) {
        sha256Kernel().run(state, blocks, blockCount);
    }
};

struct Sha224 : Sha256 {
    static constexpr std::uint32_t kDigestBytes = kSha224DigestBytes;
    static constexpr std::uint32_t kInitialState[] = {
        0xC1059ED8, 0x367CD507, 0x3070DD17, 0xF70E5939, 0xFFC00B31, 0x68581511, 0x64F98FA7, 0xBEFA4FA4,
    };
};

} // namespace

Status sha256AllocContext(Sha256Context** context) {
    return memAllocRecord(context);
}

Status sha256FreeContext(Sha256Context** context) {
    return memFreeRecord(context);
}

Status sha224Init(Sha256Context* context) {
    return sha::init<Sha224>(context);
}

Status sha256Init(Sha256Context* context) {
    return sha::init<Sha256>(context);
}

Status sha256Update(Sha256Context* context, const std::uint8_t* data, std::uint32_t length) {
    return sha::update<Sha256>(context, data, length);
}

Status sha224Final(Sha256Context* context, std::uint8_t* out) {
    return sha::finishAndWipe<Sha224>(context, out);
}

Status sha256Final(Sha256Context* context, std::uint8_t* out) {
    return sha::finishAndWipe<Sha256>(context, out);
}

Status sha224Digest(const std::uint8_t* data, std::uint32_t length, std::uint8_t* out) {
    return sha::digest<Sha224>(data, length, out);
}

Status sha256Digest(const std::uint8_t* data, std::uint32_t length, std::uint8_t* out) {
    return sha::digest<Sha256>(data, length, out);
}
