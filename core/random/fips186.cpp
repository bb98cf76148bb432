#include "core/random/fips186.h"

#include "core/hash/sha1.h"
#include "core/memory/endian.h"
#include "core/memory/secret.h"

#include <algorithm>
#include <atomic>
#include <cstring>

namespace {

constexpr std::size_t kWordBytes = 4;
using KeyBytes = SecretArray<std::uint8_t, kMaxKeyBytes>;

std::uint32_t load(std::uint32_t& word) {
    return std::atomic_ref(word).load(std::memory_order_relaxed);
}

void store(std::uint32_t& word, std::uint32_t value) {
    std::atomic_ref(word).store(value, std::memory_order_relaxed);
}

// Where byte `index` stands in a big-endian word.
unsigned shiftOf(std::size_t index) {
    return static_cast<unsigned>(8 * (kWordBytes - 1 - index % kWordBytes));
}

void loadBytes(std::uint32_t* words, std::size_t wordCount, std::uint8_t* bytes) {
    for (std::size_t i = 0; i < wordCount; ++i) {
        storeBigEndian(bytes + kWordBytes * i, load(words[i]));
    }
}

void storeBytes(std::uint32_t* words, std::size_t wordCount, const std::uint8_t* bytes) {
    for (std::size_t i = 0; i < wordCount; ++i) {
        store(words[i], loadBigEndian<std::uint32_t>(bytes + kWordBytes * i));
    }
}

// xval += XSEED. The addition is aligned at the end of what remains of the XSEED, so a longer one contributes its last
// keyBytes bytes in every round; programs depend on that.
void addXseed(Fips186State* state, std::uint8_t* xval) {
    if (state->xseed == nullptr || state->xseedRemaining <= 0) {
        return;
    }
    bigEndianAdd(xval, state->keyBytes, state->xseed, static_cast<std::size_t>(state->xseedRemaining), 0);
    state->xseedRemaining -= state->keyBytes;
    if (state->xseedRemaining > 0) {
        state->xseed += state->keyBytes;
    }
}

// Round j (0 or 1) of a block. xval is a local: two threads may be here at once, and G must see a block of one piece.
void runRound(Fips186State* state, std::size_t j) {
    KeyBytes bytes;
    SecretArray<std::uint8_t, kSha1DigestBytes> x;
    loadBytes(state->xkey, kMaxKeyBytes / kWordBytes, bytes.data());
    addXseed(state, bytes.data());
    std::memset(bytes.data() + state->keyBytes, 0, kMaxKeyBytes - state->keyBytes);
    (void)sha1G(bytes.data(), x.data()); // fails for null only
    storeBytes(state->block + 5 * j, 5, x.data());
    loadBytes(state->xkey, kMaxKeyBytes / kWordBytes, bytes.data());
    bigEndianAdd(bytes.data(), state->keyBytes, x.data(), x.size(), 1);
    storeBytes(state->xkey, kMaxKeyBytes / kWordBytes, bytes.data());
}

// Hands the next `length` bytes to put(position, bytes, count), piece by piece as they are produced.
template <typename Put> Status generate(Fips186State* state, std::uint32_t length, Put put) {
    RETURN_IF_ERROR(rtosMutexWait(state->mutex));
    SecretArray<std::uint8_t, kGeneratorBlockBytes> block;
    for (std::uint32_t done = 0; done < length;) {
        if (state->blockRemaining == 0) {
            fips186Stir(state);
            state->blockRemaining = kGeneratorBlockBytes;
        }
        loadBytes(state->block, kGeneratorBlockBytes / kWordBytes, block.data());
        const auto remaining = static_cast<std::uint32_t>(state->blockRemaining);
        const std::uint32_t count = std::min(length - done, remaining);
        put(done, block.data() + kGeneratorBlockBytes - remaining, count);
        state->blockRemaining = static_cast<std::int8_t>(remaining - count);
        done += count;
    }
    (void)rtosMutexRelease(state->mutex); // the bytes are good all the same
    return OK;
}

} // namespace

Status fips186NewContext(RandomContext** context, std::uint32_t keyBytes, const std::uint8_t* xkeySeed,
                         std::int32_t xseedLength, const std::uint8_t* xseed) {
    if (context == nullptr || xkeySeed == nullptr) {
        return ERR_NULL_POINTER;
    }
    *context = nullptr;
    if (keyBytes < kMinKeyBytes || keyBytes > kMaxKeyBytes) {
        return ERR_INVALID_ARG;
    }
    RandomContext* made = nullptr;
    if (isError(memAllocRecord(&made))) {
        return ERR_NULL_POINTER; // the status that callers of this operation know for a refusing heap
    }
    Fips186State& state = made->state;
    if (const Status status = rtosMutexCreate(&state.mutex, 0, 0); isError(status)) {
        (void)memFreeRecord(&made); // it exists
        return status;
    }
    state.keyBytes = static_cast<std::uint8_t>(keyBytes);
    KeyBytes seed;
    std::memset(seed.data(), 0, seed.size());
    std::memcpy(seed.data(), xkeySeed, keyBytes);
    storeBytes(state.xkey, kMaxKeyBytes / kWordBytes, seed.data());
    state.xseed = xseed;
    state.xseedRemaining = std::max(xseedLength, 0);
    *context = made;
    return OK;
}

Status fips186Generate(Fips186State* state, std::uint8_t* buffer, std::uint32_t length) {
    if (length == 0) {
        return OK;
    }
    if (state == nullptr || buffer == nullptr) {
        return ERR_NULL_POINTER;
    }
    return generate(state, length, [buffer](std::uint32_t at, const std::uint8_t* bytes, std::uint32_t count) {
        std::memcpy(buffer + at, bytes, count);
    });
}

Status fips186GenerateOverKey(Fips186State* state) {
    if (state == nullptr) {
        return ERR_NULL_POINTER;
    }
    return generate(state, kMaxKeyBytes, [state](std::uint32_t at, const std::uint8_t* bytes, std::uint32_t count) {
        for (std::uint32_t i = 0; i < count; ++i) {
            setKeyByte(state, at + i, bytes[i]);
        }
    });
}

void fips186Stir(Fips186State* state) {
    runRound(state, 0);
    runRound(state, 1);
}

void xorKeyByte(Fips186State* state, std::size_t index, std::uint8_t mask) {
    const std::uint32_t wide = std::uint32_t{mask} << shiftOf(index);
    std::atomic_ref(state->xkey[index / kWordBytes]).fetch_xor(wide, std::memory_order_relaxed);
}

std::uint8_t keyByte(Fips186State* state, std::size_t index) {
    return static_cast<std::uint8_t>(load(state->xkey[index / kWordBytes]) >> shiftOf(index));
}

void setKeyByte(Fips186State* state, std::size_t index, std::uint8_t value) {
    xorKeyByte(state, index, keyByte(state, index) ^ value);
}
