// The random odd candidate.
#include "core/bignum/prime/prime.h"
#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong_convert.h"
#include "core/bignum/vlong_math.h"
#include "core/memory/secret.h"

Status VLONG_makeRandomOdd(const RandomBytes& random, vlong** out, std::uint32_t bits, vlong** queue) {
    if (out == nullptr) {
        return ERR_NULL_POINTER;
    }
    *out = nullptr;
    if (bits > kMaxUnits * kUnitBits) {
        return ERR_BAD_LENGTH; // before so much is drawn
    }
    SecretBuffer bytes; // the seed of a prime, perhaps
    RETURN_IF_ERROR(bytes.alloc((bits + 7) / 8));
    RETURN_IF_ERROR(random.fill(bytes.data(), static_cast<std::uint32_t>(bytes.size())));
    ScopedVlong value(queue);
    RETURN_IF_ERROR(VLONG_fromBytes(bytes.data(), static_cast<std::int32_t>(bytes.size()), value.out(), queue));
    // By bits mod 8, not by the surplus of bits: where they differ the value is up to 6 bits longer, or its upper bits but
    // the top one are fixed. On purpose.
    RETURN_IF_ERROR(VLONG_shiftRight(value.get(), bits % 8));
    RETURN_IF_ERROR(VLONG_setBit(value.get(), 0));
    RETURN_IF_ERROR(VLONG_setBit(value.get(), bits - 1)); // for 0 bits far beyond the limit: an error
    *out = value.release();
    return OK;
}
