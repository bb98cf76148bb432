// Faults: what tests make fail, chosen by the number of the call from now on: allocations, services of the operating system,
// and points that a test adds.
#ifndef ZELSPI_TESTS_SUPPORT_FAULTS_H
#define ZELSPI_TESTS_SUPPORT_FAULTS_H

#include "core/status/status.h"
#include "platform/fault_point.h"
#include "tests/support/test_heap.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>

// FaultPoint: where calls can be made to fail. Lives to the program's end. Safe in many threads.
class FaultPoint {
public:
    FaultPoint();
    FaultPoint(const FaultPoint&) = delete;
    FaultPoint& operator=(const FaultPoint&) = delete;

    // At the point itself: counts the call; whether it is the one to fail.
    bool strikes();

    // The number-th call from now on fails, once; 0: none does.
    void arm(std::uint64_t number);
    bool hasStruck() const;
    std::uint64_t calls() const;

    // Switches every point off; whether one was still on.
    static bool disarmAll();

private:
    std::atomic<std::uint64_t> countdown_{0}, calls_{0};
    std::atomic<bool> hasStruck_{false};
    FaultPoint* next_;
};

FaultPoint& heapFaults();
FaultPoint& platformFaults(PlatformService service);

// Fault: while it lives, the number-th call fails.
class Fault {
public:
    Fault(FaultPoint& point, std::uint64_t number) : point_(point) {
        point_.arm(number);
    }
    Fault(PlatformService service, std::uint64_t number) : Fault(platformFaults(service), number) {
    }
    ~Fault() {
        point_.arm(0);
    }
    Fault(const Fault&) = delete;
    Fault& operator=(const Fault&) = delete;

    bool hasStruck() const {
        return point_.hasStruck();
    }

private:
    FaultPoint& point_;
};

// refuseEach: runs operation() unhindered, then with each of its calls at the point refused in turn; of more than some sixty
// calls the first, the last, and ever fewer between. operation() returns the status of one complete use that gives back all
// that it took. Expects a refused run to end in `refusal`, any other in success, and no block to be left behind.
template <typename Operation>
void refuseEach(Operation operation, Status refusal = ERR_MEM_ALLOC_FAIL, FaultPoint& point = heapFaults()) {
    const std::uint64_t before = point.calls(), live = testheap::liveBlocks();
    Status status = operation();
    EXPECT_GE(status, OK) << statusName(status);
    const std::uint64_t calls = point.calls() - before;
    for (std::uint64_t number = 1; number <= calls;) {
        const Fault fault(point, number);
        status = operation();
        const bool isRight = fault.hasStruck() ? status == refusal : status >= OK;
        ASSERT_TRUE(isRight && testheap::liveBlocks() == live)
            << "call " << number << " refused: " << statusName(status) << ", blocks: " << testheap::liveBlocks() - live;
        const std::uint64_t left = calls - number;
        number += number < 40 || left <= 16 ? 1 : std::min(1 + number / 6, left - 16);
    }
}

#endif
