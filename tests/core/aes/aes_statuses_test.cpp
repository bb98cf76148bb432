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
    const auto check = [](auto operation, std::uint32_t contextEncrypts, std::int32_t mode, bool hasIv,
                          std::int32_t inputBits, Status status, std::uint32_t expectedBits) {
        SCOPED_TRACE(testing::Message() << (operation == aesBlockEncrypt ? "encrypt" : "decrypt")
                                        << " with a context for " << contextEncrypts << " in mode " << mode << ", "
                                        << inputBits << " bits" << (hasIv ? "" : ", no IV"));
        const AesContext context = contextFor(contextEncrypts, mode);
        std::array<std::uint8_t, 48> data{};
        std::array<std::uint8_t, 16> iv{};
        const std::array<std::uint8_t, 16> zero{};
        std::uint32_t outputBits = kUntouched;
        EXPECT_EQ(operation(&context, hasIv ? iv.data() : nullptr, data.data(), inputBits, data.data(), &outputBits),
                  status);
        EXPECT_EQ(outputBits, expectedBits);
        for (std::size_t block = 0; block < 3; ++block) {
            const bool isWritten = status == OK && 128 * block < outputBits;
            EXPECT_EQ(std::equal(zero.begin(), zero.end(), data.begin() + 16 * static_cast<std::ptrdiff_t>(block)),
                      !isWritten);
        }
        EXPECT_TRUE(iv == zero || (status == OK && outputBits > 0));
    };
#define AES_STATUS(...) check(__VA_ARGS__);
#include "tests/core/aes/aes_statuses.inc"
#undef AES_STATUS
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
