#include "platform/rtos_clock.h"

#include "platform/internal/system_time.h"

#include "platform/internal/fault_point.h"

#include <windows.h>

std::uint32_t rtosGetTickCount() {
    return GetTickCount();
}

std::uint64_t systemTimeMs() {
    FILETIME time; // in units of 100 ns since 1601
    GetSystemTimeAsFileTime(&time);
    return (std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime) / 10'000;
}

Status rtosTimeGMT(GmtTime* time) {
    if (time == nullptr) {
        return ERR_NULL_POINTER;
    }
    if (platformServiceFails(PlatformService::calendarTime)) {
        return ERR_RTOS_GMT_TIME_NOT_AVAILABLE;
    }
    SYSTEMTIME utc;
    GetSystemTime(&utc);
    time->yearsSince1970 = static_cast<std::uint8_t>(utc.wYear - 1970);
    time->month = static_cast<std::uint8_t>(utc.wMonth);
    time->day = static_cast<std::uint8_t>(utc.wDay);
    time->hour = static_cast<std::uint8_t>(utc.wHour);
    time->minute = static_cast<std::uint8_t>(utc.wMinute);
    time->second = static_cast<std::uint8_t>(utc.wSecond);
    return OK;
}

void rtosSleepMs(std::uint32_t milliseconds) {
    Sleep(milliseconds);
}
