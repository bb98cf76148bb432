// Fixed windows over an exponent, for the exponentiations whose time and addresses do not follow its bits.
#ifndef ZELSPI_CORE_BIGNUM_X86_FIXED_WINDOW_H
#define ZELSPI_CORE_BIGNUM_X86_FIXED_WINDOW_H

#include "core/bignum/kernels.h"

// Exponents of up to so many bits are public: one that could be found by trying would be no secret. RSA's public exponents
// are, and run faster without windows.
inline constexpr std::uint32_t kPublicExponentBits = 64;

constexpr std::uint32_t fixedWindowWidth(std::uint32_t exponentBits) {
    return exponentBits > 512 ? 5 : 4;
}

// fixedWindowEntries: the table of a secret exponent, powers 0 to 2^width - 1; none for a public one.
constexpr std::size_t fixedWindowEntries(std::uint32_t exponentBits) {
    return exponentBits <= kPublicExponentBits ? 0 : std::size_t{1} << fixedWindowWidth(exponentBits);
}

// exponentWindow: `width` bits of the exponent from bit `position` on, zeros above its end.
inline Unit exponentWindow(const ModExpTask& task, std::uint32_t position, std::uint32_t width) {
    const std::uint32_t count = (task.exponentBits + kUnitBits - 1) / kUnitBits;
    const std::uint32_t unit = position / kUnitBits, shift = position % kUnitBits;
    Unit bits = unit < count ? task.exponent[unit] >> shift : 0;
    if (shift + width > kUnitBits && unit + 1 < count) {
        bits |= task.exponent[unit + 1] << (kUnitBits - shift);
    }
    return bits & ((Unit{1} << width) - 1);
}

#endif
