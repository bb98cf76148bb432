// Exponentiation with fixed windows.
//
// Scratch, in units of k: the power, one more value, the table of powers; then the scratch of a Montgomery product.
#include "core/bignum/internal/fixed_window.h"
#include "core/bignum/branch_free.h"

#include <algorithm>

namespace {

// entry[k] := table[index], all of the table being read.
void lookUp(Unit* entry, const Unit* table, std::size_t entries, std::size_t k, Unit index) {
    std::fill_n(entry, k, Unit{0});
    for (std::size_t j = 0; j < entries; ++j) {
        const Unit isEntry = maskOf(1 - isNonzero(index ^ j));
        for (std::size_t i = 0; i < k; ++i) {
            entry[i] |= table[j * k + i] & isEntry;
        }
    }
}

} // namespace

bool takesEverySize(std::uint32_t) {
    return true;
}

std::size_t fixedWindowScratch(std::uint32_t k, std::uint32_t exponentBits, bool isSecret) {
    return (fixedWindowEntries(exponentBits, isSecret) + 2) * k + montScratchUnits(k);
}

void fixedWindow(const BignumKernels& kernels, const ModExpTask& task, Unit* scratch) {
    const MontModulus& m = task.modulus;
    const std::size_t k = m.count, entries = fixedWindowEntries(task.exponentBits, task.isSecret);
    Unit* const power = scratch;
    Unit* const other = power + k;
    Unit* const table = other + k;
    Unit* const product = table + entries * k;

    if (entries == 0) {
        kernels.montMultiply(other, task.base, m.radixSquared, m, product);
        std::copy_n(other, k, power);
        for (std::uint32_t i = task.exponentBits - 1; i-- > 0;) {
            kernels.montSquare(power, power, m, product);
            if ((task.exponent[0] >> i & 1) != 0) {
                kernels.montMultiply(power, power, other, m, product);
            }
        }
    } else {
        std::fill_n(other, k, Unit{0});
        other[0] = 1;
        kernels.montMultiply(table, m.radixSquared, other, m, product);
        kernels.montMultiply(table + k, task.base, m.radixSquared, m, product);
        for (std::size_t j = 2; j < entries; ++j) {
            j % 2 == 0 ? kernels.montSquare(table + j * k, table + j / 2 * k, m, product)
                       : kernels.montMultiply(table + j * k, table + (j - 1) * k, table + k, m, product);
        }
        const std::uint32_t width = fixedWindowWidth(task.exponentBits);
        std::uint32_t position = (task.exponentBits - 1) / width * width;
        lookUp(power, table, entries, k, exponentWindow(task, position, width));
        while (position > 0) {
            position -= width;
            for (std::uint32_t i = 0; i < width; ++i) {
                kernels.montSquare(power, power, m, product);
            }
            lookUp(other, table, entries, k, exponentWindow(task, position, width));
            kernels.montMultiply(power, power, other, m, product);
        }
    }
    std::fill_n(other, k, Unit{0});
    other[0] = 1;
    kernels.montMultiply(task.result, power, other, m, product);
}
