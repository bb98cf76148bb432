#include "core/status/status.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace {

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
