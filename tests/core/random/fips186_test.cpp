// The generator in known states against an independent model.
#include "core/hash/sha1.h"
#include "core/random/fips186.h"
#include "core/random/random.h"
#include "tests/support/faults.h"
#include "tests/support/hex.h"
#include "tests/support/test_heap.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

namespace {

std::vector<std::uint8_t> ramp(std::size_t length, unsigned step, unsigned start) {
    std::vector<std::uint8_t> bytes(length);
    for (std::size_t i = 0; i < length; ++i) {
        bytes[i] = static_cast<std::uint8_t>(step * i + start);
    }
    return bytes;
}

TEST(Fips186, KnownAnswers) {
    struct Case {
        unsigned keyBytes;
        std::size_t xseedBytes;
        const char* script;
        const char* output;
    };
    const Case cases[] = {
#define FIPS186_VECTOR(keyBytes, xseedBytes, script, output) {keyBytes, xseedBytes, script, output},
#include "tests/core/random/fips186_vectors.inc"
#undef FIPS186_VECTOR
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << "key " << c.keyBytes << ", xseed " << c.xseedBytes << ": " << c.script);
        const auto key = ramp(c.keyBytes, 11, 5);
        const auto xseed = ramp(c.xseedBytes, 29, 1);
        RandomContext* context = nullptr;
        ASSERT_EQ(fips186NewContext(&context, c.keyBytes, key.data(), static_cast<std::int32_t>(xseed.size()),
                                    xseed.empty() ? nullptr : xseed.data()),
                  OK);
        std::vector<std::uint8_t> output;
        std::istringstream steps(c.script);
        for (std::string step; steps >> step;) {
            if (step == "s") {
                fips186Stir(&context->state);
                continue;
            }
            if (step == "o") {
                ASSERT_EQ(fips186GenerateOverKey(&context->state), OK);
                continue;
            }
            const auto number = static_cast<std::uint32_t>(std::stoul(step.substr(1)));
            if (step[0] == 'b') {
                ASSERT_EQ(randomAddEntropyBit(context, static_cast<std::uint8_t>(number)), OK);
                continue;
            }
            const std::size_t before = output.size();
            output.resize(before + number);
            ASSERT_EQ(randomGenerateCallback(context, number, output.data() + before), OK);
        }
        EXPECT_EQ(toHex(output), c.output);
        EXPECT_EQ(randomReleaseContext(&context), OK);
    }
}

// The first round adds 1 + x0 to an XKEY of all ones: the carry runs through all of it, and x0 alone is left.
TEST(Fips186, CarryRunsThroughTheWholeKey) {
    const std::vector<std::uint8_t> key(kMaxKeyBytes, 0xFF);
    std::vector<std::uint8_t> expected(40), actual(40), next(kMaxKeyBytes);
    ASSERT_EQ(sha1G(key.data(), expected.data()), OK);
    std::copy(expected.begin(), expected.begin() + 20, next.end() - 20);
    ASSERT_EQ(sha1G(next.data(), expected.data() + 20), OK);
    RandomContext* context = nullptr;
    ASSERT_EQ(fips186NewContext(&context, kMaxKeyBytes, key.data(), 0, nullptr), OK);
    EXPECT_EQ(randomGenerate(context, actual.data(), 40), OK);
    EXPECT_EQ(toHex(actual), toHex(expected));
    EXPECT_EQ(randomReleaseContext(&context), OK);
}

// The carry through every width, against additions byte by byte.
TEST(Fips186, BigEndianAdd) {
    for (std::size_t aLength = 0; aLength <= 70; ++aLength) {
        for (const std::size_t bLength :
             {std::size_t{0}, std::size_t{1}, std::size_t{7}, std::size_t{8}, std::size_t{9}, std::size_t{20},
              std::size_t{24}, std::size_t{64}, std::size_t{130}}) {
            for (const unsigned pattern : {0u, 1u, 2u}) {
                for (const unsigned carryIn : {0u, 1u}) {
                    auto a = pattern == 0 ? std::vector<std::uint8_t>(aLength, 0xFF) : ramp(aLength, 91, 200);
                    const auto b = pattern == 2 ? std::vector<std::uint8_t>(bLength, 0xFF) : ramp(bLength, 57, pattern);
                    auto expected = a;
                    unsigned carry = carryIn;
                    for (std::size_t k = 0; k < aLength; ++k) {
                        carry += expected[aLength - 1 - k] + (k < bLength ? b[bLength - 1 - k] : 0u);
                        expected[aLength - 1 - k] = static_cast<std::uint8_t>(carry);
                        carry >>= 8;
                    }
                    bigEndianAdd(a.data(), aLength, b.data(), bLength, carryIn);
                    ASSERT_EQ(a, expected) << aLength << " + " << bLength << ", pattern " << pattern;
                }
            }
        }
    }
}

TEST(Fips186, ArgumentsOfANewContext) {
    const auto key = ramp(64, 1, 0);
    RandomContext* context = nullptr;
    EXPECT_EQ(fips186NewContext(nullptr, 64, key.data(), 0, nullptr), ERR_NULL_POINTER);
    EXPECT_EQ(fips186NewContext(&context, 64, nullptr, 0, nullptr), ERR_NULL_POINTER);
    for (const std::uint32_t keyBytes : {0u, 19u, 65u, 256u + 20u, 0x80000014u}) {
        EXPECT_EQ(fips186NewContext(&context, keyBytes, key.data(), 0, nullptr), ERR_INVALID_ARG) << keyBytes;
    }
    EXPECT_EQ(context, nullptr);
    ASSERT_EQ(fips186NewContext(&context, 20, key.data(), -1, key.data()), OK); // as if there were no XSEED
    RandomContext* plain = nullptr;
    ASSERT_EQ(fips186NewContext(&plain, 20, key.data(), 0, nullptr), OK);
    std::uint8_t with[40], without[40];
    EXPECT_EQ(fips186Generate(&context->state, with, 40), OK);
    EXPECT_EQ(fips186Generate(&plain->state, without, 40), OK);
    EXPECT_EQ(toHex(with), toHex(without));
    EXPECT_EQ(fips186Generate(nullptr, nullptr, 0), OK); // a length of 0 comes first
    EXPECT_EQ(fips186Generate(nullptr, with, 1), ERR_NULL_POINTER);
    EXPECT_EQ(fips186Generate(&plain->state, nullptr, 1), ERR_NULL_POINTER);
    EXPECT_EQ(randomReleaseContext(&context), OK);
    EXPECT_EQ(randomReleaseContext(&plain), OK);
}

TEST(Fips186, RefusalsWhileAContextIsMade) {
    const auto key = ramp(64, 1, 0);
    const std::uint64_t live = testheap::liveBlocks(), dirty = testheap::dirtyFrees();
    RandomContext* context = nullptr;
    testheap::refuse(1); // its status is not that of the heap, on purpose
    EXPECT_EQ(fips186NewContext(&context, 64, key.data(), 0, nullptr), ERR_NULL_POINTER);
    testheap::refuse(0);
    EXPECT_EQ(context, nullptr);
    const Fault fault(PlatformService::mutexCreate, 1);
    EXPECT_EQ(fips186NewContext(&context, 64, key.data(), 0, nullptr), ERR_RTOS_MUTEX_CREATE);
    EXPECT_EQ(context, nullptr);
    EXPECT_EQ(testheap::liveBlocks(), live);
    EXPECT_EQ(testheap::dirtyFrees(), dirty);
}

} // namespace
