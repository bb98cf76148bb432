// Big integers from and to plain big-endian bytes and words, and the debug dump.
#include "core/bignum/vlong_convert.h"
#include "core/bignum/branch_free.h"
#include "core/bignum/scoped_vlong.h"

#include <algorithm>
#include <cstdio>

namespace {

constexpr std::uint32_t kUnitBytes = 8;

std::uint32_t byteLength(const vlong* value) {
    return (VLONG_bitLength(value) + 7) / 8;
}

} // namespace

Status VLONG_fromBytes(const std::uint8_t* bytes, std::int32_t byteCount, vlong** out, vlong** queue) {
    if (bytes == nullptr || out == nullptr) {
        return ERR_NULL_POINTER;
    }
    *out = nullptr;
    if (byteCount < 0) {
        return ERR_BAD_LENGTH;
    }
    std::uint32_t remaining = static_cast<std::uint32_t>(byteCount);
    ScopedVlong record(queue);
    RETURN_IF_ERROR(record.alloc());
    // One unit more than 65,536 bytes need, so that is one byte too many for the size limit: on purpose.
    RETURN_IF_ERROR(VLONG_growKeep(record.get(), remaining / kUnitBytes + 1));
    vlong* const value = *out = record.release(); // nothing fails any more, and no branch follows a unit
    std::uint32_t count = 0;
    for (; remaining > 0; ++count) {
        const std::uint32_t first = remaining - std::min(remaining, kUnitBytes);
        Unit unit = 0;
        for (std::uint32_t i = first; i < remaining; ++i) {
            unit = unit << 8 | bytes[i];
        }
        value->units[count] = unit;
        remaining = first;
    }
    value->length = publicly(significantUnits(value->units, count));
    return OK;
}

Status VLONG_toBytes(const vlong* value, std::uint8_t* buffer, std::uint32_t* count) {
    if (value == nullptr || count == nullptr) {
        return ERR_NULL_POINTER;
    }
    const std::uint32_t needed = byteLength(value);
    if (buffer == nullptr) {
        *count = needed;
        return OK;
    }
    return *count < needed ? ERR_BUFFER_OVERFLOW : VLONG_toBytesFixed(value, buffer, *count);
}

Status VLONG_toBytesFixed(const vlong* value, std::uint8_t* buffer, std::uint32_t count) {
    if (value == nullptr || buffer == nullptr) {
        return ERR_NULL_POINTER;
    }
    Unit unit = 0;
    for (std::uint32_t i = 0; i < count; ++i) {
        unit = i % kUnitBytes == 0 ? VLONG_getUnit(value, i / kUnitBytes) : unit >> 8;
        buffer[count - 1 - i] = static_cast<std::uint8_t>(unit);
    }
    return OK;
}

Status VLONG_fromWords32(const std::uint32_t* words, std::uint32_t wordCount, vlong** out) {
    if (words == nullptr || out == nullptr) {
        return ERR_NULL_POINTER;
    }
    *out = nullptr;
    for (; wordCount > 0 && *words == 0; ++words) {
        --wordCount;
    }
    ScopedVlong record(nullptr);
    RETURN_IF_ERROR(record.alloc());
    RETURN_IF_ERROR(VLONG_growKeep(record.get(), (std::uint64_t{wordCount} + 1) / 2));
    std::uint32_t remaining = wordCount;
    for (std::uint32_t index = 0; remaining > 0; ++index) {
        const Unit high = remaining > 1 ? words[remaining - 2] : 0;
        RETURN_IF_ERROR(VLONG_setUnit(record.get(), index, high << 32 | words[remaining - 1]));
        remaining -= std::min(remaining, 2U);
    }
    *out = record.release();
    return OK;
}

Status VLONG_print(const char* label, const vlong* value) {
    if (label == nullptr || value == nullptr) {
        return ERR_NULL_POINTER;
    }
    constexpr std::uint32_t kBytesPerLine = 24;
    std::printf("%s\n", label);
    const std::uint32_t count = byteLength(value);
    for (std::uint32_t i = 1; i <= count; ++i) {
        std::printf("%02X", static_cast<unsigned>(VLONG_getByte(value, count - i)));
        if (i % kBytesPerLine == 0) {
            std::printf("\\\n");
        }
    }
    std::printf("\n");
    return OK;
}
