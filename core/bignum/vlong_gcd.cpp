// Greatest common divisor and modular inverse by Euclid's algorithm.
#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong_math.h"

Status VLONG_gcd(const vlong* a, const vlong* b, vlong** out, vlong** queue) {
    if (a == nullptr || b == nullptr || out == nullptr) {
        return ERR_NULL_POINTER;
    }
    *out = nullptr;
    LocalQueue local(queue);
    ScopedVlong x(local.get()), y(local.get()), remainder(local.get());
    RETURN_IF_ERROR(VLONG_newCopy(a, x.out(), local.get()));
    RETURN_IF_ERROR(VLONG_newCopy(b, y.out(), local.get()));
    while (!VLONG_isZero(y.get())) {
        RETURN_IF_ERROR(VLONG_mod(x.get(), y.get(), remainder.out(), local.get()));
        x.swap(y);
        y.swap(remainder);
    }
    *out = x.release();
    return OK;
}

Status VLONG_modInverse(const vlong* a, const vlong* n, vlong** out, vlong** queue) {
    if (a == nullptr || n == nullptr || out == nullptr) {
        return ERR_NULL_POINTER;
    }
    *out = nullptr;
    LocalQueue local(queue);
    vlong** const spare = local.get();
    // g and h are successive remainders, u and v the coefficients of a that go with them.
    ScopedVlong u(spare), v(spare), g(spare), h(spare), quotient(spare), remainder(spare), product(spare);
    RETURN_IF_ERROR(u.alloc());
    RETURN_IF_ERROR(VLONG_newValue(1, v.out(), spare));
    RETURN_IF_ERROR(VLONG_newCopy(n, g.out(), spare));
    RETURN_IF_ERROR(VLONG_newCopy(a, h.out(), spare));
    RETURN_IF_ERROR(quotient.alloc());
    RETURN_IF_ERROR(remainder.alloc());
    RETURN_IF_ERROR(product.alloc());
    while (!VLONG_isZero(h.get())) {
        RETURN_IF_ERROR(VLONG_divide(quotient.get(), g.get(), h.get(), remainder.get(), spare));
        g.swap(h);
        h.swap(remainder);
        RETURN_IF_ERROR(VLONG_mul(product.get(), quotient.get(), v.get()));
        RETURN_IF_ERROR(VLONG_sub(u.get(), product.get(), spare));
        u.swap(v);
    }
    if (!VLONG_isZero(u.get()) && u.get()->negative != 0) {
        RETURN_IF_ERROR(VLONG_add(u.get(), n, spare));
    }
    // Whether g has come down to 1 is not asked: callers invert what is coprime by construction.
    *out = u.release();
    return OK;
}
