// Prints the present moment as the platform layer's clock gives it, in milliseconds since 1601.
#include "platform/rtos_clock.h"

#include <cinttypes>
#include <cstdio>

int main() {
    MsTimeStamp now;
    (void)rtosDeltaMs(nullptr, &now); // 0 without a start
    std::printf("%" PRIu64, std::uint64_t{now.high} << 32 | now.low);
}
