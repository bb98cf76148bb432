#include "core/aes/aes.h"

#include "core/aes/aes_kernels.h"

#include <algorithm>

namespace {

constexpr std::uint32_t kBlockBits = 8 * kAesBlockBytes;
// What goes through the block operations at once: their bits have to fit a signed 32-bit count.
constexpr std::uint32_t kMaxPieceBytes = std::uint32_t{1} << 27;

// The run of blocks that a mode stands for; null for a mode that is not supported.
AesModeRun encryptRun(std::int32_t mode) {
    const AesModes& modes = aesKernel().run;
    switch (mode) {
    case kAesModeEcb:
        return modes.ecbEncrypt;
    case kAesModeCbc:
        return modes.cbcEncrypt;
    case kAesModeCfb128:
        return modes.cfbEncrypt;
    case kAesModeOfb:
        return modes.ofb;
    default:
        return nullptr;
    }
}

AesModeRun decryptRun(std::int32_t mode) {
    const AesModes& modes = aesKernel().run;
    switch (mode) {
    case kAesModeEcb:
        return modes.ecbDecrypt;
    case kAesModeCbc:
        return modes.cbcDecrypt;
    case kAesModeCfb128:
        return modes.cfbDecrypt;
    case kAesModeOfb:
        return modes.ofb;
    default:
        return nullptr;
    }
}

// Runs the blocks, of which there is at least one, or says why not.
Status runBlocks(const AesContext* context, AesModeRun run, Status badMode, std::uint8_t* iv, const std::uint8_t* input,
                 std::uint8_t* output, std::uint32_t blockCount) {
    if (run == nullptr) {
        return badMode;
    }
    if (iv == nullptr && context->mode != kAesModeEcb) {
        return ERR_NULL_POINTER;
    }
    run(context->roundKeys, context->rounds, iv, input, output, blockCount);
    return OK;
}

} // namespace

Status aesBlockEncrypt(const AesContext* context, std::uint8_t* iv, const std::uint8_t* input, std::int32_t inputBits,
                       std::uint8_t* output, std::uint32_t* outputBits) {
    if (context == nullptr || input == nullptr || output == nullptr || outputBits == nullptr) {
        return ERR_NULL_POINTER;
    }
    if (context->encrypt == 0) {
        return ERR_AES_BAD_OPERATION;
    }
    const std::uint32_t blockCount = inputBits < 1 ? 0 : static_cast<std::uint32_t>(inputBits) / kBlockBits;
    if (blockCount > 0) { // without a block neither the mode nor the IV is looked at
        RETURN_IF_ERROR(
            runBlocks(context, encryptRun(context->mode), ERR_AES_BAD_CIPHER_MODE, iv, input, output, blockCount));
    }
    *outputBits = kBlockBits * blockCount;
    return OK;
}

Status aesBlockDecrypt(const AesContext* context, std::uint8_t* iv, const std::uint8_t* input, std::int32_t inputBits,
                       std::uint8_t* output, std::uint32_t* outputBits) {
    if (context == nullptr || input == nullptr || output == nullptr || outputBits == nullptr) {
        return ERR_NULL_POINTER;
    }
    // In mode CFB1 any context passes, to be refused below with the same status once there is a block.
    if (context->encrypt != 0 && context->mode != kAesModeCfb1) {
        return ERR_AES_BAD_OPERATION;
    }
    const std::uint32_t blockCount = inputBits < 1 ? 0 : static_cast<std::uint32_t>(inputBits) / kBlockBits;
    Status status = OK;
    if (blockCount > 0) {
        // An unknown mode is a bad operation here and a bad cipher mode above: on purpose.
        status = runBlocks(context, decryptRun(context->mode), ERR_AES_BAD_OPERATION, iv, input, output, blockCount);
    }
    if (status != ERR_NULL_POINTER) { // a mode that was refused still reports its blocks: on purpose
        *outputBits = kBlockBits * blockCount;
    }
    return status;
}

Status aesDoBlocks(const AesContext* context, std::uint8_t* data, std::uint32_t length, std::uint32_t encrypt,
                   std::uint8_t* iv) {
    return aesDoBlocksInto(context, data, data, length, encrypt, iv);
}

Status aesDoBlocksInto(const AesContext* context, const std::uint8_t* input, std::uint8_t* output, std::uint32_t length,
                       std::uint32_t encrypt, std::uint8_t* iv) {
    if (context == nullptr || (iv == nullptr && context->mode != kAesModeEcb)) {
        return ERR_NULL_POINTER;
    }
    if (length % kAesBlockBytes != 0 || length > INT32_MAX) {
        return ERR_AES_BAD_LENGTH;
    }
    const auto transform = encrypt != 0 ? aesBlockEncrypt : aesBlockDecrypt;
    do { // once for a length of 0 too, for the checks of the block operation
        const std::uint32_t piece = std::min(length, kMaxPieceBytes);
        std::uint32_t doneBits = 0;
        RETURN_IF_ERROR(transform(context, iv, input, static_cast<std::int32_t>(8 * piece), output, &doneBits));
        input += piece;
        output += piece;
        length -= piece;
    } while (length > 0);
    return OK;
}
