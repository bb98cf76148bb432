// Status codes: how every operation of the core and of the platform layer reports its outcome.
//
// A status is a signed 32-bit code. 0 is OK, every failure is negative, and the one positive code also counts as
// success, so success is tested as "not negative", never as "equal to OK". Codes come in families of one hundred
// below a head (ERR_RAND is -7100, its members are -7101, -7102, ...). The codes and their names stand in
// status_codes.def, one record a line.
#ifndef ZELSPI_CORE_STATUS_STATUS_H
#define ZELSPI_CORE_STATUS_STATUS_H

#include <cstdint>

enum [[nodiscard]] enum_errDescrValues : std::int32_t{
#define ZEL_STATUS(name, code) name = code,
#include "core/status/status_codes.def"
#undef ZEL_STATUS
};

using Status = enum_errDescrValues;

// isError: whether the code reports a failure.
constexpr bool isError(Status status) {
    return status < OK;
}

// RETURN_IF_ERROR: passes the first failing status up unchanged. The expression is evaluated once.
#define RETURN_IF_ERROR(expression)                                                                                    \
    do {                                                                                                               \
        if (const Status returnedStatus = (expression); isError(returnedStatus)) {                                     \
            return returnedStatus;                                                                                     \
        }                                                                                                              \
    } while (false)

// statusName: the identifier of a code as text ("ERR_NULL_POINTER" for -6001).
// In/out:  any value is allowed; the text is static and never freed. Allocates nothing and takes no lock.
// Errors:  null when the table has no such code.
const char* statusName(std::int32_t code);

// The items that getVersionText can write, in the order in which it writes them.
inline constexpr std::uint32_t kVersionTextVersion = 1;
inline constexpr std::uint32_t kVersionTextBuildDate = 2;
inline constexpr std::uint32_t kVersionTextBuildTime = 4;

// getVersionText: writes the chosen items, separated by single spaces and NUL-terminated.
// Shapes:  buffer[bufferLength] characters; bufferLength must exceed the sum of (item length + 1).
// In/out:  flags is a sum of kVersionText values; other bits are ignored.
// Errors:  ERR_NULL_POINTER buffer null; ERR_INVALID_ARG no item chosen; ERR_BUFFER_OVERFLOW buffer too small.
//          Nothing is written on failure.
Status getVersionText(std::uint32_t flags, char* buffer, std::uint32_t bufferLength);

#endif
