// The kernels for x86-64 CPUs with wide multiplies, one source file a family. Contracts: core/bignum/kernels.h.
#ifndef ZELSPI_CORE_BIGNUM_X86_X86_KERNELS_H
#define ZELSPI_CORE_BIGNUM_X86_X86_KERNELS_H

#include "core/bignum/internal/row_kernels.h"

// Rows with MULX, ADCX and ADOX (rows_adx.cpp).
bool adxIsSupported();
struct AdxRows;
extern template struct RowKernels<AdxRows>;

// Exponentiation with AVX-512 IFMA for moduli of 8, 16, 24, 32, 48 and 64 units, in pairs up to 32 (modexp_ifma.cpp).
bool ifmaIsSupported();
bool ifmaTakes(std::uint32_t k);
std::size_t ifmaScratch(std::uint32_t k, std::uint32_t exponentBits, bool isSecret);
void ifmaModExp(const ModExpTask& task, Unit* scratch);
void ifmaModExpPair(const ModExpTask& first, const ModExpTask& second, Unit* scratch);

inline constexpr ModExpKernel kIfmaModExpKernel{
    .takes = ifmaTakes, .scratchUnits = ifmaScratch, .one = ifmaModExp, .pair = ifmaModExpPair, .isForSecrets = false};

#endif
