// The kernels for x86-64 CPUs with wide multiplies, one source file a family. Contracts: core/bignum/kernels.h.
#ifndef ZELSPI_CORE_BIGNUM_X86_X86_KERNELS_H
#define ZELSPI_CORE_BIGNUM_X86_X86_KERNELS_H

#include "core/bignum/kernels.h"

// Exponentiation with AVX-512 IFMA for moduli of 8, 16, 24 and 32 units (modexp_ifma.cpp).
bool ifmaIsSupported();
bool ifmaTakes(std::uint32_t k);
std::size_t ifmaScratch(std::uint32_t k, std::uint32_t exponentBits);
void ifmaModExp(const ModExpTask& task, Unit* scratch);
void ifmaModExpPair(const ModExpTask& first, const ModExpTask& second, Unit* scratch);

inline constexpr ModExpKernel kIfmaModExpKernel{
    .takes = ifmaTakes, .scratchUnits = ifmaScratch, .one = ifmaModExp, .pair = ifmaModExpPair};

#endif
