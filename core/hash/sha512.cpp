#include "core/hash/sha512.h"

#include "core/hash/internal/sha_stream.h"
#include "core/hash/sha_kernels.h"

namespace {

struct Sha512 {
    using Context = Sha512Context;
    static constexpr std::uint32_t kDigestBytes = kSha512DigestBytes;
    static constexpr std::uint64_t kInitialState[] = {
        0x6A09E667F3BCC908, 0xBB67AE8584CAA73B, 0x3C6EF372FE94F82B, 0xA54FF53A5F1D36F1,
        0x510E527FADE682D1, 0x9B05688C2B3E6C1F, 0x1F83D9ABFB41BD6B, 0x5BE0CD19137E2179,
    };

    static void compress(std::uint64_t* state, const std::uint8_t* blocks, std::size_t blockCount) {
        sha512Kernel().run(state, blocks, blockCount);
    }
};

struct Sha384 : Sha512 {
    static constexpr std::uint32_t kDigestBytes = kSha384DigestBytes;
    static constexpr std::uint64_t kInitialState[] = {
        0xCBBB9D5DC1059ED8, 0x629A292A367CD507, 0x9159015A3070DD17, 0x152FECD8F70E5939,
        0x67332667FFC00B31, 0x8EB44A8768581511, 0xDB0C2E0D64F98FA7, 0x47B5481DBEFA4FA4,
    };
};

} // namespace

Status sha512AllocContext(Sha512Context** context) {
    return memAllocRecord(context);
}

Status sha512FreeContext(Sha512Context** context) {
    return memFreeRecord(context);
}

Status sha384Init(Sha512Context* context) {
    return sha::init<Sha384>(context);
}

Status sha512Init(Sha512Context* context) {
    return sha::init<Sha512>(context);
}

Status sha512Update(Sha512Context* context, const std::uint8_t* data, std::uint32_t length) {
    return sha::update<Sha512>(context, data, length);
}

Status sha384Final(Sha512Context* context, std::uint8_t* out) {
    return sha::finishAndWipe<Sha384>(context, out);
}

Status sha512Final(Sha512Context* context, std::uint8_t* out) {
    return sha::finishAndWipe<Sha512>(context, out);
}

Status sha384Digest(const std::uint8_t* data, std::uint32_t length, std::uint8_t* out) {
    return sha::digest<Sha384>(data, length, out);
}

Status sha512Digest(const std::uint8_t* data, std::uint32_t length, std::uint8_t* out) {
    return sha::digest<Sha512>(data, length, out);
}
