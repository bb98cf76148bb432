#include "bridge/aes_cbc_stream.h"

#include <cstring>
#include <functional>
#include <optional>

namespace {

// memcpy for counts that may be 0 with a null buffer.
void copy(std::uint8_t* to, const std::uint8_t* from, std::uint64_t count) {
    if (count > 0) {
        std::memcpy(to, from, static_cast<std::size_t>(count));
    }
}

// Whether two areas have no byte in common.
bool areApart(const std::uint8_t* a, std::uint64_t aLength, const std::uint8_t* b, std::uint64_t bLength) {
    const std::less_equal<> isNotBehind;
    return isNotBehind(a + aLength, b) || isNotBehind(b + bLength, a);
}

// The length of a message of so many bytes without its padding; none if there is more padding than message. Nothing but the
// last byte is looked at, and 0 or more than a block is taken as it is. On purpose.
std::optional<std::uint64_t> unpaddedSize(const std::uint8_t* lastBlock, std::uint64_t size) {
    const std::uint8_t padding = lastBlock[kAesBlockBytes - 1];
    return padding > size ? std::nullopt : std::optional(size - padding);
}

} // namespace

AesCbcStream::AesCbcStream() {
    (void)allocBuffers(); // init tries again
}

AesCbcStream::~AesCbcStream() {
    (void)aesDeleteContext(&context_);
}

Status AesCbcStream::allocBuffers() {
    for (SecretBuffer* const buffer : {&chaining_, &pending_}) {
        if (buffer->data() == nullptr) {
            RETURN_IF_ERROR(buffer->alloc(kAesBlockBytes));
        }
    }
    return OK;
}

Status AesCbcStream::init(std::int32_t mode, const std::uint8_t* iv, const std::uint8_t* key) {
    RETURN_IF_ERROR(allocBuffers());
    // The pending count is not touched: what an earlier message left pending begins the next one. On purpose.
    mode_ = mode;
    copy(chaining_.data(), iv, kAesBlockBytes);
    (void)aesDeleteContext(&context_);
    context_ = aesCreateContext(key, kKeyBytes, isEncrypting() ? 1 : 0);
    return hasContext() ? OK : ERR_AES;
}

// The bytes [from, from + count) of the message.
void AesCbcStream::copyMessage(const std::uint8_t* input, std::uint64_t from, std::uint64_t count,
                               std::uint8_t* to) const {
    for (; count > 0 && from < pendingCount_; --count) {
        *to++ = pending_.data()[from++];
    }
    if (count > 0) {
        copy(to, input + (from - pendingCount_), count);
    }
}

// The first `length` bytes of the message, whole blocks.
Status AesCbcStream::transform(const std::uint8_t* input, std::uint8_t* output, std::uint64_t length) {
    if (length == 0) {
        return OK;
    }
    const std::uint32_t direction = isEncrypting() ? 1 : 0;
    // The block that begins with pending bytes is put together here; the others stand in the input as they are.
    const std::uint32_t joined = pendingCount_ > 0 ? kAesBlockBytes : 0;
    SecretArray<std::uint8_t, kAesBlockBytes> first;
    copyMessage(input, 0, joined, first.data());

    const std::uint8_t* rest = input + (joined - pendingCount_);
    std::uint8_t* const restOutput = output + joined;
    const std::uint64_t restLength = length - joined;
    if (rest != restOutput && !areApart(rest, restLength, output, length)) {
        std::memmove(restOutput, rest, static_cast<std::size_t>(restLength));
        rest = restOutput;
    }
    RETURN_IF_ERROR(aesDoBlocksInto(context_, first.data(), output, joined, direction, chaining_.data()));
    return aesDoBlocksInto(context_, rest, restOutput, static_cast<std::uint32_t>(restLength), direction,
                           chaining_.data());
}

