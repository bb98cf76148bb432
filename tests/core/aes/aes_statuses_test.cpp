// The statuses of the block operations, with what each leaves in data, IV and the count of bits.
#include "core/aes/aes.h"

#include <gtest/gtest.h>

#include <array>

namespace {

constexpr std::uint32_t kUntouched = 0xDEAD;
constexpr std::uint8_t kKey[16] = {9, 8, 7};

AesContext contextFor(std::uint32_t encrypt, std::int32_t mode) {
    AesContext context;
    EXPECT_EQ(aesInitKey(&context, 128, kKey, encrypt, mode), OK);
    return context;
}

TEST(AesStatuses, BlockOperations) {
    struct Case {
        bool encrypts; // the operation
        std::uint32_t contextEncrypts;
        std::int32_t mode;
        bool hasIv;
        std::int32_t inputBits;
        Status status;
        std::uint32_t outputBits;
    };
    const Case cases[] = {
        // Whole blocks; a remainder is ignored; nothing for fewer than 128 bits.
        {true, 1, kAesModeEcb, false, 256, OK, 256},
        {true, 2, kAesModeCbc, true, 255, OK, 128},
        {false, 0, kAesModeCbc, true, 383, OK, 256},
        {true, 1, kAesModeCbc, true, 0, OK, 0},
        {false, 0, kAesModeCfb128, true, -128, OK, 0},
        // The other direction, also without data.
        {true, 0, kAesModeEcb, true, 128, ERR_AES_BAD_OPERATION, kUntouched},
        {false, 1, kAesModeCbc, true, 128, ERR_AES_BAD_OPERATION, kUntouched},
        {true, 0, kAesModeOfb, true, 128, ERR_AES_BAD_OPERATION, kUntouched},
        {true, 0, 99, false, -1, ERR_AES_BAD_OPERATION, kUntouched},
        // Modes that are not supported: two statuses, and only decryption counts the blocks.
        {true, 1, kAesModeCfb1, true, 256, ERR_AES_BAD_CIPHER_MODE, kUntouched},
        {true, 0, kAesModeCfb1, true, 256, ERR_AES_BAD_OPERATION, kUntouched},
        {false, 0, kAesModeCfb1, true, 256, ERR_AES_BAD_OPERATION, 256},
        {false, 1, kAesModeCfb1, true, 300, ERR_AES_BAD_OPERATION, 256},
        {false, 1, kAesModeCfb1, true, 0, OK, 0},
        {true, 1, 0, false, 128, ERR_AES_BAD_CIPHER_MODE, kUntouched},
        {false, 0, -1, false, 128, ERR_AES_BAD_OPERATION, 128},
        {false, 0, 6, false, 100, OK, 0},
        // No IV where the mode needs one; not asked for without a block.
        {true, 1, kAesModeCbc, false, 128, ERR_NULL_POINTER, kUntouched},
        {true, 1, kAesModeCfb128, false, 128, ERR_NULL_POINTER, kUntouched},
        {true, 1, kAesModeOfb, false, 128, ERR_NULL_POINTER, kUntouched},
        {false, 0, kAesModeCbc, false, 128, ERR_NULL_POINTER, kUntouched},
        {false, 0, kAesModeCfb128, false, 128, ERR_NULL_POINTER, kUntouched},
        {false, 0, kAesModeOfb, false, 128, ERR_NULL_POINTER, kUntouched},
        {false, 0, kAesModeEcb, false, 128, OK, 128},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << (c.encrypts ? "encrypt" : "decrypt") << " with a context for "
                                        << c.contextEncrypts << " in mode " << c.mode << ", " << c.inputBits << " bits"
                                        << (c.hasIv ? "" : ", no IV"));
        const AesContext context = contextFor(c.contextEncrypts, c.mode);
        std::array<std::uint8_t, 48> data{};
        std::array<std::uint8_t, 16> iv{};
        std::uint32_t outputBits = kUntouched;
        const auto operation = c.encrypts ? aesBlockEncrypt : aesBlockDecrypt;
        EXPECT_EQ(
            operation(&context, c.hasIv ? iv.data() : nullptr, data.data(), c.inputBits, data.data(), &outputBits),
            c.status);
        EXPECT_EQ(outputBits, c.outputBits);
        for (std::size_t block = 0; block < 3; ++block) {
            const bool isWritten = c.status == OK && 128 * block < outputBits;
            const std::array<std::uint8_t, 16> zero{};
            EXPECT_EQ(std::equal(zero.begin(), zero.end(), data.begin() + 16 * static_cast<std::ptrdiff_t>(block)),
                      !isWritten);
        }
        if (c.status != OK || outputBits == 0) {
            EXPECT_EQ(iv, (std::array<std::uint8_t, 16>{}));
        }
    }
}

