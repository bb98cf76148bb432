#include "bridge/zel_object.h"

#include <cstdio>

namespace {

constexpr std::uint64_t kRowBytes = 16;

// As isprint in the C locale, whatever the process's locale is.
bool isPrintable(std::uint8_t byte) {
    return byte >= 0x20 && byte <= 0x7E;
}

void printRow(const std::uint8_t* bytes, std::uint64_t start, std::uint64_t length) {
    std::printf("0x%06x: ", static_cast<unsigned>(start));
    for (std::uint64_t i = start; i < start + kRowBytes; ++i) {
        if (i < length) {
            std::printf("%02x ", bytes[i]);
        } else {
            std::fputs("   ", stdout);
        }
    }
    for (std::uint64_t i = start; i < start + kRowBytes; ++i) {
        std::fputc(i >= length ? ' ' : isPrintable(bytes[i]) ? bytes[i] : '.', stdout);
    }
    std::fputc('\n', stdout);
}

} // namespace

void ZelObject::hexdump(const std::uint8_t* bytes, std::uint32_t length) {
    // 64 bits, because a row more than the last one would wrap in 32.
    for (std::uint64_t start = 0; start < length; start += kRowBytes) {
        printRow(bytes, start, length);
    }
    std::fflush(stdout); // in order with what Java prints, and not lost at exit
}
