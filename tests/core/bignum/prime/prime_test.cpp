// Primes. Known answers come from a model in Python that follows the definitions by plain arithmetic, and from the
// literature where a test says so.
#include "core/bignum/prime/candidate_sieve.h"
#include "core/bignum/prime/prime_stages.h"
#include "core/bignum/vlong_math.h"
#include "tests/core/bignum/bignum_support.h"
#include "tests/support/byte_source.h"
#include "tests/support/test_heap.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace {

using bignumtest::Number;
using bignumtest::Random;

// 2^bit + offset.
Number nearPower(std::uint32_t bit, int offset) {
    Number n(Unit{0});
    EXPECT_EQ(VLONG_setBit(n, bit), OK);
    const Number distance(static_cast<Unit>(std::abs(offset)), offset < 0);
    EXPECT_EQ(VLONG_add(n, distance, nullptr), OK);
    return n;
}

bool isWordPrime(std::uint32_t n) {
    for (std::uint32_t i = 2; i * i <= n; ++i) {
        if (n % i == 0) {
            return false;
        }
    }
    return n > 1;
}

TEST(Prime, RoundTable) {
    constexpr struct {
        std::uint32_t bits, purpose, rounds;
    } kRows[] = {
#include "tests/core/bignum/prime/round_table.inc"
    };
    for (const auto& row : kRows) {
        EXPECT_EQ(PRIME_millerRabinRounds(row.bits, row.purpose), row.rounds) << row.bits << ' ' << row.purpose;
    }
}

TEST(Prime, JacobiSymbolAndDiscriminant) {
    const struct {
        const char *a, *n;
        std::int32_t symbol;
    } kRows[] = {
#include "tests/core/bignum/prime/jacobi_symbols.inc"
    };
    for (const auto& row : kRows) {
        std::int32_t symbol = 9;
        EXPECT_EQ(PRIME_jacobi(Number(row.a), Number(row.n), &symbol, nullptr), OK);
        EXPECT_EQ(symbol, row.symbol) << row.a << " over " << row.n;
    }
    Number longZero(Unit{1}); // as Montgomery products give it: of length 1
    longZero.get()->units[0] = 0;
    std::int32_t symbol = 9;
    EXPECT_EQ(PRIME_jacobi(longZero, Number(3), &symbol, nullptr), OK);
    EXPECT_EQ(symbol, 0);
    const std::pair<Number, const char*> kDiscriminants[] = {
        {Number(19), "-7"}, {Number(23), "5"}, {nearPower(127, -1), "5"}, {nearPower(521, -1), "-7"}};
    for (const auto& [n, expected] : kDiscriminants) {
        Number d;
        EXPECT_EQ(PRIME_selfridgeD(n, d.out(), nullptr), OK);
        EXPECT_EQ(d.text(), expected);
    }
}

// All odd numbers below 20,000 but the squares, for which the test does not end: the primes pass, and of the composites
// these: the published Lucas pseudoprimes, and some that pass because a symbol of 0 does not end the search for D.
TEST(Prime, LucasTest) {
    constexpr std::uint32_t kPseudoprimes[] = {
#include "tests/core/bignum/prime/lucas_pseudoprimes.inc"
    };
    for (std::uint32_t n = 3; n < 20000; n += 2) {
        const auto root = static_cast<std::uint32_t>(std::lround(std::sqrt(n)));
        if (root * root == n) {
            continue;
        }
        std::uint32_t flag = 9;
        ASSERT_EQ(PRIME_lucasTest(Number(n), &flag, nullptr), OK);
        const bool expected = isWordPrime(n) || std::ranges::count(kPseudoprimes, n) != 0;
        ASSERT_EQ(flag, expected ? 1U : 0U) << n;
    }
    std::uint32_t flag = 9;
    EXPECT_EQ(PRIME_lucasTest(Number(Unit{0}), &flag, nullptr), ERR_EVEN_NUMBER);
    EXPECT_EQ(flag, 0U);
    // 4096 units, whose squared radix has no room.
    EXPECT_EQ(PRIME_lucasTest(nearPower(64 * 4096 - 1, 1), &flag, nullptr), ERR_BAD_LENGTH);
}

// The smallest numbers that are strong pseudoprimes to the first n prime bases (Jaeschke; Jiang and Deng; Sorenson and
// Webster), and those bases that they pass; none passes the Lucas test, so none passes the whole.
TEST(Prime, StrongPseudoprimes) {
    const struct {
        const char* n;
        std::vector<Unit> passed, failed;
    } kRows[] = {
#include "tests/core/bignum/prime/strong_pseudoprimes.inc"
    };
    for (const auto& row : kRows) {
        const Number n(row.n);
        MontgomeryCtx context;
        ASSERT_EQ(VLONG_initMontgomeryCtx(&context, n, nullptr), OK);
        std::uint32_t flag = 9;
        for (const Unit base : row.passed) {
            EXPECT_EQ(PRIME_millerRabinTest(&context, n, Number(base), &flag, nullptr), OK);
            EXPECT_EQ(flag, 1U) << row.n << " to " << base;
        }
        EXPECT_EQ(primeLucasTest(context, &flag, nullptr), OK);
        EXPECT_EQ(flag, 0U) << row.n;
        for (const Unit base : row.failed) {
            EXPECT_EQ(PRIME_millerRabinTest(&context, n, Number(base), &flag, nullptr), OK);
            EXPECT_EQ(flag, 0U) << row.n << " to " << base;
        }
        EXPECT_EQ(VLONG_clearMontgomeryCtx(&context, nullptr), OK);
        ByteSource source(3);
        EXPECT_EQ(PRIME_isProbablePrime(source.bytes(), n, kPrimeForSearch, &flag, nullptr), OK);
        EXPECT_EQ(flag, 0U) << row.n;
    }
}

