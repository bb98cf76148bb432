// The tests' heap: stands in for core/memory/heap.cpp, fails on demand (heapFaults() of faults.h), and keeps count of what is
// alive and of blocks that were freed with anything but zero bytes in them.
#ifndef ZELSPI_TESTS_SUPPORT_TEST_HEAP_H
#define ZELSPI_TESTS_SUPPORT_TEST_HEAP_H

#include <cstdint>

namespace testheap {

// The blocks alive now, and those freed so far that held a byte other than zero.
std::uint64_t liveBlocks();
std::uint64_t dirtyFrees();

// keep: of the blocks alive now, up to so many more stay, as what a process makes once: the account after the test does not
// ask for them back.
void keep(std::uint64_t atMost);
std::uint64_t keptBlocks();

// OwnWork: while it lives, allocations are the test's own and are neither counted as calls nor refused.
class OwnWork {
public:
    OwnWork();
    ~OwnWork();
    OwnWork(const OwnWork&) = delete;
    OwnWork& operator=(const OwnWork&) = delete;
};

} // namespace testheap

#endif
