#include "core/aes/aes.h"

#include "capi/handle.h"

#include <cstring>
#include <functional>

struct ZelAes {
    static constexpr std::uint64_t kTag = kAesTag;
    std::uint64_t tag;
    AesContext context;
    std::uint8_t chaining[kAesBlockBytes]; // the IV, then what the last block leaves
    bool isFinished;                       // the message has ended: an IV is needed
};

static_assert(ZEL_AES_ECB == kAesModeEcb && ZEL_AES_CBC == kAesModeCbc && ZEL_AES_CFB128 == kAesModeCfb128 &&
              ZEL_AES_OFB == kAesModeOfb && ZEL_AES_BLOCK_SIZE == kAesBlockBytes);

namespace {

// Whether blocks can be transformed from the one area to the other: the same place, or no byte in common.
bool isSameOrApart(const std::uint8_t* input, std::size_t inputLength, const std::uint8_t* output,
                   std::size_t outputLength) {
    const std::less_equal<> isNotBehind;
    return inputLength == 0 || input == output || isNotBehind(input + inputLength, output) ||
           isNotBehind(output + outputLength, input);
}

Status init(ZelAes* aes, ZelAesMode mode, ZelDirection direction, const void* key, std::size_t keyLength,
            const void* iv) {
    if (mode != ZEL_AES_ECB && mode != ZEL_AES_CBC && mode != ZEL_AES_CFB128 && mode != ZEL_AES_OFB) {
        return ERR_INVALID_ARG;
    }
    if (direction != ZEL_ENCRYPT && direction != ZEL_DECRYPT) {
        return ERR_INVALID_ARG;
    }
    if (key == nullptr || (iv == nullptr && mode != ZEL_AES_ECB)) {
        return ERR_NULL_POINTER;
    }
    if (keyLength > 32) { // its bits could be those of a good one, modulo 2^32
        return ERR_AES_BAD_KEY_LENGTH;
    }
    aes->isFinished = false;
    if (mode != ZEL_AES_ECB) {
        std::memcpy(aes->chaining, iv, kAesBlockBytes);
    }
    return aesInitKey(&aes->context, static_cast<std::uint32_t>(8 * keyLength), static_cast<const std::uint8_t*>(key),
                      direction == ZEL_ENCRYPT ? 1 : 0, mode);
}

// The next blocks of the message.
Status transform(ZelAes* aes, const std::uint8_t* input, std::uint8_t* output, std::size_t length) {
    return forEachPiece(input, length, [&](const std::uint8_t* piece, std::uint32_t count) {
        std::uint8_t* const to = output + (piece - input);
        return aesDoBlocksInto(&aes->context, piece, to, count, aes->context.encrypt, aes->chaining);
    });
}

Status encryptEnd(ZelAes* aes, const std::uint8_t* input, std::size_t inputLength, Room& room) {
    const std::size_t rest = inputLength % kAesBlockBytes, whole = inputLength - rest, padding = kAesBlockBytes - rest;
    if (room.isQuestion()) {
        return room.answer(whole + kAesBlockBytes);
    }
    RETURN_IF_ERROR(room.demand(whole + kAesBlockBytes));
    if (!isSameOrApart(input, inputLength, room.output(), whole + kAesBlockBytes)) {
        return ERR_INVALID_ARG;
    }
    SecretArray<std::uint8_t, kAesBlockBytes> last;
    std::memcpy(last.data(), input + whole, rest);
    std::memset(last.data() + rest, static_cast<int>(padding), padding);
    RETURN_IF_ERROR(transform(aes, input, room.output(), whole));
    RETURN_IF_ERROR(transform(aes, last.data(), room.output() + whole, kAesBlockBytes));
    aes->isFinished = true;
    return room.answer(whole + kAesBlockBytes);
}

// The bytes of padding at the end of a decrypted block; 0 when there is none that is right. Looks at all of the block, in
// constant time.
std::uint32_t paddingOf(const std::uint8_t* block) {
    const std::uint32_t padding = block[kAesBlockBytes - 1];
    std::uint32_t bad = (padding - 1) >> 4; // 0 for 1 to 16
    for (std::uint32_t i = 0; i < kAesBlockBytes; ++i) {
        const std::uint32_t isPadding = 0U - ((kAesBlockBytes - 1 - i - padding) >> 31);
        bad |= isPadding & (block[i] ^ padding);
    }
    return bad == 0 ? padding : 0;
}

Status decryptEnd(ZelAes* aes, const std::uint8_t* input, std::size_t inputLength, Room& room) {
    if (inputLength == 0 || inputLength % kAesBlockBytes != 0) {
        return ERR_AES_BAD_LENGTH;
    }
    if (room.isQuestion()) {
        return room.answer(inputLength);
    }
    // The last block first, so that nothing is written unless all is well.
    const std::size_t whole = inputLength - kAesBlockBytes;
    SecretArray<std::uint8_t, kAesBlockBytes> last;
    std::uint8_t previous[kAesBlockBytes];
    std::memcpy(previous, whole == 0 ? aes->chaining : input + whole - kAesBlockBytes, kAesBlockBytes);
    RETURN_IF_ERROR(aesDoBlocksInto(&aes->context, input + whole, last.data(), kAesBlockBytes, 0, previous));
    const std::uint32_t padding = paddingOf(last.data());
    if (padding == 0) {
        return ERR_AES_BAD_PAD_LENGTH;
    }
    const std::size_t rest = kAesBlockBytes - padding;
    RETURN_IF_ERROR(room.demand(whole + rest));
    if (!isSameOrApart(input, inputLength, room.output(), whole + rest)) {
        return ERR_INVALID_ARG;
    }
    RETURN_IF_ERROR(transform(aes, input, room.output(), whole));
    std::memcpy(room.output() + whole, last.data(), rest);
    aes->isFinished = true;
    return room.answer(whole + rest);
}

Status finish(ZelAes* aes, const void* input, std::size_t inputLength, Room& room) {
    RETURN_IF_ERROR(checkInput(input, inputLength));
    RETURN_IF_ERROR(room.check());
    if (aes->context.mode != ZEL_AES_CBC) {
        return ERR_AES_BAD_CIPHER_MODE;
    }
    if (aes->isFinished) {
        return ERR_MISSING_STATE_CHANGE;
    }
    return aes->context.encrypt != 0 ? encryptEnd(aes, bytesAt(input), inputLength, room)
                                     : decryptEnd(aes, bytesAt(input), inputLength, room);
}

Status once(ZelDirection direction, const void* key, std::size_t keyLength, const void* iv, const void* input,
            std::size_t inputLength, void* output, std::size_t* length) {
    Room room(output, length);
    SecretArray<ZelAes, 1> aes;
    RETURN_IF_ERROR(init(aes.data(), ZEL_AES_CBC, direction, key, keyLength, iv));
    return finish(aes.data(), input, inputLength, room);
}

} // namespace

