#include "core/memory/memory.h"
#include "core/memory/secret.h"
#include "tests/support/faults.h"
#include "tests/support/vectors.h"

namespace {

// The account after each test sees what is freed unwiped.
TEST(Memory, BlocksAndSecrets) {
    void *none = nullptr, *block = nullptr;
    std::uint64_t* record = nullptr;
    ASSERT_EQ(memAllocRecord(&record), OK);
    EXPECT_EQ(std::exchange(*record, 5), 0U);
    EXPECT_EQ(memFreeRecord(&record), OK);
    EXPECT_EQ(memFreeRecord(&record), ERR_NULL_POINTER);
    EXPECT_EQ(memFree(&none), ERR_NULL_POINTER);
    expectNullsRefused({memAlloc}, 1, &block);
    expectNullsRefused({memFree}, &none);
    refuseEach([] {
        SecretBuffer buffer, other;
        for (const std::size_t size : {40U, 8U}) { // the second in place of the first
            RETURN_IF_ERROR(buffer.alloc(size));
            std::fill_n(buffer.data(), size, std::uint8_t{0x5A});
        }
        RETURN_IF_ERROR(other.alloc(8));
        void* released = other.release();
        EXPECT_TRUE(other.data() == nullptr && other.size() == 0);
        return memWipeAndFree(&released, 8);
    });
    using Secret = SecretArray<std::uint8_t, 16>;
    ASSERT_EQ(memAlloc(sizeof(Secret), &block), OK);
    auto* const array = new (block) Secret;
    std::fill_n(array->data(), array->size(), std::uint8_t{0x5A});
    array->~Secret();
    EXPECT_EQ(memFree(&block), OK);
}

TEST(Memory, ByteOperations) {
    Bytes bytes = {1, 2, 3, 4, 5}, mask = {0xFF, 0x0F};
    EXPECT_EQ(memCopy(bytes.data() + 1, bytes.data(), 4), OK); // overlapping
    EXPECT_EQ(memXor(bytes.data(), mask.data(), 2), OK);
    EXPECT_EQ(memSet(bytes.data() + 3, 9, 2), OK);
    for (const std::int64_t count : {0, -1}) {
        EXPECT_EQ(memCopy(bytes.data(), mask.data(), count), OK);
        EXPECT_EQ(memXor(bytes.data(), mask.data(), count), OK);
        EXPECT_EQ(memSet(bytes.data(), 0, count), OK);
    }
    expectNullsRefused({memCopy, memXor}, bytes.data(), mask.data(), -1);
    expectNullsRefused({memSet}, bytes.data(), 0, -1);
    EXPECT_EQ(bytes, (Bytes{0xFE, 0x0E, 2, 9, 9}));
}

} // namespace
