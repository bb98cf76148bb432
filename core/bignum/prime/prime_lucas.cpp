// The Lucas test, on values in Montgomery form.
//
// D = 1 - 4 Q has an inverse modulo n. Where Q has none, U(n + 1) is 1 modulo a divisor of Q and n, and not 0. Where it
// has one, U(m) = 0 says that the quotient c of the two roots of x^2 - x + Q has c^m = 1. With V(i) = c^i + c^-i and
// T = V(1) = 1/Q - 2 that is the same as V(m) = 2 and V(m + 1) = T, which cost one product and one square a bit of m:
// V(2 i) = V(i)^2 - 2, V(2 i + 1) = V(i) V(i + 1) - T.
#include "core/bignum/prime/prime_stages.h"
#include "core/bignum/residues.h"
#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong_math.h"
#include "core/bignum/word_math.h"
#include "core/memory/secret.h"

#include <algorithm>
#include <numeric>

namespace {

// LucasLadder: V(i) and V(i + 1) modulo an odd modulus of k units, from i = 0 on.
class LucasLadder {
public:
    explicit LucasLadder(const MontgomeryCtx& context) : kernels_(bignumKernels()), modulus_(montModulusOf(context)) {
    }
    LucasLadder(const LucasLadder&) = delete;
    LucasLadder& operator=(const LucasLadder&) = delete;
    ~LucasLadder() {
        memWipe(&modulus_, sizeof modulus_); // tells of a candidate
    }

    // inverse is 1/|Q|.
    Status start(const vlong* inverse, bool isQNegative) {
        const std::size_t k = modulus_.count;
        RETURN_IF_ERROR(storage_.alloc((5 * k + montScratchUnits(modulus_.count)) * sizeof(Unit)));
        auto* const units = reinterpret_cast<Unit*>(storage_.data());
        low_ = units;
        high_ = units + k;
        t_ = units + 2 * k;
        two_ = units + 3 * k;
        Unit* const operand = units + 4 * k;
        scratch_ = units + 5 * k;

        operand[0] = 2;
        kernels_.montMultiply(two_, modulus_.radixSquared, operand, modulus_, scratch_);
        std::fill_n(operand, k, Unit{0});
        std::copy_n(inverse->units, inverse->length, operand);
        kernels_.montMultiply(t_, modulus_.radixSquared, operand, modulus_, scratch_);
        if (isQNegative) {
            std::copy_n(t_, k, operand);
            std::fill_n(t_, k, Unit{0});
            subtract(t_, operand);
        }
        subtract(t_, two_);
        std::copy_n(two_, k, low_);
        std::copy_n(t_, k, high_);
        return OK;
    }

    // i := 2 i + bit.
    void step(bool bit) {
        Unit* const odd = bit ? low_ : high_;
        Unit* const even = bit ? high_ : low_;
        kernels_.montMultiply(odd, low_, high_, modulus_, scratch_);
        subtract(odd, t_);
        kernels_.montSquare(even, even, modulus_, scratch_);
        subtract(even, two_);
    }

    // Whether the values are those of i = 0 again.
    bool isAtStart() const {
        const std::size_t k = modulus_.count;
        return std::equal(low_, low_ + k, two_) && std::equal(high_, high_ + k, t_);
    }

private:
    // a := a - b.
    void subtract(Unit* a, const Unit* b) {
        if (kernels_.subUnits(a, a, b, modulus_.count) != 0) {
            (void)kernels_.addUnits(a, a, modulus_.units, modulus_.count); // the carry meets the borrow
        }
    }

    const BignumKernels& kernels_;
    MontModulus modulus_;
    SecretBuffer storage_;
    Unit *low_ = nullptr, *high_ = nullptr, *t_ = nullptr, *two_ = nullptr, *scratch_ = nullptr;
};

} // namespace

Status primeLucasTest(const MontgomeryCtx& context, std::uint32_t* flag, vlong** queue) {
    *flag = 0;
    const vlong* const n = context.modulus;
    if (2 * n->length + 2 > kMaxUnits) { // the context has no radixSquared to read
        return ERR_BAD_LENGTH;
    }
    ScopedVlong d(queue), q(queue), inverse(queue), index(queue);
    RETURN_IF_ERROR(PRIME_selfridgeD(n, d.out(), queue));
    const bool isDNegative = d.get()->negative != 0;
    const Unit dMagnitude = VLONG_getUnit(d.get(), 0);
    const Unit qMagnitude = (isDNegative ? dMagnitude + 1 : dMagnitude - 1) / 4;
    if (std::gcd(Unit{wordRemainder(n, static_cast<std::uint32_t>(qMagnitude))}, qMagnitude) != 1) {
        return OK;
    }
    RETURN_IF_ERROR(VLONG_newValue(qMagnitude, q.out(), queue));
    RETURN_IF_ERROR(VLONG_modInverse(q.get(), n, inverse.out(), queue));
    RETURN_IF_ERROR(VLONG_newCopy(n, index.out(), queue));
    RETURN_IF_ERROR(VLONG_increment(index.get(), queue));
    LucasLadder ladder(context);
    RETURN_IF_ERROR(ladder.start(inverse.get(), !isDNegative));
    for (std::uint32_t bit = VLONG_bitLength(index.get()); bit-- > 0;) {
        ladder.step(VLONG_testBit(index.get(), bit));
    }
    *flag = ladder.isAtStart() ? 1 : 0;
    return OK;
}

Status PRIME_lucasTest(const vlong* n, std::uint32_t* flag, vlong** queue) {
    if (n == nullptr || flag == nullptr) {
        return ERR_NULL_POINTER;
    }
    *flag = 0;
    if (!VLONG_testBit(n, 0)) {
        return ERR_EVEN_NUMBER;
    }
    LocalQueue local(queue);
    ScopedMontgomeryCtx context(local.get());
    RETURN_IF_ERROR(context.make(n));
    return primeLucasTest(*context.get(), flag, local.get());
}
