// The kernels that are made of rows, r += a w and r -= a w, for processors with a wide multiply.
//
// Rows is the processor's way to do a row. row_products.h says what it gives, and makes the other kernels of it; the file
// that defines Rows instantiates them.
//
// Secrets: time depends on unit counts only, if that of the rows does; that of div128by64 depends on the values.
#ifndef ZELSPI_CORE_BIGNUM_INTERNAL_ROW_KERNELS_H
#define ZELSPI_CORE_BIGNUM_INTERNAL_ROW_KERNELS_H

#include "core/bignum/internal/fixed_window.h"

template <typename Rows> struct RowKernels {
    static Unit addUnits(Unit* r, const Unit* a, const Unit* b, std::uint32_t n);
    static Unit subUnits(Unit* r, const Unit* a, const Unit* b, std::uint32_t n);
    static Unit mulAddUnit(Unit* r, const Unit* a, std::uint32_t n, Unit w);
    static Unit mulSubUnit(Unit* r, const Unit* a, std::uint32_t n, Unit w);
    static Unit div128by64(Unit high, Unit low, Unit d);
    static void mulColumns(Unit* r, const Unit* a, std::uint32_t aCount, const Unit* b, std::uint32_t bCount,
                           std::uint32_t n);
    static void squareColumns(Unit* r, const Unit* a, std::uint32_t aCount, std::uint32_t n);
    static void mul8x8(Unit* r, const Unit* a, const Unit* b);
    static void square8(Unit* r, const Unit* a);
    static void karatsubaMul(Unit* r, const Unit* a, const Unit* b, std::uint32_t n, Unit* scratch);
    static void karatsubaSquare(Unit* r, const Unit* a, std::uint32_t n, Unit* scratch);
    static void montMultiply(Unit* r, const Unit* a, const Unit* b, const MontModulus& m, Unit* scratch);
    static void montSquare(Unit* r, const Unit* a, const MontModulus& m, Unit* scratch);

    static constexpr BignumKernels kProducts{
        .addUnits = addUnits,
        .subUnits = subUnits,
        .mulAddUnit = mulAddUnit,
        .mulSubUnit = mulSubUnit,
        .div128by64 = div128by64,
        .mulColumns = mulColumns,
        .squareColumns = squareColumns,
        .mul8x8 = mul8x8,
        .square8 = square8,
        .karatsubaMul = karatsubaMul,
        .karatsubaSquare = karatsubaSquare,
        .montMultiply = montMultiply,
        .montSquare = montSquare,
    };

    // Exponentiation for odd moduli of every size on those products.
    static void modExp(const ModExpTask& task, Unit* scratch) {
        fixedWindow(kProducts, task, scratch);
    }
    static constexpr ModExpKernel kModExp{.takes = takesEverySize,
                                          .scratchUnits = fixedWindowScratch,
                                          .one = modExp,
                                          .pair = nullptr,
                                          .isForSecrets = false};
};

#endif
