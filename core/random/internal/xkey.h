// Xkey: the key XKEY of the generator, an integer of 20 to 64 bytes.
//
// Threads stir it while others draw from it, without a lock, on purpose; what such a race loses does not matter.
// So every access is a relaxed atomic one, to a 64-bit word. Nothing outside this class knows of words or atomics.
#ifndef ZELSPI_CORE_RANDOM_INTERNAL_XKEY_H
#define ZELSPI_CORE_RANDOM_INTERNAL_XKEY_H

#include "core/hash/sha1.h"

#include <atomic>
#include <cstddef>
#include <cstdint>

inline constexpr std::uint32_t kMaxKeyBytes = 64;
inline constexpr std::uint32_t kMinKeyBytes = 20;

class Xkey {
public:
    static constexpr std::size_t kWords = kMaxKeyBytes / 8;

    // init: takes the key, seed[keyBytes]. For a record of zeros that no other thread knows yet.
    void init(std::uint8_t keyBytes, const std::uint8_t* seed);

    std::uint8_t keyBytes() const {
        return keyBytes_;
    }

    // byte, xorByte, setByte: byte `index`, the most significant one being byte 0; ^= mask; := value.
    std::uint8_t byte(std::size_t index) const {
        return static_cast<std::uint8_t>(load(wordOf(index)) >> shiftOf(index));
    }
    void xorByte(std::size_t index, std::uint8_t mask) {
        std::atomic_ref(words_[wordOf(index)])
            .fetch_xor(std::uint64_t{mask} << shiftOf(index), std::memory_order_relaxed);
    }
    void setByte(std::size_t index, std::uint8_t value) {
        xorByte(index, byte(index) ^ value);
    }

    // asBlock: the key followed by zeros, as the function G takes a block: words[kWords], the lowest first.
    void asBlock(std::uint64_t* words) const {
        for (std::size_t i = 0; i < kWords; ++i) {
            words[i] = load(i);
        }
    }

    // addOnePlus: the key += 1 + x, modulo 2^(8 keyBytes). Shapes: x[3], the lowest word first.
    void addOnePlus(const std::uint64_t* x);

private:
    static std::size_t wordOf(std::size_t index) {
        return kWords - 1 - index / 8;
    }
    static unsigned shiftOf(std::size_t index) {
        return static_cast<unsigned>(8 * (7 - index % 8));
    }
    std::uint64_t load(std::size_t word) const {
        return std::atomic_ref(words_[word]).load(std::memory_order_relaxed);
    }
    void addToWord(std::size_t word, std::uint64_t addend, std::uint64_t& carry);

    mutable std::uint64_t words_[kWords]; // the block of asBlock; mutable, because atomic_ref takes no const word
    std::uint8_t keyBytes_;
};

inline void Xkey::init(std::uint8_t keyBytes, const std::uint8_t* seed) {
    keyBytes_ = keyBytes;
    for (std::size_t i = 0; i < keyBytes; ++i) {
        setByte(i, seed[i]);
    }
}

// The word += addend + carry; carry := what goes over.
inline void Xkey::addToWord(std::size_t word, std::uint64_t addend, std::uint64_t& carry) {
    const std::uint64_t sum = load(word) + addend;
    const std::uint64_t total = sum + carry;
    carry = static_cast<std::uint64_t>(sum < addend) | static_cast<std::uint64_t>(total < carry);
    std::atomic_ref(words_[word]).store(total, std::memory_order_relaxed);
}

// The next round waits for this. A carry goes beyond word 2 once in some 2^33 rounds; the branch on it shows nothing else,
// and lets the processor begin the next round, which starts with the upper words, before this one has ended.
inline void Xkey::addOnePlus(const std::uint64_t* x) {
    std::uint64_t carry = 1;
    if (keyBytes_ == kMaxKeyBytes) {
        addToWord(0, x[0], carry);
        addToWord(1, x[1], carry);
        addToWord(2, x[2], carry);
        for (std::size_t i = 3; carry != 0 && i < kWords; ++i) {
            addToWord(i, 0, carry);
        }
        return;
    }
    for (std::size_t i = 0; i < keyBytes_; ++i) { // shorter keys, which the library itself never makes
        const std::size_t at = keyBytes_ - 1 - i;
        carry += byte(at) + (i < kSha1DigestBytes ? x[i / 8] >> (8 * (i % 8)) & 0xFF : 0);
        setByte(at, static_cast<std::uint8_t>(carry));
        carry >>= 8;
    }
}

#endif
