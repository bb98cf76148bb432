// Two units by one, in 32-bit digits: algorithm D of Knuth for a divisor of two digits.
#include "core/bignum/portable/portable_kernels.h"
#include "core/bignum/portable/wide.h"

#include <bit>

namespace {

// One quotient digit of (remainder * 2^32 + nextDigit) / d for a normalised d and remainder < d; the remainder is
// updated.
Unit divideDigit(Unit& remainder, Unit nextDigit, Unit d) {
    const Unit dHigh = highHalf(d);
    const Unit dLow = lowHalf(d);
    Unit digit = remainder / dHigh;
    Unit rest = remainder % dHigh;
    // The estimate can be 2^32 or a little more, and is at most two too large.
    while (highHalf(digit) != 0 || digit * dLow > (rest << 32 | nextDigit)) {
        --digit;
        rest += dHigh;
        if (highHalf(rest) != 0) {
            break;
        }
    }
    remainder = (remainder << 32 | nextDigit) - digit * d; // exact modulo 2^64, as the result is below d
    return digit;
}

} // namespace

Unit VLONG_div128by64(Unit high, Unit low, Unit d) {
    if (high == 0) {
        return low / d;
    }
    const int shift = std::countl_zero(d);
    const Unit divisor = d << shift;
    const Unit dividend = low << shift;
    Unit remainder = shift == 0 ? high : high << shift | low >> (64 - shift);
    const Unit upper = divideDigit(remainder, highHalf(dividend), divisor);
    const Unit lower = divideDigit(remainder, lowHalf(dividend), divisor);
    return upper << 32 | lower;
}
