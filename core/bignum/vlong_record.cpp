// Records and their storage: taking, releasing, growing, copying.
#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong.h"
#include "core/memory/memory.h"

#include <algorithm>

namespace {

void freeUnits(vlong& value) {
    void* block = value.units;
    (void)memWipeAndFree(&block,
                         std::size_t{value.capacity} * sizeof(Unit)); // a record without a buffer has none to free
    value.units = nullptr;
    value.capacity = 0;
}

Status grow(vlong* value, std::uint64_t unitCount, std::uint32_t spareUnits, std::uint32_t keptUnits) {
    // The limit comes first: a buffer near it has spare units above it, which must not let a request through.
    if (unitCount > kMaxUnits) {
        return ERR_BAD_LENGTH;
    }
    if (unitCount <= value->capacity) {
        return OK;
    }
    const std::uint32_t capacity = static_cast<std::uint32_t>(unitCount) + spareUnits;
    void* block = nullptr;
    RETURN_IF_ERROR(memAlloc(std::size_t{capacity} * sizeof(Unit), &block));
    Unit* const units = static_cast<Unit*>(block);
    std::copy_n(value->units, keptUnits, units);
    freeUnits(*value);
    value->units = units;
    value->capacity = capacity;
    value->length = keptUnits;
    return OK;
}

} // namespace

Status VLONG_alloc(vlong** out, vlong** queue) {
    if (out == nullptr) {
        return ERR_NULL_POINTER;
    }
    if (queue != nullptr && *queue != nullptr) {
        *out = *queue;
        *queue = (*out)->next;
    } else {
        RETURN_IF_ERROR(memAllocRecord(out));
    }
    (*out)->length = 0;
    (*out)->negative = 0;
    (*out)->next = nullptr;
    return OK;
}

Status VLONG_free(vlong** value, vlong** queue) {
    if (value == nullptr || *value == nullptr) {
        return ERR_NULL_POINTER;
    }
    if (queue != nullptr) {
        (*value)->next = *queue;
        *queue = *value;
        *value = nullptr;
        return OK;
    }
    freeUnits(**value);
    return memFreeRecord(value);
}

Status VLONG_freeQueue(vlong** queue) {
    while (queue != nullptr && *queue != nullptr) {
        vlong* record = *queue;
        *queue = record->next;
        (void)VLONG_free(&record, nullptr); // fails for null only
    }
    return OK;
}

Status VLONG_newValue(Unit value, vlong** out, vlong** queue) {
    if (out == nullptr) {
        return ERR_NULL_POINTER;
    }
    *out = nullptr;
    ScopedVlong record(queue);
    RETURN_IF_ERROR(record.alloc());
    RETURN_IF_ERROR(VLONG_setValue(record.get(), value));
    *out = record.release();
    return OK;
}

Status VLONG_newCopy(const vlong* source, vlong** out, vlong** queue) {
    if (source == nullptr || out == nullptr) {
        return ERR_NULL_POINTER;
    }
    *out = nullptr;
    ScopedVlong record(queue);
    RETURN_IF_ERROR(record.alloc());
    RETURN_IF_ERROR(VLONG_copy(record.get(), source));
    *out = record.release();
    return OK;
}

Status VLONG_copy(vlong* target, const vlong* source) {
    if (target == nullptr || source == nullptr) {
        return ERR_NULL_POINTER;
    }
    const std::uint32_t negative = source->negative;
    RETURN_IF_ERROR(VLONG_copyMagnitude(target, source));
    target->negative = negative;
    return OK;
}

Status VLONG_copyMagnitude(vlong* target, const vlong* source) {
    if (target == nullptr || source == nullptr) {
        return ERR_NULL_POINTER;
    }
    if (target == source) {
        return OK; // clearing first would destroy the value
    }
    (void)VLONG_clear(target); // not null
    RETURN_IF_ERROR(VLONG_growKeep(target, source->length));
    std::copy_n(source->units, source->length, target->units);
    target->length = source->length;
    return OK;
}

Status VLONG_clear(vlong* value) {
    if (value == nullptr) {
        return ERR_NULL_POINTER;
    }
    value->length = 0;
    value->negative = 0;
    return OK;
}

Status VLONG_setValue(vlong* value, Unit unit) {
    RETURN_IF_ERROR(VLONG_clear(value));
    return VLONG_setUnit(value, 0, unit);
}

Status VLONG_growKeep(vlong* value, std::uint64_t unitCount) {
    constexpr std::uint32_t kSpareForCarries = 3;
    return value == nullptr ? ERR_NULL_POINTER : grow(value, unitCount, kSpareForCarries, value->length);
}

Status VLONG_growDiscard(vlong* value, std::uint64_t unitCount) {
    return value == nullptr ? ERR_NULL_POINTER : grow(value, unitCount, 1, 0);
}
