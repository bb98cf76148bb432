#include "core/hash/sha_kernels.h"
#include "core/memory/endian.h"
#include "core/memory/secret.h"

#include <bit>

namespace {

using Word = std::uint32_t;
using Schedule = SecretArray<Word, 80>;

void expandMessage(Schedule& schedule, const std::uint8_t* block) {
    for (std::size_t t = 0; t < 16; ++t) {
        schedule[t] = loadBigEndian<Word>(block + 4 * t);
    }
    for (std::size_t t = 16; t < 80; ++t) {
        schedule[t] = std::rotl(schedule[t - 3] ^ schedule[t - 8] ^ schedule[t - 14] ^ schedule[t - 16], 1);
    }
}

constexpr Word choose(Word x, Word y, Word z) {
    return z ^ (x & (y ^ z));
}

constexpr Word parity(Word x, Word y, Word z) {
    return x ^ y ^ z;
}

constexpr Word majority(Word x, Word y, Word z) {
    return (x & y) | (z & (x | y));
}

// One round. Instead of shifting the five working variables along, the caller names them one place further on.
template <Word (*mix)(Word, Word, Word), Word constant>
void round(Word a, Word& b, Word c, Word d, Word& e, Word scheduled) {
    e += std::rotl(a, 5) + mix(b, c, d) + constant + scheduled;
    b = std::rotl(b, 30);
}

// Twenty rounds of one kind; after every five the variables stand where they stood before.
template <Word (*mix)(Word, Word, Word), Word constant>
void twentyRounds(Word& a, Word& b, Word& c, Word& d, Word& e, const Word* scheduled) {
    for (std::size_t t = 0; t < 20; t += 5) {
        round<mix, constant>(a, b, c, d, e, scheduled[t]);
        round<mix, constant>(e, a, b, c, d, scheduled[t + 1]);
        round<mix, constant>(d, e, a, b, c, scheduled[t + 2]);
        round<mix, constant>(c, d, e, a, b, scheduled[t + 3]);
        round<mix, constant>(b, c, d, e, a, scheduled[t + 4]);
    }
}

} // namespace

void sha1CompressPortable(std::uint32_t* state, const std::uint8_t* blocks, std::size_t blockCount) {
    Schedule schedule;
    for (; blockCount > 0; --blockCount, blocks += 64) {
        expandMessage(schedule, blocks);
        Word a = state[0], b = state[1], c = state[2], d = state[3], e = state[4];
        twentyRounds<choose, 0x5A827999>(a, b, c, d, e, schedule.data());
        twentyRounds<parity, 0x6ED9EBA1>(a, b, c, d, e, schedule.data() + 20);
        twentyRounds<majority, 0x8F1BBCDC>(a, b, c, d, e, schedule.data() + 40);
        twentyRounds<parity, 0xCA62C1D6>(a, b, c, d, e, schedule.data() + 60);
        state[0] += a;
        state[1] += b;
        state[2] += c;
        state[3] += d;
        state[4] += e;
    }
}
