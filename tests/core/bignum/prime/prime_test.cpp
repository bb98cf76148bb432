#include "core/bignum/prime/candidate_sieve.h"
#include "core/bignum/prime/prime_stages.h"
#include "core/bignum/vlong_math.h"
#include "tests/support/byte_source.h"
#include "tests/support/faults.h"
#include "tests/support/number.h"
#include "tests/support/vectors.h"

#include <cmath>

namespace {

bool isWordPrime(std::uint32_t n) {
    for (std::uint32_t i = 2; i * i <= n; ++i) {
        if (n % i == 0) {
            return false;
        }
    }
    return n > 1;
}

Number nearPower(std::uint32_t bit, Unit distanceBelow) { // 2^bit - distance
    Number n("0");
    EXPECT_EQ(VLONG_setBit(n, bit), OK);
    EXPECT_EQ(VLONG_sub(n, Number(distanceBelow), nullptr), OK);
    return n;
}

Status rounds(const Words& in, Words& out) {
    for (std::size_t i = 1; i < in.size(); ++i) {
        out.push_back(std::to_string(PRIME_millerRabinRounds(numberOf(in[i]), numberOf(in[0]))));
    }
    return OK;
}

Status jacobi(const Words& in, Words& out) {
    std::int32_t symbol = 9;
    RETURN_IF_ERROR(PRIME_jacobi(Number(in[0]), Number(in[1]), &symbol, nullptr));
    out = {std::to_string(symbol)};
    return OK;
}

Status discriminant(const Words& in, Words& out) {
    Number d;
    RETURN_IF_ERROR(PRIME_selfridgeD(Number(in[0]), d.out(), nullptr));
    out = {d.text()};
    return OK;
}

// All odd numbers but the squares, for which the test does not end.
Status lucas(const Words& in, Words& out) {
    const testheap::OwnWork own; // too many allocations to refuse each
    for (std::uint32_t n = 3; n < numberOf(in[0]); n += 2) {
        const auto root = static_cast<std::uint32_t>(std::lround(std::sqrt(n)));
        std::uint32_t flag = 9;
        if (root * root != n) {
            EXPECT_EQ(PRIME_lucasTest(Number(n), &flag, nullptr), OK);
            EXPECT_TRUE(flag == 1 || (flag == 0 && !isWordPrime(n))) << n;
            if (flag == 1 && !isWordPrime(n)) {
                out.push_back(std::to_string(n));
            }
        }
    }
    return OK;
}

// None passes the Lucas test, so none passes the whole.
Status strong(const Words& in, Words& out) {
    const Number n(in[0]);
    std::uint32_t flag = 9, lucasFlag = 9;
    for (std::size_t i = 1; i < in.size(); ++i) {
        MontgomeryCtx context;
        RETURN_IF_ERROR(VLONG_initMontgomeryCtx(&context, n, nullptr));
        Status status = PRIME_millerRabinTest(&context, n, Number(Unit{numberOf(in[i])}), &flag, nullptr);
        status = isError(status) ? status : primeLucasTest(context, &lucasFlag, nullptr);
        EXPECT_EQ(VLONG_clearMontgomeryCtx(&context, nullptr), OK);
        RETURN_IF_ERROR(status);
        EXPECT_EQ(lucasFlag, 0U);
        out.push_back(std::to_string(flag));
    }
    ByteSource source(3);
    RETURN_IF_ERROR(PRIME_isProbablePrime(source.bytes(), n, kPrimeForSearch, &flag, nullptr));
    EXPECT_EQ(flag, 0U);
    return OK;
}

// The prime, and all odd numbers between it and the power. Every round draws one base, one bit shorter than n.
Status below(const Words& in, Words& out) {
    const testheap::OwnWork own;
    const std::uint32_t bits = numberOf(in[0]);
    for (Unit distance = 1;; distance += 2) {
        ByteSource source(1);
        std::uint32_t flag = 9;
        RETURN_IF_ERROR(PRIME_isProbablePrimeSearch(source.bytes(), nearPower(bits, distance), &flag, nullptr));
        if (flag != 0) {
            const std::vector<std::uint32_t> draws(PRIME_millerRabinRounds(bits, kPrimeForSearch), (bits - 1 + 7) / 8);
            EXPECT_EQ(source.draws, draws);
            out = {std::to_string(distance)};
            return OK;
        }
    }
}

Status composite(const Words& in, Words& out) {
    ByteSource source(1);
    std::uint32_t flag = 9;
    const Status status = PRIME_isProbablePrime(source.bytes(), Number(in[0]), kPrimeForSearch, &flag, nullptr);
    EXPECT_EQ(flag, 0U);
    out = {std::to_string(source.draws.size())};
    return status;
}

Status generate(const Words& in, Words& out) {
    const std::uint32_t bits = numberOf(in[0]);
    vlong* queue = nullptr;
    for (vlong** const spare : {static_cast<vlong**>(nullptr), &queue}) {
        ByteSource source(7), failing(7);
        Number prime;
        RETURN_IF_ERROR(PRIME_generate(source.bytes(), prime.out(), bits, spare));
        out = source.told();
        out.insert(out.begin(), prime.text());
        failing.limit = source.draws.size() - 1;
        const Status failed = PRIME_generate(failing.bytes(), prime.out(), bits, spare);
        EXPECT_TRUE(prime.get() == nullptr && queue == nullptr);
        if (failed != ERR_RTOS_MUTEX_WAIT) {
            return isError(failed) ? failed : ERR_FALSE;
        }
    }
    return OK;
}

Status trial(const Words& in, Words& out) {
    std::uint32_t flag = 9;
    RETURN_IF_ERROR(PRIME_trialDivide(Number(Unit{numberOf(in[0])}), numberOf(in[1]), numberOf(in[2]), &flag, nullptr));
    out = {std::to_string(flag)};
    return OK;
}

TEST(Prime, Vectors) {
    runVectors("core/bignum/prime/prime_vectors.txt", {{"rounds", rounds},
                                                       {"jacobi", jacobi},
                                                       {"discriminant", discriminant},
                                                       {"lucas", lucas},
                                                       {"strong", strong},
                                                       {"below", below},
                                                       {"composite", composite},
                                                       {"generate", generate},
                                                       {"trial", trial}});
}

TEST(Prime, Edges) {
    std::uint32_t flag = 9;
    std::int32_t symbol = 9;
    EXPECT_EQ(PRIME_lucasTest(Number("0"), &flag, nullptr), ERR_EVEN_NUMBER);
    EXPECT_EQ(flag, 0U);
    Number huge = nearPower(64 * 4096 - 1, 0); // 4096 units, whose squared radix has no room
    EXPECT_EQ(VLONG_setBit(huge, 0), OK);
    EXPECT_EQ(PRIME_lucasTest(huge, &flag, nullptr), ERR_BAD_LENGTH);
    const Number longZero("1"); // as Montgomery products give it: of length 1
    longZero.get()->units[0] = 0;
    EXPECT_EQ(PRIME_jacobi(longZero, Number("3"), &symbol, nullptr), OK);
    EXPECT_EQ(symbol, 0);
    // 2147484439 * 4294968877 passes all rounds with 2^62 + 3, the base that zeros give: the Lucas test alone refuses it.
    for (const PrimePurpose purpose : {0U, 1U, 2U, 3U}) {
        ByteSource zeros(std::vector<std::uint8_t>{});
        EXPECT_EQ(PRIME_isProbablePrime(zeros.bytes(), Number("8000062d8013150b"), purpose, &flag, nullptr), OK);
        EXPECT_EQ(flag, purpose == kPrimeForDsa || purpose == kPrimeForSearch ? 0U : 1U) << purpose;
        EXPECT_EQ(zeros.draws.size(), 50U);
    }
    ByteSource source(1), failing(1);
    EXPECT_EQ(PRIME_isProbablePrime(source.bytes(), nearPower(160, 47), kPrimeForDsa, &flag, nullptr), OK);
    EXPECT_EQ(flag, 1U);
    EXPECT_EQ(source.draws, std::vector<std::uint32_t>(19, 20));
    failing.limit = 3; // the verdict of passed rounds is not left behind when a later draw fails
    EXPECT_EQ(PRIME_isProbablePrimeSearch(failing.bytes(), nearPower(64, 59), &flag, nullptr), ERR_RTOS_MUTEX_WAIT);
    EXPECT_EQ(flag, 0U);
}

TEST(Prime, RandomOddCandidates) {
    for (std::uint32_t bits = 1; bits <= 1040; ++bits) {
        constexpr std::uint32_t kExcess[] = {0, 6, 4, 2, 0, 0, 0, 0};
        for (const auto byte : {std::uint8_t{0}, std::uint8_t{255}}) {
            ByteSource source(Bytes(200, byte));
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
        EXPECT_TRUE(bits <= 64 * kMaxUnits || source.draws.empty());
    }
}

// Against division of each candidate by each odd number.
TEST(Prime, Sieve) {
    Random random(4);
    for (const Unit step : {Unit{2}, Unit{2 * 3 * 251 * 257}, random.unit() << 1}) {
        constexpr std::uint32_t kCount = 300;
        const Number start((random.unit() | 1) >> 8), increment(step);
        refuseEach([&] { return CandidateSieve().fill(start, increment, kCount); });
        CandidateSieve sieve;
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
    std::size_t longRuns = 0, primes = 0;
    for (std::uint32_t factor = 257; factor < 1200; factor += 2) {
        for (std::uint32_t cofactor = 1; isWordPrime(factor) && cofactor < 900; cofactor += 64) {
            const Number n(Unit{factor} * (cofactor == 1 ? 1 : 256 + cofactor));
            ByteSource plain(factor), sieved(factor);
            std::uint32_t expected = 9, flag = 9;
            ASSERT_EQ(primeTestSieved(plain.bytes(), n, kPrimeForAuxiliary, 0, &expected, nullptr), OK);
            ASSERT_EQ(primeTestSieved(sieved.bytes(), n, kPrimeForAuxiliary, factor, &flag, nullptr), OK);
            ASSERT_TRUE(flag == expected && sieved.draws == plain.draws) << n.text();
            longRuns += plain.draws.size() > 1 ? 1U : 0U;
            primes += expected;
        }
    }
    EXPECT_TRUE(longRuns > 50 && primes > 20);
}

TEST(Prime, NullArguments) {
    ByteSource source(1);
    const Number one("1");
    Number out;
    MontgomeryCtx context{};
    std::uint32_t word = 0;
    std::int32_t symbol = 0;
    expectNullsRefused({PRIME_trialDivide}, one, 0, 1, &word, nullptr);
    expectNullsRefused({PRIME_isProbablePrime}, source.bytes(), one, kPrimeForDsa, &word, nullptr);
    expectNullsRefused({PRIME_lucasTest}, one, &word, nullptr);
    expectNullsRefused({PRIME_jacobi}, one, one, &symbol, nullptr);
    expectNullsRefused({PRIME_selfridgeD}, one, out.out(), nullptr);
    expectNullsRefused({PRIME_millerRabinTest}, &context, one, one, &word, nullptr);
    expectNullsRefused({PRIME_generate, VLONG_makeRandomOdd}, source.bytes(), out.out(), 64, nullptr);
}

} // namespace