TEST(AesStatuses, NullPointers) {
    const AesContext encrypting = contextFor(1, kAesModeEcb), decrypting = contextFor(0, kAesModeEcb);
    std::uint8_t data[16] = {};
    std::uint32_t bits = kUntouched;
    for (const auto& [operation, context] :
         {std::pair{&aesBlockEncrypt, &encrypting}, {&aesBlockDecrypt, &decrypting}}) {
        EXPECT_EQ(operation(nullptr, data, data, 128, data, &bits), ERR_NULL_POINTER);
        EXPECT_EQ(operation(context, data, nullptr, 0, data, &bits), ERR_NULL_POINTER);
        EXPECT_EQ(operation(context, data, data, 0, nullptr, &bits), ERR_NULL_POINTER);
        EXPECT_EQ(operation(context, data, data, 0, data, nullptr), ERR_NULL_POINTER);
    }
    EXPECT_EQ(bits, kUntouched);
}

TEST(AesStatuses, DoBlocks) {
    const AesContext ecb = contextFor(1, kAesModeEcb), cbc = contextFor(1, kAesModeCbc);
    const AesContext cfb1 = contextFor(0, kAesModeCfb1);
    std::array<std::uint8_t, 32> data{};
    std::uint8_t iv[16] = {};
    EXPECT_EQ(aesDoBlocks(nullptr, data.data(), 17, 1, iv), ERR_NULL_POINTER);
    EXPECT_EQ(aesDoBlocks(&cbc, data.data(), 17, 1, nullptr), ERR_NULL_POINTER);
    EXPECT_EQ(aesDoBlocks(&cfb1, data.data(), 16, 0, nullptr), ERR_NULL_POINTER);
    EXPECT_EQ(aesDoBlocks(&cbc, nullptr, 16, 1, iv), ERR_NULL_POINTER);
    EXPECT_EQ(aesDoBlocks(&cbc, nullptr, 0, 1, iv), ERR_NULL_POINTER);
    for (const std::uint32_t length : {1u, 15u, 17u, 31u, 0x80000000u, 0xFFFFFFF0u, 0xFFFFFFFFu}) {
        EXPECT_EQ(aesDoBlocks(&cbc, data.data(), length, 1, iv), ERR_AES_BAD_LENGTH) << length;
        EXPECT_EQ(aesDoBlocks(&ecb, data.data(), length, 0, nullptr), ERR_AES_BAD_LENGTH) << length;
    }
    EXPECT_EQ(aesDoBlocks(&cbc, data.data(), 0, 0, iv), ERR_AES_BAD_OPERATION);
    EXPECT_EQ(aesDoBlocks(&cbc, data.data(), 32, 0, iv), ERR_AES_BAD_OPERATION);
    EXPECT_EQ(aesDoBlocks(&cfb1, data.data(), 16, 0, iv), ERR_AES_BAD_OPERATION);
    EXPECT_EQ(aesDoBlocks(&cbc, data.data(), 0, 1, iv), OK);
    EXPECT_EQ(data, (std::array<std::uint8_t, 32>{}));
    EXPECT_EQ(aesDoBlocks(&ecb, data.data(), 16, 7, nullptr), OK) << "any direction but 0 is encryption";
    EXPECT_NE(data, (std::array<std::uint8_t, 32>{}));
}

} // namespace
