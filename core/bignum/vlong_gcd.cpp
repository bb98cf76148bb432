// Greatest common divisor and modular inverse: Euclid's algorithm, sped up by Lehmer's method.
//
// Lehmer's method reads the next quotients off the leading bits of two remainders for as long as these decide them, and
// then takes all those steps at once. The quotients are the same as those of the long divisions, so every result is,
// also where the operands have a common divisor.
#include "core/bignum/kernels.h"
#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong_math.h"

#include <algorithm>

namespace {

// Longer operands take plain divisions throughout, and meet the size limit where these do.
constexpr std::uint32_t kLehmerMaxUnits = kMaxUnits / 2;
constexpr std::uint32_t kLeadingBits = 62;

// LehmerStep: `count` steps of Euclid's algorithm at once: (g, h) := (a g + b h, c g + d h). In each row the two
// factors have opposite signs; after an even count a and d are the positive ones, after an odd count b and c.
struct LehmerStep {
    std::int64_t a = 1, b = 0, c = 0, d = 1;
    std::uint32_t count = 0;
};

// The bits of value from `shift` on, of which there are at most 62.
std::int64_t bitsFrom(const vlong* value, std::uint32_t shift) {
    const std::uint32_t unit = shift / kUnitBits, bit = shift % kUnitBits;
    Unit bits = VLONG_getUnit(value, unit) >> bit;
    if (bit != 0) {
        bits |= VLONG_getUnit(value, unit + 1) << (kUnitBits - bit);
    }
    return static_cast<std::int64_t>(bits);
}

// The steps that the leading bits of g >= h decide. Knuth, The Art of Computer Programming, volume 2, 4.5.2, algorithm
// L: (x + b) / (y + d) <= g / h <= (x + a) / (y + c), so a quotient on which both ends agree is right.
LehmerStep leadingSteps(const vlong* g, const vlong* h) {
    const std::uint32_t bits = VLONG_bitLength(g);
    const std::uint32_t shift = bits > kLeadingBits ? bits - kLeadingBits : 0;
    std::int64_t x = bitsFrom(g, shift), y = bitsFrom(h, shift);
    LehmerStep step;
    while (y + step.c != 0 && y + step.d != 0) {
        const std::int64_t q = (x + step.a) / (y + step.c);
        if (q != (x + step.b) / (y + step.d)) {
            break;
        }
        step = {step.c, step.d, step.a - q * step.c, step.b - q * step.d, step.count + 1};
        const std::int64_t rest = x - q * y;
        x = y;
        y = rest;
    }
    return step;
}

// out := xFactor * x + yFactor * y, or, when isDifference, the factors' magnitudes with the negative product taken off.
Status combine(vlong* out, const vlong* x, std::int64_t xFactor, const vlong* y, std::int64_t yFactor,
               bool isDifference) {
    if (isDifference && yFactor > 0) {
        std::swap(x, y);
        std::swap(xFactor, yFactor);
    }
    const std::uint32_t n = std::max(x->length, y->length) + 1;
    RETURN_IF_ERROR(VLONG_growDiscard(out, n));
    std::fill_n(out->units, n, Unit{0});
    const auto magnitude = [](std::int64_t factor) {
        return static_cast<Unit>(factor < 0 ? -factor : factor);
    };
    const BignumKernels& kernels = bignumKernels();
    out->units[x->length] = kernels.mulAddUnit(out->units, x->units, x->length, magnitude(xFactor));
    const auto row = isDifference ? kernels.mulSubUnit : kernels.mulAddUnit;
    Unit carry = row(out->units, y->units, y->length, magnitude(yFactor));
    for (std::uint32_t i = y->length; carry != 0 && i < n; ++i) {
        const Unit unit = out->units[i];
        out->units[i] = isDifference ? unit - carry : unit + carry;
        carry = isDifference ? (unit < carry ? 1 : 0) : (out->units[i] < carry ? 1 : 0);
    }
    out->length = n;
    VLONG_normalise(out);
    return OK;
}

// Euclid: the pair of successive remainders g and h, with the magnitudes of their coefficients u and v, whose signs
// alternate from step to step.
class Euclid {
public:
    Euclid(bool withCoefficients, vlong** queue)
        : withCoefficients_(withCoefficients), queue_(queue), g_(queue), h_(queue), u_(queue), v_(queue), next_(queue),
          other_(queue) {
    }

