// Making and deleting contexts: key sizes, what a context holds, allocation, wiping.
#include "core/aes/aes.h"
#include "tests/support/faults.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <iterator>

namespace {

constexpr std::uint8_t kKey[32] = {1, 2, 3, 4, 5, 6, 7, 8};

TEST(AesContexts, OneOfEachMode) {
    using Create = AesContext* (*)(const std::uint8_t*, std::uint32_t, std::uint32_t);
    for (const auto& [create, mode] : {std::pair<Create, std::int32_t>{aesCreateContext, kAesModeCbc},
                                       {aesCreateContextCfb, kAesModeCfb128},
                                       {aesCreateContextOfb, kAesModeOfb}}) {
        for (const std::uint32_t keyLength : {16u, 24u, 32u}) {
            for (const std::uint32_t encrypt : {0u, 1u, 0x80000000u}) {
                AesContext* context = create(kKey, keyLength, encrypt);
                ASSERT_NE(context, nullptr);
                EXPECT_EQ(context->mode, mode);
                EXPECT_EQ(context->keyBits, 8 * keyLength);
                EXPECT_EQ(context->encrypt != 0, encrypt != 0);
                EXPECT_EQ(aesDeleteContext(&context), OK);
                EXPECT_EQ(context, nullptr);
            }
        }
        // 0x20000010 bytes are 128 bits more than 2^32.
        for (const std::uint32_t keyLength : {0u, 15u, 17u, 20u, 28u, 33u, 128u, 256u, 0x20000010u, 0xFFFFFFFFu}) {
            EXPECT_EQ(create(kKey, keyLength, 1), nullptr) << keyLength;
        }
        EXPECT_EQ(create(nullptr, 32, 1), nullptr);
    }
}

TEST(AesContexts, AllocationAndRelease) {
    const std::uint64_t dirty = testheap::dirtyFrees();
    refuseEach([] {
        AesContext* context = aesCreateContext(kKey, 32, 1);
        return context == nullptr ? ERR_MEM_ALLOC_FAIL : aesDeleteContext(&context);
    });
    const std::uint64_t live = testheap::liveBlocks();
    EXPECT_EQ(aesCreateContext(kKey, 20, 1), nullptr);
    EXPECT_EQ(testheap::liveBlocks(), live);
    EXPECT_EQ(testheap::dirtyFrees(), dirty);

    AesContext* none = nullptr;
    EXPECT_EQ(aesDeleteContext(&none), OK);
    EXPECT_EQ(aesDeleteContext(nullptr), ERR_NULL_POINTER);
}

TEST(AesContexts, AKeyInPlaceOfAnother) {
    AesContext context{};
    ASSERT_EQ(aesInitKey(&context, 256, kKey, 1, kAesModeCbc), OK);
    const AesContext before = context;
    EXPECT_EQ(aesInitKey(nullptr, 256, kKey, 1, kAesModeCbc), ERR_NULL_POINTER);
    EXPECT_EQ(aesInitKey(&context, 256, nullptr, 1, kAesModeCbc), ERR_NULL_POINTER);
    for (const std::uint32_t keyBits : {0u, 16u, 32u, 160u, 257u, 0x80000080u}) {
        EXPECT_EQ(aesInitKey(&context, keyBits, kKey, 0, kAesModeEcb), ERR_AES_BAD_KEY_LENGTH) << keyBits;
    }
    EXPECT_EQ(std::memcmp(&context, &before, sizeof context), 0) << "a refused key has changed the context";

    ASSERT_EQ(aesInitKey(&context, 128, kKey, 0, kAesModeCbc), OK);
    for (const auto& words : {context.roundKeys, context.encryptRoundKeys}) {
        EXPECT_TRUE(std::all_of(words + 44, words + kAesMaxScheduleWords, [](std::uint32_t word) { return word == 0; }))
            << "words of the longer key have stayed";
    }
}

} // namespace
