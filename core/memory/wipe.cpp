#include "core/memory/memory.h"

#include <cstring>

namespace {

// Called through a volatile pointer, memset cannot be proved dead and so is never removed.
void* (*const volatile setBytes)(void*, int, std::size_t) = std::memset;

} // namespace

void memWipe(void* bytes, std::size_t byteCount) {
    if (bytes != nullptr && byteCount > 0) {
        setBytes(bytes, 0, byteCount);
    }
}
