// Runs whole signatures with every secret marked as undefined. Under valgrind's memcheck each branch or address that depends
// on one is an error, so a clean run shows that the compiled code takes the same path and reads the same places for all
// values. What the library itself declares public (markPublic) is defined from there on.
//
// Usage: secret_check products|rsa|blinded|load|dsa portable|adx. With "shown" for an operation a secret is compared with another,
// which must be reported: the proof that the check sees anything. Valgrind executes MULX, ADCX and ADOX on every CPU,
// whatever CPUID says; AVX-512 it does not know.
#include "core/bignum/branch_free.h"
#include "core/bignum/kernels.h"
#include "core/bignum/scoped_vlong.h"
#include "core/cpu/cpu_features.h"
#include "core/pubkey/dsa/dsa.h"
#include "core/pubkey/dsa/dsa_sign.h"
#include "tests/core/pubkey/key_support.h"
#include "tests/support/byte_source.h"

#include <valgrind/memcheck.h>

#include <string_view>

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

using namespace keytest;

// All that a secret record can hold; its length is public.
void hide(std::initializer_list<const vlong*> values) {
    for (const vlong* const value : values) {
        VALGRIND_MAKE_MEM_UNDEFINED(value->units, value->capacity * sizeof(Unit));
    }
}

void hide(const MontgomeryCtx& context) {
    VALGRIND_MAKE_MEM_UNDEFINED(&context.negInverse, sizeof context.negInverse);
    hide({context.modulus, context.radixSquared, context.RInverse});
}

// Powers, and so Montgomery products and squares, of sizes that the kernels treat each in their own way.
bool products() {
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
    return true;
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
    return derSequence({named("ZERO"), derInteger(k.n), derInteger(k.e), hidden(k.d), hidden(p), hidden(q),
                        hidden(k.dP), hidden(k.dQ), isDerived ? named("ONE") : hidden(k.qInv)});
}

// The private operation with all of the key but n and e, and with the input, hidden.
bool rsa(const RsaNumbers& numbers, bool isBlinded, bool isDerived) {
    FilledKey key(privateDer(numbers, isDerived));
    const Number input(numbers.input);
    ByteSource source(1);
    hide({key->p, key->q, key->dP, key->dQ, key->qInv, input.get()});
    hide(*key->contextP);
    hide(*key->contextQ);
    for (int use = 0; use < (isBlinded ? 2 : 1); ++use) { // with a new pair and with one that is used again
        Number result;
        const RandomSource fill = isBlinded ? randomFill : nullptr;
        if (Rsa_PrivateOp(key.rsa(), input.get(), fill, &source, result.out(), nullptr) != OK) {
            return false;
        }
        markPublic(result.get());
        if (hexOf(result) != numbers.power) {
            return false;
        }
    }
    return true;
}

// A signature with x, y and all random bytes hidden, checked with a y that is made for it.
bool dsa() {
    ExampleKey key;
    (void)VLONG_free(&key.record()->y, nullptr);
    hide({key.record()->x});
    ByteSource source(9);
    Number r, s;
    bool isVerified = false;
    const Number m("a9993e364706816aba3e25717850c26c9cd0d89d");
    return dsaSignMakingY({randomFill, &source}, key.record(), m, &isVerified, r.out(), s.out(), nullptr) == OK &&
           isVerified;
}

bool run(std::string_view operation) {
    if (operation == "shown") {
        FilledKey key;
        hide({key->p});
        return VLONG_cmp(key->p, key->q) > 0;
    }
    if (operation == "dsa" || operation == "products") {
        return operation == "dsa" ? dsa() : products();
    }
    bool isRight = true;
    for (const Words& words : vectorsOf("core/pubkey/rsa_vectors.txt", "rsakey")) {
        isRight = rsa(RsaNumbers(words), operation == "blinded", operation == "load") && isRight;
    }
    return isRight;
}

} // namespace

int main(int argc, char** argv) {
    chosenFeatures.x86.bmi2 = chosenFeatures.x86.adx = argc > 2 && std::string_view(argv[2]) == "adx";
    return argc > 1 && run(argv[1]) ? 0 : 1;
}
