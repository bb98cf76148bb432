// The generator in known states against an independent model.
#include "core/random/fips186.h"
#include "core/random/random.h"
#include "tests/support/faults.h"
#include "tests/support/hex.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>

namespace {

std::vector<std::uint8_t> ramp(std::size_t length, unsigned step, unsigned start) {
    std::vector<std::uint8_t> bytes(length);
    for (std::size_t i = 0; i < length; ++i) {
        bytes[i] = static_cast<std::uint8_t>(step * i + start);
    }
    return bytes;
}

// The key that the vectors were made for.
std::vector<std::uint8_t> keyOf(std::size_t keyBytes) {
    std::vector<std::uint8_t> key(keyBytes - 20, 0xFF);
    const auto end = ramp(20, 11, 5);
    key.insert(key.end(), end.begin(), end.end());
    return key;
}

std::vector<std::uint8_t> runScript(RandomContext* context, const char* script) {
    std::vector<std::uint8_t> output;
    std::istringstream steps(script);
    for (std::string step; steps >> step;) {
        const auto number = static_cast<std::uint32_t>(std::atoi(step.c_str() + 1));
        if (step[0] == 's') {
            fips186Stir(&context->state);
        } else if (step[0] == 'o') {
            EXPECT_EQ(fips186GenerateOverKey(&context->state), OK);
        } else if (step[0] == 'b') {
            EXPECT_EQ(randomAddEntropyBit(context, static_cast<std::uint8_t>(number)), OK);
        } else {
            const std::size_t before = output.size();
            output.resize(before + number);
            EXPECT_EQ(randomGenerateCallback(context, number, output.data() + before), OK);
        }
    }
    return output;
}

TEST(Fips186, KnownAnswers) {
    const auto check = [](std::uint32_t keyBytes, std::size_t xseedBytes, const char* script, const char* output) {
        SCOPED_TRACE(testing::Message() << "key " << keyBytes << ", xseed " << xseedBytes << ": " << script);
        const auto xseed = ramp(xseedBytes, 29, 1);
        RandomContext* context = nullptr;
        ASSERT_EQ(fips186NewContext(&context, keyBytes, keyOf(keyBytes).data(), static_cast<std::int32_t>(xseedBytes),
                                    xseed.empty() ? nullptr : xseed.data()),
                  OK);
        EXPECT_EQ(toHex(runScript(context, script)), output);
        EXPECT_EQ(randomReleaseContext(&context), OK);
    };
#define FIPS186_VECTOR(...) check(__VA_ARGS__);
#include "tests/core/random/fips186_vectors.inc"
#undef FIPS186_VECTOR
}

// The carry through every width, against additions byte by byte.
TEST(Fips186, BigEndianAdd) {
    for (std::size_t aLength = 0; aLength <= 70; ++aLength) {
        for (std::size_t bLength = 0; bLength <= 80; ++bLength) {
            for (const unsigned pattern : {0u, 1u, 2u, 3u}) {
                auto a = pattern < 2 ? std::vector<std::uint8_t>(aLength, 0xFF) : ramp(aLength, 91, 200);
                const auto b = pattern == 2 ? std::vector<std::uint8_t>(bLength, 0xFF) : ramp(bLength, 57, pattern);
                auto expected = a;
                unsigned carry = pattern % 2;
                for (std::size_t k = 0; k < aLength; ++k) {
                    carry += expected[aLength - 1 - k] + (k < bLength ? b[bLength - 1 - k] : 0u);
                    expected[aLength - 1 - k] = static_cast<std::uint8_t>(carry);
                    carry >>= 8;
                }
                bigEndianAdd(a.data(), aLength, b.data(), bLength, pattern % 2);
                ASSERT_EQ(a, expected) << aLength << " + " << bLength << ", pattern " << pattern;
            }
        }
    }
}

TEST(Fips186, ArgumentsAndRefusals) {
    const std::uint64_t live = testheap::liveBlocks(), dirty = testheap::dirtyFrees();
    const auto key = ramp(64, 1, 1);
    std::uint8_t bytes[40];
    RandomContext *context = nullptr, *plain = nullptr;
    EXPECT_EQ(fips186NewContext(nullptr, 64, key.data(), 0, nullptr), ERR_NULL_POINTER);
    EXPECT_EQ(fips186NewContext(&context, 64, nullptr, 0, nullptr), ERR_NULL_POINTER);
    for (const std::uint32_t keyBytes : {0u, 19u, 65u, 256u + 20u, 0x80000014u}) {
        EXPECT_EQ(fips186NewContext(&context, keyBytes, key.data(), 0, nullptr), ERR_INVALID_ARG) << keyBytes;
    }
    heapFaults().arm(1); // its status is not that of the heap, on purpose
    EXPECT_EQ(fips186NewContext(&context, 64, key.data(), 0, nullptr), ERR_NULL_POINTER);
    heapFaults().arm(0);
    {
        const Fault fault(PlatformService::mutexCreate, 1);
        EXPECT_EQ(fips186NewContext(&context, 64, key.data(), 0, nullptr), ERR_RTOS_MUTEX_CREATE);
    }
    EXPECT_EQ(context, nullptr);
    ASSERT_EQ(fips186NewContext(&context, 20, key.data(), -1, key.data()), OK); // as if there were no XSEED
    ASSERT_EQ(fips186NewContext(&plain, 20, key.data(), 0, nullptr), OK);
    EXPECT_EQ(runScript(context, "d40"), runScript(plain, "d40"));
    EXPECT_EQ(fips186Generate(nullptr, nullptr, 0), OK); // a length of 0 comes first
    EXPECT_EQ(fips186Generate(nullptr, bytes, 1), ERR_NULL_POINTER);
    EXPECT_EQ(fips186Generate(&plain->state, nullptr, 1), ERR_NULL_POINTER);
    EXPECT_EQ(randomReleaseContext(&context), OK);
    EXPECT_EQ(randomReleaseContext(&plain), OK);
    EXPECT_EQ(testheap::liveBlocks(), live);
    EXPECT_EQ(testheap::dirtyFrees(), dirty);
}

} // namespace
