#include "core/memory/memory.h"
#include "core/memory/secret.h"
#include "tests/support/faults.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace {

TEST(Memory, AllocationAndRelease) {
    EXPECT_EQ(memAlloc(1, nullptr), ERR_NULL_POINTER);
    EXPECT_EQ(memFree(nullptr), ERR_NULL_POINTER);
    void* block = nullptr;
    EXPECT_EQ(memFree(&block), ERR_NULL_POINTER);

    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{4096}}) {
        ASSERT_EQ(memAllocZeroed(size, &block), OK);
        ASSERT_NE(block, nullptr);
        const auto* const bytes = static_cast<const std::uint8_t*>(block);
        EXPECT_TRUE(std::all_of(bytes, bytes + size, [](std::uint8_t byte) { return byte == 0; }));
        EXPECT_EQ(memFree(&block), OK);
        EXPECT_EQ(block, nullptr);
    }
}

TEST(Memory, ARefusedAllocationLeavesNull) {
    int marker = 0;
    void* block = &marker;
    heapFaults().arm(1);
    EXPECT_EQ(memAlloc(16, &block), ERR_MEM_ALLOC_FAIL);
    EXPECT_EQ(block, nullptr);
    refuseEach([] {
        SecretBuffer first, second;
        RETURN_IF_ERROR(first.alloc(10));
        return second.alloc(20);
    });
}

TEST(Memory, ByteOperations) {
    std::uint8_t bytes[] = {1, 2, 3, 4, 5};
    EXPECT_EQ(memCopy(bytes + 1, bytes, 4), OK); // overlapping
    EXPECT_EQ(std::vector<std::uint8_t>(bytes, bytes + 5), (std::vector<std::uint8_t>{1, 1, 2, 3, 4}));
    const std::uint8_t mask[] = {0xFF, 0x0F};
    EXPECT_EQ(memXor(bytes, mask, 2), OK);
    EXPECT_EQ(memSet(bytes + 3, 9, 2), OK);
    EXPECT_EQ(std::vector<std::uint8_t>(bytes, bytes + 5), (std::vector<std::uint8_t>{0xFE, 0x0E, 2, 9, 9}));

    for (const std::int64_t count : {std::int64_t{0}, std::int64_t{-1}}) {
        EXPECT_EQ(memCopy(bytes, mask, count), OK);
        EXPECT_EQ(memXor(bytes, mask, count), OK);
        EXPECT_EQ(memSet(bytes, 0, count), OK);
        EXPECT_EQ(bytes[0], 0xFE);
        EXPECT_EQ(memCopy(nullptr, mask, count), ERR_NULL_POINTER);
        EXPECT_EQ(memCopy(bytes, nullptr, count), ERR_NULL_POINTER);
        EXPECT_EQ(memXor(nullptr, mask, count), ERR_NULL_POINTER);
        EXPECT_EQ(memXor(bytes, nullptr, count), ERR_NULL_POINTER);
        EXPECT_EQ(memSet(nullptr, 0, count), ERR_NULL_POINTER);
    }
}

TEST(Memory, SecretsAreGoneWhenFreed) {
    const std::uint64_t live = testheap::liveBlocks(), dirty = testheap::dirtyFrees();
    {
        SecretBuffer buffer;
        ASSERT_EQ(buffer.alloc(40), OK);
        (void)memSet(buffer.data(), 0x5A, 40);
        ASSERT_EQ(buffer.alloc(8), OK); // replacing wipes too
        (void)memSet(buffer.data(), 0x5A, 8);
        SecretBuffer other;
        ASSERT_EQ(other.alloc(8), OK);
        void* released = other.release();
        EXPECT_EQ(other.data(), nullptr);
        EXPECT_EQ(other.size(), 0u);
        EXPECT_EQ(memWipeAndFree(&released, 8), OK);
    }
    struct Record {
        int a;
        char b;
    };
    Record* record = nullptr;
    ASSERT_EQ(memAllocRecord(&record), OK);
    EXPECT_EQ(record->a, 0);
    (void)memSet(record, 0x5A, sizeof(Record));
    EXPECT_EQ(memFreeRecord(&record), OK);
    EXPECT_EQ(record, nullptr);
    EXPECT_EQ(memFreeRecord(&record), ERR_NULL_POINTER);

    using Secret = SecretArray<std::uint8_t, 16>;
    void* place = nullptr;
    ASSERT_EQ(memAlloc(sizeof(Secret), &place), OK);
    auto* const array = new (place) Secret;
    std::fill_n(array->data(), array->size(), std::uint8_t{0x5A});
    array->~Secret();
    EXPECT_EQ(memFree(&place), OK);
    EXPECT_EQ(testheap::liveBlocks(), live);
    EXPECT_EQ(testheap::dirtyFrees(), dirty);
}

} // namespace
