#include "core/random/internal/fips186.h"

#include "core/hash/sha1.h"
#include "core/hash/sha_kernels.h"
#include "core/memory/endian.h"
#include "core/memory/secret.h"
#include "core/random/big_endian_add.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <iterator>

namespace {

// What a round works in; kept over many rounds, and wiped once.
struct RoundScratch {
    SecretArray<std::uint64_t, Xkey::kWords> xval; // as an integer, the lowest word first
    SecretArray<std::uint64_t, 3> x;
};

// xval += XSEED, by way of bytes. The addition is aligned at the end of what remains of the XSEED, so a longer one contributes
// its last keyBytes bytes in every round; programs depend on that.
[[gnu::noinline]] void addXseed(Fips186State* state, std::uint64_t* xval) {
    const std::uint8_t keyBytes = state->xkey.keyBytes();
    SecretArray<std::uint8_t, kMaxKeyBytes> bytes;
    for (std::size_t i = 0; i < Xkey::kWords; ++i) {
        storeBigEndian(bytes.data() + 8 * i, xval[Xkey::kWords - 1 - i]);
    }
    bigEndianAdd(bytes.data(), keyBytes, state->xseed, static_cast<std::size_t>(state->xseedRemaining), 0);
    for (std::size_t i = 0; i < Xkey::kWords; ++i) {
        xval[Xkey::kWords - 1 - i] = loadBigEndian<std::uint64_t>(bytes.data() + 8 * i);
    }
    state->xseedRemaining -= keyBytes;
    if (state->xseedRemaining > 0) {
        state->xseed += keyBytes;
    }
}

// A word of the block := the lower half of value.
void storeWord(std::uint32_t& word, std::uint64_t value) {
    std::atomic_ref(word).store(static_cast<std::uint32_t>(value), std::memory_order_relaxed);
}

// Round j (0 or 1) of a block. xval is the caller's own: two threads may be here at once, and G must see a block of one
// piece.
void runRound(Fips186State* state, std::size_t j, RoundScratch& scratch) {
    state->xkey.asBlock(scratch.xval.data());
    if (state->xseed != nullptr && state->xseedRemaining > 0) {
        addXseed(state, scratch.xval.data());
    }
    sha1GKernel().run(scratch.xval.data(), scratch.x.data());
    state->xkey.addOnePlus(scratch.x.data());
    const std::uint64_t* const x = scratch.x.data();
    std::uint32_t* const block = state->block + kSha1StateWords * j;
    storeWord(block[0], x[2]);
    storeWord(block[1], x[1] >> 32);
    storeWord(block[2], x[1]);
    storeWord(block[3], x[0] >> 32);
    storeWord(block[4], x[0]);
}

// Behind it wipeRounds: there are more words of the key than registers.
[[gnu::noinline]] void runRounds(Fips186State* state, RoundScratch& scratch) {
    runRound(state, 0, scratch);
    runRound(state, 1, scratch);
}

constexpr auto wipeRounds = wipeStack<512>;

void writeBlock(Fips186State* state, std::uint8_t* bytes) {
    for (std::size_t i = 0; i < std::size(state->block); ++i) {
        storeBigEndian(bytes + 4 * i, std::atomic_ref(state->block[i]).load(std::memory_order_relaxed));
    }
}

// bytes[count] := the block's bytes from `first` on. A whole block takes no copy between.
void takeFromBlock(Fips186State* state, std::size_t first, std::size_t count, std::uint8_t* bytes) {
    if (count == kGeneratorBlockBytes) {
        writeBlock(state, bytes);
        return;
    }
    SecretArray<std::uint8_t, kGeneratorBlockBytes> block;
    writeBlock(state, block.data());
    std::memcpy(bytes, block.data() + first, count);
}

// Produces the next `length` bytes, piece by piece: take(position, first, count) has to take these of the block.
template <typename Take> Status generate(Fips186State* state, std::uint32_t length, Take take) {
    RETURN_IF_ERROR(rtosMutexWait(state->mutex));
    RoundScratch scratch;
    for (std::uint32_t done = 0; done < length;) {
        if (state->blockRemaining == 0) {
            runRounds(state, scratch);
            state->blockRemaining = kGeneratorBlockBytes;
        }
        const std::uint32_t remaining = static_cast<std::uint8_t>(state->blockRemaining); // 0 to 40
        const std::uint32_t count = std::min(length - done, remaining);
        take(done, kGeneratorBlockBytes - remaining, count);
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
    RandomContext* created = nullptr;
    if (isError(memAllocRecord(&created))) {
        return ERR_NULL_POINTER; // the status that callers of this operation know for a refusing heap
    }
    Fips186State& state = created->state;
    if (const Status status = rtosMutexCreate(&state.mutex, 0, 0); isError(status)) {
        (void)memFreeRecord(&created); // it is not null: cannot fail
        return status;
    }
    state.xkey.init(static_cast<std::uint8_t>(keyBytes), xkeySeed);
    state.xseed = xseed;
    state.xseedRemaining = std::max(xseedLength, 0);
    *context = created;
    return OK;
}

Status fips186Generate(Fips186State* state, std::uint8_t* buffer, std::uint32_t length) {
    if (length == 0) {
        return OK;
    }
    if (state == nullptr || buffer == nullptr) {
        return ERR_NULL_POINTER;
    }
    return generate(state, length, [=](std::uint32_t at, std::size_t first, std::uint32_t count) {
        takeFromBlock(state, first, count, buffer + at);
    });
}

Status fips186GenerateOverKey(Fips186State* state) {
    if (state == nullptr) {
        return ERR_NULL_POINTER;
    }
    SecretArray<std::uint8_t, kGeneratorBlockBytes> bytes;
    return generate(state, state->xkey.keyBytes(), [&](std::uint32_t at, std::size_t first, std::uint32_t count) {
        takeFromBlock(state, first, count, bytes.data());
        for (std::uint32_t i = 0; i < count; ++i) {
            state->xkey.setByte(at + i, bytes.data()[i]);
        }
    });
}

void fips186Stir(Fips186State* state) {
    RoundScratch scratch;
    runRounds(state, scratch);
    wipeRounds();
}
