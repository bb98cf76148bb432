// Clocks: a tick, time stamps in milliseconds, the calendar time, and sleeping.
#ifndef ZELSPI_PLATFORM_RTOS_CLOCK_H
#define ZELSPI_PLATFORM_RTOS_CLOCK_H

#include "core/status/status.h"

#include <cstdint>

// MsTimeStamp: milliseconds since 1601-01-01 00:00 UTC, one 64-bit number in two words.
struct MsTimeStamp {
    std::uint32_t high;
    std::uint32_t low;
};

// GmtTime: a moment of the UTC calendar. Its 8 bytes are mixed into random seeds as they stand.
struct GmtTime {
    std::uint16_t yearsSince1970; // the low 8 bits of the difference only
    std::uint8_t month;           // 1 to 12
    std::uint8_t day;
    std::uint8_t hour;
    std::uint8_t minute;
    std::uint8_t second;
    std::uint8_t unwritten; // left as it was
};
static_assert(sizeof(MsTimeStamp) == 8 && sizeof(GmtTime) == 8);

// rtosGetTickCount: milliseconds since the system started, modulo 2^32.
std::uint32_t rtosGetTickCount();

// rtosDeltaMs: reads the clock once; stores the reading in *now and returns the milliseconds since *start. Either may
// be null; both may be the same record.
// Errors:  0 with start null; 0xFFFFFFFF when the difference does not fit 32 bits, also when start lies in the future.
std::uint32_t rtosDeltaMs(const MsTimeStamp* start, MsTimeStamp* now);

// rtosTimeStampDiff: *b minus *a in milliseconds.
// Errors:  -1 when that is outside 0 ... 2^31 - 1, or either is null.
std::int32_t rtosTimeStampDiff(const MsTimeStamp* a, const MsTimeStamp* b);

// rtosTimeStampAdd: moves the stamp on by that many milliseconds. Null does nothing.
void rtosTimeStampAdd(MsTimeStamp* stamp, std::uint32_t milliseconds);

// rtosTimeGMT: the present moment; the last byte of the record is not written.
// Errors:  ERR_NULL_POINTER; ERR_RTOS_GMT_TIME_NOT_AVAILABLE.
Status rtosTimeGMT(GmtTime* time);

// rtosSleepMs: suspends the calling thread for at least that long; 0 lets others run.
void rtosSleepMs(std::uint32_t milliseconds);

#endif
