// Known answers: FIPS-197 (appendices A and C) and SP 800-38A (appendix F), whole, in pieces, in place and apart.
#include "core/aes/aes.h"
#include "tests/support/hex.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using Bytes = std::vector<std::uint8_t>;

AesContext contextFor(const Bytes& key, std::uint32_t encrypt, std::int32_t mode) {
    AesContext context;
    EXPECT_EQ(aesInitKey(&context, static_cast<std::uint32_t>(8 * key.size()), key.data(), encrypt, mode), OK);
    return context;
}

TEST(AesVectors, ExampleBlocksOfFips197) {
    struct Case {
        std::size_t keyBytes;
        std::string_view ciphertext;
    };
    const Bytes plaintext = fromHex("00112233445566778899aabbccddeeff");
    for (const Case& c : {Case{16, "69c4e0d86a7b0430d8cdb78070b4c55a"}, Case{24, "dda97ca4864cdfe06eaf70a0ec0d7191"},
                          Case{32, "8ea2b7ca516745bfeafc49904b496089"}}) {
        Bytes key(c.keyBytes);
        for (std::size_t i = 0; i < key.size(); ++i) {
            key[i] = static_cast<std::uint8_t>(i);
        }
        Bytes block = plaintext;
        const AesContext encrypting = contextFor(key, 1, kAesModeEcb), decrypting = contextFor(key, 0, kAesModeEcb);
        EXPECT_EQ(aesDoBlocks(&encrypting, block.data(), 16, 1, nullptr), OK);
        EXPECT_EQ(toHex(block), c.ciphertext);
        EXPECT_EQ(aesDoBlocks(&decrypting, block.data(), 16, 0, nullptr), OK);
        EXPECT_EQ(block, plaintext);
    }
}

struct Key {
    std::string_view key;
    std::int32_t rounds;
    std::uint32_t firstDerived, lastWord; // FIPS-197, appendix A
};

const Key kKeys[] = {
    {"2b7e151628aed2a6abf7158809cf4f3c", 10, 0xa0fafe17, 0xb6630ca6},
    {"8e73b0f7da0e6452c810f32b809079e562f8ead2522c6b7b", 12, 0xfe0c91f7, 0x01002202},
    {"603deb1015ca71be2b73aef0857d77811f352c073b6108d72d9810a30914dff4", 14, 0x9ba35411, 0x706c631e},
};

TEST(AesVectors, KeyExpansion) {
    for (const Key& k : kKeys) {
        const Bytes key = fromHex(k.key);
        const std::size_t last = 4 * static_cast<std::size_t>(k.rounds) + 3;
        for (const std::uint32_t encrypt : {0u, 1u}) {
            const AesContext context = contextFor(key, encrypt, kAesModeCbc);
            EXPECT_EQ(context.rounds, k.rounds);
            EXPECT_EQ(context.keyBits, 8 * key.size());
            EXPECT_EQ(context.encryptRoundKeys[key.size() / 4], k.firstDerived);
            EXPECT_EQ(context.encryptRoundKeys[last], k.lastWord);
            // The decryption schedule begins where the encryption schedule ends.
            EXPECT_EQ(context.roundKeys[encrypt != 0 ? last : 3], k.lastWord);
            EXPECT_EQ(context.roundKeys[encrypt != 0 ? 0 : last - 3], context.encryptRoundKeys[0]);
        }
        // The feedback modes encrypt blocks in both directions.
        EXPECT_EQ(contextFor(key, 0, kAesModeCfb128).roundKeys[last], k.lastWord);
        EXPECT_EQ(contextFor(key, 0, kAesModeOfb).roundKeys[last], k.lastWord);
        EXPECT_EQ(contextFor(key, 0, kAesModeCfb1).roundKeys[last], k.lastWord);
        EXPECT_EQ(contextFor(key, 0, 77).roundKeys[3], k.lastWord);
    }
}

// SP 800-38A, appendix F: four blocks under each of the keys above.
const Bytes kPlaintext = fromHex("6bc1bee22e409f96e93d7e117393172a ae2d8a571e03ac9c9eb76fac45af8e51"
                                 "30c81c46a35ce411e5fbc1191a0a52ef f69f2445df4f9b17ad2b417be66c3710");
const Bytes kIv = fromHex("000102030405060708090a0b0c0d0e0f");

struct Vector {
    std::int32_t mode;
    std::string_view ciphertexts[3];
};

