#include "tests/support/test_heap.h"

#include "core/memory/heap.h"
#include "tests/support/faults.h"

#include <cstdlib>

namespace {

// Stands in front of every block; as large as the strictest alignment, so that the block behind it keeps it.
struct alignas(std::max_align_t) BlockHead {
    std::size_t byteCount;
};

std::atomic<std::uint64_t> live{0}, dirty{0}, kept{0};
std::atomic<unsigned> ownWork{0};

} // namespace

FaultPoint& heapFaults() {
    static FaultPoint point;
    return point;
}

void* heapAllocate(std::size_t byteCount) {
    if (ownWork == 0 && heapFaults().strikes()) {
        return nullptr;
    }
    auto* const head = static_cast<BlockHead*>(std::malloc(sizeof(BlockHead) + byteCount));
    if (head == nullptr) {
        return nullptr;
    }
    head->byteCount = byteCount;
    ++live;
    auto* const bytes = reinterpret_cast<std::uint8_t*>(head + 1);
    std::fill_n(bytes, byteCount, std::uint8_t{0xA5}); // nobody may count on zeroed memory
    return bytes;
}

void heapFree(void* block) {
    if (block == nullptr) {
        return;
    }
    const auto* const bytes = static_cast<const std::uint8_t*>(block);
    BlockHead* const head = static_cast<BlockHead*>(block) - 1;
    if (std::any_of(bytes, bytes + head->byteCount, [](std::uint8_t byte) { return byte != 0; })) {
        ++dirty;
    }
    --live;
    std::free(head);
}

namespace testheap {

std::uint64_t liveBlocks() {
    return live;
}

std::uint64_t dirtyFrees() {
    return dirty;
}

void keep(std::uint64_t atMost) {
    kept = std::min(live.load(), kept + atMost);
}

std::uint64_t keptBlocks() {
    return kept;
}

OwnWork::OwnWork() {
    ++ownWork;
}

OwnWork::~OwnWork() {
    --ownWork;
}

} // namespace testheap
