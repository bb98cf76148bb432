#include "core/memory/internal/heap.h"

#include <cstdlib>

void* heapAllocate(std::size_t byteCount) {
    // malloc(0) may return null, which callers would take for a refusal.
    return std::malloc(byteCount == 0 ? 1 : byteCount);
}

void heapFree(void* block) {
    std::free(block);
}
