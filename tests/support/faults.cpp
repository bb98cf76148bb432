#include "tests/support/faults.h"

#include "core/memory/internal/heap.h"

#include <array>
#include <cstdlib>

namespace {

// Stands in front of every block; as large as the strictest alignment, so that the block behind it keeps it.
struct alignas(std::max_align_t) BlockHead {
    std::size_t byteCount;
};

std::atomic<std::uint64_t> live{0}, dirty{0}, kept{0};
std::atomic<unsigned> ownWork{0};

} // namespace

FaultPoint& platformFaults(PlatformService service) {
    static std::array<FaultPoint, static_cast<std::size_t>(PlatformService::randomBytes) + 1> points;
    return points[static_cast<std::size_t>(service)];
}

bool platformServiceFails(PlatformService service) {
    return platformFaults(service).strikes();
}

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
    std::fill_n(reinterpret_cast<std::uint8_t*>(head + 1), byteCount, std::uint8_t{0xA5}); // nobody counts on zeros
    return head + 1;
}

void heapFree(void* block) {
    if (block == nullptr) {
        return;
    }
    BlockHead* const head = static_cast<BlockHead*>(block) - 1;
    const auto* const bytes = static_cast<const std::uint8_t*>(block);
    dirty += std::any_of(bytes, bytes + head->byteCount, [](std::uint8_t byte) { return byte != 0; }) ? 1 : 0;
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
