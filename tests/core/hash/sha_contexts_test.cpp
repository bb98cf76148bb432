// What the digests themselves do not show: statuses, wiping, spent contexts, G, allocation.
#include "tests/core/hash/sha_algorithms.h"
#include "tests/support/hex.h"
#include "tests/support/test_heap.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

bool isZero(const void* record, std::size_t size) {
    const auto* const bytes = static_cast<const std::uint8_t*>(record);
    return std::all_of(bytes, bytes + size, [](std::uint8_t byte) { return byte == 0; });
}

TEST(ShaContexts, OnlySha2FinalsWipe) {
    std::uint8_t out[64];
    const std::uint8_t message[] = {'a', 'b', 'c'};
    for (const ShaAlgorithm& algorithm : kShaAlgorithms) {
        for (std::uint8_t* const target : {out, static_cast<std::uint8_t*>(nullptr)}) {
            SCOPED_TRACE(testing::Message() << algorithm.name << (target == nullptr ? " into null" : ""));
            ShaContext context;
            ASSERT_EQ(algorithm.init(&context), OK);
            ASSERT_EQ(algorithm.update(&context, message, 3), OK);
            EXPECT_EQ(algorithm.final(&context, target), target == nullptr ? ERR_NULL_POINTER : OK);
            EXPECT_EQ(isZero(&context, algorithm.contextBytes), algorithm.finalWipes);
        }
    }
}

TEST(ShaContexts, ASpentContextStaysSafe) {
    for (const ShaAlgorithm& algorithm : kShaAlgorithms) {
        SCOPED_TRACE(algorithm.name);
        ShaContext context;
        std::vector<std::uint8_t> first(64), second(64), message(200, 0x61);
        ASSERT_EQ(algorithm.init(&context), OK);
        ASSERT_EQ(algorithm.update(&context, message.data(), 63), OK);
        ASSERT_EQ(algorithm.final(&context, first.data()), OK);
        EXPECT_EQ(algorithm.final(&context, second.data()), OK);
        EXPECT_NE(first, second); // wrong, and no error
        EXPECT_EQ(algorithm.update(&context, message.data(), 200), OK);
        EXPECT_EQ(algorithm.final(&context, second.data()), OK);
        ASSERT_EQ(algorithm.init(&context), OK);
        ASSERT_EQ(algorithm.update(&context, message.data(), 63), OK);
        ASSERT_EQ(algorithm.final(&context, second.data()), OK);
        EXPECT_EQ(first, second);
    }
}

TEST(ShaContexts, ASpentSha1ContextHoldsItsLengthInBits) {
    Sha1Context context;
    std::uint8_t out[20];
    const std::uint8_t message[3] = {};
    ASSERT_EQ(sha1Init(&context), OK);
    ASSERT_EQ(sha1Update(&context, message, 3), OK);
    ASSERT_EQ(sha1Final(&context, out), OK);
    EXPECT_EQ(context.byteCount, 24u);
    EXPECT_EQ(context.bufferUsed, 0);
}

template <typename Context>
void expectOwnedContext(Status (*alloc)(Context**), Status (*init)(Context*), Status (*release)(Context**)) {
    EXPECT_EQ(alloc(nullptr), ERR_NULL_POINTER);
    EXPECT_EQ(release(nullptr), ERR_NULL_POINTER);
    Context* context = nullptr;
    EXPECT_EQ(release(&context), ERR_NULL_POINTER);
    const std::uint64_t dirty = testheap::dirtyFrees();
    testheap::failEach([&]() -> Status {
        RETURN_IF_ERROR(alloc(&context));
        RETURN_IF_ERROR(init(context));
        return release(&context);
    });
    EXPECT_EQ(context, nullptr);
    EXPECT_EQ(testheap::dirtyFrees(), dirty);
}

TEST(ShaContexts, AllocationAndRelease) {
    expectOwnedContext(sha1AllocContext, sha1Init, sha1FreeContext);
    expectOwnedContext(sha256AllocContext, sha224Init, sha256FreeContext);
    expectOwnedContext(sha512AllocContext, sha512Init, sha512FreeContext);
}

TEST(Sha1G, IsTheBareCompression) {
    // A padded one-block message, compressed without padding, gives that message's digest: FIPS 180-2, A.1.
    std::vector<std::uint8_t> block(64, 0);
    std::uint8_t out[20];
    block[0] = 'a', block[1] = 'b', block[2] = 'c', block[3] = 0x80, block[63] = 24;
    ASSERT_EQ(sha1G(block.data(), out), OK);
    EXPECT_EQ(toHex(out), "a9993e364706816aba3e25717850c26c9cd0d89d");
}

TEST(Sha1G, MayWriteIntoItsBlock) {
    std::vector<std::uint8_t> area(84, 0x5C);
    std::uint8_t expected[20];
    ASSERT_EQ(sha1G(area.data(), expected), OK);
    for (const unsigned offset : {0u, 1u, 44u, 60u}) {
        std::vector<std::uint8_t> copy = area;
        ASSERT_EQ(sha1G(copy.data(), copy.data() + offset), OK);
        EXPECT_EQ(toHex({copy.data() + offset, 20}), toHex(expected)) << offset;
    }
}

} // namespace
