// The SHA-2 compression function, written once for both word sizes (FIPS 180-2, sections 6.2 and 6.3).
//
// A variant names its Word, its round constants and its rotations:
//     bigSigma0, bigSigma1:     three rotations, over the working variables a and e
//     smallSigma0, smallSigma1: two rotations and a shift, over the message schedule
#ifndef ZELSPI_CORE_HASH_SHA2_PORTABLE_H
#define ZELSPI_CORE_HASH_SHA2_PORTABLE_H

#include "core/memory/endian.h"
#include "core/memory/secret.h"

#include <bit>
#include <iterator>

template <typename Variant> class Sha2Compression {
public:
    using Word = typename Variant::Word;

    static void run(Word* state, const std::uint8_t* blocks, std::size_t blockCount) {
        Schedule schedule;
        const Word* const k = Variant::kRoundConstants;
        const Word* const w = schedule.data();
        for (; blockCount > 0; --blockCount, blocks += 16 * sizeof(Word)) {
            expandMessage(schedule, blocks);
            Word a = state[0], b = state[1], c = state[2], d = state[3];
            Word e = state[4], f = state[5], g = state[6], h = state[7];
            for (std::size_t t = 0; t < kRounds; t += 8) {
                round(a, b, c, d, e, f, g, h, k[t] + w[t]);
                round(h, a, b, c, d, e, f, g, k[t + 1] + w[t + 1]);
                round(g, h, a, b, c, d, e, f, k[t + 2] + w[t + 2]);
                round(f, g, h, a, b, c, d, e, k[t + 3] + w[t + 3]);
                round(e, f, g, h, a, b, c, d, k[t + 4] + w[t + 4]);
                round(d, e, f, g, h, a, b, c, k[t + 5] + w[t + 5]);
                round(c, d, e, f, g, h, a, b, k[t + 6] + w[t + 6]);
                round(b, c, d, e, f, g, h, a, k[t + 7] + w[t + 7]);
            }
            const Word worked[8] = {a, b, c, d, e, f, g, h};
            for (std::size_t i = 0; i < 8; ++i) {
                state[i] += worked[i];
            }
        }
    }

private:
    static constexpr std::size_t kRounds = std::size(Variant::kRoundConstants);
    using Schedule = SecretArray<Word, kRounds>;
    using Rotations = const int[3];

    static Word bigSigma(Word x, Rotations& by) {
        return std::rotr(x, by[0]) ^ std::rotr(x, by[1]) ^ std::rotr(x, by[2]);
    }

    static Word smallSigma(Word x, Rotations& by) {
        return std::rotr(x, by[0]) ^ std::rotr(x, by[1]) ^ (x >> by[2]);
    }

    static void expandMessage(Schedule& schedule, const std::uint8_t* block) {
        for (std::size_t t = 0; t < 16; ++t) {
            schedule[t] = loadBigEndian<Word>(block + sizeof(Word) * t);
        }
        for (std::size_t t = 16; t < kRounds; ++t) {
            schedule[t] = schedule[t - 16] + smallSigma(schedule[t - 15], Variant::kSmallSigma0) + schedule[t - 7] +
                          smallSigma(schedule[t - 2], Variant::kSmallSigma1);
        }
    }

    // One round. Instead of shifting the eight working variables along, the caller names them one place further on.
    static void round(Word a, Word b, Word c, Word& d, Word e, Word f, Word g, Word& h, Word constantAndScheduled) {
        const Word choose = g ^ (e & (f ^ g));
        const Word majority = (a & b) | (c & (a | b));
        h += bigSigma(e, Variant::kBigSigma1) + choose + constantAndScheduled;
        d += h;
        h += bigSigma(a, Variant::kBigSigma0) + majority;
    }
};

#endif
