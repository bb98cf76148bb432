#include "core/bignum/prime/candidate_sieve.h"
#include "core/bignum/prime/prime.h"
#include "core/bignum/word_math.h"

#include <array>

namespace {

constexpr std::uint32_t kPrimeLimit = 1 << 14;

constexpr auto compositesBelowLimit() {
    std::array<bool, kPrimeLimit> isComposite{};
    for (std::uint32_t p = 3; p * p < kPrimeLimit; p += 2) {
        for (std::uint32_t multiple = p * p; !isComposite[p] && multiple < kPrimeLimit; multiple += 2 * p) {
            isComposite[multiple] = true;
        }
    }
    return isComposite;
}

constexpr std::size_t kPrimeCount = 1899;  // odd primes below the limit
constexpr std::size_t kMediumCount = 1027; // those below 2^13

constexpr std::array<std::uint16_t, kPrimeCount> kPrimes = [] {
    std::array<std::uint16_t, kPrimeCount> primes{};
    std::size_t count = 0;
    const auto isComposite = compositesBelowLimit();
    for (std::uint32_t n = 3; n < kPrimeLimit; n += 2) {
        if (!isComposite[n]) {
            primes[count++] = static_cast<std::uint16_t>(n); // one too many is an error at compile time
        }
    }
    return primes;
}();
static_assert(kPrimes.back() == 16381 && kPrimes[kMediumCount - 1] == 8191);

// Batch: four groups of primes, each with as many as fit one remainder. A last batch may have empty groups.
struct Batch {
    static constexpr std::size_t kGroups = 4;
    std::uint32_t products[kGroups];
    std::size_t bounds[kGroups + 1]; // group i is bounds[i] to bounds[i + 1]

    explicit Batch(std::size_t first) {
        for (std::size_t group = 0, end = first; group < kGroups; ++group) {
            bounds[group] = end;
            products[group] = wordProduct(kPrimes, end, kPrimeCount);
            bounds[group + 1] = end;
        }
    }
    std::size_t end() const {
        return bounds[kGroups];
    }
};

using Remainders = SecretArray<Unit, Batch::kGroups>;

// Notes p for each candidate that it divides and that has no smaller factor, given the remainders by p.
void mark(std::uint16_t* factors, std::uint32_t count, std::uint32_t p, std::uint32_t start, std::uint32_t step) {
    std::uint32_t i = 0, distance = p;
    if (step != 0) {
        i = (p - start) * quickInverse(step, p) % p; // start + i * step = 0
    } else if (start == 0) {
        distance = 1;
    } else {
        return;
    }
    for (; i < count; i += distance) {
        if (factors[i] == 0) {
            factors[i] = static_cast<std::uint16_t>(p);
        }
    }
}

} // namespace

std::uint32_t mediumFactor(const vlong* n) {
    for (std::size_t first = kSmallPrimeCount; first < kMediumCount;) {
        const Batch batch(first);
        Remainders remainders;
        wordRemainders(n, batch.products, remainders);
        for (std::size_t group = 0; group < Batch::kGroups; ++group) {
            for (std::size_t i = batch.bounds[group]; i < batch.bounds[group + 1]; ++i) {
                if (remainders[group] % kPrimes[i] == 0) {
                    return kPrimes[i];
                }
            }
        }
        first = batch.end();
    }
    return 0;
}

Status CandidateSieve::fill(const vlong* start, const vlong* step, std::uint32_t count) {
    RETURN_IF_ERROR(factors_.alloc(std::size_t{count} * sizeof(std::uint16_t)));
    auto* const factors = reinterpret_cast<std::uint16_t*>(factors_.data());
    for (std::size_t first = 0; first < kPrimeCount;) {
        const Batch batch(first);
        Remainders starts, steps;
        wordRemainders(start, batch.products, starts);
        wordRemainders(step, batch.products, steps);
        for (std::size_t group = 0; group < Batch::kGroups; ++group) {
            for (std::size_t i = batch.bounds[group]; i < batch.bounds[group + 1]; ++i) {
                mark(factors, count, kPrimes[i], static_cast<std::uint32_t>(starts[group] % kPrimes[i]),
                     static_cast<std::uint32_t>(steps[group] % kPrimes[i]));
            }
        }
        first = batch.end();
    }
    return OK;
}

std::uint32_t CandidateSieve::factor(std::uint32_t i) const {
    return reinterpret_cast<const std::uint16_t*>(factors_.data())[i];
}

bool CandidateSieve::isTriviallyComposite(std::uint32_t i) const {
    return factor(i) != 0 && factor(i) <= PRIME_smallPrimes[kSmallPrimeCount - 1];
}
