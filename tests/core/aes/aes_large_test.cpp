// Calls whose length in bits does not fit 32 bits: counted so, nothing or one block only would be transformed, without
// an error.
#include "core/aes/aes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>

namespace {

constexpr std::uint8_t kKey[16] = {0x2b, 0x7e, 0x15, 0x16};
constexpr std::uint32_t kMiB = 1 << 20;
constexpr std::uint8_t kPlain = 0x3C;

// The block at `at` of CBC ciphertext, decrypted by itself.
std::array<std::uint8_t, 16> blockAt(const AesContext& decrypting, const std::uint8_t* ciphertext, std::uint32_t at) {
    std::array<std::uint8_t, 16> iv{}, block;
    if (at > 0) {
        std::memcpy(iv.data(), ciphertext + at - 16, 16);
    }
    std::memcpy(block.data(), ciphertext + at, 16);
    EXPECT_EQ(aesDoBlocks(&decrypting, block.data(), 16, 0, iv.data()), OK);
    return block;
}

TEST(AesLarge, OneCallOf256And512MiBAndABlock) {
    AesContext encrypting, decrypting;
    ASSERT_EQ(aesInitKey(&encrypting, 128, kKey, 1, kAesModeCbc), OK);
    ASSERT_EQ(aesInitKey(&decrypting, 128, kKey, 0, kAesModeCbc), OK);
    std::array<std::uint8_t, 16> plainBlock;
    plainBlock.fill(kPlain);
    const std::unique_ptr<std::uint8_t[]> data(new std::uint8_t[512 * kMiB + 16]);
    for (const std::uint32_t length : {256 * kMiB + 16, 512 * kMiB + 16}) {
        SCOPED_TRACE(length);
        std::fill_n(data.get(), length, kPlain);
        std::uint8_t iv[16] = {};
        ASSERT_EQ(aesDoBlocks(&encrypting, data.get(), length, 1, iv), OK);
        EXPECT_EQ(std::memcmp(iv, data.get() + length - 16, 16), 0) << "the chaining value";
        for (const std::uint32_t border : {16u, 128 * kMiB, 256 * kMiB, 384 * kMiB, 512 * kMiB}) {
            for (std::uint32_t at = border - 16; at < border + 16 && at < length; at += 16) {
                EXPECT_EQ(blockAt(decrypting, data.get(), at), plainBlock) << "at " << at;
            }
        }
        std::fill_n(iv, 16, std::uint8_t{0});
        ASSERT_EQ(aesDoBlocks(&decrypting, data.get(), length, 0, iv), OK);
        EXPECT_TRUE(std::all_of(data.get(), data.get() + length, [](std::uint8_t byte) { return byte == kPlain; }));
    }
}

} // namespace
