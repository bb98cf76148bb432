// Runs Montgomery products, and powers with secret exponents, on operands that were never written. Under valgrind's
// memcheck each branch or address that depends on them is an error, so a clean run shows that the compiled code takes the
// same path and reads the same places for all values. With an argument it compares two operands instead, which must be
// reported: the proof that the check sees anything.
//
// Valgrind executes MULX, ADCX and ADOX on every CPU, whatever CPUID says; AVX-512 it does not know.
#include "core/bignum/kernels.h"
#if defined(ZEL_X86_KERNELS)
#include "core/bignum/x86/x86_kernels.h"
#endif

#include <cstdlib>
#include <vector>

namespace {

void multiply(const BignumKernels& kernels, Unit* unwritten, const MontModulus& m) {
    std::vector<Unit> scratch(montScratchUnits(m.count)), result(m.count);
    kernels.montMultiply(result.data(), unwritten, unwritten + m.count, m, scratch.data());
    kernels.montSquare(result.data(), unwritten, m, scratch.data());
}

} // namespace

int main(int argc, char**) {
    for (const std::uint32_t k : {8U, 9U, 24U}) { // not the sizes of Karatsuba's method, which looks at the operands
        Unit* const unwritten = static_cast<Unit*>(std::malloc(2 * (k + 1) * sizeof(Unit)));
        if (unwritten == nullptr) {
            return 2;
        }
        std::vector<Unit> modulus(k, ~Unit{0}), radixSquared(k);
        radixSquared[0] = 1;                                            // (2^(64 k))^2 modulo 2^(64 k) - 1
        const MontModulus m{modulus.data(), radixSquared.data(), 1, k}; // -1/m of 2^64 - 1
        multiply(bignumKernelTable().back().run, unwritten, m);
#if defined(ZEL_X86_KERNELS)
        multiply(kAdxBignumKernels, unwritten, m);
        for (const std::uint32_t bits : {130U, 513U}) { // both widths of windows
            std::vector<Unit> result(k), scratch(kAdxModExpKernel.scratchUnits(k, bits, true));
            kAdxModExpKernel.one({result.data(), unwritten, unwritten + k, bits, m, true}, scratch.data());
        }
#endif
        if (argc > 1 && VLONG_cmpUnits(unwritten, unwritten + k, k) > 0) {
            return 0;
        }
        std::free(unwritten);
    }
    return 0;
}
