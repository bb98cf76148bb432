// Single units, bytes and bits of a big integer, and comparison.
#include "core/bignum/kernels.h"
#include "core/bignum/vlong.h"

#include <algorithm>
#include <bit>

namespace {

std::uint32_t lengthOf(const vlong* value) {
    return value == nullptr ? 0 : value->length;
}

bool isBelowZero(const vlong* value) {
    return lengthOf(value) != 0 && value->negative != 0;
}

} // namespace

Status VLONG_setUnit(vlong* value, std::uint32_t index, Unit unit) {
    if (value == nullptr) {
        return ERR_NULL_POINTER;
    }
    if (index < value->length) {
        value->units[index] = unit;
        if (unit == 0) {
            VLONG_normalise(value);
        }
        return OK;
    }
    if (unit == 0) {
        return OK;
    }
    RETURN_IF_ERROR(VLONG_growKeep(value, std::uint64_t{index} + 1));
    std::fill(value->units + value->length, value->units + index, Unit{0});
    value->units[index] = unit;
    value->length = index + 1;
    return OK;
}

Status VLONG_setBit(vlong* value, std::uint32_t index) {
    const std::uint32_t unit = index / kUnitBits;
    return VLONG_setUnit(value, unit, VLONG_getUnit(value, unit) | Unit{1} << (index % kUnitBits));
}

Unit VLONG_getUnit(const vlong* value, std::uint32_t index) {
    return index < lengthOf(value) ? value->units[index] : 0;
}

std::uint8_t VLONG_getByte(const vlong* value, std::uint32_t index) {
    return static_cast<std::uint8_t>(VLONG_getUnit(value, index / 8) >> (8 * (index % 8)));
}

bool VLONG_testBit(const vlong* value, std::uint32_t index) {
    return (VLONG_getUnit(value, index / kUnitBits) >> (index % kUnitBits) & 1) != 0;
}

bool VLONG_isZero(const vlong* value) {
    return lengthOf(value) == 0;
}

std::uint32_t VLONG_bitLength(const vlong* value) {
    const std::uint32_t length = lengthOf(value);
    return length == 0
               ? 0
               : kUnitBits * (length - 1) + static_cast<std::uint32_t>(std::bit_width(value->units[length - 1]));
}

void VLONG_normalise(vlong* value) {
    while (value->length > 0 && value->units[value->length - 1] == 0) {
        --value->length;
    }
}

std::int32_t VLONG_cmpMagnitude(const vlong* a, const vlong* b) {
    const std::uint32_t aLength = lengthOf(a), bLength = lengthOf(b);
    if (aLength != bLength) {
        return aLength < bLength ? -1 : 1;
    }
    return aLength == 0 ? 0 : VLONG_cmpUnits(a->units, b->units, aLength);
}

std::int32_t VLONG_cmp(const vlong* a, const vlong* b) {
    if (isBelowZero(a) != isBelowZero(b)) {
        return isBelowZero(a) ? -1 : 1;
    }
    const std::int32_t order = VLONG_cmpMagnitude(a, b);
    return isBelowZero(a) ? -order : order;
}

std::int32_t VLONG_cmpUnit(const vlong* a, Unit unit) {
    if (a != nullptr && a->negative != 0) {
        return -1; // also for a zero whose flag is set: on purpose
    }
    if (lengthOf(a) > 1) {
        return 1;
    }
    const Unit low = VLONG_getUnit(a, 0);
    return low == unit ? 0 : (low < unit ? -1 : 1);
}
