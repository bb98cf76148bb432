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

// failEach: runs operation() with its first, second, third ... allocation refused, until a run asks for no more.
// operation returns the status of one complete use that has given back whatever it took. Expects each refused run to
// end in `refusal` and to leave no block behind, and the last, unhindered run to succeed.
// failSome: the same with ever larger steps from one number to the next, for operations that allocate very often.
template <typename Operation>
void failEach(Operation operation, Status refusal = ERR_MEM_ALLOC_FAIL, std::uint64_t slowness = ~std::uint64_t{0}) {
    for (std::uint64_t number = 1;; number += 1 + number / slowness) {
        SCOPED_TRACE(testing::Message() << "allocation " << number << " refused");
        const std::uint64_t before = liveBlocks();
        refuse(number);
        const Status status = operation();
        const bool wasRefused = refused();
        refuse(0);
        ASSERT_EQ(liveBlocks(), before) << "blocks left behind";
        if (!wasRefused) {
            ASSERT_GE(status, OK) << statusName(status);
            return;
        }
        ASSERT_EQ(status, refusal);
    }
}

template <typename Operation> void failSome(Operation operation) {
    failEach(operation, ERR_MEM_ALLOC_FAIL, 3);
}

} // namespace testheap

#endif
