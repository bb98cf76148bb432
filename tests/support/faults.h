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

// FaultPoint: where calls can be made to fail. Safe in many threads.
class FaultPoint {
public:
    // At the point itself: counts the call; whether it is the one to fail.
    bool strikes() {
        return ++calls_ == failing_;
    }
    // The number-th call from now on fails, once; 0: none does.
    void arm(std::uint64_t number) {
        on_ += (number != 0 ? 1 : 0) - (failing_ != 0 ? 1 : 0);
        failing_ = number == 0 ? 0 : calls_ + number;
    }
    bool hasStruck() const {
        return failing_ != 0 && calls_ >= failing_;
    }
    std::uint64_t calls() const {
        return calls_;
    }
    // How many points are armed.
    static int on() {
        return on_;
    }

private:
    inline static std::atomic<int> on_{0};
    std::atomic<std::uint64_t> calls_{0}, failing_{0};
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
struct OwnWork {
    OwnWork();
    OwnWork(const OwnWork&) = delete;
    ~OwnWork();
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
void expectNullsRefused(std::initializer_list<Result (*)(Parameters...)> functions, std::decay_t<Parameters>... good) {
    for (const auto& function : functions) {
        int position = 0;
        const auto refuse = [&](auto& argument) {
            if constexpr (std::is_pointer_v<std::remove_reference_t<decltype(argument)>>) {
                if (const auto kept = std::exchange(argument, nullptr); kept != nullptr) {
                    EXPECT_EQ(function(good...), position == 0 ? first : ERR_NULL_POINTER)
                        << "function " << &function - functions.begin() << ", argument " << position;
                    argument = kept;
                }
            }
            ++position;
        };
        (refuse(good), ...);
    }
}

// emptyArgument: a pointer to an empty object, a source without bytes, or a number: for functions that refuse another argument.
template <typename T> T emptyArgument() {
    if constexpr (std::is_arithmetic_v<T>) {
        return T{2};
    } else if constexpr (std::is_pointer_v<T> && std::is_object_v<std::remove_pointer_t<T>>) {
        static std::remove_cv_t<std::remove_pointer_t<T>> object{};
        return &object;
    } else {
        return T(nullptr);
    }
}

// expectNullsRefusedByEach: expectNullsRefused with such arguments for every pointer but a queue, which stands last.
template <Status first = ERR_NULL_POINTER, typename... Functions>
void expectNullsRefusedByEach(Functions... functions) {
    int number = 0;
    const auto refuse = [&number]<typename... Parameters>(Status (*function)(Parameters...)) {
        SCOPED_TRACE(testing::Message() << "function " << number++);
        std::tuple<std::decay_t<Parameters>...> good{emptyArgument<std::decay_t<Parameters>>()...};
        auto& last = std::get<sizeof...(Parameters) - 1>(good);
        if constexpr (std::is_same_v<decltype(last), struct vlong**&>) {
            last = nullptr;
        }
        std::apply([function](const auto&... each) { expectNullsRefused<first>({function}, each...); }, good);
    };
    (refuse(functions), ...);
}

#endif
