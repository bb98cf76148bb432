// Allocation, byte operations and wiping: the only way to the heap for the core and the bridge.
#ifndef ZELSPI_CORE_MEMORY_MEMORY_H
#define ZELSPI_CORE_MEMORY_MEMORY_H

#include "core/status/status.h"

#include <cstddef>
#include <cstdint>
#include <type_traits>

// memAlloc: a new block of byteCount bytes with undefined contents (0 is allowed and gives a block).
// In/out:  *block is null on failure. Release with memFree.
// Errors:  ERR_NULL_POINTER block null; ERR_MEM_ALLOC_FAIL the heap refuses.
Status memAlloc(std::size_t byteCount, void** block);

// memAllocZeroed: as memAlloc, all bytes zero.
Status memAllocZeroed(std::size_t byteCount, void** block);

// memFree: frees *block and clears it. Does not wipe: see memWipeAndFree.
// Errors:  ERR_NULL_POINTER block or *block null.
Status memFree(void** block);

// memWipeAndFree: zeroes the block's byteCount bytes, frees it and clears *block.
// Errors:  ERR_NULL_POINTER block or *block null.
Status memWipeAndFree(void** block, std::size_t byteCount);

// memCopy: copies count bytes; the two may overlap.
// memSet: sets count bytes to value.
// memXor: target[i] ^= source[i] for count bytes; source may be target itself, no other overlap.
// In/out:  a count of 0 or below does nothing.
// Errors:  ERR_NULL_POINTER a buffer null, whatever the count.
Status memCopy(void* target, const void* source, std::int64_t count);
Status memSet(void* target, std::uint8_t value, std::int64_t count);
Status memXor(void* target, const void* source, std::int64_t count);

// memWipe: zeroes byteCount bytes in a way that no optimiser removes. Null or 0 bytes does nothing.
void memWipe(void* bytes, std::size_t byteCount);

// memAllocRecord: a new record with every byte zero. Errors as memAlloc.
template <typename Record> Status memAllocRecord(Record** record) {
    static_assert(std::is_trivially_copyable_v<Record>);
    if (record == nullptr) {
        return ERR_NULL_POINTER;
    }
    void* block = nullptr;
    const Status status = memAllocZeroed(sizeof(Record), &block);
    *record = static_cast<Record*>(block);
    return status;
}

// memFreeRecord: wipes the whole record, frees it and clears *record. Errors as memFree.
template <typename Record> Status memFreeRecord(Record** record) {
    static_assert(std::is_trivially_copyable_v<Record>);
    if (record == nullptr) {
        return ERR_NULL_POINTER;
    }
    void* block = *record;
    const Status status = memWipeAndFree(&block, sizeof(Record));
    *record = nullptr;
    return status;
}

#endif