const Vector kVectors[] = {
    {kAesModeEcb,
     {"3ad77bb40d7a3660a89ecaf32466ef97f5d3d58503b9699de785895a96fdbaaf"
      "43b1cd7f598ece23881b00e3ed0306887b0c785e27e8ad3f8223207104725dd4",
      "bd334f1d6e45f25ff712a214571fa5cc974104846d0ad3ad7734ecb3ecee4eef"
      "ef7afd2270e2e60adce0ba2face6444e9a4b41ba738d6c72fb16691603c18e0e",
      "f3eed1bdb5d2a03c064b5a7e3db181f8591ccb10d410ed26dc5ba74a31362870"
      "b6ed21b99ca6f4f9f153e7b1beafed1d23304b7a39f9f3ff067d8d8f9e24ecc7"}},
    {kAesModeCbc,
     {"7649abac8119b246cee98e9b12e9197d5086cb9b507219ee95db113a917678b2"
      "73bed6b8e3c1743b7116e69e222295163ff1caa1681fac09120eca307586e1a7",
      "4f021db243bc633d7178183a9fa071e8b4d9ada9ad7dedf4e5e738763f69145a"
      "571b242012fb7ae07fa9baac3df102e008b0e27988598881d920a9e64f5615cd",
      "f58c4c04d6e5f1ba779eabfb5f7bfbd69cfc4e967edb808d679f777bc6702c7d"
      "39f23369a9d9bacfa530e26304231461b2eb05e2c39be9fcda6c19078c6a9d1b"}},
    {kAesModeCfb128,
     {"3b3fd92eb72dad20333449f8e83cfb4ac8a64537a0b3a93fcde3cdad9f1ce58b"
      "26751f67a3cbb140b1808cf187a4f4dfc04b05357c5d1c0eeac4c66f9ff7f2e6",
      "cdc80d6fddf18cab34c25909c99a417467ce7f7f81173621961a2b70171d3d7a"
      "2e1e8a1dd59b88b1c8e60fed1efac4c9c05f9f9ca9834fa042ae8fba584b09ff",
      "dc7e84bfda79164b7ecd8486985d386039ffed143b28b1c832113c6331e5407b"
      "df10132415e54b92a13ed0a8267ae2f975a385741ab9cef82031623d55b1e471"}},
    {kAesModeOfb,
     {"3b3fd92eb72dad20333449f8e83cfb4a7789508d16918f03f53c52dac54ed825"
      "9740051e9c5fecf64344f7a82260edcc304c6528f659c77866a510d9c1d6ae5e",
      "cdc80d6fddf18cab34c25909c99a4174fcc28b8d4c63837c09e81700c1100401"
      "8d9a9aeac0f6596f559c6d4daf59a5f26d9f200857ca6c3e9cac524bd9acc92a",
      "dc7e84bfda79164b7ecd8486985d38604febdc6740d20b3ac88f6ad82a4fb08d"
      "71ab47a086e86eedf39d1c5bba97c4080126141d67f37be8538f5a8be740e484"}},
};

// What the IV buffer holds after the blocks.
Bytes chainingValue(std::int32_t mode, const Bytes& plaintext, const Bytes& ciphertext) {
    if (mode == kAesModeEcb) {
        return kIv;
    }
    Bytes value(ciphertext.end() - 16, ciphertext.end());
    for (std::size_t i = 0; mode == kAesModeOfb && i < 16; ++i) {
        value[i] = static_cast<std::uint8_t>(value[i] ^ plaintext[plaintext.size() - 16 + i]);
    }
    return value;
}

TEST(AesVectors, ModesOfSp800_38aInEverySplit) {
    for (const Vector& vector : kVectors) {
        for (std::size_t k = 0; k < 3; ++k) {
            const Bytes ciphertext = fromHex(vector.ciphertexts[k]);
            for (const bool encrypt : {true, false}) {
                const AesContext context = contextFor(fromHex(kKeys[k].key), encrypt ? 1 : 0, vector.mode);
                const Bytes& from = encrypt ? kPlaintext : ciphertext;
                const Bytes& to = encrypt ? ciphertext : kPlaintext;
                for (std::uint32_t split = 0; split <= 64; split += 16) {
                    SCOPED_TRACE(testing::Message() << "mode " << vector.mode << ", key " << k << ", "
                                                    << (encrypt ? "encrypt" : "decrypt") << ", split at " << split);
                    Bytes data = from, apart(64), iv = kIv, ivApart = kIv;
                    EXPECT_EQ(aesDoBlocks(&context, data.data(), split, encrypt, iv.data()), OK);
                    EXPECT_EQ(aesDoBlocks(&context, data.data() + split, 64 - split, encrypt, iv.data()), OK);
                    EXPECT_EQ(aesDoBlocksInto(&context, from.data(), apart.data(), 64, encrypt, ivApart.data()), OK);
                    EXPECT_EQ(data, to);
                    EXPECT_EQ(apart, to);
                    EXPECT_EQ(iv, chainingValue(vector.mode, kPlaintext, ciphertext));
                    EXPECT_EQ(ivApart, iv);
                }
            }
        }
    }
}

} // namespace
