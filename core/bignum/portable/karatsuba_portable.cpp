// Karatsuba's method over the unrolled products of 8 units.
#include "core/bignum/internal/karatsuba.h"
#include "core/bignum/portable/portable_kernels.h"

namespace {

struct PortableProducts {
    static constexpr std::uint32_t kSmallest = 8;
    static constexpr auto add = VLONG_addUnits;
    static constexpr auto sub = VLONG_subUnits;
    static void mul(Unit* r, const Unit* a, const Unit* b, std::uint32_t) {
        VLONG_mul8x8(r, a, b);
    }
    static void square(Unit* r, const Unit* a, std::uint32_t) {
        VLONG_square8(r, a);
    }
};

} // namespace

void VLONG_karatsubaMul(Unit* r, const Unit* a, const Unit* b, std::uint32_t n, Unit* scratch) {
    karatsubaMul<PortableProducts>(r, a, b, n, scratch);
}

void VLONG_karatsubaSquare(Unit* r, const Unit* a, std::uint32_t n, Unit* scratch) {
    karatsubaSquare<PortableProducts>(r, a, n, scratch);
}
