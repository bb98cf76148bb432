// Holders of secret bytes that wipe themselves: SecretArray on the stack, SecretBuffer on the heap.
#ifndef ZELSPI_CORE_MEMORY_SECRET_H
#define ZELSPI_CORE_MEMORY_SECRET_H

#include "core/memory/memory.h"

// SecretArray: an array of fixed size whose elements are zeroed when it leaves its scope. Not initialised.
template <typename Element, std::size_t count> class SecretArray {
public:
    SecretArray() = default;
    SecretArray(const SecretArray&) = delete;
    SecretArray& operator=(const SecretArray&) = delete;
    ~SecretArray() {
        memWipe(elements_, sizeof elements_);
    }

    Element* data() {
        return elements_;
    }
    const Element* data() const {
        return elements_;
    }
    Element& operator[](std::size_t index) {
        return elements_[index];
    }
    const Element& operator[](std::size_t index) const {
        return elements_[index];
    }
    static constexpr std::size_t size() {
        return count;
    }

private:
    static_assert(std::is_trivially_copyable_v<Element>);
    Element elements_[count];
};

// wipeStack: zeroes what a function that has returned to this one left on the stack, in a frame of at most so many bytes: a
// compiler keeps there what it has no register for.
template <std::size_t byteCount> [[gnu::noinline]] void wipeStack() {
    std::uint8_t frame[byteCount];
    memWipe(frame, sizeof frame);
}

// SecretBuffer: a byte buffer on the heap that is wiped and freed when it leaves its scope.
class SecretBuffer {
public:
    SecretBuffer() = default;
    SecretBuffer(const SecretBuffer&) = delete;
    SecretBuffer& operator=(const SecretBuffer&) = delete;
    ~SecretBuffer() {
        reset();
    }

    // alloc: a zeroed buffer of byteCount bytes in place of the one held.
    // Errors:  ERR_MEM_ALLOC_FAIL; the holder is then empty.
    Status alloc(std::size_t byteCount) {
        reset();
        void* block = nullptr;
        RETURN_IF_ERROR(memAllocZeroed(byteCount, &block));
        bytes_ = static_cast<std::uint8_t*>(block);
        byteCount_ = byteCount;
        return OK;
    }

    // adopt: takes over a block of byteCount bytes, null for none, in place of the one held.
    void adopt(std::uint8_t* bytes, std::size_t byteCount) {
        reset();
        bytes_ = bytes;
        byteCount_ = byteCount;
    }

    void reset() {
        void* block = bytes_;
        (void)memWipeAndFree(&block, byteCount_); // an empty holder has nothing to free
        bytes_ = nullptr;
        byteCount_ = 0;
    }

    // release: hands the block to the caller, who wipes and frees it (memWipeAndFree with size() bytes).
    std::uint8_t* release() {
        std::uint8_t* const bytes = bytes_;
        bytes_ = nullptr;
        byteCount_ = 0;
        return bytes;
    }

    std::uint8_t* data() const {
        return bytes_;
    }
    std::size_t size() const {
        return byteCount_;
    }

private:
    std::uint8_t* bytes_ = nullptr;
    std::size_t byteCount_ = 0;
};

#endif
