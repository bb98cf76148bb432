#include "core/random/shared_random.h"

#include "capi/handle.h"

int zelRandomIsReady(void) {
    return isSharedRandomReady() ? 1 : 0;
}

ZelStatus zelRandomWait(void) {
    RandomContext* context = nullptr;
    return sharedRandom(&context);
}

ZelStatus zelRandomBytes(void* buffer, size_t length) {
    RETURN_IF_ERROR(checkInput(buffer, length));
    RandomContext* context = nullptr;
    RETURN_IF_ERROR(sharedRandom(&context));
    constexpr std::size_t kPieceBytes = std::size_t{64} * 1024; // so that no other thread is held up for long
    return forEachPiece<kPieceBytes>(
        static_cast<std::uint8_t*>(buffer), length,
        [&](std::uint8_t* piece, std::uint32_t count) { return drawShared(context, count, piece); });
}
