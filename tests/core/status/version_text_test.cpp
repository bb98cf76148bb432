#include "core/status/status.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(VersionText, ItemsAndBufferSizes) {
    struct Case {
        std::uint32_t flags;
        std::uint32_t bufferLength;
        Status status;
        const char* text;
    };
    const Case cases[] = {
        {1, 6, ERR_BUFFER_OVERFLOW, ""},
        {1, 7, OK, "5.x.x"},
        {2, 10, ERR_BUFFER_OVERFLOW, ""},
        {4, 11, OK, "(unknown)"},
        {3, 16, ERR_BUFFER_OVERFLOW, ""},
        {3, 17, OK, "5.x.x (unknown)"},
        {7, 64, OK, "5.x.x (unknown) (unknown)"},
        {0, 64, ERR_INVALID_ARG, ""},
        {8, 64, ERR_INVALID_ARG, ""},
        {9, 64, OK, "5.x.x"},
        {1, 0, ERR_BUFFER_OVERFLOW, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << "flags " << c.flags << ", buffer of " << c.bufferLength);
        char buffer[65] = {};
        EXPECT_EQ(getVersionText(c.flags, buffer, c.bufferLength), c.status);
        EXPECT_STREQ(buffer, c.text);
    }
    EXPECT_EQ(getVersionText(0, nullptr, 0), ERR_NULL_POINTER);
}

} // namespace
