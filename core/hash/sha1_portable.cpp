#include "core/hash/sha_kernels.h"
#include "core/memory/endian.h"
#include "core/memory/secret.h"

#include <algorithm>
#include <bit>
#include <iterator>
#include <utility>

namespace {

using Word = std::uint32_t;
using Schedule = SecretArray<Word, 16>;

// f and K of round t.
template <std::size_t t> constexpr Word mix(Word x, Word y, Word z) {
    if constexpr (t < 20) {
        return (z ^ (x & (y ^ z))) + 0x5A827999;
    } else if constexpr (t < 40) {
        return (x ^ y ^ z) + 0x6ED9EBA1;
    } else if constexpr (t < 60) {
        return ((x & y) | (z & (x | y))) + 0x8F1BBCDC;
    } else {
        return (x ^ y ^ z) + 0xCA62C1D6;
    }
}

// Word t of the message schedule, of which only the last sixteen are kept.
template <std::size_t t> Word scheduled(Schedule& w, const std::uint8_t* block) {
    if constexpr (t < 16) {
        w[t] = loadBigEndian<Word>(block + 4 * t);
    } else {
        w[t % 16] = std::rotl(w[(t - 3) % 16] ^ w[(t - 8) % 16] ^ w[(t - 14) % 16] ^ w[t % 16], 1);
    }
    return w[t % 16];
}

// Round t. The five working variables are not shifted along: in round t, the one called a stands at v[-t mod 5].
template <std::size_t t> void round(Word (&v)[5], Schedule& w, const std::uint8_t* block) {
    const Word a = v[(80 - t) % 5], c = v[(82 - t) % 5], d = v[(83 - t) % 5];
    Word &b = v[(81 - t) % 5], &e = v[(84 - t) % 5];
    e += std::rotl(a, 5) + mix<t>(b, c, d) + scheduled<t>(w, block);
    b = std::rotl(b, 30);
}

template <std::size_t... t>
void allRounds(Word (&v)[5], Schedule& w, const std::uint8_t* block, std::index_sequence<t...>) {
    (round<t>(v, w, block), ...);
}

[[gnu::noinline]] void compress(Word* state, const std::uint8_t* blocks, std::size_t blockCount) {
    Schedule w;
    for (; blockCount > 0; --blockCount, blocks += 64) {
        Word v[5] = {state[0], state[1], state[2], state[3], state[4]};
        allRounds(v, w, blocks, std::make_index_sequence<80>());
        for (std::size_t i = 0; i < 5; ++i) {
            state[i] += v[i];
        }
    }
}

} // namespace

void sha1CompressPortable(std::uint32_t* state, const std::uint8_t* blocks, std::size_t blockCount) {
    compress(state, blocks, blockCount);
    wipeStack<512>(); // there are more variables than registers
}

void sha1GPortable(const std::uint64_t* block, std::uint64_t* out) {
    SecretArray<std::uint8_t, 64> bytes;
    SecretArray<Word, 5> state;
    for (std::size_t i = 0; i < 8; ++i) {
        storeBigEndian(bytes.data() + 8 * i, block[7 - i]);
    }
    std::copy(std::begin(kSha1InitialState), std::end(kSha1InitialState), state.data());
    sha1CompressPortable(state.data(), bytes.data(), 1);
    out[0] = std::uint64_t{state[3]} << 32 | state[4];
    out[1] = std::uint64_t{state[1]} << 32 | state[2];
    out[2] = state[0];
}
