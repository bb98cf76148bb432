// Clearing the vector registers, for kernels that end with secrets in them.
#ifndef ZELSPI_CORE_CPU_X86_CLEAR_REGISTERS_H
#define ZELSPI_CORE_CPU_X86_CLEAR_REGISTERS_H

#include "core/cpu/x86/target.h"

// The registers that the functions below clear, in the form in which the compiler asks for them.
#define ZEL_SSE_REGISTERS                                                                                              \
    "xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5", "xmm6", "xmm7", "xmm8", "xmm9", "xmm10", "xmm11", "xmm12",         \
        "xmm13", "xmm14", "xmm15"

// clearSseRegisters, clearAvxRegisters, clearAvx512Registers: zero all vector registers that such a kernel can use,
// the last one the mask registers, too.
inline void clearSseRegisters() {
    __asm__ volatile(
        "pxor %%xmm0, %%xmm0\n\tpxor %%xmm1, %%xmm1\n\tpxor %%xmm2, %%xmm2\n\tpxor %%xmm3, %%xmm3\n\t"
        "pxor %%xmm4, %%xmm4\n\tpxor %%xmm5, %%xmm5\n\tpxor %%xmm6, %%xmm6\n\tpxor %%xmm7, %%xmm7\n\t"
        "pxor %%xmm8, %%xmm8\n\tpxor %%xmm9, %%xmm9\n\tpxor %%xmm10, %%xmm10\n\tpxor %%xmm11, %%xmm11\n\t"
        "pxor %%xmm12, %%xmm12\n\tpxor %%xmm13, %%xmm13\n\tpxor %%xmm14, %%xmm14\n\tpxor %%xmm15, %%xmm15" ::
            : ZEL_SSE_REGISTERS);
}

ZEL_TARGET_AVX inline void clearAvxRegisters() {
    __asm__ volatile("vzeroall" ::: ZEL_SSE_REGISTERS);
}

ZEL_TARGET_AVX512_REGISTERS inline void clearAvx512Registers() {
    __asm__ volatile(
        "vzeroall\n\t"
        "vpxorq %%xmm16, %%xmm16, %%xmm16\n\tvpxorq %%xmm17, %%xmm17, %%xmm17\n\tvpxorq %%xmm18, %%xmm18, %%xmm18\n\t"
        "vpxorq %%xmm19, %%xmm19, %%xmm19\n\tvpxorq %%xmm20, %%xmm20, %%xmm20\n\tvpxorq %%xmm21, %%xmm21, %%xmm21\n\t"
        "vpxorq %%xmm22, %%xmm22, %%xmm22\n\tvpxorq %%xmm23, %%xmm23, %%xmm23\n\tvpxorq %%xmm24, %%xmm24, %%xmm24\n\t"
        "vpxorq %%xmm25, %%xmm25, %%xmm25\n\tvpxorq %%xmm26, %%xmm26, %%xmm26\n\tvpxorq %%xmm27, %%xmm27, %%xmm27\n\t"
        "vpxorq %%xmm28, %%xmm28, %%xmm28\n\tvpxorq %%xmm29, %%xmm29, %%xmm29\n\tvpxorq %%xmm30, %%xmm30, %%xmm30\n\t"
        "vpxorq %%xmm31, %%xmm31, %%xmm31\n\t"
        "kxorw %%k0, %%k0, %%k0\n\tkxorw %%k1, %%k1, %%k1\n\tkxorw %%k2, %%k2, %%k2\n\tkxorw %%k3, %%k3, %%k3\n\t"
        "kxorw %%k4, %%k4, %%k4\n\tkxorw %%k5, %%k5, %%k5\n\tkxorw %%k6, %%k6, %%k6\n\tkxorw %%k7, %%k7, %%k7" ::
            : ZEL_SSE_REGISTERS, "xmm16", "xmm17", "xmm18", "xmm19", "xmm20", "xmm21", "xmm22", "xmm23", "xmm24",
              "xmm25", "xmm26", "xmm27", "xmm28", "xmm29", "xmm30", "xmm31", "k0", "k1", "k2", "k3", "k4", "k5", "k6",
              "k7");
}

#undef ZEL_SSE_REGISTERS

#endif
