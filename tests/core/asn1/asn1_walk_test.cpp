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

TEST(Asn1Walk, EveryInstruction) {
    struct Case {
        Status status;
        const char* reached;
        std::vector<Asn1WalkStep> steps;
    };
    const Case cases[] = {
#define WALK_CASE(status, reached, ...) {status, reached, {__VA_ARGS__}},
#include "tests/core/asn1/walk_cases.inc"
    };
    const std::vector<std::uint8_t> input = fromHex(WALK_INPUT);
    const Parsed parsed(input);
    ASSERT_EQ(parsed.status, OK);
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << "case " << &c - cases + 1);
        std::vector<Asn1WalkStep> steps = c.steps;
        steps.push_back({kWalkEnd, 0, nullptr});
        Asn1Node* result = parsed.top();
        const Status status = Asn1_WalkPath(parsed.top(), parsed.stream, steps.data(), &result);
        EXPECT_STREQ(statusName(status), statusName(c.status));
        EXPECT_EQ(outline(result).rfind(c.reached, 0), 0U) << outline(result);
        EXPECT_EQ(result == nullptr, c.status != OK);
    }
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

    const ByteStream stream = parsed.stream;
    Asn1Node* const top = parsed.top();
    const Asn1WalkStep end{kWalkEnd, 0, nullptr};
    Asn1Node* out = nullptr;
    const Status statuses[] = {
#include "tests/core/asn1/walk_null_cases.inc"
    };
    for (const Status& status : statuses) {
        EXPECT_EQ(status, ERR_NULL_POINTER) << "call " << &status - statuses + 1;
    }
}

} // namespace
