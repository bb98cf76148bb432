// Exponentiation with AVX-512 IFMA.
//
// Secrets: fixed windows, each a product with a table entry that is found by reading the whole table; no branch and no
// address depends on base, exponent or modulus, only on the lengths of exponent and modulus. The bits of an exponent that
// is short and public decide on products.
#include "core/bignum/branch_free.h"
#include "core/bignum/x86/ifma_products.h"
#include "core/bignum/x86/x86_kernels.h"
#include "core/cpu/cpu_features.h"
#include "core/cpu/x86/clear_registers.h"
#include "core/memory/secret.h"

#include <algorithm>

namespace {

using namespace ifma;

// result := table[index of the task], all of the table being read.
template <typename S, std::uint32_t... r> ZEL_IFMA_INLINE void selectEntry(Unit* result, const Unit* table,
                                                                           std::uint32_t entries, Vector index,
                                                                           std::integer_sequence<std::uint32_t, r...>) {
    Vector entry[S::V] = {((void)r, _mm512_setzero_si512())...};
    for (std::uint32_t j = 0; j < entries; ++j, table += S::kNumberUnits) {
        const __mmask8 isEntry = _mm512_cmpeq_epi64_mask(index, _mm512_set1_epi64(j));
        ((entry[r] = _mm512_mask_mov_epi64(entry[r], isEntry, load(table + r * kLanes))), ...);
    }
    (_mm512_store_si512(result + r * kLanes, entry[r]), ...);
}

template <typename S> ZEL_TARGET_IFMA __attribute__((noinline)) void
lookUp(Unit* result, const Unit* table, std::uint32_t entries, Unit first, Unit second) {
    const Vector index =
        _mm512_mask_set1_epi64(_mm512_set1_epi64(static_cast<long long>(first)), 0xAA, static_cast<long long>(second));
    selectEntry<S>(result, table, entries, index, std::make_integer_sequence<std::uint32_t, S::V>{});
}

// The deepest frame of the functions here that hold digits in registers.
constexpr std::size_t kDeepestFrame = 4096;

// No digit of a secret stays in a register.
ZEL_TARGET_IFMA void wipeRegisters() {
    clearAvx512Registers();
}

template <typename S> void toDigits(Unit* number, std::uint32_t task, const Unit* units) {
    for (std::uint32_t d = 0; d < S::V * S::kTaskLanes; ++d) {
        const std::uint32_t unit = d * kDigitBits / kUnitBits, shift = d * kDigitBits % kUnitBits;
        Unit digit = unit < S::k ? units[unit] >> shift : 0;
        if (shift > kUnitBits - kDigitBits && unit + 1 < S::k) {
            digit |= units[unit + 1] << (kUnitBits - shift);
        }
        number[place<S>(task, d)] = digit & kDigitMask;
    }
}

// units[k] := the number, or 0 in place of the modulus.
template <typename S> void fromDigits(Unit* units, std::uint32_t task, const Unit* number, const Unit* modulus) {
    const auto digit = [&](std::uint32_t d) {
        return number[place<S>(task, d)] & kDigitMask;
    };
    Unit difference = 0; // no unit differs from the modulus
    for (std::uint32_t i = 0; i < S::k; ++i) {
        const std::uint32_t d = i * kUnitBits / kDigitBits, shift = i * kUnitBits % kDigitBits;
        Unit unit = digit(d) >> shift | digit(d + 1) << (kDigitBits - shift);
        if (2 * kDigitBits - shift < kUnitBits) {
            unit |= digit(d + 2) << (2 * kDigitBits - shift);
        }
        units[i] = unit;
        difference |= unit ^ modulus[i];
    }
    const Unit keep = maskOf(isNonzero(difference));
    for (std::uint32_t i = 0; i < S::k; ++i) {
        units[i] &= keep;
    }
}

// number := m' + 1 for m' = m (-1/m mod 2^(52 kZeroDigits)), top := its digit for which there is no lane, or 0.
template <typename S>
void multiplyModulus(Unit* number, Unit* top, std::uint32_t task, const Unit* m, const MontModulus& modulus) {
    __extension__ using DoubleUnit = unsigned __int128;
    const DoubleUnit lowest = DoubleUnit{modulus.units[1]} << kUnitBits | modulus.units[0];
    const DoubleUnit inverse = modulus.negInverse * (lowest * modulus.negInverse + 2); // twice the bits: a Newton step
    const Unit low = static_cast<Unit>(inverse) & kDigitMask;
    const Unit high = S::kZeroDigits < 2 ? 0 : static_cast<Unit>(inverse >> kDigitBits) & kDigitMask;
    DoubleUnit carry = 1;
    for (std::uint32_t d = 0; d < S::V * S::kTaskLanes; ++d) {
        carry += DoubleUnit{m[place<S>(task, d)]} * low;
        carry += d == 0 ? 0 : DoubleUnit{m[place<S>(task, d - 1)]} * high;
        number[place<S>(task, d)] = static_cast<Unit>(carry) & kDigitMask;
        carry >>= kDigitBits;
    }
    top[task] = static_cast<Unit>(carry);
}

// Scratch in numbers: modulus, multiplied modulus, its top and the inverse (a vector each), base, one, power, entry; the table.
constexpr std::size_t kFixedNumbers = 7;

template <typename S> constexpr std::size_t scratchUnitsOf(std::uint32_t exponentBits, bool isSecret) {
    return (kFixedNumbers + fixedWindowEntries(exponentBits, isSecret)) * S::kNumberUnits +
           kLanes; // and the way to the next 64-byte boundary
}

template <typename S> void modExp(const ModExpTask* const (&tasks)[S::kTasks], Unit* scratch) {
    constexpr std::size_t n = S::kNumberUnits;
    Unit* const start = scratch + (Unit{0} - reinterpret_cast<std::uintptr_t>(scratch)) % 64 / sizeof(Unit);
    Unit* const digits = start;
    Unit* const multiplied = digits + n;
    Unit* const top = multiplied + n;
    Unit* const negInverse = top + kLanes;
    Unit* const base = top + n;
    Unit* const one = base + n;
    Unit* const power = one + n;
    Unit* const entry = power + n;
    Unit* const table = entry + n;
    const Modulus m{digits, multiplied, top, negInverse};
    std::uint32_t bits = 0;

    // R^2 = ((2^(128 k))^2 / R) 2^(4 (52 steps - 64 k)) / R.
    constexpr std::uint32_t kLift = 4 * (kDigitBits * S::kSteps - kUnitBits * S::k);
    std::fill_n(one, n, Unit{0});
    for (std::uint32_t task = 0; task < S::kTasks; ++task) {
        const MontModulus& modulus = tasks[task]->modulus;
        bits = std::max(bits, tasks[task]->exponentBits);
        toDigits<S>(digits, task, modulus.units);
        negInverse[task] = modulus.negInverse & kDigitMask;
        multiplyModulus<S>(multiplied, top, task, digits, modulus);
        toDigits<S>(entry, task, modulus.radixSquared);
        toDigits<S>(base, task, tasks[task]->base);
        one[place<S>(task, kLift / kDigitBits)] = Unit{1} << kLift % kDigitBits;
    }
    square<S>(entry, entry, m);
    multiply<S>(entry, entry, one, m);
    multiply<S>(base, base, entry, m);
    std::fill_n(one, n, Unit{0});
    for (std::uint32_t task = 0; task < S::kTasks; ++task) {
        one[place<S>(task, 0)] = 1;
    }

    if (S::kTasks == 1 && isShortAndPublic(bits, tasks[0]->isSecret)) {
        std::copy_n(base, n, power);
        for (std::uint32_t i = bits - 1; i-- > 0;) {
            square<S>(power, power, m);
            if ((tasks[0]->exponent[0] >> i & 1) != 0) {
                multiply<S>(power, power, base, m);
            }
        }
    } else {
        const std::uint32_t width = fixedWindowWidth(bits), entries = 1U << width;
        multiply<S>(table, entry, one, m);
        std::copy_n(base, n, table + n);
        for (std::uint32_t j = 2; j < entries; ++j) {
            j % 2 == 0 ? square<S>(table + j * n, table + j / 2 * n, m)
                       : multiply<S>(table + j * n, table + (j - 1) * n, table + n, m);
        }
        for (std::uint32_t position = (bits - 1) / width * width;; position -= width) {
            const bool isFirst = position + width >= bits;
            for (std::uint32_t i = 0; i < (isFirst ? 0 : width); ++i) {
                square<S>(power, power, m);
            }
            lookUp<S>(isFirst ? power : entry, table, entries, exponentWindow(*tasks[0], position, width),
                      exponentWindow(*tasks[S::kTasks - 1], position, width));
            if (!isFirst) {
                multiply<S>(power, power, entry, m);
            }
            if (position == 0) {
                break;
            }
        }
    }

    leave<S>(power, power, one, m);
    for (std::uint32_t task = 0; task < S::kTasks; ++task) {
        fromDigits<S>(tasks[task]->result, task, power, tasks[task]->modulus.units);
    }
    wipeRegisters();
    wipeStack<kDeepestFrame>();
}

} // namespace

