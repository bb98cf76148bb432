// What the C functions share: handles that know their kind, and results in the caller's room.
#ifndef ZELSPI_CAPI_HANDLE_H
#define ZELSPI_CAPI_HANDLE_H

#include "capi/zel.h"
#include "core/memory/secret.h"

#include <algorithm>
#include <cstdint>

// The first member of every handle says what it is.
inline constexpr std::uint64_t kDigestTag = 0x7453654769446C65;
inline constexpr std::uint64_t kAesTag = 0x744B636F6C426C65;
inline constexpr std::uint64_t kKeyTag = 0x74594B72656E776F;

// checkHandle: Errors: ERR_NULL_POINTER; ERR_INVALID_ARG a handle of another kind.
template <typename Handle> Status checkHandle(const Handle* handle) {
    if (handle == nullptr) {
        return ERR_NULL_POINTER;
    }
    return handle->tag == Handle::kTag ? OK : ERR_INVALID_ARG;
}

// newHandle: a new record with its tag. Errors: ERR_NULL_POINTER handle null; ERR_MEM_ALLOC_FAIL, *handle is then null.
template <typename Handle> Status newHandle(Handle** handle) {
    RETURN_IF_ERROR(memAllocRecord(handle));
    (*handle)->tag = Handle::kTag;
    return OK;
}

// freeHandle: wipes and frees; null is OK. Errors: ERR_INVALID_ARG a handle of another kind.
template <typename Handle> Status freeHandle(Handle* handle) {
    if (handle == nullptr) {
        return OK;
    }
    RETURN_IF_ERROR(checkHandle(handle));
    return memFreeRecord(&handle);
}

// checkInput: Errors: ERR_NULL_POINTER null with bytes in it; ERR_BAD_LENGTH longer than any object can be.
inline Status checkInput(const void* bytes, std::size_t length) {
    if (bytes == nullptr && length != 0) {
        return ERR_NULL_POINTER;
    }
    return length > PTRDIFF_MAX ? ERR_BAD_LENGTH : OK;
}

// bytesAt: the bytes of a checked input; no null pointer, also for none.
inline const std::uint8_t* bytesAt(const void* bytes) {
    static constexpr std::uint8_t kNothing = 0;
    return bytes == nullptr ? &kNothing : static_cast<const std::uint8_t*>(bytes);
}

// forEachPiece: work(piece, count) for one piece after another of bytes[length], of pieceBytes each but the last, until one
// fails. The core takes lengths below 2^31.
template <std::size_t pieceBytes = std::size_t{1} << 30, typename Byte, typename Work>
Status forEachPiece(Byte* bytes, std::size_t length, Work work) {
    while (length > 0) {
        const std::size_t count = std::min(pieceBytes, length);
        RETURN_IF_ERROR(work(bytes, static_cast<std::uint32_t>(count)));
        bytes += count;
        length -= count;
    }
    return OK;
}

// Room: a result "output[*length]" as zel.h describes it.
class Room {
public:
    Room(void* output, std::size_t* length) : output_(static_cast<std::uint8_t*>(output)), length_(length) {
        if (length_ != nullptr) {
            room_ = *length_;
            *length_ = 0;
        }
    }

    // check: Errors: ERR_NULL_POINTER nowhere to put the length.
    Status check() const {
        return length_ == nullptr ? ERR_NULL_POINTER : OK;
    }
    // isQuestion: whether nothing but the room is asked for.
    bool isQuestion() const {
        return output_ == nullptr;
    }
    std::uint8_t* output() const {
        return output_;
    }
    // answer: *length := count.
    Status answer(std::size_t count) {
        *length_ = count;
        return OK;
    }
    // demand: Errors: ERR_BUFFER_OVERFLOW there is less room than count; *length := count then.
    Status demand(std::size_t count) {
        if (room_ < count) {
            *length_ = count;
            return ERR_BUFFER_OVERFLOW;
        }
        return OK;
    }
    // put: the result, or how much room it needs. Errors: as demand.
    Status put(const SecretBuffer& bytes) {
        if (!isQuestion()) {
            RETURN_IF_ERROR(demand(bytes.size()));
            std::copy_n(bytes.data(), bytes.size(), output_);
        }
        return answer(bytes.size());
    }

private:
    std::uint8_t* output_;
    std::size_t* length_;
    std::size_t room_ = 0;
};

#endif
