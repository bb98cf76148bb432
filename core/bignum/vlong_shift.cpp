// Shifts of the magnitude.
#include "core/bignum/vlong_math.h"

#include <algorithm>

Status VLONG_shiftLeft(vlong* value, std::uint32_t bitCount) {
    if (value == nullptr) {
        return ERR_NULL_POINTER;
    }
    if (bitCount == 0 || value->length == 0) {
        return OK;
    }
    const std::uint32_t unitShift = bitCount / kUnitBits;
    const std::uint32_t bitShift = bitCount % kUnitBits;
    const std::uint32_t oldLength = value->length;
    RETURN_IF_ERROR(VLONG_growKeep(value, std::uint64_t{oldLength} + unitShift + 1));
    Unit* const units = value->units;
    units[oldLength + unitShift] = 0;
    for (std::uint32_t i = oldLength; i-- > 0;) {
        const Unit unit = units[i];
        if (bitShift != 0) {
            units[i + unitShift + 1] |= unit >> (kUnitBits - bitShift);
        }
        units[i + unitShift] = unit << bitShift;
    }
    std::fill_n(units, unitShift, Unit{0});
    value->length = oldLength + unitShift + (bitShift != 0 ? 1 : 0);
    VLONG_normalise(value);
    return OK;
}

Status VLONG_shiftRight(vlong* value, std::uint32_t bitCount) {
    if (value == nullptr) {
        return ERR_NULL_POINTER;
    }
    if (bitCount == 0) {
        return OK;
    }
    const std::uint32_t unitShift = bitCount / kUnitBits;
    const std::uint32_t bitShift = bitCount % kUnitBits;
    if (unitShift >= value->length) {
        value->length = 0; // the sign flag stays: on purpose
        return OK;
    }
    const std::uint32_t newLength = value->length - unitShift;
    Unit* const units = value->units;
    for (std::uint32_t i = 0; i < newLength; ++i) {
        Unit unit = units[i + unitShift] >> bitShift;
        if (bitShift != 0 && i + 1 < newLength) {
            unit |= units[i + unitShift + 1] << (kUnitBits - bitShift);
        }
        units[i] = unit;
    }
    value->length = newLength;
    VLONG_normalise(value);
    return OK;
}

Status VLONG_shiftLeft1(vlong* value) {
    if (value == nullptr) {
        return ERR_NULL_POINTER;
    }
    const std::uint32_t length = value->length;
    if (length > 0 && value->units[length - 1] >> (kUnitBits - 1) != 0) {
        RETURN_IF_ERROR(VLONG_growKeep(value, std::uint64_t{length} + 1));
    }
    Unit carry = 0;
    for (std::uint32_t i = 0; i < length; ++i) {
        const Unit unit = value->units[i];
        value->units[i] = unit << 1 | carry;
        carry = unit >> (kUnitBits - 1);
    }
    return VLONG_setUnit(value, length, carry);
}

Status VLONG_shiftRight1(vlong* value) {
    if (value == nullptr) {
        return ERR_NULL_POINTER;
    }
    Unit carry = 0;
    for (std::uint32_t i = value->length; i-- > 0;) {
        const Unit unit = value->units[i];
        value->units[i] = unit >> 1 | carry;
        carry = unit << (kUnitBits - 1);
    }
    VLONG_normalise(value);
    return OK;
}
