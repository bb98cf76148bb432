// Trial division by the small primes.
//
// Primes whose product fits half a unit are tried together: one remainder by their product decides on all of them.
#include "core/bignum/prime/prime.h"
#include "core/bignum/word_math.h"

#include <algorithm>

constexpr std::uint8_t PRIME_smallPrimes[kSmallPrimeCount] = {
    3,   5,   7,   11,  13,  17,  19,  23,  29,  31,  37,  41,  43,  47,  53,  59,  61,  67,
    71,  73,  79,  83,  89,  97,  101, 103, 107, 109, 113, 127, 131, 137, 139, 149, 151, 157,
    163, 167, 173, 179, 181, 191, 193, 197, 199, 211, 223, 227, 229, 233, 239, 241, 251};

Status PRIME_trialDivide(const vlong* n, std::uint32_t first, std::uint32_t end, std::uint32_t* flag, vlong**) {
    if (n == nullptr || flag == nullptr) {
        return ERR_NULL_POINTER;
    }
    *flag = 0;
    const std::size_t last = std::min(end, kSmallPrimeCount);
    for (std::size_t next = first; next < last;) {
        std::size_t i = next;
        const std::uint32_t remainder = wordRemainder(n, wordProduct(PRIME_smallPrimes, next, last));
        for (; i < next; ++i) {
            if (remainder % PRIME_smallPrimes[i] == 0) {
                return OK;
            }
        }
    }
    *flag = 1;
    return OK;
}
