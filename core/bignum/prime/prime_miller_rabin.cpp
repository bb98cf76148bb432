// The probable-prime test and its Miller-Rabin rounds.
#include "core/bignum/prime/candidate_sieve.h"
#include "core/bignum/prime/prime_stages.h"
#include "core/bignum/residues.h"
#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong_math.h"
#include "core/bignum/word_math.h"

namespace {

// From this size on looking for a factor costs less than the exponentiations that it spares.
constexpr std::uint32_t kMediumFactorUnits = 16;

std::uint32_t roundsForDsa(std::uint32_t bits) {
    switch (bits) {
    case 160:
        return 19;
    case 224:
        return 24;
    case 256:
        return 27;
    case 1024:
    case 2048:
        return 3;
    case 3048: // not 3072, which gets the default: on purpose
        return 2;
    default:
        return 50;
    }
}

std::uint32_t roundsForAuxiliary(std::uint32_t bits) {
    if (bits > 170) {
        return 41;
    }
    if (bits > 140) {
        return 38;
    }
    if (bits > 100) {
        return 28;
    }
    switch (bits) {
    case 512: // these sizes never come here, as all of them are above 170: kept as they are
    case 1024:
        return 5;
    case 1536:
        return 4;
    default:
        return 50;
    }
}

std::uint32_t roundsForSearch(std::uint32_t bits) {
    constexpr struct {
        std::uint32_t from, rounds;
    } kTable[] = {{1024, 2}, {768, 4}, {512, 8}, {256, 15}, {100, 27}, {0, 50}};
    const auto* row = kTable;
    while (bits < row->from) {
        ++row;
    }
    return row->rounds;
}

// n - 1 = oddPart * 2^twos for n > 1.
Status splitPredecessor(const vlong* n, vlong** predecessor, vlong** oddPart, std::uint32_t* twos, vlong** queue) {
    RETURN_IF_ERROR(VLONG_newCopy(n, predecessor, queue));
    RETURN_IF_ERROR(VLONG_decrement(*predecessor, queue));
    *twos = 0;
    while (!VLONG_testBit(*predecessor, *twos)) {
        ++*twos;
    }
    RETURN_IF_ERROR(VLONG_newCopy(*predecessor, oddPart, queue));
    return VLONG_shiftRight(*oddPart, *twos);
}

// Whether a round with base a can pass as far as the prime factor of n can tell. What holds modulo n (the power is 1, or
// -1 after some squarings) holds modulo the factor, where it is found with word-sized numbers.
Status canPass(const vlong* n, const vlong* a, std::uint32_t factor, bool* answer, vlong** queue) {
    *answer = false;
    ScopedVlong predecessor(queue), oddPart(queue);
    std::uint32_t twos = 0;
    RETURN_IF_ERROR(splitPredecessor(n, predecessor.out(), oddPart.out(), &twos, queue));
    const std::uint32_t base = wordRemainder(a, factor);
    if (base == 0) {
        return OK; // all its powers are 0
    }
    std::uint64_t y = wordPower(base, wordRemainder(oddPart.get(), factor - 1), factor); // Fermat
    *answer = y == 1;
    for (std::uint32_t i = 0; i < twos; ++i) {
        *answer = *answer || y == factor - 1;
        y = y * y % factor;
    }
    return OK;
}

} // namespace

std::uint32_t PRIME_millerRabinRounds(std::uint32_t bits, PrimePurpose purpose) {
    switch (purpose) {
    case kPrimeForDsa:
        return roundsForDsa(bits);
    case kPrimeForAuxiliary:
        return roundsForAuxiliary(bits);
    case kPrimeForSearch:
        return roundsForSearch(bits);
    default:
        return 50;
    }
}

