#include "core/memory/memory.h"

#include "core/memory/internal/heap.h"

#include <cstring>

Status memAlloc(std::size_t byteCount, void** block) {
    if (block == nullptr) {
        return ERR_NULL_POINTER;
    }
    *block = heapAllocate(byteCount);
    return *block == nullptr ? ERR_MEM_ALLOC_FAIL : OK;
}

Status memAllocZeroed(std::size_t byteCount, void** block) {
    RETURN_IF_ERROR(memAlloc(byteCount, block));
    std::memset(*block, 0, byteCount);
    return OK;
}

Status memFree(void** block) {
    return memWipeAndFree(block, 0);
}

Status memWipeAndFree(void** block, std::size_t byteCount) {
    if (block == nullptr || *block == nullptr) {
        return ERR_NULL_POINTER;
    }
    memWipe(*block, byteCount);
    heapFree(*block);
    *block = nullptr;
    return OK;
}

Status memCopy(void* target, const void* source, std::int64_t count) {
    if (target == nullptr || source == nullptr) {
        return ERR_NULL_POINTER;
    }
    if (count > 0) {
        std::memmove(target, source, static_cast<std::size_t>(count));
    }
    return OK;
}

Status memSet(void* target, std::uint8_t value, std::int64_t count) {
    if (target == nullptr) {
        return ERR_NULL_POINTER;
    }
    if (count > 0) {
        std::memset(target, value, static_cast<std::size_t>(count));
    }
    return OK;
}

Status memXor(void* target, const void* source, std::int64_t count) {
    if (target == nullptr || source == nullptr) {
        return ERR_NULL_POINTER;
    }
    auto* const to = static_cast<std::uint8_t*>(target);
    const auto* const from = static_cast<const std::uint8_t*>(source);
    for (std::int64_t i = 0; i < count; ++i) {
        to[i] = static_cast<std::uint8_t>(to[i] ^ from[i]);
    }
    return OK;
}
