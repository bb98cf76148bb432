// Known answers: FIPS-197 (appendices A and C) and SP 800-38A (appendix F), whole, in pieces, in place and apart.
#include "core/aes/aes.h"
#include "core/aes/aes_kernels.h"
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

// SP 800-38A, appendix F: four blocks under each of the keys above.
const Bytes kPlaintext = fromHex("6bc1bee22e409f96e93d7e117393172a ae2d8a571e03ac9c9eb76fac45af8e51"
                                 "30c81c46a35ce411e5fbc1191a0a52ef f69f2445df4f9b17ad2b417be66c3710");
const Bytes kIv = fromHex("000102030405060708090a0b0c0d0e0f");

struct Vector {
    std::int32_t mode;
    std::size_t keyBits;
    std::string_view ciphertext;
};

const Vector kVectors[] = {
#define AES_VECTOR(mode, keyBits, ciphertext) {mode, keyBits, ciphertext},
#include "tests/core/aes/aes_vectors.inc"
#undef AES_VECTOR
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
        const Bytes key = fromHex(kKeys[vector.keyBits / 64 - 2].key), ciphertext = fromHex(vector.ciphertext);
        for (const bool encrypt : {true, false}) {
            const AesContext context = contextFor(key, encrypt ? 1 : 0, vector.mode);
            const Bytes& from = encrypt ? kPlaintext : ciphertext;
            const Bytes& to = encrypt ? ciphertext : kPlaintext;
            for (std::uint32_t split = 0; split <= 64; split += 16) {
                SCOPED_TRACE(testing::Message() << "mode " << vector.mode << ", " << vector.keyBits << " bits, "
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

// The same by every kernel, with the schedules that it made itself; FIPS-197's keys are among them.
TEST(AesVectors, ModesOfSp800_38aByEveryKernel) {
    const auto runOf = [](const AesModes& m, std::int32_t mode, bool encrypt) {
        switch (mode) {
        case kAesModeEcb:
            return encrypt ? m.ecbEncrypt : m.ecbDecrypt;
        case kAesModeCbc:
            return encrypt ? m.cbcEncrypt : m.cbcDecrypt;
        case kAesModeCfb128:
            return encrypt ? m.cfbEncrypt : m.cfbDecrypt;
        default:
            return m.ofb;
        }
    };
    for (const Kernel<AesModes>& kernel : aesKernels()) {
        for (const Vector& vector : kVectors) {
            const Key& k = kKeys[vector.keyBits / 64 - 2];
            const Bytes key = fromHex(k.key), ciphertext = fromHex(vector.ciphertext);
            for (const bool encrypt : {true, false}) {
                if (!kernel.isSupported()) {
                    continue;
                }
                const bool inverse = !encrypt && (vector.mode == kAesModeEcb || vector.mode == kAesModeCbc);
                std::uint32_t encryption[kAesMaxScheduleWords], decryption[kAesMaxScheduleWords];
                kernel.run.expandKey(key.data(), static_cast<std::uint32_t>(vector.keyBits), encryption);
                kernel.run.invertSchedule(encryption, k.rounds, decryption);
                Bytes data = encrypt ? kPlaintext : ciphertext, iv = kIv;
                runOf(kernel.run, vector.mode, encrypt)(inverse ? decryption : encryption, k.rounds, iv.data(),
                                                        data.data(), data.data(), 4);
                EXPECT_EQ(data, encrypt ? ciphertext : kPlaintext)
                    << kernel.name << ", mode " << vector.mode << ", " << vector.keyBits << " bits";
                EXPECT_EQ(iv, chainingValue(vector.mode, kPlaintext, ciphertext)) << kernel.name;
            }
        }
    }
}

} // namespace
