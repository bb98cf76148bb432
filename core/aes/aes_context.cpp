#include "core/aes/aes.h"

#include "core/aes/aes_kernels.h"
#include "core/memory/memory.h"

namespace {

bool isKeySize(std::uint32_t keyBits) {
    return keyBits == 128 || keyBits == 192 || keyBits == 256;
}

// The feedback modes only ever encrypt a block, whatever the direction.
bool isFeedbackMode(std::int32_t mode) {
    return mode == kAesModeCfb1 || mode == kAesModeCfb128 || mode == kAesModeOfb;
}

AesContext* createContext(const std::uint8_t* key, std::uint32_t keyLength, std::uint32_t encrypt, std::int32_t mode) {
    // Judged in bytes: the bits of a wild length could wrap to a good one.
    if (keyLength > 32) {
        return nullptr;
    }
    void* block = nullptr;
    if (isError(memAlloc(sizeof(AesContext), &block))) {
        return nullptr;
    }
    auto* context = static_cast<AesContext*>(block); // aesInitKey zeroes it
    if (isError(aesInitKey(context, 8 * keyLength, key, encrypt, mode))) {
        (void)aesDeleteContext(&context);
    }
    return context;
}

} // namespace

AesContext* aesCreateContext(const std::uint8_t* key, std::uint32_t keyLength, std::uint32_t encrypt) {
    return createContext(key, keyLength, encrypt, kAesModeCbc);
}

AesContext* aesCreateContextCfb(const std::uint8_t* key, std::uint32_t keyLength, std::uint32_t encrypt) {
    return createContext(key, keyLength, encrypt, kAesModeCfb128);
}

AesContext* aesCreateContextOfb(const std::uint8_t* key, std::uint32_t keyLength, std::uint32_t encrypt) {
    return createContext(key, keyLength, encrypt, kAesModeOfb);
}

Status aesDeleteContext(AesContext** context) {
    if (context == nullptr) {
        return ERR_NULL_POINTER;
    }
    return *context == nullptr ? OK : memFreeRecord(context);
}

Status aesInitKey(AesContext* context, std::uint32_t keyBits, const std::uint8_t* key, std::uint32_t encrypt,
                  std::int32_t mode) {
    if (context == nullptr || key == nullptr) {
        return ERR_NULL_POINTER;
    }
    if (!isKeySize(keyBits)) {
        return ERR_AES_BAD_KEY_LENGTH;
    }
    *context = AesContext{}; // nothing of an earlier, longer key stays behind
    context->encrypt = encrypt;
    context->mode = mode;
    context->keyBits = keyBits;
    context->rounds = static_cast<std::int32_t>(keyBits / 32 + 6);
    const AesModes& kernel = aesKernel().run;
    kernel.expandKey(key, keyBits, context->encryptRoundKeys);
    if (encrypt != 0 || isFeedbackMode(mode)) {
        // Word by word: the vector registers that a copy at once goes through would keep the schedule.
        const volatile std::uint32_t* from = context->encryptRoundKeys;
        for (std::uint32_t& word : context->roundKeys) {
            word = *from++;
        }
    } else {
        kernel.invertSchedule(context->encryptRoundKeys, context->rounds, context->roundKeys);
    }
    return OK;
}
