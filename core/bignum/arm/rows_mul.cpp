// Rows with MUL and UMULH.
//
// There is one carry flag, so the two chains of carries run one after the other over a block of four units: one adds the low
// halves of the products to r, one adds the high halves with the unit that came out of the block before. That unit enters
// last, so that a block waits for five additions of the one before it and no multiplication. Compilers carry between units
// by way of registers, which takes half as long again where the multiplier is fast.
//
// Secrets: the time of a row depends on its length only.
#include "core/bignum/arm/arm_kernels.h"
#include "core/bignum/internal/row_products.h"
#include "core/bignum/portable/portable_kernels.h"

// r[4 blocks] and a[4 blocks] move on. first, next, overflow: ADDS, ADCS and "carry set" for a sum, SUBS, SBCS and "carry
// clear" for a difference.
#define ZEL_BLOCKS(first, next, overflow)                                                                              \
    __asm__ volatile(                                                                                                  \
        "1:\n\t"                                                                                                       \
        "ldp %[h0], %[h1], [%[a]]\n\t"                                                                                 \
        "ldp %[h2], %[h3], [%[a], 16]\n\t"                                                                             \
        "ldp %[r0], %[r1], [%[r]]\n\t"                                                                                 \
        "ldp %[r2], %[r3], [%[r], 16]\n\t"                                                                             \
        "mul %[l0], %[h0], %[w]\n\t"                                                                                   \
        "mul %[l1], %[h1], %[w]\n\t"                                                                                   \
        "mul %[l2], %[h2], %[w]\n\t"                                                                                   \
        "mul %[l3], %[h3], %[w]\n\t"                                                                                   \
        "umulh %[h0], %[h0], %[w]\n\t"                                                                                 \
        "umulh %[h1], %[h1], %[w]\n\t"                                                                                 \
        "umulh %[h2], %[h2], %[w]\n\t"                                                                                 \
        "umulh %[h3], %[h3], %[w]\n\t" first " %[r0], %[r0], %[l0]\n\t" next " %[r1], %[r1], %[l1]\n\t" next           \
        " %[r2], %[r2], %[l2]\n\t" next " %[r3], %[r3], %[l3]\n\t"                                                     \
        "cinc %[h3], %[h3], " overflow "\n\t" first " %[r0], %[r0], %[carry]\n\t" next " %[r1], %[r1], %[h0]\n\t" next \
        " %[r2], %[r2], %[h1]\n\t" next " %[r3], %[r3], %[h2]\n\t"                                                     \
        "cinc %[carry], %[h3], " overflow "\n\t"                                                                       \
        "stp %[r0], %[r1], [%[r]]\n\t"                                                                                 \
        "stp %[r2], %[r3], [%[r], 16]\n\t"                                                                             \
        "add %[a], %[a], 32\n\t"                                                                                       \
        "add %[r], %[r], 32\n\t"                                                                                       \
        "sub %[blocks], %[blocks], 1\n\t"                                                                              \
        "cbnz %[blocks], 1b"                                                                                           \
        : [a] "+&r"(a), [r] "+&r"(r), [carry] "+&r"(carry), [blocks] "+&r"(blocks), [h0] "=&r"(h[0]),                  \
          [h1] "=&r"(h[1]), [h2] "=&r"(h[2]), [h3] "=&r"(h[3]), [l0] "=&r"(l[0]), [l1] "=&r"(l[1]), [l2] "=&r"(l[2]),  \
          [l3] "=&r"(l[3]), [r0] "=&r"(sum[0]), [r1] "=&r"(sum[1]), [r2] "=&r"(sum[2]), [r3] "=&r"(sum[3])             \
        : [w] "r"(w)                                                                                                   \
        : "cc", "memory")

struct ArmRows {
    static constexpr std::uint32_t kBlock = 4;

    static inline Unit addRow(Unit* r, const Unit* a, std::uint32_t n, Unit w) {
        Unit carry = 0, blocks = n / 4, h[4], l[4], sum[4];
        if (blocks != 0) {
            ZEL_BLOCKS("adds", "adcs", "cs");
        }
        return addRest(r, a, n % 4, w, carry);
    }

    static inline Unit subRow(Unit* r, const Unit* a, std::uint32_t n, Unit w) {
        Unit carry = 0, blocks = n / 4, h[4], l[4], sum[4];
        if (blocks != 0) {
            ZEL_BLOCKS("subs", "sbcs", "cc");
        }
        return subRest(r, a, n % 4, w, carry);
    }

    static Unit addUnit(Unit a, Unit b, unsigned char& carry) {
        const DoubleUnit sum = DoubleUnit{a} + b + carry;
        carry = static_cast<unsigned char>(sum >> kUnitBits);
        return static_cast<Unit>(sum);
    }

    static Unit subUnit(Unit a, Unit b, unsigned char& borrow) {
        const DoubleUnit difference = DoubleUnit{a} - b - borrow;
        borrow = static_cast<unsigned char>(difference >> kUnitBits & 1);
        return static_cast<Unit>(difference);
    }

    static constexpr auto div128by64 = VLONG_div128by64; // there is no such instruction
};

template struct RowKernels<ArmRows>;
