// FuzzInput: takes an input apart into numbers and byte strings. What the input lacks reads as zero and as empty.
#ifndef ZELSPI_FUZZ_FUZZ_INPUT_H
#define ZELSPI_FUZZ_FUZZ_INPUT_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

using Bytes = std::vector<std::uint8_t>;

// dataOf: where the bytes stand; no null pointer for an empty string.
inline const std::uint8_t* dataOf(const Bytes& bytes) {
    static constexpr std::uint8_t kNothing = 0;
    return bytes.empty() ? &kNothing : bytes.data();
}

class FuzzInput {
public:
    FuzzInput(const std::uint8_t* data, std::size_t size) : data_(data), left_(size) {
    }
    std::size_t left() const {
        return left_;
    }
    std::uint8_t byte() {
        return left_ == 0 ? std::uint8_t{0} : (--left_, *data_++);
    }
    // The next byte strings, in a buffer of their own each: a count byte and as many bytes; count bytes; all the rest.
    Bytes bytes() {
        return take(byte());
    }
    Bytes take(std::size_t count) {
        count = std::min(count, left_);
        const Bytes taken = count == 0 ? Bytes() : Bytes(data_, data_ + count);
        data_ += count;
        left_ -= count;
        return taken;
    }
    Bytes rest() {
        return take(left_);
    }

private:
    const std::uint8_t* data_;
    std::size_t left_;
};

#endif
