// The kernels for x86-64 CPUs with wide multiplies, one source file a family. Contracts: core/bignum/kernels.h.
#ifndef ZELSPI_CORE_BIGNUM_X86_X86_KERNELS_H
#define ZELSPI_CORE_BIGNUM_X86_X86_KERNELS_H

#include "core/bignum/internal/fixed_window.h"

// Rows with MULX, ADCX and ADOX (rows_adx.cpp).
bool adxIsSupported();
Unit adxAddUnits(Unit* r, const Unit* a, const Unit* b, std::uint32_t n);
Unit adxSubUnits(Unit* r, const Unit* a, const Unit* b, std::uint32_t n);
Unit adxMulAddUnit(Unit* r, const Unit* a, std::uint32_t n, Unit w);
Unit adxMulSubUnit(Unit* r, const Unit* a, std::uint32_t n, Unit w);
Unit adxDiv128by64(Unit high, Unit low, Unit d);
void adxMulColumns(Unit* r, const Unit* a, std::uint32_t aCount, const Unit* b, std::uint32_t bCount, std::uint32_t n);
void adxSquareColumns(Unit* r, const Unit* a, std::uint32_t aCount, std::uint32_t n);
void adxMul8x8(Unit* r, const Unit* a, const Unit* b);
void adxSquare8(Unit* r, const Unit* a);
void adxKaratsubaMul(Unit* r, const Unit* a, const Unit* b, std::uint32_t n, Unit* scratch);
void adxKaratsubaSquare(Unit* r, const Unit* a, std::uint32_t n, Unit* scratch);
void adxMontMultiply(Unit* r, const Unit* a, const Unit* b, const MontModulus& m, Unit* scratch);
void adxMontSquare(Unit* r, const Unit* a, const MontModulus& m, Unit* scratch);

inline constexpr BignumKernels kAdxBignumKernels{
    .addUnits = adxAddUnits,
    .subUnits = adxSubUnits,
    .mulAddUnit = adxMulAddUnit,
    .mulSubUnit = adxMulSubUnit,
    .div128by64 = adxDiv128by64,
    .mulColumns = adxMulColumns,
    .squareColumns = adxSquareColumns,
    .mul8x8 = adxMul8x8,
    .square8 = adxSquare8,
    .karatsubaMul = adxKaratsubaMul,
    .karatsubaSquare = adxKaratsubaSquare,
    .montMultiply = adxMontMultiply,
    .montSquare = adxMontSquare,
};

// Exponentiation for odd moduli of every size on those rows.
inline void adxModExp(const ModExpTask& task, Unit* scratch) {
    fixedWindow(kAdxBignumKernels, task, scratch);
}

inline constexpr ModExpKernel kAdxModExpKernel{.takes = takesEverySize,
                                               .scratchUnits = fixedWindowScratch,
                                               .one = adxModExp,
                                               .pair = nullptr,
                                               .isForSecrets = false};

// Exponentiation with AVX-512 IFMA for moduli of 8, 16, 24, 32, 48 and 64 units, in pairs up to 32 (modexp_ifma.cpp).
bool ifmaIsSupported();
bool ifmaTakes(std::uint32_t k);
std::size_t ifmaScratch(std::uint32_t k, std::uint32_t exponentBits, bool isSecret);
void ifmaModExp(const ModExpTask& task, Unit* scratch);
void ifmaModExpPair(const ModExpTask& first, const ModExpTask& second, Unit* scratch);

inline constexpr ModExpKernel kIfmaModExpKernel{
    .takes = ifmaTakes, .scratchUnits = ifmaScratch, .one = ifmaModExp, .pair = ifmaModExpPair, .isForSecrets = false};

#endif
