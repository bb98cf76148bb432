#include "core/random/fips186.h"

#include "core/hash/sha1.h"
#include "core/hash/sha_kernels.h"
#include "core/memory/endian.h"
#include "core/memory/secret.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <iterator>
#include <utility>

namespace {

constexpr std::size_t kKeyWords = kMaxKeyBytes / 8;

// What a round works in; kept over many rounds, and wiped once.
struct RoundScratch {
    SecretArray<std::uint64_t, kKeyWords> xval; // as integers, the lowest word first
    SecretArray<std::uint64_t, 3> x;
};

template <typename Word> Word load(Word& word) {
    return std::atomic_ref(word).load(std::memory_order_relaxed);
}

template <typename Word> void store(Word& word, Word value) {
    std::atomic_ref(word).store(value, std::memory_order_relaxed);
}

// Where byte `index` of XKEY stands: its word, and in it.
std::uint64_t& wordOf(Fips186State* state, std::size_t index) {
    return state->xkey[(state->keyBytes - 1 - index) / 8];
}

unsigned shiftOf(const Fips186State* state, std::size_t index) {
    return static_cast<unsigned>(8 * ((state->keyBytes - 1 - index) % 8));
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

// xval := XKEY + XSEED, for keys of any length and with an XSEED: by way of bytes.
void makeXvalOfBytes(Fips186State* state, std::uint64_t* words) {
    SecretArray<std::uint8_t, std::size_t{2} * kMaxKeyBytes> room;
    std::memset(room.data(), 0, room.size()); // xval stays zero beyond keyBytes
    std::uint8_t* const xval = room.data() + kMaxKeyBytes;
    std::uint8_t* const end = xval + state->keyBytes;
    for (std::size_t i = 0; i < kKeyWords; ++i) { // what the words have beyond keyBytes lands in front of xval
        storeBigEndian(end - 8 * (i + 1), load(state->xkey[i]));
    }
    addXseed(state, xval);
    for (std::size_t i = 0; i < kKeyWords; ++i) {
        words[kKeyWords - 1 - i] = loadBigEndian<std::uint64_t>(xval + 8 * i);
    }
}

template <std::size_t... i> void copyKey(Fips186State* state, std::uint64_t* words, std::index_sequence<i...>) {
    ((words[i] = load(state->xkey[i])), ...);
}

// xval := XKEY + XSEED.
void makeXval(Fips186State* state, std::uint64_t* words) {
    if (state->keyBytes != kMaxKeyBytes || state->xseedRemaining > 0) {
        makeXvalOfBytes(state, words);
        return;
    }
    copyKey(state, words, std::make_index_sequence<kKeyWords>());
}

// XKEY word i += addend + carry; carry := what goes over.
void addToWord(std::uint64_t& keyWord, std::uint64_t addend, std::uint64_t& carry) {
    const std::uint64_t sum = load(keyWord) + addend;
    const std::uint64_t word = sum + carry;
    carry = static_cast<std::uint64_t>(sum < addend) | static_cast<std::uint64_t>(word < carry);
    store(keyWord, word);
}

// XKEY += 1 + x. The next round waits for this. A carry goes beyond word 2 once in some 2^33 rounds; the branch on it
// tells nothing else, and lets the processor begin the next round, which starts with the upper words, before this one
// has ended.
void addToKey(Fips186State* state, const std::uint64_t* x) {
    std::uint64_t carry = 1;
    addToWord(state->xkey[0], x[0], carry);
    addToWord(state->xkey[1], x[1], carry);
    addToWord(state->xkey[2], x[2], carry);
    for (std::size_t i = 3; carry != 0 && i < kKeyWords; ++i) {
        addToWord(state->xkey[i], 0, carry);
    }
}

// Round j (0 or 1) of a block. xval is the caller's own: two threads may be here at once, and G must see a block of one
// piece.
void runRound(Fips186State* state, std::size_t j, RoundScratch& scratch) {
    makeXval(state, scratch.xval.data());
    sha1GKernel().run(scratch.xval.data(), scratch.x.data());
    addToKey(state, scratch.x.data());
    std::uint32_t* const block = state->block + kSha1StateWords * j;
    store(block[0], static_cast<std::uint32_t>(scratch.x[2]));
    store(block[1], static_cast<std::uint32_t>(scratch.x[1] >> 32));
    store(block[2], static_cast<std::uint32_t>(scratch.x[1]));
    store(block[3], static_cast<std::uint32_t>(scratch.x[0] >> 32));
    store(block[4], static_cast<std::uint32_t>(scratch.x[0]));
}

// Behind it wipeRounds: there are more words of the key than registers.
[[gnu::noinline]] void runRounds(Fips186State* state, RoundScratch& scratch) {
    runRound(state, 0, scratch);
    runRound(state, 1, scratch);
}

constexpr auto wipeRounds = wipeStack<512>;

void writeBlock(Fips186State* state, std::uint8_t* bytes) {
    for (std::size_t i = 0; i < std::size(state->block); ++i) {
        storeBigEndian(bytes + 4 * i, load(state->block[i]));
    }
}

// Hands the next `length` bytes to put(position, bytes, count), piece by piece as they are produced; whole blocks go
// straight into buffer, unless it is null.
template <typename Put> Status generate(Fips186State* state, std::uint8_t* buffer, std::uint32_t length, Put put) {
    RETURN_IF_ERROR(rtosMutexWait(state->mutex));
    SecretArray<std::uint8_t, kGeneratorBlockBytes> block;
    RoundScratch scratch;
    for (std::uint32_t done = 0; done < length;) {
        if (state->blockRemaining == 0) {
            runRounds(state, scratch);
            state->blockRemaining = kGeneratorBlockBytes;
        }
        const std::uint32_t remaining = static_cast<std::uint8_t>(state->blockRemaining); // 0 to 40
        const std::uint32_t count = std::min(length - done, remaining);
        if (buffer != nullptr && count == kGeneratorBlockBytes) {
            writeBlock(state, buffer + done);
        } else {
            writeBlock(state, block.data());
            put(done, block.data() + kGeneratorBlockBytes - remaining, count);
        }
        state->blockRemaining = static_cast<std::int8_t>(remaining - count);
        done += count;
    }
    wipeRounds();
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
    return generate(state, buffer, length, [buffer](std::uint32_t at, const std::uint8_t* bytes, std::uint32_t count) {
        std::memcpy(buffer + at, bytes, count);
    });
}

Status fips186GenerateOverKey(Fips186State* state) {
    if (state == nullptr) {
        return ERR_NULL_POINTER;
    }
    return generate(state, nullptr, state->keyBytes,
                    [state](std::uint32_t at, const std::uint8_t* bytes, std::uint32_t count) {
                        for (std::uint32_t i = 0; i < count; ++i) {
                            setKeyByte(state, at + i, bytes[i]);
                        }
                    });
}

void fips186Stir(Fips186State* state) {
    RoundScratch scratch;
    runRounds(state, scratch);
    wipeRounds();
}

void xorKeyByte(Fips186State* state, std::size_t index, std::uint8_t mask) {
    const std::uint64_t wide = std::uint64_t{mask} << shiftOf(state, index);
    std::atomic_ref(wordOf(state, index)).fetch_xor(wide, std::memory_order_relaxed);
}

std::uint8_t keyByte(Fips186State* state, std::size_t index) {
    return static_cast<std::uint8_t>(load(wordOf(state, index)) >> shiftOf(state, index));
}

void setKeyByte(Fips186State* state, std::size_t index, std::uint8_t value) {
    xorKeyByte(state, index, keyByte(state, index) ^ value);
}
