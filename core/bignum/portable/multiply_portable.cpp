// Products and squares by columns, with unrolled kernels at 8 units.
#include "core/bignum/portable/portable_kernels.h"
#include "core/bignum/portable/wide.h"

#include <algorithm>
#include <utility>

namespace {

// The columns of a product of eight by eight units are unrolled at compile time: column k sums a[i] * b[k - i].
template <std::size_t k, std::size_t... i>
inline void sumColumn(ColumnSum& sum, const Unit* a, const Unit* b, std::index_sequence<i...>) {
    constexpr std::size_t first = k < 8 ? 0 : k - 7;
    (sum.addProduct(a[first + i], b[k - first - i]), ...);
}

template <std::size_t k> inline Unit mulColumn8(ColumnTotal& total, const Unit* a, const Unit* b) {
    ColumnSum sum;
    sumColumn<k>(sum, a, b, std::make_index_sequence < k < 8 ? k + 1 : 15 - k > {});
    total.add(sum);
    return total.shiftOut();
}

// Column k of a square: the cross products a[i] * a[k - i] with i < k - i twice, and a[k / 2]^2 for even k.
template <std::size_t k> inline Unit squareColumn8(ColumnTotal& total, const Unit* a) {
    constexpr std::size_t count = (k < 8 ? k + 1 : 15 - k) / 2;
    ColumnSum cross;
    sumColumn<k>(cross, a, a, std::make_index_sequence<count>{});
    total.add(cross, 1);
    if constexpr (k % 2 == 0) {
        ColumnSum square;
        square.addProduct(a[k / 2], a[k / 2]);
        total.add(square);
    }
    return total.shiftOut();
}

template <std::size_t... k>
inline void mul8x8Unrolled(Unit* r, const Unit* a, const Unit* b, std::index_sequence<k...>) {
    ColumnTotal total;
    ((r[k] = mulColumn8<k>(total, a, b)), ...);
    r[15] = total.shiftOut();
}

template <std::size_t... k> inline void square8Unrolled(Unit* r, const Unit* a, std::index_sequence<k...>) {
    ColumnTotal total;
    ((r[k] = squareColumn8<k>(total, a)), ...);
    r[15] = total.shiftOut();
}

} // namespace

void VLONG_columnProduct(Unit* r, const Unit* a, std::uint32_t aCount, const Unit* b, std::uint32_t bCount,
                         std::uint32_t n) {
    ColumnTotal total;
    for (std::uint32_t k = 0; k < n; ++k) {
        ColumnSum sum;
        // i runs down from the top unit of a that meets a unit of b: from min(k, aCount - 1) while k - i < bCount.
        const std::uint32_t end = std::min(k + 1, aCount);
        const std::uint32_t begin = k < bCount ? 0 : k - bCount + 1;
        for (std::uint32_t i = end; i > begin; --i) {
            sum.addProduct(a[i - 1], b[k - (i - 1)]);
        }
        total.add(sum);
        r[k] = total.shiftOut();
    }
}

void VLONG_columnSquare(Unit* r, const Unit* a, std::uint32_t aCount, std::uint32_t n) {
    ColumnTotal total;
    for (std::uint32_t k = 0; k < n; ++k) {
        ColumnSum cross;
        const std::uint32_t end = std::min(k + 1, aCount);
        for (std::uint32_t i = end; i > k - (i - 1) + 1; --i) { // a[i - 1] * a[k - (i - 1)] while i - 1 > k - (i - 1)
            cross.addProduct(a[i - 1], a[k - (i - 1)]);
        }
        total.add(cross, 1);
        if (k % 2 == 0 && k / 2 < aCount) {
            ColumnSum square;
            square.addProduct(a[k / 2], a[k / 2]);
            total.add(square);
        }
        r[k] = total.shiftOut();
    }
}

void VLONG_mul8x8(Unit* r, const Unit* a, const Unit* b) {
    mul8x8Unrolled(r, a, b, std::make_index_sequence<15>{});
}

void VLONG_square8(Unit* r, const Unit* a) {
    square8Unrolled(r, a, std::make_index_sequence<15>{});
}