Status PRIME_millerRabinTest(const MontgomeryCtx* context, const vlong* n, const vlong* a, std::uint32_t* flag,
                             vlong** queue) {
    if (context == nullptr || n == nullptr || a == nullptr || flag == nullptr) {
        return ERR_NULL_POINTER;
    }
    *flag = 0;
    if (VLONG_cmpUnit(n, 1) <= 0) {
        return OK; // nothing to split
    }
    ScopedVlong predecessor(queue), oddPart(queue), y(queue), square(queue);
    std::uint32_t twos = 0;
    RETURN_IF_ERROR(splitPredecessor(n, predecessor.out(), oddPart.out(), &twos, queue));
    // The candidate may become a secret prime, of which its length is public.
    const std::uint32_t secretBits = takesResidues(n) ? VLONG_bitLength(n) : 0;
    RETURN_IF_ERROR(VLONG_modExpOne({context, a, oddPart.get(), y.out(), secretBits}, queue));
    if (VLONG_cmpUnit(y.get(), 1) == 0 || VLONG_cmp(y.get(), predecessor.get()) == 0) {
        *flag = 1;
        return OK;
    }
    for (std::uint32_t i = 1; i < twos; ++i) {
        RETURN_IF_ERROR(VLONG_mulMod(y.get(), y.get(), n, square.out(), queue));
        y.swap(square);
        if (VLONG_cmp(y.get(), predecessor.get()) == 0) {
            *flag = 1;
            return OK;
        }
        if (VLONG_cmpUnit(y.get(), 1) == 0) {
            return OK; // a root of one that is neither 1 nor -1 came before
        }
    }
    return OK;
}

Status primeTestSieved(const RandomBytes& random, const vlong* n, PrimePurpose purpose, std::uint32_t factor,
                       std::uint32_t* flag, vlong** queue) {
    *flag = 0;
    const std::uint32_t bits = VLONG_bitLength(n);
    ScopedMontgomeryCtx context(queue); // made when it is first needed
    ScopedVlong base(queue);
    for (std::uint32_t remaining = PRIME_millerRabinRounds(bits, purpose); remaining > 0; --remaining) {
        // A base that happens to be a multiple of a prime n, possible for small n only, makes n composite: on purpose.
        RETURN_IF_ERROR(VLONG_makeRandomOdd(random, base.out(), bits - 1, queue));
        RETURN_IF_ERROR(VLONG_addUnit(base.get(), 2, queue));
        bool isOpen = true;
        if (factor != 0) {
            RETURN_IF_ERROR(canPass(n, base.get(), factor, &isOpen, queue));
        }
        std::uint32_t hasPassed = 0;
        if (isOpen) {
            RETURN_IF_ERROR(context.make(n));
            RETURN_IF_ERROR(PRIME_millerRabinTest(context.get(), n, base.get(), &hasPassed, queue));
        }
        if (hasPassed == 0) {
            return OK;
        }
    }
    if (purpose == kPrimeForDsa || purpose == kPrimeForSearch) {
        return primeLucasTest(*context.get(), flag, queue);
    }
    *flag = 1;
    return OK;
}

Status PRIME_isProbablePrime(const RandomBytes& random, const vlong* n, PrimePurpose purpose, std::uint32_t* flag,
                             vlong** queue) {
    if (n == nullptr || flag == nullptr) {
        return ERR_NULL_POINTER;
    }
    *flag = 0;
    if (!VLONG_testBit(n, 0)) {
        return ERR_EVEN_NUMBER;
    }
    std::uint32_t isOpen = 0;
    RETURN_IF_ERROR(PRIME_trialDivide(n, 0, kSmallPrimeCount, &isOpen, queue));
    if (isOpen == 0) {
        return OK;
    }
    const std::uint32_t factor = n->length >= kMediumFactorUnits ? mediumFactor(n) : 0;
    LocalQueue local(queue);
    return primeTestSieved(random, n, purpose, factor, flag, local.get());
}

Status PRIME_isProbablePrimeSearch(const RandomBytes& random, const vlong* n, std::uint32_t* flag, vlong** queue) {
    return PRIME_isProbablePrime(random, n, kPrimeForSearch, flag, queue);
}
