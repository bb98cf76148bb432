#include "core/status/status.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace {

TEST(StatusNames, TheTableHasItsFullSize) {
    std::size_t errors = 0, informational = 0, successes = 0;
    std::set<std::string> distinct;
    for (std::int32_t code = 2000; code >= -100100; --code) {
        if (const char* const text = statusName(code)) {
            const std::string name = text;
            errors += name.starts_with("ERR_");
            informational += name.starts_with("STATUS_");
            successes += name.starts_with("OK");
            EXPECT_TRUE(distinct.insert(name).second) << name;
        }
    }
    EXPECT_EQ(distinct.size(), 1667u);
    EXPECT_EQ(errors, 1644u);
    EXPECT_EQ(informational, 20u);
    EXPECT_EQ(successes, 2u);
}

TEST(StatusNames, KnownCodesAndCodesWithoutAMember) {
#define STATUS_CASE(code, name) EXPECT_STREQ(statusName(code), name) << code;
#include "tests/core/status/status_cases.inc"
#undef STATUS_CASE
    EXPECT_FALSE(isError(OK_SSL_USE_EMPTY_CERT)) << "success is what is not negative";
    EXPECT_FALSE(isError(OK));
    EXPECT_TRUE(isError(ERR_GENERAL));
}

TEST(VersionText, ItemsAndBufferSizes) {
    const auto check = [](std::uint32_t flags, std::uint32_t bufferLength, Status status, const char* text) {
        SCOPED_TRACE(testing::Message() << "flags " << flags << ", buffer of " << bufferLength);
        std::string buffer(64, '#');
        EXPECT_EQ(getVersionText(flags, buffer.data(), bufferLength), status);
        EXPECT_EQ(buffer.c_str(), status == OK ? text : std::string(64, '#'));
    };
#define VERSION_CASE(...) check(__VA_ARGS__);
#include "tests/core/status/status_cases.inc"
#undef VERSION_CASE
    EXPECT_EQ(getVersionText(0, nullptr, 0), ERR_NULL_POINTER);
}

} // namespace
