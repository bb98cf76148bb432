#include "tests/support/faults.h"

#include <array>

namespace {

FaultPoint* firstPoint = nullptr;

} // namespace

FaultPoint::FaultPoint() : next_(firstPoint) {
    firstPoint = this;
}

bool FaultPoint::strikes() {
    ++calls_;
    std::uint64_t left = countdown_.load();
    while (left != 0 && !countdown_.compare_exchange_weak(left, left - 1)) {
    }
    if (left == 1) {
        hasStruck_ = true;
    }
    return left == 1;
}

void FaultPoint::arm(std::uint64_t number) {
    hasStruck_ = false;
    countdown_ = number;
}

bool FaultPoint::hasStruck() const {
    return hasStruck_;
}

std::uint64_t FaultPoint::calls() const {
    return calls_;
}

bool FaultPoint::disarmAll() {
    bool wasOn = false;
    for (FaultPoint* point = firstPoint; point != nullptr; point = point->next_) {
        wasOn = point->countdown_.exchange(0) != 0 || wasOn;
    }
    return wasOn;
}

FaultPoint& platformFaults(PlatformService service) {
    static std::array<FaultPoint, static_cast<std::size_t>(PlatformService::randomBytes) + 1> points;
    return points[static_cast<std::size_t>(service)];
}

bool platformServiceFails(PlatformService service) {
    return platformFaults(service).strikes();
}
