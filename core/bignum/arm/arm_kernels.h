// The kernels for 64-bit ARM: rows with MUL and UMULH (rows_mul.cpp), which every such processor has.
#ifndef ZELSPI_CORE_BIGNUM_ARM_ARM_KERNELS_H
#define ZELSPI_CORE_BIGNUM_ARM_ARM_KERNELS_H

#include "core/bignum/internal/row_kernels.h"

struct ArmRows;
extern template struct RowKernels<ArmRows>;

#endif