// The largest prime below a power of two at each border of the round tables (Caldwell's list up to 400 bits), with all
// odd numbers between it and the power, which are composite. Every round draws one base, one bit shorter than n.
TEST(Prime, LargestPrimeBelowAPowerOfTwo) {
    constexpr std::pair<std::uint32_t, int> kRows[] = {
#include "tests/core/bignum/prime/primes_below_powers.inc"
    };
    for (const auto& [bits, distance] : kRows) {
        for (int offset = 1; offset <= distance; offset += 2) {
            ByteSource source(1);
            std::uint32_t flag = 9;
            ASSERT_EQ(PRIME_isProbablePrimeSearch(source.bytes(), nearPower(bits, -offset), &flag, nullptr), OK);
            ASSERT_EQ(flag, offset == distance ? 1U : 0U) << "2^" << bits << " - " << offset;
            if (flag != 0) {
                EXPECT_EQ(source.draws, std::vector<std::uint32_t>(PRIME_millerRabinRounds(bits, kPrimeForSearch),
                                                                   (bits - 1 + 7) / 8));
            }
        }
    }
    ByteSource source(1);
    std::uint32_t flag = 9;
    EXPECT_EQ(PRIME_isProbablePrime(source.bytes(), nearPower(160, -47), kPrimeForDsa, &flag, nullptr), OK);
    EXPECT_EQ(flag, 1U);
    EXPECT_EQ(source.draws, std::vector<std::uint32_t>(19, 20));
}

TEST(Prime, EdgesOfTheProbablePrimeTest) {
    const struct {
        Number n;
        Status status;
        std::size_t draws;
    } kRows[] = {
#include "tests/core/bignum/prime/composites.inc"
    }; // Carmichael numbers
    for (const auto& row : kRows) {
        ByteSource source(1);
        std::uint32_t flag = 9;
        EXPECT_EQ(PRIME_isProbablePrime(source.bytes(), row.n, kPrimeForSearch, &flag, nullptr), row.status);
        EXPECT_EQ(flag, 0U) << row.n.text();
        EXPECT_EQ(source.draws.size(), row.draws) << row.n.text();
    }
    // 2147484439 * 4294968877 passes all rounds with 2^62 + 3, the base that zeros give: the Lucas test alone refuses it.
    for (const PrimePurpose purpose : {0U, 1U, 2U, 3U}) {
        ByteSource zeros(std::vector<std::uint8_t>{});
        std::uint32_t flag = 9;
        EXPECT_EQ(PRIME_isProbablePrime(zeros.bytes(), Number("8000062d8013150b"), purpose, &flag, nullptr), OK);
        EXPECT_EQ(flag, purpose == kPrimeForDsa || purpose == kPrimeForSearch ? 0U : 1U) << purpose;
        EXPECT_EQ(zeros.draws.size(), 50U);
    }
    // A range of table entries, and one that ends beyond the table.
    for (const auto& [n, first, end, expected] : {std::tuple{15U, 0U, 53U, 0U},
                                                  {15, 1, 2, 0},
                                                  {15, 2, 53, 1},
                                                  {15, 0, 0, 1},
                                                  {251, 52, ~0U, 0},
                                                  {241, 52, ~0U, 1}}) {
        std::uint32_t flag = 9;
        EXPECT_EQ(PRIME_trialDivide(Number(n), first, end, &flag, nullptr), OK);
        EXPECT_EQ(flag, expected) << n << ' ' << first << ' ' << end;
    }
    // The verdict of passed rounds is not left behind when a later draw fails.
    ByteSource source(1);
    source.limit = 3;
    std::uint32_t flag = 9;
    EXPECT_EQ(PRIME_isProbablePrimeSearch(source.bytes(), nearPower(64, -59), &flag, nullptr), ERR_RTOS_MUTEX_WAIT);
    EXPECT_EQ(flag, 0U);
}

