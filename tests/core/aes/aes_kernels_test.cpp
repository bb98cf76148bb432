// Every kernel that this CPU supports against the modes as SP 800-38A defines them, over single blocks of the portable
// kernel; and the choice among the kernels.
#include "core/aes/aes.h"
#include "core/aes/aes_kernels.h"
#include "tests/support/kernel_choice.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kMaxBlocks = 70; // more than twice what the widest kernel has in flight

struct Direction {
    const char* name;
    AesModeRun AesModes::*run;
    std::int32_t mode;
    std::uint32_t encrypt;
};

const Direction kDirections[] = {
    {"ECB encryption", &AesModes::ecbEncrypt, kAesModeEcb, 1},
    {"ECB decryption", &AesModes::ecbDecrypt, kAesModeEcb, 0},
    {"CBC encryption", &AesModes::cbcEncrypt, kAesModeCbc, 1},
    {"CBC decryption", &AesModes::cbcDecrypt, kAesModeCbc, 0},
    {"CFB encryption", &AesModes::cfbEncrypt, kAesModeCfb128, 1},
    {"CFB decryption", &AesModes::cfbDecrypt, kAesModeCfb128, 0},
    {"OFB", &AesModes::ofb, kAesModeOfb, 1},
};

Bytes xorOf(const Bytes& a, const Bytes& b) {
    Bytes result(16);
    std::transform(a.begin(), a.end(), b.begin(), result.begin(),
                   [](std::uint8_t x, std::uint8_t y) { return static_cast<std::uint8_t>(x ^ y); });
    return result;
}

// One block through the mode's definition; chain is read and written.
Bytes blockByDefinition(const AesContext& context, Bytes& chain, const Bytes& in) {
    const auto cipher = [&](const Bytes& block) {
        const bool inverse = context.encrypt == 0 && (context.mode == kAesModeEcb || context.mode == kAesModeCbc);
        Bytes out(16);
        (inverse ? aesModesPortable.ecbDecrypt : aesModesPortable.ecbEncrypt)(context.roundKeys, context.rounds,
                                                                              nullptr, block.data(), out.data(), 1);
        return out;
    };
    Bytes out;
    switch (context.mode) {
    case kAesModeEcb:
        return cipher(in);
    case kAesModeCbc:
        out = context.encrypt != 0 ? cipher(xorOf(in, chain)) : xorOf(cipher(in), chain);
        chain = context.encrypt != 0 ? out : in;
        return out;
    case kAesModeCfb128:
        out = xorOf(in, cipher(chain));
        chain = context.encrypt != 0 ? out : in;
        return out;
    default:
        chain = cipher(chain);
        return xorOf(in, chain);
    }
}

class AesKernels : public testing::Test {
protected:
    Bytes randomBytes(std::size_t count) {
        Bytes bytes(count);
        for (std::uint8_t& byte : bytes) {
            byte = static_cast<std::uint8_t>(random_());
        }
        return bytes;
    }

    // In place and apart, at an odd address, between guards that must stay.
    void expectByDefinition(AesModeRun run, const AesContext& context, std::size_t blockCount) {
        const std::size_t length = 16 * blockCount, misaligned = blockCount % 17;
        const Bytes iv = randomBytes(16), input = randomBytes(length);
        Bytes chain = iv, expected;
        for (std::size_t at = 0; at < length; at += 16) {
            const auto from = input.begin() + static_cast<std::ptrdiff_t>(at);
            const Bytes block = blockByDefinition(context, chain, Bytes(from, from + 16));
            expected.insert(expected.end(), block.begin(), block.end());
        }
        expected.insert(expected.begin(), misaligned, 0x5A);
        expected.insert(expected.end(), 16, 0x5A);
        for (const bool inPlace : {true, false}) {
            Bytes area(expected.size(), 0x5A), ivUsed = iv;
            std::uint8_t* const output = area.data() + misaligned;
            const std::uint8_t* const from = inPlace ? output : input.data();
            if (inPlace) {
                std::copy(input.begin(), input.end(), output);
            }
            run(context.roundKeys, context.rounds, ivUsed.data(), from, output, blockCount);
            EXPECT_EQ(area, expected) << blockCount << " blocks" << (inPlace ? " in place" : " apart");
            EXPECT_EQ(ivUsed, chain) << blockCount << " blocks";
        }
    }

private:
    std::mt19937_64 random_{20021};
};

TEST_F(AesKernels, DoWhatTheModesSay) {
    for (const Kernel<AesModes>& kernel : aesKernels()) {
        if (!kernel.isSupported()) {
            continue;
        }
        for (const Direction& direction : kDirections) {
            for (const std::uint32_t keyBits : {128u, 192u, 256u}) {
                SCOPED_TRACE(testing::Message() << kernel.name << ", " << direction.name << ", " << keyBits << " bits");
                AesContext context;
                const Bytes key = randomBytes(keyBits / 8);
                ASSERT_EQ(aesInitKey(&context, keyBits, key.data(), direction.encrypt, direction.mode), OK);
                for (std::size_t blockCount = 0; blockCount <= kMaxBlocks; ++blockCount) {
                    expectByDefinition(kernel.run.*direction.run, context, blockCount);
                }
            }
        }
    }
}

TEST_F(AesKernels, TheBestSupportedOneIsChosen) {
    const CpuFeatures& f = cpuFeatures();
    expectChosen("AES", aesKernels(), aesKernel(), {{"vaes", f.vaes}, {"aes-ni", f.aes && f.sse41 && f.ssse3}});
}

} // namespace