Status AesCbcStream::update(const std::uint8_t* input, std::uint32_t offset, std::uint32_t length,
                            std::uint8_t* output) {
    const std::uint64_t whole = wholeSize(length);
    if (whole == 0 && pendingCount_ > 0) {
        copy(pending_.data() + pendingCount_, input + offset, length);
        pendingCount_ += length;
        return OK;
    }
    const std::uint64_t consumedBytes = whole - pendingCount_;
    const std::uint32_t tailBytes = length - static_cast<std::uint32_t>(consumedBytes);
    SecretArray<std::uint8_t, kAesBlockBytes> tail;
    copy(tail.data(), input + consumedBytes, tailBytes); // without the offset: on purpose
    const Status status = transform(input + offset, output, whole);
    copy(pending_.data(), tail.data(), tailBytes);
    pendingCount_ = tailBytes;
    return status;
}

Status AesCbcStream::encryptFinal(const std::uint8_t* input, std::uint32_t length, std::uint8_t* output) {
    const std::uint64_t whole = wholeSize(length);
    const auto rest = static_cast<std::uint32_t>(messageSize(length) - whole);
    const std::uint32_t padding = kAesBlockBytes - rest;
    SecretArray<std::uint8_t, kAesBlockBytes> last;
    copyMessage(input, whole, rest, last.data());
    std::memset(last.data() + rest, static_cast<int>(padding), padding);
    RETURN_IF_ERROR(transform(input, output, whole));
    return aesDoBlocksInto(context_, last.data(), output + whole, kAesBlockBytes, 1, chaining_.data());
    // The pending count stays, so that a second doFinal encrypts the pending bytes again. On purpose.
}

// One block of the message, without moving the chaining value on.
Status AesCbcStream::decryptBlockAt(const std::uint8_t* input, std::uint64_t at, std::uint8_t* block) const {
    std::uint8_t previous[kAesBlockBytes];
    if (at == 0) {
        copy(previous, chaining_.data(), kAesBlockBytes);
    } else {
        copyMessage(input, at - kAesBlockBytes, kAesBlockBytes, previous);
    }
    copyMessage(input, at, kAesBlockBytes, block);
    return aesDoBlocks(context_, block, kAesBlockBytes, 0, previous);
}

Status AesCbcStream::plaintextSize(const std::uint8_t* input, std::uint32_t length, std::uint64_t* size) {
    const std::uint64_t whole = messageSize(length);
    SecretArray<std::uint8_t, kAesBlockBytes> last;
    RETURN_IF_ERROR(decryptBlockAt(input, whole - kAesBlockBytes, last.data()));
    const std::optional<std::uint64_t> unpadded = unpaddedSize(last.data(), whole);
    if (!unpadded) {
        copyMessage(input, whole - kAesBlockBytes, kAesBlockBytes, chaining_.data());
        return ERR_AES_BAD_PAD_LENGTH;
    }
    *size = *unpadded;
    return OK;
}

Status AesCbcStream::decryptFinal(const std::uint8_t* input, std::uint32_t length, std::uint8_t* output,
                                  std::uint64_t* size) {
    RETURN_IF_ERROR(plaintextSize(input, length, size));
    const std::uint64_t lastAt = messageSize(length) - kAesBlockBytes;
    const std::uint64_t whole = *size / kAesBlockBytes * kAesBlockBytes;
    // The block in which the plaintext ends; of length 0 where it ends between two blocks.
    const std::uint32_t endingBytes = whole < *size ? kAesBlockBytes : 0;
    SecretArray<std::uint8_t, kAesBlockBytes> ending;
    std::uint8_t lastCiphertext[kAesBlockBytes];
    // Both are read before the whole blocks are written: they may be the same bytes.
    copyMessage(input, whole, endingBytes, ending.data());
    copyMessage(input, lastAt, kAesBlockBytes, lastCiphertext);
    RETURN_IF_ERROR(transform(input, output, whole));
    RETURN_IF_ERROR(aesDoBlocks(context_, ending.data(), endingBytes, 0, chaining_.data()));
    copy(output + whole, ending.data(), *size - whole);
    copy(chaining_.data(), lastCiphertext, kAesBlockBytes);
    return OK;
    // The pending count stays, as in encryptFinal.
}
