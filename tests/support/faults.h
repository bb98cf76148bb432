// What tests make fail, chosen by the number of the call from now on: allocations, services of the operating system, and points
// that a test adds; and the tests' heap, which stands in for core/memory/heap.cpp, fails on demand, and keeps count of what is
// alive and of blocks that were freed with anything but zero bytes in them.
#ifndef ZELSPI_TESTS_SUPPORT_FAULTS_H
#define ZELSPI_TESTS_SUPPORT_FAULTS_H

#include "core/status/status.h"
#include "platform/internal/fault_point.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <tuple>
#include <utility>

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
    bool hasStruck() const {
        return hasStruck_;
    }
    std::uint64_t calls() const {
        return calls_;
    }

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

// expectNullsRefused: calls the functions with each pointer of good arguments null in turn, which must be ERR_NULL_POINTER, for
// the first argument `first`. An argument that is null already may be null.
template <Status first = ERR_NULL_POINTER, typename Result, typename... Parameters>
void expectNullsRefused(std::initializer_list<Result (*)(Parameters...)> functions,
                        std::type_identity_t<Parameters>... good) {
    for (const auto& function : functions) {
        const auto refuse = [&]<std::size_t position>(std::integral_constant<std::size_t, position>) {
            std::tuple<Parameters...> arguments(good...);
            auto& argument = std::get<position>(arguments);
            if constexpr (std::is_pointer_v<std::remove_reference_t<decltype(argument)>>) {
                if (std::exchange(argument, nullptr) != nullptr) {
                    EXPECT_EQ(std::apply(function, arguments), position == 0 ? first : ERR_NULL_POINTER)
                        << "function " << &function - functions.begin() << ", argument " << position;
                }
            }
        };
        [&]<std::size_t... position>(std::index_sequence<position...>) {
            (refuse(std::integral_constant<std::size_t, position>()), ...);
        }
        (std::index_sequence_for<Parameters...>());
    }
}

#endif