    // Starts from |g| and |h|, of which the latter has the coefficient 1.
    Status start(const vlong* g, const vlong* h) {
        for (ScopedVlong* record : {&g_, &h_, &u_, &next_, &other_}) {
            RETURN_IF_ERROR(record->alloc());
        }
        RETURN_IF_ERROR(VLONG_copyMagnitude(g_.get(), g));
        RETURN_IF_ERROR(VLONG_copyMagnitude(h_.get(), h));
        return VLONG_newValue(1, v_.out(), queue_);
    }

    Status run() {
        while (!VLONG_isZero(h_.get())) {
            LehmerStep step;
            if (g_.get()->length <= kLehmerMaxUnits && VLONG_cmpMagnitude(g_.get(), h_.get()) >= 0) {
                step = leadingSteps(g_.get(), h_.get());
            }
            RETURN_IF_ERROR(step.b == 0 ? divisionStep() : takeSteps(step));
        }
        return OK;
    }

    // The last remainder but zero; its coefficient and whether that is negative.
    ScopedVlong& divisor() {
        return g_;
    }
    ScopedVlong& coefficient() {
        return u_;
    }
    bool isCoefficientNegative() const {
        return isNegative_;
    }

private:
    Status divisionStep() {
        RETURN_IF_ERROR(VLONG_divide(other_.get(), g_.get(), h_.get(), next_.get(), queue_));
        g_.swap(h_);
        h_.swap(next_);
        isNegative_ = !isNegative_;
        if (!withCoefficients_) {
            return OK;
        }
        RETURN_IF_ERROR(VLONG_mulMagnitude(next_.get(), other_.get(), v_.get()));
        RETURN_IF_ERROR(VLONG_addMagnitude(u_.get(), next_.get())); // opposite signs: the difference adds up
        u_.swap(v_);
        return OK;
    }

    Status takeSteps(const LehmerStep& step) {
        RETURN_IF_ERROR(combinePair(g_, h_, step, true));
        isNegative_ = isNegative_ != (step.count % 2 != 0);
        return withCoefficients_ ? combinePair(u_, v_, step, false) : OK;
    }

    Status combinePair(ScopedVlong& first, ScopedVlong& second, const LehmerStep& step, bool isDifference) {
        RETURN_IF_ERROR(combine(next_.get(), first.get(), step.a, second.get(), step.b, isDifference));
        RETURN_IF_ERROR(combine(other_.get(), first.get(), step.c, second.get(), step.d, isDifference));
        first.swap(next_);
        second.swap(other_);
        return OK;
    }

    bool withCoefficients_;
    bool isNegative_ = true; // of u: the first step makes it v, which is 1
    vlong** queue_;
    ScopedVlong g_, h_, u_, v_, next_, other_;
};

// Euclid's algorithm with signs: each remainder takes that of its dividend.
Status signedGcd(const vlong* a, const vlong* b, vlong** out, vlong** queue) {
    ScopedVlong x(queue), y(queue), remainder(queue);
    RETURN_IF_ERROR(VLONG_newCopy(a, x.out(), queue));
    RETURN_IF_ERROR(VLONG_newCopy(b, y.out(), queue));
    while (!VLONG_isZero(y.get())) {
        RETURN_IF_ERROR(VLONG_mod(x.get(), y.get(), remainder.out(), queue));
        x.swap(y);
        y.swap(remainder);
    }
    *out = x.release();
    return OK;
}

} // namespace

Status VLONG_gcd(const vlong* a, const vlong* b, vlong** out, vlong** queue) {
    if (a == nullptr || b == nullptr || out == nullptr) {
        return ERR_NULL_POINTER;
    }
    *out = nullptr;
    LocalQueue local(queue);
    if (a->negative != 0 || b->negative != 0) {
        return signedGcd(a, b, out, local.get());
    }
    Euclid euclid(false, local.get());
    RETURN_IF_ERROR(euclid.start(a, b));
    RETURN_IF_ERROR(euclid.run());
    *out = euclid.divisor().release();
    return OK;
}

Status VLONG_modInverse(const vlong* a, const vlong* n, vlong** out, vlong** queue) {
    if (a == nullptr || n == nullptr || out == nullptr) {
        return ERR_NULL_POINTER;
    }
    *out = nullptr;
    LocalQueue local(queue);
    Euclid euclid(true, local.get());
    RETURN_IF_ERROR(euclid.start(n, a));
    RETURN_IF_ERROR(euclid.run());
    ScopedVlong& result = euclid.coefficient();
    if (euclid.isCoefficientNegative() && !VLONG_isZero(result.get())) {
        result.get()->negative = 1;
        RETURN_IF_ERROR(VLONG_add(result.get(), n, local.get()));
    }
    // Whether the divisor has come down to 1 is not asked: callers invert what is coprime by construction.
    *out = result.release();
    return OK;
}
