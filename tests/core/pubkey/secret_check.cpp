// Runs whole signatures with every secret marked as undefined. Under valgrind's memcheck each branch or address that depends
// on one is an error, so a clean run shows that the compiled code takes the same path and reads the same places for all
// values. What the library itself declares public (markPublic) is defined from there on.
//
// Usage: secret_check rsa|blinded|load|dsa portable|adx. With "shown" for an operation a secret is compared with another,
// which must be reported: the proof that the check sees anything. Valgrind executes MULX, ADCX and ADOX on every CPU,
// whatever CPUID says; AVX-512 it does not know.
#include "core/bignum/branch_free.h"
#include "core/bignum/scoped_vlong.h"
#include "core/cpu/cpu_features.h"
#include "core/pubkey/dsa.h"
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

Status randomFill(void* source, std::uint32_t length, std::uint8_t* buffer) {
    const Status status = static_cast<ByteSource*>(source)->bytes().fill(buffer, length);
    VALGRIND_MAKE_MEM_UNDEFINED(buffer, length);
    return status;
}

Bytes privateDer(const RsaNumbers& k) {
    Bytes content;
    for (const std::string& value : {std::string(), k.n, k.e, k.d, k.p, k.q, k.dP, k.dQ, k.qInv}) {
        const Bytes number = derInteger(value);
        content.insert(content.end(), number.begin(), number.end());
    }
    return derItem(0x30, content);
}

// The private operation with all of the key but n and e, and with the input, hidden.
bool rsa(const RsaNumbers& numbers, bool isBlinded) {
    FilledKey key(privateDer(numbers));
    const Number input(numbers.input);
    ByteSource source(1);
    hide({key->p, key->q, key->dP, key->dQ, key->qInv, input.get()});
    hide(*key->contextP);
    hide(*key->contextQ);
    bool isRight = true;
    for (int use = 0; use < (isBlinded ? 2 : 1); ++use) { // with a new pair and with one that is used again
        ScopedVlong result(nullptr);
        isRight = Rsa_PrivateOp(key.rsa(), input.get(), isBlinded ? randomFill : nullptr, &source, result.out(),
                                nullptr) == OK &&
                  isRight;
        markPublic(result.get());
        isRight = hexOf(result.get()) == numbers.power && isRight;
    }
    return isRight;
}

// Preparing a key whose primes are hidden: without qInv, which then is a power modulo p.
bool load(const RsaNumbers& numbers) {
    FilledKey key(privateDer(numbers));
    std::swap(key->p, key->q);
    hide({key->p, key->q});
    const bool isPrepared = Rsa_PrepareKey(key.rsa(), nullptr) == OK;
    for (const vlong* const value : {key->dP, key->dQ, key->qInv}) {
        markPublic(value);
    }
    return isPrepared && hexOf(key->dP) == numbers.dP && hexOf(key->dQ) == numbers.dQ &&
           hexOf(key->qInv) == numbers.qInv;
}

// A signature with x, y and all random bytes hidden, checked with a y that is made for it.
bool dsa() {
    const struct {
        const char *p, *q, *g, *x, *y;
    } example = {// FIPS 186 (1994) with change 1, appendix 5
                 "8df2a494492276aa3d25759bb06869cbeac0d83afb8d0cf7cbb8324f0d7882e5d0762fc5b7210eafc2e9adac32ab7aac"
                 "49693dfbf83724c2ec0736ee31c80291",
                 "c773218c737ec8ee993b4f2ded30f48edace915f",
                 "626d027839ea0a13413163a55b4cb500299d5522956cefcb3bff10f399ce2c2e71cb9de5fa24babf58e5b79521925c9c"
                 "c42e9f6f464b088cc572af53e6d78802",
                 "2070b3223dba372fde1c0ffc7b2e3b498b260614",
                 "19131871d75b1612a819f29d78d1b0d7346f7aa77bb62a859bfd6c5675da9d212d3a36ef1672ef660b8c7c255cc0ec74"
                 "858fba33f44c06699630a76b030ee333"};
    const Bytes p = fromHex(example.p), q = fromHex(example.q), g = fromHex(example.g), x = fromHex(example.x);
    ScopedKey key;
    if (AsymKey_SetDsaParameters(key.get(), p.data(), size(p), q.data(), size(q), g.data(), size(g), nullptr, 0,
                                 x.data(), size(x), nullptr) != OK) {
        return false;
    }
    DSAKey* const record = asymKeyDsa(key.get());
    const bool isY = hexOf(record->y) == example.y;
    (void)VLONG_free(&record->y, nullptr);
    hide({record->x});
    ByteSource source(9);
    ScopedVlong r(nullptr), s(nullptr);
    bool isVerified = false;
    const Number m("a9993e364706816aba3e25717850c26c9cd0d89d");
    return dsaSignMakingY({randomFill, &source}, record, m.get(), &isVerified, r.out(), s.out(), nullptr) == OK &&
           isVerified && isY;
}

bool run(std::string_view operation) {
    if (operation == "dsa") {
        return dsa();
    }
    bool isRight = true;
    for (const Words& words : vectorsOf("core/pubkey/rsa_vectors.txt", "rsakey")) {
        const RsaNumbers numbers(words);
        if (operation == "shown") {
            FilledKey key(privateDer(numbers));
            hide({key->p});
            return VLONG_cmp(key->p, key->q) > 0;
        }
        isRight = (operation == "load" ? load(numbers) : rsa(numbers, operation == "blinded")) && isRight;
    }
    return isRight;
}

} // namespace

int main(int argc, char** argv) {
    chosenFeatures.bmi2 = chosenFeatures.adx = argc > 2 && std::string_view(argv[2]) == "adx";
    return argc > 1 && run(argv[1]) ? 0 : 1;
}
