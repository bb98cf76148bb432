// AesCbcStream: AES-256-CBC with PKCS#5 padding over raw buffers, fed piece by piece. What the cipher engine does
// between the opening and the closing of its Java arrays.
//
// The message of a call is the pending bytes followed by the call's input; its whole blocks go through the cipher.
// input and output may overlap in any way: all that is needed of the input is read before it is overwritten.
#ifndef ZELSPI_BRIDGE_AES_CBC_STREAM_H
#define ZELSPI_BRIDGE_AES_CBC_STREAM_H

#include "core/aes/aes.h"
#include "core/memory/secret.h"

class AesCbcStream {
public:
    static constexpr std::int32_t kEncryptMode = 1;
    static constexpr std::int32_t kDecryptMode = 2;
    static constexpr std::uint32_t kKeyBytes = 32;

    AesCbcStream();
    ~AesCbcStream();
    AesCbcStream(const AesCbcStream&) = delete;
    AesCbcStream& operator=(const AesCbcStream&) = delete;

    // init: takes mode (one of the two), iv[16] and key[kKeyBytes]. Pending bytes stay in front of the next message.
    // Errors:  ERR_MEM_ALLOC_FAIL no buffers, nothing is changed; ERR_AES no context: mode and iv are taken all the
    //          same, and the stream is without context.
    Status init(std::int32_t mode, const std::uint8_t* iv, const std::uint8_t* key);

    // hasContext: whether the last init succeeded. The operations below need that.
    bool hasContext() const {
        return context_ != nullptr;
    }
    bool isEncrypting() const {
        return mode_ == kEncryptMode;
    }

    // messageSize: the pending bytes and length more. wholeSize: their whole blocks. paddedSize: with padding.
    std::uint64_t messageSize(std::uint32_t length) const {
        return std::uint64_t{pendingCount_} + length;
    }
    std::uint64_t wholeSize(std::uint32_t length) const {
        return messageSize(length) / kAesBlockBytes * kAesBlockBytes;
    }
    std::uint64_t paddedSize(std::uint32_t length) const {
        return wholeSize(length) + kAesBlockBytes;
    }

    // update: transforms the whole blocks and keeps the rest pending.
    // Shapes:  input[offset + length], the slice beginning at offset; output[wholeSize(length)], may be null for 0.
    // In/out:  what is kept is not the slice's end but input[wholeSize - pending .. length), counted from the start of
    //          the array, except that a call without a whole block appends the slice to what is pending already.
    // Errors:  those of aesDoBlocks.
    Status update(const std::uint8_t* input, std::uint32_t offset, std::uint32_t length, std::uint8_t* output);

    // encryptFinal: pads and transforms the rest of the message into output[paddedSize(length)]. Pending bytes stay.
    Status encryptFinal(const std::uint8_t* input, std::uint32_t length, std::uint8_t* output);

    // plaintextSize: the length of what decryptFinal gives, judged by the last byte of the message alone: any number up to
    // the message's length is taken as the length of the padding. messageSize(length) is a multiple of 16 above 0.
    // Errors:  ERR_AES_BAD_PAD_LENGTH more padding than message; the chaining value has moved on past the message.
    Status plaintextSize(const std::uint8_t* input, std::uint32_t length, std::uint64_t* size);

    // decryptFinal: transforms the rest of the message, without its padding, into output[*size], where nothing else is
    // written. Pending bytes stay. Errors as plaintextSize; nothing is written then.
    Status decryptFinal(const std::uint8_t* input, std::uint32_t length, std::uint8_t* output, std::uint64_t* size);

private:
    Status allocBuffers();
    void copyMessage(const std::uint8_t* input, std::uint64_t from, std::uint64_t count, std::uint8_t* to) const;
    Status decryptBlockAt(const std::uint8_t* input, std::uint64_t at, std::uint8_t* block) const;
    Status transform(const std::uint8_t* input, std::uint8_t* output, std::uint64_t length);

    AesContext* context_ = nullptr;
    std::int32_t mode_ = kEncryptMode;
    SecretBuffer chaining_; // the IV after init, then the last ciphertext block
    SecretBuffer pending_;
    std::uint32_t pendingCount_ = 0; // below 16
};

#endif
