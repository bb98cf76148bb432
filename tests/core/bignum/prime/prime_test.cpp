#include "core/bignum/prime/candidate_sieve.h"
#include "core/bignum/prime/prime_stages.h"
#include "core/bignum/vlong_math.h"
#include "tests/support/byte_source.h"
#include "tests/support/faults.h"
#include "tests/support/number.h"
#include "tests/support/vectors.h"

#include <cmath>

namespace {

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

// All odd numbers but the squares, for which the test does not end.
Status lucas(const Words& in, Words& out) {
    const testheap::OwnWork own; // too many allocations to refuse each
    std::vector<bool> isComposite(numberOf(in[0]));
    for (std::uint32_t n = 3; n < isComposite.size(); n += 2) {
        for (std::size_t multiple = 3 * n; !isComposite[n] && multiple < isComposite.size(); multiple += 2 * n) {
            isComposite[multiple] = true;
        }
        const auto root = static_cast<std::uint32_t>(std::lround(std::sqrt(n)));
        std::uint32_t flag = 9;
        if (root * root != n) {
            EXPECT_EQ(PRIME_lucasTest(Number(n), &flag, nullptr), OK);
            EXPECT_TRUE(flag == 1 || (flag == 0 && isComposite[n])) << n;
            if (flag == 1 && isComposite[n]) {
                out.push_back(std::to_string(n));
            }
        }
    }
    return OK;
}

Status strong(const Words& in, Words& out) {
    const Number n(in[0]);
    ScopedMontgomeryCtx context(nullptr);
    RETURN_IF_ERROR(context.make(n));
    for (std::size_t i = 1; i < in.size(); ++i) {
        std::uint32_t flag = 9;
        RETURN_IF_ERROR(PRIME_millerRabinTest(context.get(), n, Number(Unit{numberOf(in[i])}), &flag, nullptr));
        out.push_back(std::to_string(flag));
    }
    return OK;
}

Status probable(const Words& in, Words& out) {
    ByteSource source = in[2] == "zeros" ? ByteSource(Bytes{}) : ByteSource(numberOf(in[2]));
    source.limit = numberOf(in[3]);
    std::uint32_t flag = 9;
    const Status status = PRIME_isProbablePrime(source.bytes(), Number(in[0]), numberOf(in[1]), &flag, nullptr);
    out = source.told();
    out.insert(out.begin(), std::to_string(flag));
    return status;
}

Status generate(const Words& in, Words& out) {
    vlong* queue = nullptr;
    for (vlong** const spare : {static_cast<vlong**>(nullptr), &queue}) {
        ByteSource source(7);
        Number prime;
        const Status status = PRIME_generate(source.bytes(), prime.out(), numberOf(in[0]), spare);
        EXPECT_TRUE(queue == nullptr && (prime.get() == nullptr) == isError(status));
        RETURN_IF_ERROR(status);
        out = source.told();
        out.insert(out.begin(), prime.text());
    }
    return OK;
}

// From bytes that are all zeros, and all ones.
Status odd(const Words& in, Words& out) {
    for (const auto byte : {std::uint8_t{0}, std::uint8_t{255}}) {
        ByteSource source(Bytes(200, byte));
        Number value;
        const Status status = VLONG_makeRandomOdd(source.bytes(), value.out(), numberOf(in[0]), nullptr);
        out.push_back(isError(status) ? std::to_string(source.draws.size()) : value.text());
        RETURN_IF_ERROR(status);
    }
    return OK;
}

Status trial(const Words& in, Words& out) {
    std::uint32_t flag = 9;
    RETURN_IF_ERROR(PRIME_trialDivide(Number(Unit{numberOf(in[0])}), numberOf(in[1]), numberOf(in[2]), &flag, nullptr));
    out = {std::to_string(flag)};
    return OK;
}

Status sieve(const Words& in, Words& out) {
    CandidateSieve sieve;
    RETURN_IF_ERROR(sieve.fill(Number(in[0]), Number(in[1]), 60));
    for (std::uint32_t i = 0; i < 60; ++i) {
        out.push_back(std::to_string(sieve.factor(i)));
    }
    return OK;
}

TEST(Prime, Vectors) {
    runVectors("core/bignum/prime/prime_vectors.txt", {{"rounds", rounds},
                                                       {"jacobi", jacobi},
                                                       {"lucas", lucas},
                                                       {"strong", strong},
                                                       {"probable", probable},
                                                       {"generate", generate},
                                                       {"odd", odd},
                                                       {"trial", trial},
                                                       {"sieve", sieve}});
}

// A known factor changes neither verdict nor draws, also where bases that pass are common: for small n.
TEST(Prime, AKnownFactorChangesNothing) {
    for (const std::uint32_t factor : {257U, 263U, 421U, 509U, 523U, 769U, 1009U, 1153U, 1193U}) {
        for (std::uint32_t cofactor = 1; cofactor < 900; cofactor += 4) {
            const Number n(Unit{factor} * (cofactor == 1 ? 1 : 256 + cofactor));
            ByteSource plain(factor), sieved(factor);
            std::uint32_t expected = 9, flag = 9;
            ASSERT_EQ(primeTestSieved(plain.bytes(), n, kPrimeForAuxiliary, 0, &expected, nullptr), OK);
            ASSERT_EQ(primeTestSieved(sieved.bytes(), n, kPrimeForAuxiliary, factor, &flag, nullptr), OK);
            ASSERT_TRUE(flag == expected && sieved.draws == plain.draws) << n.text();
        }
    }
}

TEST(Prime, EdgesAndNulls) {
    std::uint32_t flag = 9;
    std::int32_t symbol = 9;
    EXPECT_EQ(PRIME_lucasTest(Number("0"), &flag, nullptr), ERR_EVEN_NUMBER);
    EXPECT_EQ(flag, 0U);
    EXPECT_EQ(PRIME_lucasTest(Number("1*4096"), &flag, nullptr), ERR_BAD_LENGTH); // its squared radix has no room
    const Number longZero("1"); // as Montgomery products give it: of length 1
    longZero.get()->units[0] = 0;
    EXPECT_EQ(PRIME_jacobi(longZero, Number("3"), &symbol, nullptr), OK);
    EXPECT_EQ(symbol, 0);
    expectNullsRefusedByEach(PRIME_trialDivide, PRIME_isProbablePrime, PRIME_lucasTest, PRIME_jacobi, PRIME_selfridgeD,
                             PRIME_millerRabinTest, PRIME_generate, VLONG_makeRandomOdd);
}

} // namespace
