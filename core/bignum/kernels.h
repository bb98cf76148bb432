// The word-level kernels under the big integers: leaf functions on raw arrays of units.
//
// Kernels allocate nothing, check nothing and never fail; scratch comes from the caller and is left dirty (the caller
// wipes it). Two tables offer them, best first, the portable ones last:
//
//   bignumKernelTable   sums, products, division digits, a whole Montgomery product and a whole Montgomery square
//   modExpKernelTable   a whole exponentiation, alone or two side by side, for the modulus sizes a kernel takes
//
// All kernels of a table give the same bits. A kernel for a CPU with wide multiplies adds an entry here and nothing
// above changes. The portable kernels build each 64 by 64 bit product from 32-bit halves and need no wider type.
//
// Shapes are written x[n] for n units. Aliasing is forbidden unless a contract allows it.
// Secrets: the time of a kernel depends on its unit counts only, except where its contract says otherwise.
#ifndef ZELSPI_CORE_BIGNUM_KERNELS_H
#define ZELSPI_CORE_BIGNUM_KERNELS_H

#include "core/bignum/vlong.h"
#include "core/cpu/kernel.h"

#include <cstddef>
#include <span>

// VLONG_cmpUnits: a[n] against b[n] from the top: -1, 0 or 1.
// Secrets: time depends on the number of equal top units.
std::int32_t VLONG_cmpUnits(const Unit* a, const Unit* b, std::uint32_t n);

// MontModulus: an odd modulus m of k units as the Montgomery kernels see it.
struct MontModulus {
    const Unit* units;        // m[k]
    const Unit* radixSquared; // 2^(128 k) mod m, [k]
    Unit negInverse;          // -1/m modulo 2^64
    std::uint32_t count;      // k, at least 1
};

// karatsubaTakes: whether a product of two values of n units each goes to Karatsuba's method: powers of two from 16.
constexpr bool karatsubaTakes(std::uint32_t n) {
    return n >= 16 && (n & (n - 1)) == 0;
}

// montScratchUnits: the scratch of a Montgomery product or square: the double-length product, a carry, and the 4 k
// units of Karatsuba's method where it is used. Above 1024 units it is not, so that the scratch stays below kMaxUnits
// as long as the product itself does.
inline constexpr std::uint32_t kMontKaratsubaMaxUnits = 1024;
constexpr std::uint32_t montScratchUnits(std::uint32_t k) {
    return 2 * k + 1 + (karatsubaTakes(k) && k <= kMontKaratsubaMaxUnits ? 4 * k : 0);
}

struct BignumKernels {
    // addUnits, subUnits: r[n] := a[n] + b[n], a[n] - b[n]; returns the carry or borrow. r may be a or b.
    Unit (*addUnits)(Unit* r, const Unit* a, const Unit* b, std::uint32_t n);
    Unit (*subUnits)(Unit* r, const Unit* a, const Unit* b, std::uint32_t n);

    // mulAddUnit, mulSubUnit: r[n] := r[n] + a[n] * w, r[n] - a[n] * w; returns the unit that leaves the top.
    Unit (*mulAddUnit)(Unit* r, const Unit* a, std::uint32_t n, Unit w);
    Unit (*mulSubUnit)(Unit* r, const Unit* a, std::uint32_t n, Unit w);

    // div128by64: (high * 2^64 + low) / d for high < d. Secrets: time depends on the values.
    Unit (*div128by64)(Unit high, Unit low, Unit d);

    // mulColumns: r[n] := a[aCount] * b[bCount] modulo 2^(64 n). squareColumns: r[n] := a[aCount]^2 modulo 2^(64 n).
    void (*mulColumns)(Unit* r, const Unit* a, std::uint32_t aCount, const Unit* b, std::uint32_t bCount,
                       std::uint32_t n);
    void (*squareColumns)(Unit* r, const Unit* a, std::uint32_t aCount, std::uint32_t n);

    // mul8x8: r[16] := a[8] * b[8]. square8: r[16] := a[8]^2. a may be b.
    void (*mul8x8)(Unit* r, const Unit* a, const Unit* b);
    void (*square8)(Unit* r, const Unit* a);

    // karatsubaMul: r[2n] := a[n] * b[n]. karatsubaSquare: r[2n] := a[n]^2. karatsubaTakes(n); scratch[4n].
    void (*karatsubaMul)(Unit* r, const Unit* a, const Unit* b, std::uint32_t n, Unit* scratch);
    void (*karatsubaSquare)(Unit* r, const Unit* a, std::uint32_t n, Unit* scratch);

    // montMultiply: r[k] := a[k] * b[k] / 2^(64 k) mod m. montSquare: the same with b = a. r may be a or b.
    // a b < 2^(64 k) m, for which it is enough that one of them is below m; the result is below m. (An even m gives some
    // value below m.) scratch[montScratchUnits(k)].
    void (*montMultiply)(Unit* r, const Unit* a, const Unit* b, const MontModulus& m, Unit* scratch);
    void (*montSquare)(Unit* r, const Unit* a, const MontModulus& m, Unit* scratch);
};

std::span<const Kernel<BignumKernels>> bignumKernelTable();

// bignumKernels: the kernels chosen for this CPU.
const BignumKernels& bignumKernels();

// ModExpTask: result[k] := base[k]^exponent mod m for base < m. A power to 0 is 1, of a secret exponent only.
struct ModExpTask {
    Unit* result;
    const Unit* base;
    const Unit* exponent;       // exponent[ceil(exponentBits / 64)]
    std::uint32_t exponentBits; // at least 1: the length of a public exponent, the public length of a secret one
    MontModulus modulus;
    bool isSecret; // whether exponent, base and modulus may be secrets; the modulus is then odd
};

struct ModExpKernel {
    // takes: whether the kernel computes for odd moduli of k units. The portable one takes every k, and even moduli
    // too, which give some value below the modulus.
    bool (*takes)(std::uint32_t k);

    // scratchUnits: the scratch that one and pair need for moduli of k units and exponents of up to exponentBits, when
    // none or any of them is secret.
    std::size_t (*scratchUnits)(std::uint32_t k, std::uint32_t exponentBits, bool isSecret);

    // one: a single exponentiation. result may be base.
    // Secrets: time and addresses depend on the lengths of exponent and modulus, and on a public exponent. The last kernel
    // of the table, for public exponents and even moduli, follows the bits of every exponent.
    void (*one)(const ModExpTask& task, Unit* scratch);

    // pair: two with moduli of the same number of units, side by side. Null: two calls of one are as fast.
    void (*pair)(const ModExpTask& first, const ModExpTask& second, Unit* scratch);

    // isForSecrets: whether a later kernel of the table is faster for public exponents.
    bool isForSecrets;
};

std::span<const Kernel<ModExpKernel>> modExpKernelTable();

// modExpKernelFor: the best kernel on this CPU for a modulus, which is odd for a secret exponent.
const ModExpKernel& modExpKernelFor(const MontModulus& modulus, bool isSecret);

#endif
