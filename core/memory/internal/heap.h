// The heap behind core/memory: two functions that stand in a source file of their own, so that a test program can link
// another heap in its place (one that fails the n-th allocation, counts blocks and looks into what is freed).
#ifndef ZELSPI_CORE_MEMORY_INTERNAL_HEAP_H
#define ZELSPI_CORE_MEMORY_INTERNAL_HEAP_H

#include <cstddef>

// heapAllocate: a block of at least byteCount bytes (also for 0), aligned for every fundamental type; null when the
// heap refuses.
void* heapAllocate(std::size_t byteCount);

// heapFree: returns a block of heapAllocate; null does nothing. The caller has wiped what was secret.
void heapFree(void* block);

#endif
