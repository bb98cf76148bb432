// The comparison of generated DSA keys with known ones.
#ifndef ZELSPI_TESTS_CORE_PUBKEY_DSA_VECTORS_H
#define ZELSPI_TESTS_CORE_PUBKEY_DSA_VECTORS_H

#include "core/bignum/vlong_math.h"
#include "core/pubkey/dsa.h"
#include "tests/core/bignum/bignum_support.h"
#include "tests/support/byte_source.h"
#include "tests/support/hex.h"

#include <numeric>

namespace dsatest {

using bignumtest::Number;

struct KnownKey {
    std::uint64_t source;
    std::uint32_t L, N;
    DsaHash hash;
    std::uint32_t counter;
    std::size_t draws;
    std::uint32_t drawn;
    const char *seed, *p, *q, *x, *y;
};

inline std::string text(const vlong* value) {
    Number number;
    EXPECT_EQ(VLONG_newCopy(value, number.out(), nullptr), OK);
    return number.text();
}

inline void generateKnownKey(const KnownKey& known, DSAKey& key) {
    SCOPED_TRACE(testing::Message() << known.L << ", " << known.N << ", hash " << known.hash);
    ByteSource source(known.source);
    std::uint32_t counter = 0;
    std::vector<std::uint8_t> seed(known.N / 8);
    Number h;
    const bool isShortForm = known.N == 160 && known.hash == kDsaSha1;
    ASSERT_EQ(isShortForm ? Dsa_GenerateKey(source.bytes(), &key, known.L, &counter, seed.data(), h.out(), nullptr)
                          : Dsa_GenerateKeyEx(source.bytes(), &key, known.L, known.N, known.hash, &counter, seed.data(),
                                              h.out(), nullptr),
              OK);
    EXPECT_EQ(text(key.p), known.p);
    EXPECT_EQ(text(key.q), known.q);
    EXPECT_EQ(text(key.x), known.x);
    EXPECT_EQ(text(key.y), known.y);
    EXPECT_EQ(counter, known.counter);
    EXPECT_EQ(toHex(seed), known.seed);
    EXPECT_EQ(source.draws.size(), known.draws);
    EXPECT_EQ(std::accumulate(source.draws.begin(), source.draws.end(), 0U), known.drawn);
    EXPECT_EQ(VLONG_addUnit(h, 2, nullptr), OK);
    EXPECT_EQ(h.text(), known.p);
}

} // namespace dsatest

#endif
