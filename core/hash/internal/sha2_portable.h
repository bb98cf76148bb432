// The SHA-2 compression function, written once for both word sizes (FIPS 180-2, sections 6.2 and 6.3).
//
// A variant names its Word, its round constants and its rotations:
//     kBigSigma0, kBigSigma1:     three rotations, over the working variables a and e
//     kSmallSigma0, kSmallSigma1: two rotations and a shift, over the message schedule
#ifndef ZELSPI_CORE_HASH_INTERNAL_SHA2_PORTABLE_H
#define ZELSPI_CORE_HASH_INTERNAL_SHA2_PORTABLE_H

#include "core/memory/endian.h"
#include "core/memory/secret.h"

#include <bit>
#include <iterator>
#include <utility>

template <typename Variant> class Sha2Compression {
public:
    using Word = typename Variant::Word;

    static void run(Word* state, const std::uint8_t* blocks, std::size_t blockCount) {
        compress(state, blocks, blockCount);
        wipeStack<1024>(); // there are more variables than registers
    }

private:
    using Working = Word[8];
    using Schedule = SecretArray<Word, 16>; // only the last sixteen words are kept
    using Rotations = const int[3];

    [[gnu::noinline]] static void compress(Word* state, const std::uint8_t* blocks, std::size_t blockCount) {
        Schedule w;
        for (; blockCount > 0; --blockCount, blocks += 16 * sizeof(Word)) {
            Working v = {state[0], state[1], state[2], state[3], state[4], state[5], state[6], state[7]};
            sixteenRounds<true>(v, w, blocks, Variant::kRoundConstants, std::make_index_sequence<16>());
            for (std::size_t t = 16; t < std::size(Variant::kRoundConstants); t += 16) {
                sixteenRounds<false>(v, w, blocks, Variant::kRoundConstants + t, std::make_index_sequence<16>());
            }
            for (std::size_t i = 0; i < 8; ++i) {
                state[i] += v[i];
            }
        }
    }

    static Word bigSigma(Word x, Rotations& by) {
        return std::rotr(x, by[0]) ^ std::rotr(x, by[1]) ^ std::rotr(x, by[2]);
    }

    static Word smallSigma(Word x, Rotations& by) {
        return std::rotr(x, by[0]) ^ std::rotr(x, by[1]) ^ (x >> by[2]);
    }

    // The schedule's word for the t-th of sixteen rounds: from the message in the first sixteen, from the words before
    // it in the others.
    template <bool isFirst, std::size_t t> static Word scheduled(Schedule& w, const std::uint8_t* block) {
        if constexpr (isFirst) {
            w[t] = loadBigEndian<Word>(block + sizeof(Word) * t);
        } else {
            w[t] += smallSigma(w[(t + 1) % 16], Variant::kSmallSigma0) + w[(t + 9) % 16] +
                    smallSigma(w[(t + 14) % 16], Variant::kSmallSigma1);
        }
        return w[t];
    }

    // The t-th of sixteen rounds. The eight working variables are not shifted along: the one called a stands at v[-t
    // mod 8].
    template <bool isFirst, std::size_t t>
    static void round(Working& v, Schedule& w, const std::uint8_t* block, const Word* constants) {
        const Word a = v[(16 - t) % 8], b = v[(17 - t) % 8], c = v[(18 - t) % 8];
        const Word e = v[(20 - t) % 8], f = v[(21 - t) % 8], g = v[(22 - t) % 8];
        Word &d = v[(19 - t) % 8], &h = v[(23 - t) % 8];
        const Word choose = g ^ (e & (f ^ g));
        const Word majority = (a & b) | (c & (a | b));
        h += bigSigma(e, Variant::kBigSigma1) + choose + constants[t] + scheduled<isFirst, t>(w, block);
        d += h;
        h += bigSigma(a, Variant::kBigSigma0) + majority;
    }

    template <bool isFirst, std::size_t... t>
    static void sixteenRounds(Working& v, Schedule& w, const std::uint8_t* block, const Word* constants,
                              std::index_sequence<t...>) {
        (round<isFirst, t>(v, w, block, constants), ...);
    }
};

#endif