bool ifmaIsSupported() {
    return cpuFeatures().x86.ifma && cpuFeatures().x86.bmi2;
}

bool ifmaTakes(std::uint32_t k) {
    return k == 8 || k == 16 || k == 24 || k == 32 || k == 48 || k == 64;
}

std::size_t ifmaScratch(std::uint32_t k, std::uint32_t exponentBits, bool isSecret) {
    switch (k) {
    case 8:
        return scratchUnitsOf<Pair512>(exponentBits, isSecret);
    case 16:
        return scratchUnitsOf<Pair1024>(exponentBits, isSecret);
    case 24:
        return scratchUnitsOf<Pair1536>(exponentBits, isSecret);
    case 32:
        return scratchUnitsOf<Pair2048>(exponentBits, isSecret);
    case 48:
        return scratchUnitsOf<One3072>(exponentBits, isSecret);
    default:
        return scratchUnitsOf<One4096>(exponentBits, isSecret);
    }
}

void ifmaModExp(const ModExpTask& task, Unit* scratch) {
    switch (task.modulus.count) {
    case 8:
        return modExp<One512>({&task}, scratch);
    case 16:
        return modExp<One1024>({&task}, scratch);
    case 24:
        return modExp<One1536>({&task}, scratch);
    case 32:
        return modExp<One2048>({&task}, scratch);
    case 48:
        return modExp<One3072>({&task}, scratch);
    default:
        return modExp<One4096>({&task}, scratch);
    }
}

void ifmaModExpPair(const ModExpTask& first, const ModExpTask& second, Unit* scratch) {
    const std::uint32_t k = first.modulus.count;
    if (k > 32 ||
        isShortAndPublic(std::max(first.exponentBits, second.exponentBits), first.isSecret || second.isSecret)) {
        ifmaModExp(first, scratch);
        ifmaModExp(second, scratch);
        return;
    }
    switch (k) {
    case 8:
        return modExp<Pair512>({&first, &second}, scratch);
    case 16:
        return modExp<Pair1024>({&first, &second}, scratch);
    case 24:
        return modExp<Pair1536>({&first, &second}, scratch);
    default:
        return modExp<Pair2048>({&first, &second}, scratch);
    }
}
