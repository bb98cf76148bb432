// Clearing the vector registers, for kernels that end with secrets in them.
#ifndef ZELSPI_CORE_CPU_ARM_CLEAR_REGISTERS_H
#define ZELSPI_CORE_CPU_ARM_CLEAR_REGISTERS_H

// clearVectorRegisters: zeroes all vector registers that a function may leave changed. A kernel that uses V8 to V15 loads
// their lower halves again before it returns, which zeroes the upper ones.
inline void clearVectorRegisters() {
    __asm__ volatile("movi v0.2d, #0\n\tmovi v1.2d, #0\n\tmovi v2.2d, #0\n\tmovi v3.2d, #0\n\t"
                     "movi v4.2d, #0\n\tmovi v5.2d, #0\n\tmovi v6.2d, #0\n\tmovi v7.2d, #0\n\t"
                     "movi v16.2d, #0\n\tmovi v17.2d, #0\n\tmovi v18.2d, #0\n\tmovi v19.2d, #0\n\t"
                     "movi v20.2d, #0\n\tmovi v21.2d, #0\n\tmovi v22.2d, #0\n\tmovi v23.2d, #0\n\t"
                     "movi v24.2d, #0\n\tmovi v25.2d, #0\n\tmovi v26.2d, #0\n\tmovi v27.2d, #0\n\t"
                     "movi v28.2d, #0\n\tmovi v29.2d, #0\n\tmovi v30.2d, #0\n\tmovi v31.2d, #0" ::
                         : "v0", "v1", "v2", "v3", "v4", "v5", "v6", "v7", "v16", "v17", "v18", "v19", "v20", "v21",
                           "v22", "v23", "v24", "v25", "v26", "v27", "v28", "v29", "v30", "v31");
}

#endif
