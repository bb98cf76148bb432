// ByteSource: random bytes that a test knows beforehand, and a record of how they were drawn.
#ifndef ZELSPI_TESTS_SUPPORT_BYTE_SOURCE_H
#define ZELSPI_TESTS_SUPPORT_BYTE_SOURCE_H

#include "core/random/random_bytes.h"

#include <algorithm>
#include <functional>
#include <numeric>
#include <random>
#include <string>
#include <utility>
#include <vector>

class ByteSource {
public:
    // Bytes of Knuth's MMIX, a linear congruential sequence, the top byte of each state.
    explicit ByteSource(std::uint64_t state)
        : next_([mmix = Mmix(state)]() mutable { return static_cast<std::uint8_t>(mmix() >> 56); }) {
    }
    // The bytes given, then zeros.
    explicit ByteSource(std::vector<std::uint8_t> script)
        : next_([script = std::move(script), at = std::size_t{0}]() mutable {
              return at < script.size() ? script[at++] : std::uint8_t{0};
          }) {
    }

    RandomBytes bytes() {
        return {fill, this};
    }

    // How many draws there were, and of how many bytes in all.
    std::vector<std::string> told() const {
        return {std::to_string(draws.size()), std::to_string(std::accumulate(draws.begin(), draws.end(), 0U))};
    }

    std::vector<std::uint32_t> draws;                 // the length of each draw
    std::size_t limit = static_cast<std::size_t>(-1); // draws beyond this number fail with ERR_RTOS_MUTEX_WAIT

    // The source itself; the context is the ByteSource.
    static Status fill(void* context, std::uint32_t length, std::uint8_t* buffer) {
        auto& self = *static_cast<ByteSource*>(context);
        if (self.draws.size() >= self.limit) {
            return ERR_RTOS_MUTEX_WAIT;
        }
        self.draws.push_back(length);
        std::generate_n(buffer, length, std::ref(self.next_));
        return OK;
    }

private:
    using Mmix = std::linear_congruential_engine<std::uint64_t, 6364136223846793005U, 1442695040888963407U, 0>;
    std::function<std::uint8_t()> next_;
};

#endif
