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

// LookUp: which entries of a table are copied to `entry`: for a pair one for each task.
struct LookUp {
    Unit* entry = nullptr;
    const Unit* table = nullptr;
    std::uint32_t entries = 0;
    Unit first = 0, second = 0;

    ZEL_IFMA_INLINE Vector index() const {
        return _mm512_mask_set1_epi64(_mm512_set1_epi64(static_cast<long long>(first)), 0xAA,
                                      static_cast<long long>(second));
    }
};

// How many entries a look-up reads after each square: those of a window suffice for the whole table.
constexpr std::uint32_t kPartEntries = 8, kLongestWindow = fixedWindowWidth(~0U);
static_assert(1U << kLongestWindow <= kPartEntries * kLongestWindow);
static_assert((1U << fixedWindowWidth(1)) % kPartEntries == 0);

// Reads a part of the table from entry `begin` on, and moves the entries that are looked up.
template <typename S, std::uint32_t... r> ZEL_IFMA_INLINE void
lookUpPart(const LookUp& lookUp, Vector index, std::uint32_t begin, std::integer_sequence<std::uint32_t, r...>) {
    Vector entry[S::V] = {load(lookUp.entry + r * kLanes)...};
    const Unit* from = lookUp.table + begin * S::kNumberUnits;
    for (std::uint32_t j = begin; j < begin + kPartEntries; ++j, from += S::kNumberUnits) {
        const __mmask8 isEntry = _mm512_cmpeq_epi64_mask(index, _mm512_set1_epi64(j));
        ((entry[r] = _mm512_mask_mov_epi64(entry[r], isEntry, load(from + r * kLanes))), ...);
    }
    (_mm512_store_si512(lookUp.entry + r * kLanes, entry[r]), ...);
}

template <typename S, std::uint32_t... r>
ZEL_IFMA_INLINE void lookUpIn(const LookUp& lookUp, std::integer_sequence<std::uint32_t, r...> all) {
    for (std::uint32_t begin = 0; begin < lookUp.entries; begin += kPartEntries) {
        lookUpPart<S>(lookUp, lookUp.index(), begin, all);
    }
}

template <typename S, bool isReduced, std::uint32_t... r>
ZEL_IFMA_INLINE void multiplyIn(Unit* result, const Unit* a, const Unit* b, const Modulus& m,
                                std::integer_sequence<std::uint32_t, r...> all) {
    Vector product[S::V];
    productOf<S, isReduced, false>(product, Factor<S>(a, all), b, m, all);
    (_mm512_store_si512(result + r * kLanes, product[r]), ...);
}

template <typename S, std::uint32_t... r>
ZEL_IFMA_INLINE void squareIn(Unit* number, std::uint32_t times, const Modulus& m, const LookUp& lookUp,
                              std::integer_sequence<std::uint32_t, r...> all) {
    Vector power[S::V] = {load(number + r * kLanes)...};
    const Vector index = lookUp.index();
    for (std::uint32_t i = 0; i < times; ++i) {
        productOf<S, false, !S::isShort>(power, Factor<S>(number, power, all), number, m, all);
        (_mm512_store_si512(number + r * kLanes, power[r]), ...);
        if (i * kPartEntries < lookUp.entries) {
            lookUpPart<S>(lookUp, index, i * kPartEntries, all);
        }
    }
}

// result := a * b / R mod m. result may be a or b.
template <typename S>
ZEL_TARGET_IFMA __attribute__((noinline)) void multiply(Unit* result, const Unit* a, const Unit* b, const Modulus& m) {
    multiplyIn<S, false>(result, a, b, m, std::make_integer_sequence<std::uint32_t, S::V>{});
}

// result := a / R mod m, at most m. one: the number 1.
template <typename S>
ZEL_TARGET_IFMA __attribute__((noinline)) void leave(Unit* result, const Unit* a, const Unit* one, const Modulus& m) {
    multiplyIn<S, true>(result, a, one, m, std::make_integer_sequence<std::uint32_t, S::V>{});
}

// number := number^(2^times), R being divided out of each square. Each square ends with carries that leave the multipliers
// idle: there the look-up goes on, which has to wait for nothing.
template <typename S> ZEL_TARGET_IFMA __attribute__((noinline)) void square(Unit* number, std::uint32_t times,
                                                                            const Modulus& m, const LookUp& lookUp) {
    squareIn<S>(number, times, m, lookUp, std::make_integer_sequence<std::uint32_t, S::V>{});
}

template <typename S> ZEL_TARGET_IFMA __attribute__((noinline)) void lookUpAll(const LookUp& lookUp) {
    lookUpIn<S>(lookUp, std::make_integer_sequence<std::uint32_t, S::V>{});
}

// The deepest frame of the functions here that hold digits or windows, in optimised code.
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

