#include "core/asn1/byte_stream.h"

#include <gtest/gtest.h>

namespace {

constexpr std::uint8_t kInput[] = {10, 11, 12, 13, 14};

class ByteStreamTest : public testing::Test {
protected:
    ByteStreamTest() {
        EXPECT_EQ(MemStream_Init(&memory, 5, kInput), OK);
        EXPECT_EQ(ByteStream_Bind(&stream, &memory), OK);
    }

    MemStream memory{};
    ByteStream stream{};
    std::uint8_t octet = 0;
    std::int32_t position = 0;
    std::uint32_t copied = 0;
    bool isAtEnd = false;
};

TEST_F(ByteStreamTest, SeekThenEofAndGetc) {
    const auto check = [this](std::int32_t offset, std::uint32_t origin, std::int32_t expected, int expectedOctet) {
        SCOPED_TRACE(testing::Message() << "offset " << offset << ", origin " << origin);
        EXPECT_EQ(stream.operations->seek(&memory, offset, origin), OK);
        EXPECT_EQ(stream.operations->tell(&memory, &position), OK);
        EXPECT_EQ(position, expected);
        EXPECT_EQ(stream.operations->eof(&memory, &isAtEnd), OK);
        EXPECT_EQ(isAtEnd, expectedOctet < 0);
        EXPECT_EQ(stream.operations->getc(&memory, &octet), expectedOctet < 0 ? ERR_FALSE : OK);
        EXPECT_TRUE(expectedOctet < 0 || octet == expectedOctet);
    };
#define SEEK_CASE(...) check(__VA_ARGS__);
#include "tests/core/asn1/stream_cases.inc"
#undef SEEK_CASE
}

TEST_F(ByteStreamTest, UngetcWritesOnlyWhatDiffers) {
    for (const std::int32_t nowhere : {0, -1, 6}) {
        memory.position = nowhere;
        EXPECT_EQ(stream.operations->ungetc(&memory, 99), ERR_FALSE);
    }
    memory.position = 3;
    EXPECT_EQ(stream.operations->ungetc(&memory, 12), OK); // kInput is constant: a store would crash
    EXPECT_EQ(memory.position, 2);
    std::uint8_t own[] = {1, 2};
    memory = {own, 2, 2};
    EXPECT_EQ(stream.operations->ungetc(&memory, 9), OK);
    EXPECT_EQ(own[1], 9);
}

TEST_F(ByteStreamTest, ReadCopiesWholeItems) {
    const auto check = [this](std::int32_t start, std::uint32_t size, std::uint32_t count, std::uint32_t expected,
                              const char* octets) {
        SCOPED_TRACE(testing::Message() << count << " items of " << size << " from " << start);
        memory.position = start;
        char buffer[6] = {};
        EXPECT_EQ(stream.operations->read(&memory, size, count, buffer, &copied), OK);
        EXPECT_EQ(copied, expected);
        EXPECT_STREQ(buffer, octets);
        EXPECT_EQ(memory.position, start + static_cast<std::int32_t>(size * copied));
    };
#define READ_CASE(...) check(__VA_ARGS__);
#include "tests/core/asn1/stream_cases.inc"
#undef READ_CASE
}

TEST_F(ByteStreamTest, MemAccessStaysInside) {
    EXPECT_EQ(ByteStream_MemAccess(stream, 0, 5), kInput);
    EXPECT_EQ(ByteStream_MemAccess(stream, 5, 0), kInput + 5);
    EXPECT_EQ(ByteStream_MemAccess(stream, 4, 2), nullptr);
    EXPECT_EQ(ByteStream_MemAccess(stream, 6, 0), nullptr);
    EXPECT_EQ(ByteStream_MemAccess(stream, 2, 0xFFFFFFFF), nullptr); // the sum is 1 in 32 bits
    EXPECT_EQ(ByteStream_StopAccess(stream, kInput), OK);
    memory.size = -1; // a length above 2^31 - 1 taken as signed: empty
    EXPECT_EQ(ByteStream_MemAccess(stream, 0, 0), nullptr);
    EXPECT_EQ(stream.operations->getc(&memory, &octet), ERR_FALSE);
}

} // namespace
