// RandomBytes: where an algorithm draws its random bytes.
#ifndef ZELSPI_CORE_RANDOM_RANDOM_BYTES_H
#define ZELSPI_CORE_RANDOM_RANDOM_BYTES_H

#include "core/random/random.h"

// A source together with what it works on: the generator's context, which converts by itself, or any other source. The
// context must outlive it. Copied freely.
class RandomBytes {
public:
    RandomBytes(RandomContext* context) : source_(randomGenerateCallback), context_(context) {
    }
    RandomBytes(RandomSource source, void* context) : source_(source), context_(context) {
    }

    // fill: buffer[length] := random bytes. Errors: those of the source.
    Status fill(std::uint8_t* buffer, std::uint32_t length) const {
        return source_(context_, length, buffer);
    }

private:
    RandomSource source_;
    void* context_;
};

#endif
