// The five hashes by the functions for C: a message in any pieces, with a copy of the handle taken on the way, gives the digest
// of the whole, which is what every kernel gives for the message padded by the standard's words. The first byte chooses the hash, the second how many pieces there are, with a
// length byte each; the rest is the message.
#include "capi/zel.h"
#include "core/memory/endian.h"
#include "fuzz/fuzz_check.h"
#include "fuzz/fuzz_input.h"
#include "tests/core/hash/sha_algorithms.h"

#include <iterator>

namespace {

// FIPS 180-2, section 5.1: a one, zeros, and the length in bits in the last countBytes of a block.
Bytes padded(Bytes message, std::size_t blockBytes, std::size_t countBytes) {
    const std::uint64_t bits = std::uint64_t{message.size()} * 8;
    message.push_back(0x80);
    while ((message.size() + countBytes) % blockBytes != 0) {
        message.push_back(0);
    }
    message.resize(message.size() + countBytes);
    storeBigEndian(message.data() + message.size() - 8, bits);
    return message;
}

template <typename Sha> void check(const Sha& sha, ZelHash hash, const Bytes& pieces, FuzzInput input) {
    typename Sha::Context context;
    Bytes whole(sha.digestBytes), split(sha.digestBytes);
    const Bytes message = FuzzInput(input).rest();
    FUZZ_CHECK(zelDigestOnce(hash, message.data(), message.size(), whole.data(), whole.size()) == ZEL_OK);
    ZelDigest *handle = nullptr, *copy = nullptr;
    FUZZ_CHECK(zelDigestNew(hash, &handle) == ZEL_OK);
    for (std::size_t i = 0; i <= pieces.size(); ++i) {
        if (i == pieces.size() / 2) {
            FUZZ_CHECK(zelDigestCopy(handle, &copy) == ZEL_OK);
        }
        const Bytes piece = i == pieces.size() ? input.rest() : input.take(pieces[i]);
        FUZZ_CHECK(zelDigestUpdate(handle, piece.data(), piece.size()) == ZEL_OK);
        FUZZ_CHECK(copy == nullptr || zelDigestUpdate(copy, piece.data(), piece.size()) == ZEL_OK);
    }
    for (ZelDigest* const each : {handle, copy}) {
        FUZZ_CHECK(zelDigestFinish(each, split.data(), split.size()) == ZEL_OK && split == whole);
        FUZZ_CHECK(zelDigestFree(each) == ZEL_OK);
    }

    const Bytes blocks = padded(message, sizeof context.buffer, 2 * sizeof context.state[0]);
    for (const auto& kernel : sha.kernels) {
        if (kernel.isSupported()) {
            FUZZ_CHECK(!isError(sha.init(&context)));
            kernel.run(context.state, blocks.data(), blocks.size() / sizeof context.buffer);
            std::uint8_t digest[64];
            for (std::size_t i = 0; i < std::size(context.state); ++i) {
                storeBigEndian(digest + i * sizeof context.state[0], context.state[i]);
            }
            FUZZ_CHECK(std::equal(whole.begin(), whole.end(), digest));
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const std::size_t choice = input.byte() % std::size(kShaNames);
    const Bytes pieces = input.bytes();
    withSha(kShaNames[choice],
            [&](const auto& sha) { check(sha, static_cast<ZelHash>(ZEL_SHA1 + choice), pieces, input); });
    return 0;
}
