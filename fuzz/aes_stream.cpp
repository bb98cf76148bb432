// The cipher engine's stream in any sequence of calls, beside a model that keeps whole messages and works block by block
// with the portable kernel. Each call takes a byte that chooses it and a few for its arguments; its input and output are
// two buffers, or one buffer in which they overlap.
#include "bridge/aes_cbc_stream.h"
#include "core/aes/aes_kernels.h"
#include "fuzz/fuzz_check.h"
#include "fuzz/fuzz_input.h"

namespace {

Bytes slice(const Bytes& bytes, std::size_t from, std::size_t count) {
    const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(from);
    return Bytes(begin, begin + static_cast<std::ptrdiff_t>(count));
}

// CBC by SP 800-38A, section 6.2, one block at a time, with what the stream keeps between calls.
struct Model {
    bool encrypts = true;
    Bytes chaining, pending;
    std::uint32_t schedule[kAesMaxScheduleWords] = {}, decryption[kAesMaxScheduleWords] = {};

    void init(bool isEncryption, const Bytes& iv, const Bytes& key) {
        encrypts = isEncryption;
        chaining = iv;
        aesExpandKeyPortable(key.data(), 256, schedule);
        aesInvertSchedulePortable(schedule, 14, decryption);
    }

    Bytes message(const Bytes& input, std::size_t offset, std::size_t length) const {
        Bytes all = pending;
        const Bytes added = slice(input, offset, length);
        all.insert(all.end(), added.begin(), added.end());
        return all;
    }

    Bytes transform(const Bytes& blocks) {
        Bytes out;
        for (std::size_t at = 0; at < blocks.size(); at += kAesBlockBytes) {
            Bytes from = slice(blocks, at, kAesBlockBytes), to(kAesBlockBytes);
            if (encrypts) {
                xorInto(from, chaining);
                aesModesPortable.ecbEncrypt(schedule, 14, nullptr, from.data(), to.data(), 1);
                chaining = to;
            } else {
                aesModesPortable.ecbDecrypt(decryption, 14, nullptr, from.data(), to.data(), 1);
                xorInto(to, chaining);
                chaining = from;
            }
            out.insert(out.end(), to.begin(), to.end());
        }
        return out;
    }

    Bytes update(const Bytes& input, std::size_t offset, std::size_t length) {
        const Bytes all = message(input, offset, length);
        const std::size_t whole = all.size() / kAesBlockBytes * kAesBlockBytes;
        if (whole == 0 && !pending.empty()) {
            pending = all;
            return {};
        }
        // What is kept is counted from the start of the array, without the offset.
        const std::size_t taken = whole - pending.size();
        pending = slice(input, taken, length - taken);
        return transform(slice(all, 0, whole));
    }

    Bytes encryptFinal(const Bytes& input, std::size_t offset, std::size_t length) {
        Bytes all = message(input, offset, length);
        const std::size_t padding = kAesBlockBytes - all.size() % kAesBlockBytes;
        all.insert(all.end(), padding, static_cast<std::uint8_t>(padding));
        return transform(all);
    }

    // Whether the last byte names a padding that fits; the message without it.
    bool decryptFinal(const Bytes& input, std::size_t offset, std::size_t length, Bytes& out) {
        out = transform(message(input, offset, length));
        const std::size_t padding = out.back();
        if (padding > out.size()) {
            return false;
        }
        out.resize(out.size() - padding);
        return true;
    }

    static void xorInto(Bytes& bytes, const Bytes& with) {
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            bytes[i] = static_cast<std::uint8_t>(bytes[i] ^ with[i]);
        }
    }
};

// Where a call finds its input and leaves its output: apart, or in one buffer.
struct Place {
    Bytes one, other;
    std::uint8_t* input;
    std::uint8_t* output;

    Place(const Bytes& bytes, std::size_t outputSize, std::uint8_t distance) {
        one = bytes;
        if (distance == 0) {
            one.resize(std::max<std::size_t>(bytes.size(), 1)); // data() of an empty one is a null pointer
            other.resize(std::max<std::size_t>(outputSize, 1));
            input = one.data();
            output = other.data();
            return;
        }
        const std::size_t before = distance / 2;
        if (distance % 2 == 0) { // the output stands `before` bytes behind the begin of the input, or in front of it
            one.resize(std::max(one.size(), before + outputSize));
            input = one.data();
            output = input + before;
        } else {
            one.insert(one.begin(), before, std::uint8_t{0});
            one.resize(std::max(one.size(), outputSize));
            input = one.data() + before;
            output = one.data();
        }
    }

    void requireOutput(const Bytes& expected) const {
        FUZZ_CHECK(std::equal(expected.begin(), expected.end(), output));
    }
};

void step(FuzzInput& input, AesCbcStream& stream, Model& model) {
    const std::uint8_t choice = input.byte();
    if (choice % 4 == 0) {
        Bytes key = input.take(AesCbcStream::kKeyBytes), iv = input.take(kAesBlockBytes);
        key.resize(AesCbcStream::kKeyBytes);
        iv.resize(kAesBlockBytes);
        const bool isEncryption = (choice & 4) != 0;
        const std::int32_t mode = isEncryption ? AesCbcStream::kEncryptMode : AesCbcStream::kDecryptMode;
        FUZZ_CHECK(!isError(stream.init(mode, iv.data(), key.data())));
        model.init(isEncryption, iv, key);
        return;
    }
    const std::uint8_t distance = input.byte();
    const Bytes bytes = input.bytes();
    const std::size_t offset = bytes.empty() ? 0 : input.byte() % (bytes.size() + 1);
    const auto length = static_cast<std::uint32_t>(bytes.size() - offset);
    const auto at = static_cast<std::uint32_t>(offset);
    FUZZ_CHECK(stream.messageSize(length) == model.pending.size() + length);
    if (choice % 4 != 3) {
        const Place place(bytes, stream.wholeSize(length), distance);
        const Bytes expected = model.update(bytes, offset, length);
        FUZZ_CHECK(!isError(stream.update(place.input, at, length, place.output)));
        place.requireOutput(expected);
    } else if (stream.isEncrypting()) {
        const Place place(bytes, stream.paddedSize(length), distance);
        FUZZ_CHECK(!isError(stream.encryptFinal(place.input + offset, length, place.output)));
        place.requireOutput(model.encryptFinal(bytes, offset, length));
    } else if (stream.messageSize(length) > 0 && stream.messageSize(length) % kAesBlockBytes == 0) {
        const Place place(bytes, stream.messageSize(length), distance);
        Bytes expected;
        const bool isGood = model.decryptFinal(bytes, offset, length, expected);
        std::uint64_t size = 0, written = 0;
        const Status status = stream.plaintextSize(place.input + offset, length, &size);
        FUZZ_CHECK(status == (isGood ? OK : ERR_AES_BAD_PAD_LENGTH));
        if (isGood) {
            FUZZ_CHECK(size == expected.size());
            FUZZ_CHECK(!isError(stream.decryptFinal(place.input + offset, length, place.output, &written)));
            FUZZ_CHECK(written == size);
            place.requireOutput(expected);
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    AesCbcStream stream;
    Model model;
    const Bytes key(AesCbcStream::kKeyBytes), iv(kAesBlockBytes);
    FUZZ_CHECK(!isError(stream.init(AesCbcStream::kEncryptMode, iv.data(), key.data())));
    model.init(true, iv, key);
    while (input.left() > 0) {
        step(input, stream, model);
    }
    return 0;
}
