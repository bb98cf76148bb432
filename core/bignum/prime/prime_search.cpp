// The search for a random prime.
#include "core/bignum/prime/prime.h"
#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong_math.h"
#include "core/bignum/word_math.h"

namespace {

Status findPrime(const RandomBytes& random, vlong** out, std::uint32_t bits, vlong** queue) {
    ScopedVlong candidate(queue);
    RETURN_IF_ERROR(VLONG_makeRandomOdd(random, candidate.out(), bits, queue));
    // Down to a multiple of 3, up to an odd one, and from there to one below a multiple of 6. Nothing below looks at the
    // bit length again: on purpose.
    ScopedVlong excess(queue);
    RETURN_IF_ERROR(VLONG_newValue(wordRemainder(candidate.get(), 3), excess.out(), queue));
    RETURN_IF_ERROR(VLONG_sub(candidate.get(), excess.get(), queue));
    RETURN_IF_ERROR(VLONG_addUnit(candidate.get(), VLONG_testBit(candidate.get(), 0) ? 2 : 5, queue));
    for (Unit step = 2;; step = 6 - step) { // 2 and 4 in turn
        std::uint32_t isPrime = 0;
        RETURN_IF_ERROR(PRIME_isProbablePrimeSearch(random, candidate.get(), &isPrime, queue));
        if (isPrime != 0) {
            *out = candidate.release();
            return OK;
        }
        RETURN_IF_ERROR(VLONG_addUnit(candidate.get(), step, queue));
    }
}

} // namespace

Status PRIME_generate(const RandomBytes& random, vlong** out, std::uint32_t bits, vlong** queue) {
    if (out == nullptr) {
        return ERR_NULL_POINTER;
    }
    *out = nullptr;
    LocalQueue local(queue);
    const Status status = findPrime(random, out, bits, local.get());
    (void)VLONG_freeQueue(queue); // the caller's queue, too: always OK
    return status;
}
