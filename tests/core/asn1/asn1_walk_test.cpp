#include "core/asn1/asn1_walk.h"

#include "tests/support/asn1_outline.h"
#include "tests/support/hex.h"

#include <gtest/gtest.h>

namespace {

using testasn1::outline;
using testasn1::Parsed;

constexpr std::uint8_t kOid[] = {2, 0x2A, 0x03, 0x00}; // and one without content behind it
constexpr std::uint8_t kSecondOid[] = {2, 0x2A, 0x04};
constexpr std::uint8_t kOidInSet[] = {2, 0x2A, 0x05};
constexpr std::uint8_t kLongerOid[] = {3, 0x2A, 0x03, 0x05};

// The input of walk_cases.inc.
constexpr const char* kWalkInput =
    "30 3B 02 01 00 30 06 06 02 2A 03 05 00 A1 03 02 01 07 A3 06 24 04 04 02 05 00 31 00 A2 00 30 00 30 04 06 02 2A 04"
    " 22 02 05 00 02 05 00 00 00 00 00 31 04 06 02 2A 05 30 04 A4 02 05 00";

TEST(Asn1Walk, EveryInstruction) {
    int number = 0;
    const auto check = [&number](Status expected, const char* reached, std::vector<Asn1WalkStep> steps) {
        static const std::vector<std::uint8_t> input = fromHex(kWalkInput);
        SCOPED_TRACE(testing::Message() << "case " << ++number);
        const Parsed parsed(input);
        steps.push_back({kWalkEnd, 0, nullptr});
        Asn1Node* result = parsed.top();
        const Status status = Asn1_WalkPath(parsed.top(), parsed.stream, steps.data(), &result);
        EXPECT_STREQ(statusName(status), statusName(expected));
        EXPECT_EQ(outline(result).rfind(reached, 0), 0U) << outline(result);
        EXPECT_EQ(result == nullptr, expected != OK);
    };
#define WALK_CASE(status, reached, ...) check(status, reached, {__VA_ARGS__});
#include "tests/core/asn1/walk_cases.inc"
}

TEST(Asn1Walk, ChecksOutsideTheTable) {
    const std::vector<std::uint8_t> input = fromHex("06 02 2A 03");
    Parsed parsed(input);
    EXPECT_EQ(Asn1_CheckUniversalTag(parsed.root.get(), kAsn1EndOfContents), OK); // so it is, the root being all zero
    EXPECT_EQ(Asn1_CheckOid(parsed.top(), parsed.stream, kOid), OK);
    parsed.memory.size = 3; // the content is not all there
    EXPECT_EQ(Asn1_CheckOid(parsed.top(), parsed.stream, kOid), ERR_FALSE);
    parsed.memory.size = 1;
    parsed.top()->length = 0; // nor when there is none
    EXPECT_EQ(Asn1_CheckOid(parsed.top(), parsed.stream, kOid + 3), ERR_FALSE);
    const std::vector<std::uint8_t> empty = fromHex("02 00");
    EXPECT_EQ(Asn1_CheckSmallInteger(Parsed(empty).top(), 0), OK); // no value is 0

    static int stopped = 0;
    ByteStreamOperations counting = *parsed.stream.operations;
    counting.stopaccess = [](void*, const std::uint8_t*) {
        ++stopped;
        return OK;
    };
    parsed.memory.size = 4;
    EXPECT_EQ(Asn1_CheckOid(parsed.top(), {&parsed.memory, &counting}, kOid + 3), OK);
    EXPECT_EQ(stopped, 1);
}

} // namespace
