#include "platform/rtos_clock.h"

#include "platform/internal/system_time.h"

#include "platform/internal/fault_point.h"

#include <cerrno>
#include <ctime>
#include <sched.h>

namespace {

constexpr std::uint64_t kSecondsFrom1601To1970 = 11'644'473'600;

// Seconds and nanoseconds as milliseconds.
std::uint64_t toMs(const timespec& time) {
    return static_cast<std::uint64_t>(time.tv_sec) * 1000 + static_cast<std::uint64_t>(time.tv_nsec) / 1'000'000;
}

} // namespace

std::uint32_t rtosGetTickCount() {
    timespec time{};
    clock_gettime(CLOCK_BOOTTIME, &time); // counts on while the machine sleeps
    return static_cast<std::uint32_t>(toMs(time));
}

std::uint64_t systemTimeMs() {
    timespec time{};
    clock_gettime(CLOCK_REALTIME, &time);
    return toMs(time) + kSecondsFrom1601To1970 * 1000;
}

Status rtosTimeGMT(GmtTime* time) {
    if (time == nullptr) {
        return ERR_NULL_POINTER;
    }
    const std::time_t now = std::time(nullptr);
    std::tm utc{};
    if (platformServiceFails(PlatformService::calendarTime) || now == -1 || gmtime_r(&now, &utc) == nullptr) {
        return ERR_RTOS_GMT_TIME_NOT_AVAILABLE;
    }
    time->yearsSince1970 = static_cast<std::uint8_t>(utc.tm_year - 70);
    time->month = static_cast<std::uint8_t>(utc.tm_mon + 1);
    time->day = static_cast<std::uint8_t>(utc.tm_mday);
    time->hour = static_cast<std::uint8_t>(utc.tm_hour);
    time->minute = static_cast<std::uint8_t>(utc.tm_min);
    time->second = static_cast<std::uint8_t>(utc.tm_sec);
    return OK;
}

void rtosSleepMs(std::uint32_t milliseconds) {
    if (milliseconds == 0) {
        sched_yield();
        return;
    }
    timespec remaining{};
    remaining.tv_sec = static_cast<std::time_t>(milliseconds / 1000);
    remaining.tv_nsec = static_cast<long>(milliseconds % 1000) * 1'000'000;
    while (clock_nanosleep(CLOCK_MONOTONIC, 0, &remaining, &remaining) == EINTR) {
    }
}