TEST(Prime, RandomOddCandidates) {
    for (std::uint32_t bits = 1; bits <= 1040; ++bits) {
        constexpr std::uint32_t kExcess[] = {0, 6, 4, 2, 0, 0, 0, 0};
        for (const auto byte : {std::uint8_t{0}, std::uint8_t{255}}) {
            ByteSource source(std::vector<std::uint8_t>(200, byte));
            Number value;
            ASSERT_EQ(VLONG_makeRandomOdd(source.bytes(), value.out(), bits, nullptr), OK);
            EXPECT_EQ(VLONG_bitLength(value), byte == 0 ? bits : bits + kExcess[bits % 8]);
            EXPECT_TRUE(VLONG_testBit(value, 0) && VLONG_testBit(value, bits - 1));
            EXPECT_EQ(source.draws, std::vector<std::uint32_t>{(bits + 7) / 8});
        }
    }
    for (const std::uint32_t bits : {0U, 524281U, 524288U, 524289U, ~0U}) {
        ByteSource source(1);
        Number value;
        EXPECT_EQ(VLONG_makeRandomOdd(source.bytes(), value.out(), bits, nullptr), ERR_BAD_LENGTH) << bits;
    }
}

TEST(Prime, Generate) {
    const struct {
        std::uint32_t bits;
        const char* expected;
        std::uint32_t draws, drawn;
    } kRows[] = {
#include "tests/core/bignum/prime/generated_primes.inc"
    };
    vlong* queue = nullptr;
    for (const auto& row : kRows) {
        ByteSource source(7);
        Number prime;
        EXPECT_EQ(PRIME_generate(source.bytes(), prime.out(), row.bits, &queue), OK);
        EXPECT_EQ(queue, nullptr);
        EXPECT_EQ(prime.text(), row.expected);
        EXPECT_EQ(source.draws.size(), row.draws);
        EXPECT_EQ(std::accumulate(source.draws.begin(), source.draws.end(), 0U), row.drawn);

        ByteSource failing(7);
        failing.limit = row.draws - 1;
        EXPECT_EQ(PRIME_generate(failing.bytes(), prime.out(), row.bits, &queue), ERR_RTOS_MUTEX_WAIT);
        EXPECT_EQ(queue, nullptr);
        EXPECT_EQ(prime.get(), nullptr);
    }
}

// Against division of each candidate by each odd number.
TEST(Prime, Sieve) {
    Random random(4);
    for (const Unit step : {Unit{2}, Unit{2 * 3 * 251 * 257}, random.unit() << 1}) {
        const Number start((random.unit() | 1) >> 8), increment(step);
        CandidateSieve sieve;
        constexpr std::uint32_t kCount = 300;
        ASSERT_EQ(sieve.fill(start, increment, kCount), OK);
        for (std::uint32_t i = 0; i < kCount; ++i) {
            std::uint32_t expected = 3;
            while (expected < 16384 &&
                   (start.get()->units[0] % expected + i % expected * (step % expected)) % expected != 0) {
                expected += 2;
            }
            expected = expected < 16384 ? expected : 0;
            EXPECT_EQ(sieve.factor(i), expected);
            EXPECT_EQ(sieve.isTriviallyComposite(i), expected != 0 && expected < 256);
        }
    }
}

// A known factor changes neither verdict nor draws, also where bases that pass are common: for small n.
TEST(Prime, AKnownFactorChangesNothing) {
    std::uint32_t longRuns = 0, primes = 0;
    for (std::uint32_t factor = 257; factor < 1200; factor += 2) {
        for (std::uint32_t cofactor = 1; isWordPrime(factor) && cofactor < 900; cofactor += 64) {
            const Number n(Unit{factor} * (cofactor == 1 ? 1 : 256 + cofactor));
            ByteSource plain(factor), sieved(factor);
            std::uint32_t expected = 9, flag = 9;
            ASSERT_EQ(primeTestSieved(plain.bytes(), n, kPrimeForAuxiliary, 0, &expected, nullptr), OK);
            ASSERT_EQ(primeTestSieved(sieved.bytes(), n, kPrimeForAuxiliary, factor, &flag, nullptr), OK);
            ASSERT_EQ(flag, expected) << n.text();
            ASSERT_EQ(sieved.draws, plain.draws) << n.text();
            longRuns += plain.draws.size() > 1 ? 1U : 0U;
            primes += expected;
        }
    }
    EXPECT_GT(longRuns, 50U);
    EXPECT_GT(primes, 20U);
}

TEST(Prime, AllocationFailures) {
    const std::uint64_t dirty = testheap::dirtyFrees();
    for (vlong* queue = nullptr; vlong * * const spare : {static_cast<vlong**>(nullptr), &queue}) {
        testheap::failEach([&] {
            ByteSource source(7);
            vlong* prime = nullptr;
            const Status status = PRIME_generate(source.bytes(), &prime, 80, spare);
            EXPECT_EQ(prime == nullptr, isError(status));
            (void)VLONG_free(&prime, nullptr); // null after a refusal
            return status;
        });
    }
    const Number start(99), step(2), n(Unit{323});
    testheap::failEach([&] {
        CandidateSieve sieve;
        std::uint32_t flag = 0;
        RETURN_IF_ERROR(sieve.fill(start, step, 10));
        return PRIME_lucasTest(n, &flag, nullptr);
    });
    EXPECT_EQ(testheap::dirtyFrees(), dirty);
}

} // namespace
