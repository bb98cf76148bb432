// Rows with MULX, ADCX and ADOX, and division with DIV.
//
// MULX leaves the flags alone, so that two chains of carries run side by side, one that joins the products (ADCX) and one
// that adds them to r (ADOX). Compilers do not write such chains, hence the assembly, in blocks of eight units and of four.
//
// Secrets: the time of a row depends on its length only; that of a division depends on the values.
#include "core/bignum/internal/row_products.h"
#include "core/bignum/x86/x86_kernels.h"

#include "core/cpu/cpu_features.h"

#include <immintrin.h>

// One unit of a row: the product of a unit and rdx, with what came out of the unit before it (in) and of the sum; `out`
// goes to the next. The second form keeps r complemented: r - a w is not (not r + a w).
#define ZEL_ADD_UNIT(offset, in, out)                                                                                  \
    "mulx " #offset "(%[a]), %[low], %[" #out "]\n\t"                                                                  \
    "adcx %[" #in "], %[low]\n\t"                                                                                      \
    "adox " #offset "(%[r]), %[low]\n\t"                                                                               \
    "mov %[low], " #offset "(%[r])\n\t"

#define ZEL_SUB_UNIT(offset, in, out)                                                                                  \
    "mulx " #offset "(%[a]), %[low], %[" #out "]\n\t"                                                                  \
    "adcx %[" #in "], %[low]\n\t"                                                                                      \
    "mov " #offset "(%[r]), %[" #in "]\n\t"                                                                            \
    "not %[" #in "]\n\t"                                                                                               \
    "adox %[" #in "], %[low]\n\t"                                                                                      \
    "not %[low]\n\t"                                                                                                   \
    "mov %[low], " #offset "(%[r])\n\t"

#define ZEL_FOUR_UNITS(step) step(0, carry, other) step(8, other, carry) step(16, carry, other) step(24, other, carry)

#define ZEL_EIGHT_UNITS(step)                                                                                          \
    ZEL_FOUR_UNITS(step)                                                                                               \
    step(32, carry, other) step(40, other, carry) step(48, carry, other) step(56, other, carry)

// Blocks of so many bytes; a and r move on. XOR clears both carries, and the zero adds them to the last high unit, where
// there is room for them.
#define ZEL_BLOCKS(units, bytes)                                                                                       \
    __asm__ volatile("1:\n\t"                                                                                          \
                     "xorl %k[zero], %k[zero]\n\t" units "adcx %[zero], %[carry]\n\t"                                  \
                     "adox %[zero], %[carry]\n\t"                                                                      \
                     "lea " #bytes "(%[a]), %[a]\n\t"                                                                  \
                     "lea " #bytes "(%[r]), %[r]\n\t"                                                                  \
                     "dec %[blocks]\n\t"                                                                               \
                     "jnz 1b"                                                                                          \
                     : [a] "+&r"(a), [r] "+&r"(r), [carry] "+&r"(carry), [blocks] "+&r"(blocks), [low] "=&r"(low),     \
                       [other] "=&r"(other), [zero] "=&r"(zero)                                                        \
                     : "d"(w)                                                                                          \
                     : "cc", "memory")

struct AdxRows {
    static constexpr std::uint32_t kBlock = 8;

    static inline Unit addRow(Unit* r, const Unit* a, std::uint32_t n, Unit w) {
        Unit carry = 0, low = 0, other = 0, zero = 0, blocks = n / 8;
        if (blocks != 0) {
            ZEL_BLOCKS(ZEL_EIGHT_UNITS(ZEL_ADD_UNIT), 64);
        }
        if ((n & 4) != 0) {
            blocks = 1;
            ZEL_BLOCKS(ZEL_FOUR_UNITS(ZEL_ADD_UNIT), 32);
        }
        return addRest(r, a, n % 4, w, carry);
    }

    static inline Unit subRow(Unit* r, const Unit* a, std::uint32_t n, Unit w) {
        Unit carry = 0, low = 0, other = 0, zero = 0, blocks = n / 8;
        if (blocks != 0) {
            ZEL_BLOCKS(ZEL_EIGHT_UNITS(ZEL_SUB_UNIT), 64);
        }
        if ((n & 4) != 0) {
            blocks = 1;
            ZEL_BLOCKS(ZEL_FOUR_UNITS(ZEL_SUB_UNIT), 32);
        }
        return subRest(r, a, n % 4, w, carry);
    }

    // One unit with its carry or borrow. The intrinsics want a type of their own that is as wide as a unit.
    static Unit addUnit(Unit a, Unit b, unsigned char& carry) {
        unsigned long long sum = 0;
        carry = _addcarry_u64(carry, a, b, &sum);
        return sum;
    }

    static Unit subUnit(Unit a, Unit b, unsigned char& borrow) {
        unsigned long long difference = 0;
        borrow = _subborrow_u64(borrow, a, b, &difference);
        return difference;
    }

    static Unit div128by64(Unit high, Unit low, Unit d) {
        Unit quotient = low, remainder = high;
        __asm__("divq %[d]" : "+a"(quotient), "+d"(remainder) : [d] "rm"(d) : "cc");
        return quotient;
    }
};

template struct RowKernels<AdxRows>;

bool adxIsSupported() {
    return cpuFeatures().x86.bmi2 && cpuFeatures().x86.adx;
}
