#include "tests/support/faults.h"

#include <atomic>
#include <cstddef>

namespace {

constexpr std::size_t kServices = static_cast<std::size_t>(PlatformService::randomBytes) + 1;

std::atomic<unsigned> countdowns[kServices];
std::atomic<bool> struck[kServices];

std::size_t indexOf(PlatformService service) {
    return static_cast<std::size_t>(service);
}

} // namespace

bool platformServiceFails(PlatformService service) {
    std::atomic<unsigned>& countdown = countdowns[indexOf(service)];
    unsigned left = countdown.load();
    while (left != 0 && !countdown.compare_exchange_weak(left, left - 1)) {
    }
    if (left == 1) {
        struck[indexOf(service)] = true;
    }
    return left == 1;
}

Fault::Fault(PlatformService service, unsigned number) : service_(service) {
    struck[indexOf(service)] = false;
    countdowns[indexOf(service)] = number;
}

Fault::~Fault() {
    countdowns[indexOf(service_)] = 0;
}

bool Fault::hasStruck() const {
    return struck[indexOf(service_)];
}
