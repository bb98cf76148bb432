#include "core/status/status.h"

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
