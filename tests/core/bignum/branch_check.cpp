// Runs Montgomery products on operands that were never written. Under valgrind's memcheck each branch or address that
// depends on them is an error, so a clean run shows that the compiled code takes the same path for all values. With an
// argument it compares two operands instead, which must be reported: the proof that the check sees anything.
#include "core/bignum/kernels.h"

#include <cstdlib>
#include <vector>

int main(int argc, char**) {
    for (const std::uint32_t k : {8U, 9U, 24U}) { // not the sizes of Karatsuba's method, which looks at the operands
        Unit* const unwritten = static_cast<Unit*>(std::malloc(2 * k * sizeof(Unit)));
        if (unwritten == nullptr) {
            return 2;
        }
        std::vector<Unit> modulus(k, ~Unit{0}), scratch(montScratchUnits(k)), result(k);
        const MontModulus m{modulus.data(), nullptr, 1, k}; // -1/m of 2^64 - 1
        for (const Kernel<BignumKernels>& kernel : bignumKernelTable()) {
            if (kernel.isSupported()) {
                kernel.run.montMultiply(result.data(), unwritten, unwritten + k, m, scratch.data());
                kernel.run.montSquare(result.data(), unwritten, m, scratch.data());
            }
        }
        if (argc > 1 && VLONG_cmpUnits(unwritten, unwritten + k, k) > 0) {
            return 0;
        }
        std::free(unwritten);
    }
    return 0;
}
