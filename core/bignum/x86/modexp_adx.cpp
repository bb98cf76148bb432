// Exponentiation for CPUs with MULX, ADCX and ADOX: Montgomery products and fixed windows.
//
// Scratch, in units of k: the power, one more value, the table of powers; then the scratch of a Montgomery product.
//
// Secrets: every window takes a product with a table entry that is found by reading the whole table; no branch and no
// address depends on base, exponent or modulus, only on the lengths of exponent and modulus. Exponents of up to 64 bits
// are public here (RSA's public exponent): their bits decide on products.
#include "core/bignum/x86/fixed_window.h"
#include "core/bignum/x86/x86_kernels.h"

#include <algorithm>

namespace {

// entry[k] := table[index], all of the table being read.
void lookUp(Unit* entry, const Unit* table, std::size_t entries, std::size_t k, Unit index) {
    std::fill_n(entry, k, Unit{0});
    for (std::size_t j = 0; j < entries; ++j) {
        const volatile Unit maskInMemory = Unit{0} - (((index ^ j) - 1) >> (kUnitBits - 1));
        const Unit isMeant = maskInMemory; // read from memory, so that no optimiser makes it a branch
        for (std::size_t i = 0; i < k; ++i) {
            entry[i] |= table[j * k + i] & isMeant;
        }
    }
}

} // namespace

bool adxTakes(std::uint32_t) {
    return true;
}

std::size_t adxScratch(std::uint32_t k, std::uint32_t exponentBits) {
    return (fixedWindowEntries(exponentBits) + 2) * k + montScratchUnits(k);
}

void adxModExp(const ModExpTask& task, Unit* scratch) {
    const MontModulus& m = task.modulus;
    const std::size_t k = m.count, entries = fixedWindowEntries(task.exponentBits);
    Unit* const power = scratch;
    Unit* const other = power + k;
    Unit* const table = other + k;
    Unit* const product = table + entries * k;

    if (entries == 0) {
        adxMontMultiply(other, task.base, m.radixSquared, m, product);
        std::copy_n(other, k, power);
        for (std::uint32_t i = task.exponentBits - 1; i-- > 0;) {
            adxMontSquare(power, power, m, product);
            if ((task.exponent[0] >> i & 1) != 0) {
                adxMontMultiply(power, power, other, m, product);
            }
        }
    } else {
        std::fill_n(other, k, Unit{0});
        other[0] = 1;
        adxMontMultiply(table, m.radixSquared, other, m, product);
        adxMontMultiply(table + k, task.base, m.radixSquared, m, product);
        for (std::size_t j = 2; j < entries; ++j) {
            j % 2 == 0 ? adxMontSquare(table + j * k, table + j / 2 * k, m, product)
                       : adxMontMultiply(table + j * k, table + (j - 1) * k, table + k, m, product);
        }
        const std::uint32_t width = fixedWindowWidth(task.exponentBits);
        std::uint32_t position = (task.exponentBits - 1) / width * width;
        lookUp(power, table, entries, k, exponentWindow(task, position, width));
        while (position > 0) {
            position -= width;
            for (std::uint32_t i = 0; i < width; ++i) {
                adxMontSquare(power, power, m, product);
            }
            lookUp(other, table, entries, k, exponentWindow(task, position, width));
            adxMontMultiply(power, power, other, m, product);
        }
    }
    std::fill_n(other, k, Unit{0});
    other[0] = 1;
    adxMontMultiply(task.result, power, other, m, product);
}
