#include "core/bignum/residues.h"

#include "core/bignum/branch_free.h"
#include "core/bignum/scoped_vlong.h"

#include <algorithm>
#include <bit>

namespace {

constexpr std::uint32_t kOwnNumbers = 4; // of k units: radixSquared_, one_, block_, sum_

// r[k] := a + b mod m for a, b < m. scratch[k].
void addModulo(Unit* r, const Unit* a, const Unit* b, const MontModulus& m, Unit* scratch) {
    const BignumKernels& kernels = bignumKernels();
    const Unit carry = kernels.addUnits(r, a, b, m.count);
    const Unit borrow = kernels.subUnits(scratch, r, m.units, m.count);
    select(r, maskOf(carry < borrow ? 1 : 0), r, scratch, m.count);
}

} // namespace

bool takesResidues(const vlong* modulus) {
    const std::uint32_t k = modulus->length;
    const Unit isOdd = k == 0 ? 0 : publicly(modulus->units[0] & 1);
    // One unit: that is not 1 is public, too.
    return isOdd != 0 && 2 * k + 2 <= kMaxUnits && (k > 1 || publicly(isNonzero(modulus->units[0] ^ 1)) != 0);
}

MontModulus montModulusOf(const MontgomeryCtx& context) {
    return {context.modulus->units, context.radixSquared->units, context.negInverse, context.modulus->length};
}

void montRadixSquared(Unit* square, const MontModulus& m, Unit* scratch) {
    const std::uint32_t k = m.count, bits = kUnitBits * k;
    const std::uint32_t modulusBits = kUnitBits * (k - 1) + publicly(significantBits(m.units[k - 1]));
    // 2^doublings R by doubling, from the largest power of two below m on; then 2^(64 k) R by squaring.
    std::uint32_t doublings = bits >> std::countr_zero(bits),
                  squares = static_cast<std::uint32_t>(std::countr_zero(bits));
    for (; doublings < 4; doublings *= 2) { // a square costs more than a few doublings
        --squares;
    }
    std::fill_n(square, k, Unit{0});
    square[(modulusBits - 1) / kUnitBits] = Unit{1} << (modulusBits - 1) % kUnitBits;
    for (std::uint32_t i = bits - modulusBits + 1 + doublings; i > 0; --i) {
        addModulo(square, square, square, m, scratch);
    }
    for (; squares > 0; --squares) {
        bignumKernels().montSquare(square, square, m, scratch + k);
    }
}

Residues::~Residues() {
    memWipe(&modulus_, sizeof modulus_); // tells of the modulus, which may be a secret prime
    wipeKernelFrames();
}

Status Residues::allocate(std::uint32_t count) {
    const std::size_t k = modulus_.count, scratchUnits = k + montScratchUnits(modulus_.count);
    RETURN_IF_ERROR(storage_.alloc((scratchUnits + (kOwnNumbers + std::size_t{count}) * k) * sizeof(Unit)));
    scratch_ = reinterpret_cast<Unit*>(storage_.data());
    radixSquared_ = scratch_ + scratchUnits;
    one_ = radixSquared_ + k;
    block_ = one_ + k;
    sum_ = block_ + k;
    next_ = sum_ + k;
    return OK;
}

Status Residues::start(const vlong* modulus, std::uint32_t count) {
    modulus_ = {modulus->units, nullptr, VLONG_montNegInverse64(modulus), modulus->length};
    RETURN_IF_ERROR(allocate(count));
    montRadixSquared(radixSquared_, modulus_, scratch_);
    modulus_.radixSquared = radixSquared_;
    block_[0] = 1;
    bignumKernels().montMultiply(one_, radixSquared_, block_, modulus_, scratch_);
    return OK;
}

Status Residues::start(const MontgomeryCtx& context, std::uint32_t count) {
    modulus_ = montModulusOf(context);
    RETURN_IF_ERROR(allocate(count));
    block_[0] = 1;
    bignumKernels().montMultiply(one_, modulus_.radixSquared, block_, modulus_, scratch_);
    return OK;
}

Unit* Residues::take() {
    Unit* const residue = next_;
    next_ += modulus_.count;
    return residue;
}

