// The five hashes: a message in any pieces gives the digest of the whole, which is what every kernel gives for the
// message padded by the standard's words. The first byte chooses the hash, the second how many pieces there are, with a
// length byte each; the rest is the message.
#include "core/hash/sha_kernels.h"
#include "fuzz/fuzz_check.h"
#include "fuzz/fuzz_input.h"
#include "tests/core/hash/sha_algorithms.h"

#include "core/memory/endian.h"

namespace {

using Bytes = FuzzInput::Bytes;

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

// Runs every kernel that this CPU has over the padded message, from the initial value that init gives.
template <typename Context, typename Kernels>
void checkKernels(const ShaAlgorithm& algorithm, Kernels kernels, const Bytes& message, const Bytes& digest) {
    using Word = std::remove_extent_t<decltype(Context::state)>;
    constexpr std::size_t kBlockBytes = sizeof Context::buffer;
    const Bytes blocks = padded(message, kBlockBytes, 2 * sizeof(Word));
    for (const auto& kernel : kernels) {
        if (!kernel.isSupported()) {
            continue;
        }
        Context context;
        FUZZ_CHECK(!isError(algorithm.init(&context)));
        kernel.run(context.state, blocks.data(), blocks.size() / kBlockBytes);
        Bytes out;
        for (const Word word : context.state) {
            out.resize(out.size() + sizeof word);
            storeBigEndian(out.data() + out.size() - sizeof word, word);
        }
        out.resize(algorithm.digestBytes);
        FUZZ_CHECK(out == digest);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const ShaAlgorithm& algorithm = kShaAlgorithms[input.byte() % kShaAlgorithms.size()];
    const Bytes pieces = input.bytes();
    const Bytes message = input.rest();

    Bytes whole(algorithm.digestBytes), split(algorithm.digestBytes);
    FUZZ_CHECK(!isError(algorithm.digest(dataOf(message), static_cast<std::uint32_t>(message.size()), whole.data())));
    ShaContext context;
    FUZZ_CHECK(!isError(algorithm.init(&context)));
    std::size_t done = 0;
    for (std::size_t i = 0; i <= pieces.size(); ++i) {
        const std::size_t count =
            i == pieces.size() ? message.size() - done : std::min<std::size_t>(pieces[i], message.size() - done);
        const Bytes piece(message.begin() + static_cast<std::ptrdiff_t>(done),
                          message.begin() + static_cast<std::ptrdiff_t>(done + count));
        FUZZ_CHECK(!isError(algorithm.update(&context, dataOf(piece), static_cast<std::uint32_t>(count))));
        done += count;
    }
    FUZZ_CHECK(!isError(algorithm.final(&context, split.data())));
    FUZZ_CHECK(split == whole);
    if (algorithm.contextBytes == sizeof(Sha512Context)) {
        checkKernels<Sha512Context>(algorithm, sha512Kernels(), message, whole);
    } else if (algorithm.digestBytes == kSha1DigestBytes) {
        checkKernels<Sha1Context>(algorithm, sha1Kernels(), message, whole);
    } else {
        checkKernels<Sha256Context>(algorithm, sha256Kernels(), message, whole);
    }
    return 0;
}
