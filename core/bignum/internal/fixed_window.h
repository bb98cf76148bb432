// Fixed windows over an exponent, for the exponentiations whose time and addresses do not follow its bits.
#ifndef ZELSPI_CORE_BIGNUM_INTERNAL_FIXED_WINDOW_H
#define ZELSPI_CORE_BIGNUM_INTERNAL_FIXED_WINDOW_H

#include "core/bignum/kernels.h"

// isShortAndPublic: whether an exponent, such as RSA's public one, runs faster bit by bit than with a table.
constexpr bool isShortAndPublic(std::uint32_t exponentBits, bool isSecret) {
    return !isSecret && exponentBits <= kUnitBits;
}

constexpr std::uint32_t fixedWindowWidth(std::uint32_t exponentBits) {
    return exponentBits > 512 ? 5 : 4;
}

// fixedWindowEntries: the table of powers 0 to 2^width - 1; none for an exponent that is short and public.
constexpr std::size_t fixedWindowEntries(std::uint32_t exponentBits, bool isSecret) {
    return isShortAndPublic(exponentBits, isSecret) ? 0 : std::size_t{1} << fixedWindowWidth(exponentBits);
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

// fixedWindow: ModExpKernel::one for every odd modulus, on the Montgomery products given. takesEverySize and
// fixedWindowScratch: the rest of such a kernel.
// Secrets: each window takes a product with a table entry that is found by reading the whole table; no branch and no
// address depends on base, exponent or modulus, only on the lengths of exponent and modulus. The bits of an exponent that
// is short and public decide on products.
void fixedWindow(const BignumKernels& kernels, const ModExpTask& task, Unit* scratch);
bool takesEverySize(std::uint32_t k);
std::size_t fixedWindowScratch(std::uint32_t k, std::uint32_t exponentBits, bool isSecret);

#endif
