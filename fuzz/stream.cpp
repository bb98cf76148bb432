// A message in any pieces gives what the whole gives: a digest, which every kernel gives as well for the message padded by the
// standard's words; or ciphertext, from and into one buffer in which input and output overlap, which decrypts to the message.
// The first byte chooses one of the five hashes or the cipher, the second how many pieces there are, with a length byte each;
// the rest is the message.
#include "bridge/aes_cbc_stream.h"
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

template <typename Sha> void check(const Sha& sha, const std::vector<Bytes>& pieces, const Bytes& message) {
    typename Sha::Context context;
    Bytes whole(sha.digestBytes), split(sha.digestBytes);
    FUZZ_CHECK(!isError(sha.digest(dataOf(message), static_cast<std::uint32_t>(message.size()), whole.data())));
    FUZZ_CHECK(!isError(sha.init(&context)));
    for (const Bytes& piece : pieces) {
        FUZZ_CHECK(!isError(sha.update(&context, dataOf(piece), static_cast<std::uint32_t>(piece.size()))));
    }
    FUZZ_CHECK(!isError(sha.final(&context, split.data())));
    FUZZ_CHECK(split == whole);

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

// Runs work(input, output) on the piece in a buffer where the output stands some bytes behind the input, or in front of it, and
// appends the output.
template <typename Work> void through(const Bytes& piece, std::uint64_t outputSize, Bytes& all, Work work) {
    const std::size_t distance = 7 * piece.size() % 40, inputAt = piece.size() % 2 == 0 ? distance : 0;
    Bytes buffer(piece.size() + outputSize + 40);
    std::copy(piece.begin(), piece.end(), buffer.begin() + static_cast<std::ptrdiff_t>(inputAt));
    std::uint8_t* const output = buffer.data() + distance - inputAt;
    FUZZ_CHECK(!isError(work(buffer.data() + inputAt, output)));
    all.insert(all.end(), output, output + outputSize);
}

void checkCipher(const std::vector<Bytes>& pieces, const Bytes& message) {
    const Bytes key(AesCbcStream::kKeyBytes, 0x4B), iv(kAesBlockBytes, 0x1F);
    AesCbcStream whole, split, back;
    for (AesCbcStream* const stream : {&whole, &split, &back}) {
        const bool decrypts = stream == &back;
        FUZZ_CHECK(!isError(
            stream->init(decrypts ? AesCbcStream::kDecryptMode : AesCbcStream::kEncryptMode, iv.data(), key.data())));
    }
    const auto sizeOf = [](const Bytes& bytes) {
        return static_cast<std::uint32_t>(bytes.size());
    };
    Bytes expected(whole.paddedSize(sizeOf(message))), sent, received;
    FUZZ_CHECK(!isError(whole.encryptFinal(dataOf(message), sizeOf(message), expected.data())));
    for (const Bytes& piece : pieces) {
        const bool isLast = &piece == &pieces.back();
        through(piece, isLast ? split.paddedSize(sizeOf(piece)) : split.wholeSize(sizeOf(piece)), sent,
                [&](const std::uint8_t* input, std::uint8_t* output) {
                    return isLast ? split.encryptFinal(input, sizeOf(piece), output)
                                  : split.update(input, 0, sizeOf(piece), output);
                });
    }
    FUZZ_CHECK(sent == expected);
    for (std::size_t at = 0; at < sent.size();) {
        const std::size_t end = std::min(at + pieces[at % pieces.size()].size() + 1, sent.size());
        const Bytes piece(sent.data() + at, sent.data() + end);
        at = end;
        if (end < sent.size()) {
            through(piece, back.wholeSize(sizeOf(piece)), received,
                    [&](const std::uint8_t* input, std::uint8_t* output) {
                        return back.update(input, 0, sizeOf(piece), output);
                    });
            continue;
        }
        std::uint64_t length = 0, written = 0;
        FUZZ_CHECK(back.messageSize(sizeOf(piece)) % kAesBlockBytes == 0);
        FUZZ_CHECK(!isError(back.plaintextSize(piece.data(), sizeOf(piece), &length)));
        through(piece, length, received, [&](const std::uint8_t* input, std::uint8_t* output) {
            return back.decryptFinal(input, sizeOf(piece), output, &written);
        });
        FUZZ_CHECK(written == length);
    }
    FUZZ_CHECK(received == message);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const std::size_t choice = input.byte() % (std::size(kShaNames) + 1);
    std::vector<Bytes> pieces;
    const Bytes lengths = input.bytes(), message = FuzzInput(input).rest();
    for (const std::uint8_t length : lengths) {
        pieces.push_back(input.take(length));
    }
    pieces.push_back(input.rest());
    if (choice == std::size(kShaNames)) {
        checkCipher(pieces, message);
    } else {
        withSha(kShaNames[choice], [&](const auto& sha) { check(sha, pieces, message); });
    }
    return 0;
}
