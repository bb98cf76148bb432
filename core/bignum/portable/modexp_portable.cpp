// The portable exponentiation for public exponents: Montgomery products and a sliding window over the exponent.
//
// Scratch, in units of k: the accumulator, the table of odd powers (entry j holds base^(2 j + 1) in Montgomery form),
// one more value; then the scratch of a Montgomery product. All of it is claimed before the scan, which cannot fail.
//
// Secrets: the window positions and the table entries read follow the bits of the exponent.
#include "core/bignum/modexp.h"
#include "core/bignum/portable/portable_kernels.h"

#include <algorithm>

namespace {

std::size_t tableEntries(std::uint32_t exponentBits) {
    return std::size_t{1} << (VLONG_windowWidth(exponentBits) - 1);
}

// Window: the next step of the scan: square `squarings` times, then multiply by the entry of the odd number `value`, or
// only square when it is 0.
struct Window {
    std::uint32_t squarings, value;
};

// The window that begins at bit i of the exponent.
Window windowAt(const Unit* exponent, std::uint32_t i, std::uint32_t width) {
    const auto bit = [exponent](std::uint32_t index) {
        return static_cast<std::uint32_t>(exponent[index / kUnitBits] >> (index % kUnitBits) & 1);
    };
    if (bit(i) == 0) {
        return {1, 0};
    }
    if (i == 0) {
        return {1, 1};
    }
    // Near the low end the limit is i, not i + 1, so the last bit gets a window of its own: on purpose, and of no effect.
    const std::uint32_t limit = i + 1 < width ? i : width;
    std::uint32_t value = 1, length = 1;
    for (std::uint32_t j = 1; j < limit; ++j) {
        value = 2 * value + bit(i - j);
        if (bit(i - j) != 0) {
            length = j + 1;
        }
    }
    return {length, value >> (limit - length)};
}

} // namespace

std::size_t slidingWindowScratch(std::uint32_t k, std::uint32_t exponentBits, bool) {
    return (tableEntries(exponentBits) + 2) * k + montScratchUnits(k);
}

void slidingWindow(const ModExpTask& task, Unit* scratch) {
    const BignumKernels& kernels = bignumKernels();
    const MontModulus& m = task.modulus;
    const std::size_t k = m.count;
    const std::size_t entries = tableEntries(task.exponentBits);
    Unit* const power = scratch;
    Unit* const table = power + k;
    Unit* const other = table + entries * k;
    Unit* const product = other + k;

    kernels.montMultiply(table, task.base, m.radixSquared, m, product);
    kernels.montSquare(other, table, m, product);
    for (std::size_t j = 1; j < entries; ++j) {
        kernels.montMultiply(table + j * k, table + (j - 1) * k, other, m, product);
    }
    std::fill_n(other, k, Unit{0});
    other[0] = 1;
    kernels.montMultiply(power, m.radixSquared, other, m, product); // one in Montgomery form
    const std::uint32_t width = VLONG_windowWidth(task.exponentBits);
    for (std::uint32_t remaining = task.exponentBits; remaining > 0;) {
        // The first window squares the one: some squarings for nothing, kept for a scan without a special case.
        const Window window = windowAt(task.exponent, remaining - 1, width);
        for (std::uint32_t i = 0; i < window.squarings; ++i) {
            kernels.montSquare(power, power, m, product);
        }
        if (window.value != 0) {
            kernels.montMultiply(power, power, table + (window.value / 2) * k, m, product);
        }
        remaining -= window.squarings;
    }
    kernels.montMultiply(task.result, power, other, m, product);
}
