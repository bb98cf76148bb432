// The tests' heap: stands in for core/memory/heap.cpp, refuses the n-th allocation on demand, and keeps count of what
// is alive and of blocks that were freed with anything but zero bytes in them.
#ifndef ZELSPI_TESTS_SUPPORT_TEST_HEAP_H
#define ZELSPI_TESTS_SUPPORT_TEST_HEAP_H

#include "core/status/status.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>

namespace testheap {

// refuse: the allocation with this number from now on (1 is the next one) fails, once. 0 refuses none.
void refuse(std::uint64_t number);

// refused: whether the allocation chosen by refuse has come and failed.
bool refused();

// The blocks alive now, and those freed so far that held a byte other than zero.
std::uint64_t liveBlocks();
std::uint64_t dirtyFrees();

// failOne: runs operation() with that allocation refused; whether it has asked for so many. operation returns the status
// of one complete use that has given back whatever it took. Expects a refused run to end in `refusal`, any other in
// success, and no block to be left behind.
template <typename Operation>
bool failOne(Operation& operation, std::uint64_t number, Status refusal = ERR_MEM_ALLOC_FAIL) {
    SCOPED_TRACE(testing::Message() << "allocation " << number << " refused");
    const std::uint64_t before = liveBlocks();
    refuse(number);
    const Status status = operation();
    const bool wasRefused = refused();
    refuse(0);
    EXPECT_EQ(liveBlocks(), before) << "blocks left behind";
    EXPECT_TRUE(wasRefused ? status == refusal : status >= OK) << statusName(status);
    return wasRefused;
}

// failEach: the first, the second, the third ... until a run asks for no more.
template <typename Operation> void failEach(Operation operation, Status refusal = ERR_MEM_ALLOC_FAIL) {
    for (std::uint64_t number = 1; failOne(operation, number, refusal); ++number) {
    }
}

// failSome: for operations that allocate very often, and always the same: with ever larger steps from one number to the
// next, and then the last ones.
template <typename Operation> void failSome(Operation operation) {
    constexpr std::uint64_t kLast = 48;
    std::uint64_t asked = 0, end = 1;
    for (; failOne(operation, end); end += 1 + end / 3) {
        asked = end;
    }
    while (end - asked > 1) {
        const std::uint64_t middle = asked + (end - asked) / 2;
        (failOne(operation, middle) ? asked : end) = middle;
    }
    for (std::uint64_t number = end > kLast ? end - kLast : 1; number < end; ++number) {
        EXPECT_TRUE(failOne(operation, number));
    }
}

} // namespace testheap

#endif
