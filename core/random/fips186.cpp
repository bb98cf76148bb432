#include "core/random/fips186.h"

#include "core/hash/sha1.h"
#include "core/memory/endian.h"
#include "core/memory/secret.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <iterator>

namespace {

constexpr std::size_t kKeyWords = kMaxKeyBytes / 8;

// What a round works in; kept over many rounds, and wiped once.
struct RoundScratch {
    SecretArray<std::uint64_t, kKeyWords> key;
    SecretArray<std::uint8_t, kMaxKeyBytes> xval;
    SecretArray<std::uint32_t, kSha1StateWords> x;
};

template <typename Word> Word load(Word& word) {
    return std::atomic_ref(word).load(std::memory_order_relaxed);
}

template <typename Word> void store(Word& word, Word value) {
    std::atomic_ref(word).store(value, std::memory_order_relaxed);
}

// Where byte `index` of XKEY stands in its word.
unsigned shiftOf(std::size_t index) {
    return static_cast<unsigned>(8 * (7 - index % 8));
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

// key := (1 + key + x) mod 2^(8 * keyBytes). The key stands at the front of its 512 bits and the rest is zero, so that
// is an addition of (1 + x) * 2^(8 * (64 - keyBytes)) modulo 2^512. Straight-line: this is half of what a round costs
// beside G.
void addToKey(std::uint64_t* key, const std::uint32_t* x, std::size_t keyBytes) {
    const std::uint64_t low = (std::uint64_t{x[3]} << 32 | x[4]) + 1;
    const std::uint64_t lowCarry = low == 0 ? 1 : 0;
    const std::uint64_t middle = (std::uint64_t{x[1]} << 32 | x[2]) + lowCarry;
    const std::uint64_t high = x[0] + (middle < lowCarry ? std::uint64_t{1} : 0);

    const std::size_t shift = 8 * (kMaxKeyBytes - keyBytes);
    const unsigned left = shift % 64;
    // (y >> 1) >> (63 - left) is y >> (64 - left), and 0 where nothing is shifted.
    const std::uint64_t shifted[4] = {low << left, middle << left | (low >> 1) >> (63 - left),
                                      high << left | (middle >> 1) >> (63 - left), (high >> 1) >> (63 - left)};
    std::uint64_t addend[kKeyWords + 1] =
        {}; // last word first; what a short key has no room for goes into the extra one
    std::copy(std::begin(shifted), std::end(shifted), addend + shift / 64);

    std::uint64_t carry = 0;
    for (std::size_t i = 0; i < kKeyWords; ++i) {
        std::uint64_t& word = key[kKeyWords - 1 - i];
        const std::uint64_t sum = word + addend[i];
        word = sum + carry;
        carry = static_cast<std::uint64_t>(sum < addend[i]) | static_cast<std::uint64_t>(word < carry);
    }
}

void loadKey(Fips186State* state, std::uint64_t* key) {
    for (std::size_t i = 0; i < kKeyWords; ++i) {
        key[i] = load(state->xkey[i]);
    }
}

void storeKey(Fips186State* state, const std::uint64_t* key) {
    for (std::size_t i = 0; i < kKeyWords; ++i) {
        store(state->xkey[i], key[i]);
    }
}

// Round j (0 or 1) of a block. xval is the caller's own: two threads may be here at once, and G must see a block of one
// piece.
void runRound(Fips186State* state, std::size_t j, RoundScratch& scratch) {
    loadKey(state, scratch.key.data());
    for (std::size_t i = 0; i < kKeyWords; ++i) {
        storeBigEndian(scratch.xval.data() + 8 * i, scratch.key[i]); // beyond keyBytes the key is zero
    }
    addXseed(state, scratch.xval.data());
    sha1GWords(scratch.xval.data(), scratch.x.data());
    for (std::size_t i = 0; i < kSha1StateWords; ++i) {
        store(state->block[kSha1StateWords * j + i], scratch.x[i]);
    }
    loadKey(state, scratch.key.data()); // anew: others may have touched it meanwhile
    addToKey(scratch.key.data(), scratch.x.data(), state->keyBytes);
    storeKey(state, scratch.key.data());
}

void runRounds(Fips186State* state, RoundScratch& scratch) {
    runRound(state, 0, scratch);
    runRound(state, 1, scratch);
}

// Hands the next `length` bytes to put(position, bytes, count), piece by piece as they are produced.
template <typename Put> Status generate(Fips186State* state, std::uint32_t length, Put put) {
    RETURN_IF_ERROR(rtosMutexWait(state->mutex));
    SecretArray<std::uint8_t, kGeneratorBlockBytes> block;
    RoundScratch scratch;
    for (std::uint32_t done = 0; done < length;) {
        if (state->blockRemaining == 0) {
            runRounds(state, scratch);
            state->blockRemaining = kGeneratorBlockBytes;
        }
        for (std::size_t i = 0; i < std::size(state->block); ++i) {
            storeBigEndian(block.data() + 4 * i, load(state->block[i]));
        }
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
    for (std::size_t i = 0; i < keyBytes; ++i) {
        setKeyByte(&state, i, xkeySeed[i]);
    }
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
    RoundScratch scratch;
    runRounds(state, scratch);
}

void xorKeyByte(Fips186State* state, std::size_t index, std::uint8_t mask) {
    const std::uint64_t wide = std::uint64_t{mask} << shiftOf(index);
    std::atomic_ref(state->xkey[index / 8]).fetch_xor(wide, std::memory_order_relaxed);
}

std::uint8_t keyByte(Fips186State* state, std::size_t index) {
    return static_cast<std::uint8_t>(load(state->xkey[index / 8]) >> shiftOf(index));
}

void setKeyByte(Fips186State* state, std::size_t index, std::uint8_t value) {
    xorKeyByte(state, index, keyByte(state, index) ^ value);
}
