// Runs whole signatures with every secret marked as undefined. Under valgrind's memcheck each branch or address that depends
// on one is an error, so a clean run shows that the compiled code takes the same path and reads the same places for all
// values. What the library itself declares public (markPublic) is defined from there on.
//
// Usage: secret_check portable|adx|shown: the kernels, or a secret that is compared with another, which must be reported: the
// proof that the check sees anything. Valgrind executes MULX, ADCX and ADOX on every CPU, whatever CPUID says; AVX-512 it
// does not know.
#include "core/bignum/branch_free.h"
#include "core/bignum/kernels.h"
#include "core/cpu/cpu_features.h"
#include "core/pubkey/dsa/dsa_sign.h"
#include "tests/core/pubkey/key_support.h"

#include <valgrind/memcheck.h>

// The linker puts these in the place of the library's own.
CpuFeatures chosenFeatures{};
const CpuFeatures& wrappedCpuFeatures() __asm__("__wrap__Z11cpuFeaturesv");
const CpuFeatures& wrappedCpuFeatures() {
    return chosenFeatures;
}
void wrappedMarkPublic(const void* bytes, std::size_t count) __asm__("__wrap__Z10markPublicPKvm");
void wrappedMarkPublic(const void* bytes, std::size_t count) {
    VALGRIND_MAKE_MEM_DEFINED(bytes, count);
}

namespace {

// All that a secret record can hold; its length is public.
void hide(std::initializer_list<const vlong*> values) {
    for (const vlong* const value : values) {
        VALGRIND_MAKE_MEM_UNDEFINED(value->units, value->capacity * sizeof(Unit));
    }
}

// Powers, and so Montgomery products and squares, of sizes that the kernels treat each in their own way.
void products() {
    for (const std::uint32_t k : {1U, 2U, 3U, 4U, 5U, 8U, 9U, 15U, 16U, 24U, 32U, 33U, 64U}) {
        Units modulus(k, ~Unit{0}), radixSquared(k), base(k), exponent(2), result(k);
        radixSquared[0] = 1;                                            // (2^(64 k))^2 modulo 2^(64 k) - 1
        const MontModulus m{modulus.data(), radixSquared.data(), 1, k}; // -1/m of 2^64 - 1
        for (Units* const secret : {&modulus, &base, &exponent}) {
            VALGRIND_MAKE_MEM_UNDEFINED(secret->data(), secret->size() * sizeof(Unit));
        }
        const ModExpKernel& kernel = modExpKernelFor(m, true);
        Units scratch(kernel.scratchUnits(k, 66, true));
        kernel.one({result.data(), base.data(), exponent.data(), 66, m, true}, scratch.data());
    }
}

Status randomFill(void* source, std::uint32_t length, std::uint8_t* buffer) {
    const Status status = static_cast<ByteSource*>(source)->bytes().fill(buffer, length);
    VALGRIND_MAKE_MEM_UNDEFINED(buffer, length);
    return status;
}

// The INTEGER of a secret, of which the length is public.
Bytes hidden(const std::string& value) {
    Bytes item = derInteger(value);
    const std::size_t header = item[1] < 0x80 ? 2 : item[1] - 0x7E;
    VALGRIND_MAKE_MEM_UNDEFINED(item.data() + header + 2, item.size() - header - 2);
    return item;
}

// A key of hidden secrets. Without the right qInv, and with the primes in the wrong order, all derived values are made.
Bytes privateDer(const RsaNumbers& k, bool isDerived) {
    const std::string &p = isDerived ? k.q : k.p, &q = isDerived ? k.p : k.q;
    return derSequence({derInteger(""), derInteger(k.n), derInteger(k.e), hidden(k.d), hidden(p), hidden(q),
                        hidden(k.dP), hidden(k.dQ), isDerived ? derInteger("01") : hidden(k.qInv)});
}

// The private operation with all of the key but n and e, and with the input, hidden: unblinded, then blinded with a new pair
// and with one that is used again.
void rsa(const RsaNumbers& numbers, bool isDerived) {
    FilledKey key(privateDer(numbers, isDerived));
    const Number input(numbers.input);
    ByteSource source(1);
    hide({key.rsa->p, key.rsa->q, key.rsa->dP, key.rsa->dQ, key.rsa->qInv, input.get()});
    for (MontgomeryCtx* const context : {key.rsa->contextP, key.rsa->contextQ}) {
        VALGRIND_MAKE_MEM_UNDEFINED(&context->negInverse, sizeof context->negInverse);
        hide({context->modulus, context->radixSquared, context->RInverse});
    }
    for (const RandomSource fill : {RandomSource{nullptr}, randomFill, randomFill}) {
        Number result;
        EXPECT_EQ(Rsa_PrivateOp(key.rsa, input, fill, &source, result.out(), nullptr), OK);
        markPublic(result.get());
        EXPECT_EQ(hexOf(result), numbers.power);
    }
}

// A signature with x, y and all random bytes hidden, checked with a y that is made for it.
void dsa() {
    ExampleKey key;
    (void)VLONG_free(&key.dsa->y, nullptr);
    hide({key.dsa->x});
    ByteSource source(9);
    Number r, s;
    bool isVerified = false;
    const Number m("a9993e364706816aba3e25717850c26c9cd0d89d");
    EXPECT_EQ(dsaSignMakingY({randomFill, &source}, key.dsa, m, &isVerified, r.out(), s.out(), nullptr), OK);
    EXPECT_TRUE(isVerified);
}

} // namespace

int main(int /*argc*/, char** argv) {
    GTEST_FLAG_SET(throw_on_failure, true); // which ends the program
    const std::string kernel = argv[1];
    if (kernel == "shown") {
        FilledKey key;
        hide({key.rsa->p});
        return VLONG_cmp(key.rsa->p, key.rsa->q) > 0 ? 0 : 1;
    }
    chosenFeatures.x86.bmi2 = chosenFeatures.x86.adx = kernel == "adx";
    products();
    dsa();
    for (const Words& words : vectorsOf("core/pubkey/rsa_vectors.txt", "rsakey")) {
        rsa(RsaNumbers(words), false);
        rsa(RsaNumbers(words), true);
    }
    return 0;
}