// By blocks of k units from the top: x = (... (top) 2^(64 k) + ...) 2^(64 k) + lowest.
void Residues::reduce(Unit* r, const Unit* x, std::uint32_t n) {
    const std::uint32_t k = modulus_.count;
    const BignumKernels& kernels = bignumKernels();
    std::fill_n(sum_, k, Unit{0});
    for (std::uint32_t end = n; end > 0;) {
        const std::uint32_t begin = (end - 1) / k * k;
        std::fill_n(block_, k, Unit{0});
        std::copy(x + begin, x + end, block_);
        kernels.montMultiply(block_, block_, one_, modulus_, scratch_);
        if (end != n) {
            kernels.montMultiply(sum_, sum_, modulus_.radixSquared, modulus_, scratch_);
        }
        addModulo(sum_, sum_, block_, modulus_, scratch_);
        end = begin;
    }
    std::copy_n(sum_, k, r);
}

Status Residues::reduceOctets(Unit* r, ByteView octets) {
    const std::size_t count = octets.size();
    const std::size_t n = (count + sizeof(Unit) - 1) / sizeof(Unit);
    SecretBuffer storage;
    RETURN_IF_ERROR(storage.alloc(n * sizeof(Unit)));
    Unit* const units = reinterpret_cast<Unit*>(storage.data());
    for (std::size_t i = 0; i < count; ++i) {
        units[i / sizeof(Unit)] |= Unit{octets[count - 1 - i]} << (8 * (i % sizeof(Unit)));
    }
    reduce(r, units, static_cast<std::uint32_t>(n));
    return OK;
}

void Residues::add(Unit* r, const Unit* a, const Unit* b) {
    addModulo(r, a, b, modulus_, scratch_);
}

void Residues::subtract(Unit* r, const Unit* a, const Unit* b) {
    const BignumKernels& kernels = bignumKernels();
    const Unit isNegative = maskOf(kernels.subUnits(r, a, b, modulus_.count));
    for (std::uint32_t i = 0; i < modulus_.count; ++i) {
        scratch_[i] = modulus_.units[i] & isNegative;
    }
    (void)kernels.addUnits(r, r, scratch_, modulus_.count); // the carry meets the borrow
}

void Residues::multiply(Unit* r, const Unit* a, const Unit* b) {
    const BignumKernels& kernels = bignumKernels();
    kernels.montMultiply(block_, a, b, modulus_, scratch_);
    kernels.montMultiply(r, block_, modulus_.radixSquared, modulus_, scratch_);
}

Unit Residues::isOne(const Unit* a) const {
    Unit difference = a[0] ^ 1;
    for (std::uint32_t i = 1; i < modulus_.count; ++i) {
        difference |= a[i];
    }
    return 1 - isNonzero(difference);
}

Status Residues::invert(Unit* r, const Unit* a, bool isSecret, bool* isFound) {
    const std::uint32_t k = modulus_.count;
    const BignumKernels& kernels = bignumKernels();
    std::fill_n(block_, k, Unit{0});
    block_[0] = 2;
    (void)kernels.subUnits(sum_, modulus_.units, block_, k); // no borrow: m is odd and above 1
    const std::uint32_t top = isSecret ? k : significantUnits(sum_, k);
    const std::uint32_t bits = isSecret ? kUnitBits * k : kUnitBits * (top - 1) + significantBits(sum_[top - 1]);
    // A public exponent of few units is quickest without a kernel that reads its table as a whole.
    const ModExpKernel& kernel = isSecret ? modExpKernelFor(modulus_, true) : modExpKernelTable().back().run;
    SecretBuffer scratch;
    RETURN_IF_ERROR(scratch.alloc(kernel.scratchUnits(k, bits, isSecret) * sizeof(Unit)));
    kernel.one({r, a, sum_, bits, modulus_, isSecret}, reinterpret_cast<Unit*>(scratch.data()));
    multiply(sum_, r, a);
    *isFound = publicly(isOne(sum_)) != 0;
    return OK;
}

Status Residues::record(const Unit* a, vlong** out, vlong** queue) const {
    ScopedVlong record(queue);
    RETURN_IF_ERROR(record.alloc());
    RETURN_IF_ERROR(VLONG_growDiscard(record.get(), modulus_.count));
    std::copy_n(a, modulus_.count, record.get()->units);
    record.get()->length = modulus_.count;
    *out = record.release();
    return OK;
}

Status Residues::publicRecord(const Unit* a, vlong** out, vlong** queue) const {
    RETURN_IF_ERROR(record(a, out, queue));
    markPublic(*out);
    VLONG_normalise(*out);
    return OK;
}