ZelStatus zelAesNew(ZelAesMode mode, ZelDirection direction, const void* key, size_t keyLength, const void* iv,
                    ZelAes** aes) {
    if (aes == nullptr) {
        return ERR_NULL_POINTER;
    }
    *aes = nullptr;
    ZelAes* handle = nullptr;
    RETURN_IF_ERROR(newHandle(&handle));
    if (const Status status = init(handle, mode, direction, key, keyLength, iv); isError(status)) {
        (void)freeHandle(handle); // a handle: cannot fail
        return status;
    }
    *aes = handle;
    return OK;
}

ZelStatus zelAesSetIv(ZelAes* aes, const void* iv) {
    RETURN_IF_ERROR(checkHandle(aes));
    if (iv == nullptr) {
        return ERR_NULL_POINTER;
    }
    std::memcpy(aes->chaining, iv, kAesBlockBytes);
    aes->isFinished = false;
    return OK;
}

ZelStatus zelAesUpdate(ZelAes* aes, const void* input, size_t length, void* output) {
    RETURN_IF_ERROR(checkHandle(aes));
    RETURN_IF_ERROR(checkInput(input, length));
    if (output == nullptr && length != 0) {
        return ERR_NULL_POINTER;
    }
    if (length % kAesBlockBytes != 0) {
        return ERR_AES_BAD_LENGTH;
    }
    if (aes->isFinished) {
        return ERR_MISSING_STATE_CHANGE;
    }
    auto* const to = static_cast<std::uint8_t*>(output);
    if (!isSameOrApart(bytesAt(input), length, to, length)) {
        return ERR_INVALID_ARG;
    }
    return transform(aes, bytesAt(input), to, length);
}

ZelStatus zelAesFinish(ZelAes* aes, const void* input, size_t inputLength, void* output, size_t* length) {
    Room room(output, length);
    RETURN_IF_ERROR(checkHandle(aes));
    return finish(aes, input, inputLength, room);
}

ZelStatus zelAesFree(ZelAes* aes) {
    return freeHandle(aes);
}

ZelStatus zelAesCbcEncrypt(const void* key, size_t keyLength, const void* iv, const void* input, size_t inputLength,
                           void* output, size_t* length) {
    return once(ZEL_ENCRYPT, key, keyLength, iv, input, inputLength, output, length);
}

ZelStatus zelAesCbcDecrypt(const void* key, size_t keyLength, const void* iv, const void* input, size_t inputLength,
                           void* output, size_t* length) {
    return once(ZEL_DECRYPT, key, keyLength, iv, input, inputLength, output, length);
}