// number := (m' + 1) / 2^104 for m' = m (-1/m mod 2^104).
template <typename S>
void multiplyModulus(Unit* number, std::uint32_t task, const Unit* m, const MontModulus& modulus) {
    __extension__ using DoubleUnit = unsigned __int128;
    const DoubleUnit lowest = DoubleUnit{modulus.units[1]} << kUnitBits | modulus.units[0];
    const DoubleUnit inverse = modulus.negInverse * (lowest * modulus.negInverse + 2); // twice the bits: a Newton step
    const Unit low = static_cast<Unit>(inverse) & kDigitMask;
    const Unit high = static_cast<Unit>(inverse >> kDigitBits) & kDigitMask;
    constexpr std::uint32_t kDigits = S::V * S::kTaskLanes;
    DoubleUnit carry = 1;
    for (std::uint32_t d = 0; d < kDigits + 2; ++d) {
        carry += d < kDigits ? DoubleUnit{m[place<S>(task, d)]} * low : 0;
        carry += d > 0 && d <= kDigits ? DoubleUnit{m[place<S>(task, d - 1)]} * high : 0;
        if (d >= 2) {
            number[place<S>(task, d - 2)] = static_cast<Unit>(carry) & kDigitMask;
        }
        carry >>= kDigitBits;
    }
}

// Scratch in numbers: modulus, multiplied modulus, the inverse, base, one, power, entry; the table.
constexpr std::size_t kFixedNumbers = 7;

template <typename S> constexpr std::size_t scratchUnitsOf(std::uint32_t exponentBits, bool isSecret) {
    return (kFixedNumbers + fixedWindowEntries(exponentBits, isSecret)) * S::kNumberUnits +
           kLanes; // and the way to the next 64-byte boundary
}

template <typename S>
__attribute__((noinline)) void modExpUnwiped(const ModExpTask* const (&tasks)[S::kTasks], Unit* scratch) {
    constexpr std::size_t n = S::kNumberUnits;
    Unit* const start = scratch + (Unit{0} - reinterpret_cast<std::uintptr_t>(scratch)) % 64 / sizeof(Unit);
    Unit* const digits = start;
    Unit* const multiplied = digits + n;
    Unit* const negInverse = multiplied + n;
    Unit* const base = negInverse + n;
    Unit* const one = base + n;
    Unit* const power = one + n;
    Unit* const entry = power + n;
    Unit* const table = entry + n;
    const Modulus m{digits, multiplied, negInverse};
    std::uint32_t bits = 0;

    // R^2 = ((2^(128 k))^2 / R) 2^(4 (52 steps - 64 k)) / R.
    constexpr std::uint32_t kLift = 4 * (kDigitBits * S::kSteps - kUnitBits * S::k);
    std::fill_n(one, n, Unit{0});
    for (std::uint32_t task = 0; task < S::kTasks; ++task) {
        const MontModulus& modulus = tasks[task]->modulus;
        bits = std::max(bits, tasks[task]->exponentBits);
        toDigits<S>(digits, task, modulus.units);
        negInverse[task] = modulus.negInverse & kDigitMask;
        multiplyModulus<S>(multiplied, task, digits, modulus);
        toDigits<S>(entry, task, modulus.radixSquared);
        toDigits<S>(base, task, tasks[task]->base);
        one[place<S>(task, kLift / kDigitBits)] = Unit{1} << kLift % kDigitBits;
    }
    square<S>(entry, 1, m, {});
    multiply<S>(entry, entry, one, m);
    multiply<S>(base, base, entry, m);
    std::fill_n(one, n, Unit{0});
    for (std::uint32_t task = 0; task < S::kTasks; ++task) {
        one[place<S>(task, 0)] = 1;
    }

    if (S::kTasks == 1 && isShortAndPublic(bits, tasks[0]->isSecret)) {
        std::copy_n(base, n, power);
        for (std::uint32_t i = bits - 1; i-- > 0;) {
            square<S>(power, 1, m, {});
            if ((tasks[0]->exponent[0] >> i & 1) != 0) {
                multiply<S>(power, power, base, m);
            }
        }
    } else {
        const std::uint32_t width = fixedWindowWidth(bits), entries = 1U << width;
        multiply<S>(table, entry, one, m);
        std::copy_n(base, n, table + n);
        for (std::uint32_t j = 2; j < entries; ++j) {
            multiply<S>(table + j * n, table + (j - 1) * n, base, m);
        }
        for (std::uint32_t position = (bits - 1) / width * width;; position -= width) {
            const Unit first = exponentWindow(*tasks[0], position, width),
                       second = exponentWindow(*tasks[S::kTasks - 1], position, width);
            if (position + width >= bits) {
                lookUpAll<S>({power, table, entries, first, second});
            } else {
                square<S>(power, width, m, {entry, table, entries, first, second});
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
}

template <typename S> void modExp(const ModExpTask* const (&tasks)[S::kTasks], Unit* scratch) {
    modExpUnwiped<S>(tasks, scratch);
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
