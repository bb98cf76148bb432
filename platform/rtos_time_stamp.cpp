#include "platform/rtos_clock.h"

#include "platform/internal/system_time.h"

namespace {

std::uint64_t numberOf(const MsTimeStamp& stamp) {
    return std::uint64_t{stamp.high} << 32 | stamp.low;
}

MsTimeStamp stampOf(std::uint64_t milliseconds) {
    return {static_cast<std::uint32_t>(milliseconds >> 32), static_cast<std::uint32_t>(milliseconds)};
}

} // namespace

std::uint32_t rtosDeltaMs(const MsTimeStamp* start, MsTimeStamp* now) {
    const std::uint64_t reading = systemTimeMs();
    // Before the reading is stored: a caller may move its start stamp on in the same call.
    const std::uint64_t delta = start == nullptr ? 0 : reading - numberOf(*start);
    if (now != nullptr) {
        *now = stampOf(reading);
    }
    return delta > UINT32_MAX ? UINT32_MAX : static_cast<std::uint32_t>(delta);
}

std::int32_t rtosTimeStampDiff(const MsTimeStamp* a, const MsTimeStamp* b) {
    if (a == nullptr || b == nullptr) {
        return -1;
    }
    const std::uint64_t difference = numberOf(*b) - numberOf(*a);
    return difference > INT32_MAX ? -1 : static_cast<std::int32_t>(difference);
}

void rtosTimeStampAdd(MsTimeStamp* stamp, std::uint32_t milliseconds) {
    if (stamp != nullptr) {
        *stamp = stampOf(numberOf(*stamp) + milliseconds);
    }
}
