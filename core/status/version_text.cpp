#include "core/status/status.h"

#include <cstring>
#include <string_view>

namespace {

struct VersionItem {
    std::uint32_t flag;
    std::string_view text;
};

// The date and time stay unknown so that the same source always builds the same library.
constexpr VersionItem kItems[] = {
    {kVersionTextVersion, "5.x.x"},
    {kVersionTextBuildDate, "(unknown)"},
    {kVersionTextBuildTime, "(unknown)"},
};

} // namespace

Status getVersionText(std::uint32_t flags, char* buffer, std::uint32_t bufferLength) {
    if (buffer == nullptr) {
        return ERR_NULL_POINTER;
    }
    std::size_t needed = 0;
    for (const VersionItem& item : kItems) {
        needed += (flags & item.flag) != 0 ? item.text.size() + 1 : 0;
    }
    if (needed < 1) {
        return ERR_INVALID_ARG;
    }
    // Every item already counts its separator or the NUL, and still the buffer must be larger than the sum:
    // callers size their buffers by this rule.
    if (needed >= bufferLength) {
        return ERR_BUFFER_OVERFLOW;
    }
    char* end = buffer;
    for (const VersionItem& item : kItems) {
        if ((flags & item.flag) == 0) {
            continue;
        }
        if (end != buffer) {
            *end++ = ' ';
        }
        std::memcpy(end, item.text.data(), item.text.size());
        end += item.text.size();
    }
    *end = '\0';
    return OK;
}
