// Residues: arithmetic modulo one odd number m > 1 of k units in time, and at addresses, that depend on unit counts and on
// the bit length of m alone: for secrets, and for secret moduli.
//
// A residue is an array of k units whose value is below m. Rows, products and powers are those of the kernel tables.
#ifndef ZELSPI_CORE_BIGNUM_RESIDUES_H
#define ZELSPI_CORE_BIGNUM_RESIDUES_H

#include "core/bignum/kernels.h"
#include "core/bignum/modexp.h"
#include "core/memory/byte_view.h"
#include "core/memory/secret.h"

// takesResidues: whether a modulus is one for Residues and for the powers of secrets: odd, above 1, and within the size
// limit. The answer counts as public.
bool takesResidues(const vlong* modulus);

// montModulusOf: the modulus of a context as the kernels see it.
MontModulus montModulusOf(const MontgomeryCtx& context);

// montRadixSquared: square[k] := 2^(128 k) mod m, for takesResidues; m.radixSquared is not read.
// scratch[k + montScratchUnits(k)].
void montRadixSquared(Unit* square, const MontModulus& m, Unit* scratch);

// wipeKernelFrames: zeroes what the kernels that its caller has run left on the stack, such as products of few units.
inline void wipeKernelFrames() {
    wipeStack<2048>();
}

class Residues {
public:
    Residues() = default;
    Residues(const Residues&) = delete;
    Residues& operator=(const Residues&) = delete;
    ~Residues();

    // start: for a modulus, or that of a context, that outlives this and for which takesResidues holds; with room for
    // `count` residues.
    // Errors:  ERR_MEM_ALLOC_FAIL.
    Status start(const vlong* modulus, std::uint32_t count);
    Status start(const MontgomeryCtx& context, std::uint32_t count);

    std::uint32_t units() const { // k
        return modulus_.count;
    }

    // take: the next of the residues that there is room for; 0.
    Unit* take();

    // reduce: r[k] := x[n] mod m. r may be x.
    void reduce(Unit* r, const Unit* x, std::uint32_t n);

    // reduceOctets: the same for big-endian octets. Errors: ERR_MEM_ALLOC_FAIL.
    Status reduceOctets(Unit* r, ByteView octets);

    // add, subtract, multiply: r := a + b, a - b, a b modulo m. r may be a or b. For multiply one of a and b may be any number of
    // k units.
    void add(Unit* r, const Unit* a, const Unit* b);
    void subtract(Unit* r, const Unit* a, const Unit* b);
    void multiply(Unit* r, const Unit* a, const Unit* b);

    // isOne: 1 when a is 1, else 0.
    Unit isOne(const Unit* a) const;

    // invert: r := a^(m - 2), which is 1/a when m is prime and a is not 0. r is not a.
    // In/out:  isSecret: whether m is a secret. *isFound := whether r is 1/a, which counts as public.
    // Errors:  ERR_MEM_ALLOC_FAIL.
    Status invert(Unit* r, const Unit* a, bool isSecret, bool* isFound);

    // record: a new record := the residue, with all of its k units: not normalised, so that its length does not show it.
    // publicRecord: the same, normalised, for a value that is public from here on.
    // Errors:  ERR_MEM_ALLOC_FAIL.
    Status record(const Unit* a, vlong** out, vlong** queue) const;
    Status publicRecord(const Unit* a, vlong** out, vlong** queue) const;

private:
    Status allocate(std::uint32_t count);

    MontModulus modulus_{};
    SecretBuffer storage_; // product scratch, radixSquared, 1 in Montgomery form, two temporaries; the residues
    Unit *scratch_ = nullptr, *radixSquared_ = nullptr, *one_ = nullptr, *block_ = nullptr, *sum_ = nullptr;
    Unit* next_ = nullptr;
};

#endif
