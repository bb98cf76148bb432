#include "core/status/status.h"

#include <cstddef>
#include <iterator>

namespace {

struct StatusNameRecord {
    std::int32_t code;
    const char* name;
};

constexpr StatusNameRecord statusNameTable[] = {
#define ZEL_STATUS(name, code) {code, #name},
#include "core/status/status_codes.def"
#undef ZEL_STATUS
};

constexpr bool isStrictlyDescending() {
    for (std::size_t i = 1; i < std::size(statusNameTable); ++i) {
        if (statusNameTable[i - 1].code <= statusNameTable[i].code) {
            return false;
        }
    }
    return true;
}

static_assert(std::size(statusNameTable) == 1667 && isStrictlyDescending());

} // namespace

const char* statusName(std::int32_t code) {
    // The plain scan is deliberate: names are looked up only on the way to an exception.
    for (const StatusNameRecord& record : statusNameTable) {
        if (record.code == code) {
            return record.name;
        }
    }
    return nullptr;
}
