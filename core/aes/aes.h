// AES (FIPS-197) with 128-, 192- and 256-bit keys in the block modes ECB, CBC, CFB with 128-bit feedback and OFB
// (SP 800-38A). Whole blocks only; padding is the caller's.
//
// The IV is a 16-byte buffer of the caller's, outside the data. Each call leaves the chaining value after its last
// block in it (CBC and CFB: the last ciphertext block, OFB: the last keystream block), so that successive calls on one
// IV buffer continue one stream.
//
// A context is read-only once it is made: several threads may use one, each with an IV buffer of its own.
//
// Secrets: the kernels by the processor's AES instructions are constant time. The portable kernel and its key expansion
//          look up tables at places that depend on key and data, so their time may tell of both through the caches. See
//          aes_kernels.h.
#ifndef ZELSPI_CORE_AES_AES_H
#define ZELSPI_CORE_AES_AES_H

#include "core/status/status.h"

#include <cstdint>

inline constexpr std::uint32_t kAesBlockBytes = 16;
inline constexpr std::uint32_t kAesMaxScheduleWords = 60; // 15 round keys of four words

// The modes. CFB with 1-bit feedback is accepted for a key; the block operations refuse it.
inline constexpr std::int32_t kAesModeEcb = 1;
inline constexpr std::int32_t kAesModeCbc = 2;
inline constexpr std::int32_t kAesModeCfb1 = 3;
inline constexpr std::int32_t kAesModeCfb128 = 4;
inline constexpr std::int32_t kAesModeOfb = 5;

// AesContext: an expanded key for one direction and one mode. Words are FIPS-197's: the first byte is the highest.
struct AesContext {
    std::uint32_t encrypt; // the direction: 1 (or anything but 0) encrypt, 0 decrypt
    std::int32_t mode;
    std::uint32_t keyBits; // 128, 192 or 256
    std::int32_t rounds;   // 10, 12 or 14
    // What the block operations use: the decryption schedule (of the equivalent inverse cipher, in the order of its
    // use) for ECB and CBC decryption, else the encryption schedule.
    std::uint32_t roundKeys[kAesMaxScheduleWords];
    std::uint32_t encryptRoundKeys[kAesMaxScheduleWords]; // always the encryption schedule
};

// aesCreateContext, aesCreateContextCfb, aesCreateContextOfb: a new context in mode CBC, CFB128, OFB.
// Shapes:  key[keyLength], keyLength in bytes.
// In/out:  encrypt 0 makes a context for decryption, anything else one for encryption.
// Errors:  null: key null, keyLength not 16, 24 or 32, or no memory. Release with aesDeleteContext.
[[nodiscard]] AesContext* aesCreateContext(const std::uint8_t* key, std::uint32_t keyLength, std::uint32_t encrypt);
[[nodiscard]] AesContext* aesCreateContextCfb(const std::uint8_t* key, std::uint32_t keyLength, std::uint32_t encrypt);
[[nodiscard]] AesContext* aesCreateContextOfb(const std::uint8_t* key, std::uint32_t keyLength, std::uint32_t encrypt);

// aesDeleteContext: wipes and frees *context and clears it; a null *context is OK.
// Errors:  ERR_NULL_POINTER context null.
Status aesDeleteContext(AesContext** context);

// aesInitKey: fills the context, whatever it held.
// Shapes:  key[keyBits / 8].
// In/out:  any mode is taken: one that is neither ECB nor CBC nor one of the feedback modes gets the direction's schedule.
// Errors:  ERR_NULL_POINTER context or key null; ERR_AES_BAD_KEY_LENGTH. The context is then unchanged.
// Source:  FIPS-197, sections 5.2 and 5.3.5.
Status aesInitKey(AesContext* context, std::uint32_t keyBits, const std::uint8_t* key, std::uint32_t encrypt,
                  std::int32_t mode);

// aesDoBlocks: transforms data[length] in place, in the direction named, which has to be the context's.
// Shapes:  iv[16], not inside data; may be null in mode ECB.
// Errors:  in this order: ERR_NULL_POINTER context null, or iv null; ERR_AES_BAD_LENGTH length not a multiple of 16 or
//          2^31 and more; then those of aesBlockEncrypt and aesBlockDecrypt. Data and iv are then unchanged.
Status aesDoBlocks(const AesContext* context, std::uint8_t* data, std::uint32_t length, std::uint32_t encrypt,
                   std::uint8_t* iv);

// aesDoBlocksInto: aesDoBlocks from input[length] to output[length], which are the same buffer or do not overlap.
Status aesDoBlocksInto(const AesContext* context, const std::uint8_t* input, std::uint8_t* output, std::uint32_t length,
                       std::uint32_t encrypt, std::uint8_t* iv);

// aesBlockEncrypt, aesBlockDecrypt: transforms inputBits / 128 blocks from input to output, the same buffer or one that
// does not overlap; a remainder is ignored.
// Shapes:  iv[16], not inside the data; may be null in mode ECB.
// In/out:  *outputBits := 128 times the blocks written; 0 for inputBits below 1.
// Errors:  in this order: ERR_NULL_POINTER context, input, output or outputBits null; ERR_AES_BAD_OPERATION a context
//          made for the other direction (in mode CFB1 only aesBlockEncrypt asks). With fewer than 128 bits it is OK
//          from here on. Encryption: ERR_AES_BAD_CIPHER_MODE, decryption: ERR_AES_BAD_OPERATION in a mode that is not
//          supported. ERR_NULL_POINTER iv null where the mode needs one. *outputBits is set on success, and on
//          decryption also with a mode that is not supported, as if the blocks had been written.
Status aesBlockEncrypt(const AesContext* context, std::uint8_t* iv, const std::uint8_t* input, std::int32_t inputBits,
                       std::uint8_t* output, std::uint32_t* outputBits);
Status aesBlockDecrypt(const AesContext* context, std::uint8_t* iv, const std::uint8_t* input, std::int32_t inputBits,
                       std::uint8_t* output, std::uint32_t* outputBits);

#endif
