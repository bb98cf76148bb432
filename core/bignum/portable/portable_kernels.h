// The portable kernels, one source file a family. Contracts: core/bignum/kernels.h.
#ifndef ZELSPI_CORE_BIGNUM_PORTABLE_PORTABLE_KERNELS_H
#define ZELSPI_CORE_BIGNUM_PORTABLE_PORTABLE_KERNELS_H

#include "core/bignum/internal/fixed_window.h"

Unit VLONG_addUnits(Unit* r, const Unit* a, const Unit* b, std::uint32_t n);
Unit VLONG_subUnits(Unit* r, const Unit* a, const Unit* b, std::uint32_t n);
Unit VLONG_mulAddUnit(Unit* r, const Unit* a, std::uint32_t n, Unit w);
Unit VLONG_mulSubUnit(Unit* r, const Unit* a, std::uint32_t n, Unit w);
Unit VLONG_div128by64(Unit high, Unit low, Unit d);
void VLONG_columnProduct(Unit* r, const Unit* a, std::uint32_t aCount, const Unit* b, std::uint32_t bCount,
                         std::uint32_t n);
void VLONG_columnSquare(Unit* r, const Unit* a, std::uint32_t aCount, std::uint32_t n);
void VLONG_mul8x8(Unit* r, const Unit* a, const Unit* b);
void VLONG_square8(Unit* r, const Unit* a);
void VLONG_karatsubaMul(Unit* r, const Unit* a, const Unit* b, std::uint32_t n, Unit* scratch);
void VLONG_karatsubaSquare(Unit* r, const Unit* a, std::uint32_t n, Unit* scratch);
void VLONG_montRowsMultiply(Unit* r, const Unit* a, const Unit* b, const MontModulus& m, Unit* scratch);
void VLONG_montRowsSquare(Unit* r, const Unit* a, const MontModulus& m, Unit* scratch);

std::size_t slidingWindowScratch(std::uint32_t k, std::uint32_t exponentBits, bool isSecret);
void slidingWindow(const ModExpTask& task, Unit* scratch);

inline constexpr BignumKernels kPortableBignumKernels{
    .addUnits = VLONG_addUnits,
    .subUnits = VLONG_subUnits,
    .mulAddUnit = VLONG_mulAddUnit,
    .mulSubUnit = VLONG_mulSubUnit,
    .div128by64 = VLONG_div128by64,
    .mulColumns = VLONG_columnProduct,
    .squareColumns = VLONG_columnSquare,
    .mul8x8 = VLONG_mul8x8,
    .square8 = VLONG_square8,
    .karatsubaMul = VLONG_karatsubaMul,
    .karatsubaSquare = VLONG_karatsubaSquare,
    .montMultiply = VLONG_montRowsMultiply,
    .montSquare = VLONG_montRowsSquare,
};

inline void portableWindows(const ModExpTask& task, Unit* scratch) {
    fixedWindow(kPortableBignumKernels, task, scratch);
}

inline constexpr ModExpKernel kPortableWindowsKernel{.takes = takesEverySize,
                                                     .scratchUnits = fixedWindowScratch,
                                                     .one = portableWindows,
                                                     .pair = nullptr,
                                                     .isForSecrets = true};

inline constexpr ModExpKernel kPortableModExpKernel{.takes = takesEverySize,
                                                    .scratchUnits = slidingWindowScratch,
                                                    .one = slidingWindow,
                                                    .pair = nullptr,
                                                    .isForSecrets = false};

#endif
