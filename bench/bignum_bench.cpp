// Big integers beside GMP: products, squares, quotients, inverses, powers; pairs of powers beside OpenSSL, which takes
// two side by side as well. Each result is compared before it is timed.
//
// build/bench/bench/bignum_bench; the arguments are units of 64 bits, for inverse and modExp bits. The context that the
// program prints names the kernels in use; GMP always uses the best it has for this CPU.
#include "bench/bench_check.h"
#include "core/bignum/kernels.h"
#include "core/bignum/modexp.h"
#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong_math.h"

#include <benchmark/benchmark.h>
#include <gmp.h>
#include <openssl/bn.h>

#include <random>
#include <vector>

namespace {

using Units = std::vector<Unit>;

// Random units with the top bit set.
Units randomUnits(std::size_t count) {
    static std::mt19937_64 generator(1);
    Units units(count);
    for (Unit& unit : units) {
        unit = generator();
    }
    units.back() |= Unit{1} << 63;
    return units;
}

// One value in both libraries.
struct Value {
    explicit Value(const Units& units) : ours(nullptr) {
        require(!isError(ours.alloc()), "alloc");
        for (std::size_t i = units.size(); i-- > 0;) {
            require(!isError(VLONG_setUnit(ours.get(), static_cast<std::uint32_t>(i), units[i])), "setUnit");
        }
        mpz_init(theirs);
        mpz_import(theirs, units.size(), -1, sizeof(Unit), 0, 0, units.data());
    }
    Value() : Value(Units{}) {
    }
    Value(const Value&) = delete;
    Value& operator=(const Value&) = delete;
    ~Value() {
        mpz_clear(theirs);
    }

    // Whether both libraries hold the same value.
    void check(const char* what) const {
        mpz_t copy;
        mpz_init(copy);
        mpz_import(copy, ours.get()->length, -1, sizeof(Unit), 0, 0, ours.get()->units);
        require(mpz_cmp(copy, theirs) == 0, what);
        mpz_clear(copy);
    }

    ScopedVlong ours;
    mpz_t theirs;
};

std::size_t argument(const benchmark::State& state) {
    return static_cast<std::size_t>(state.range(0));
}

void multiply(benchmark::State& state, bool gmp, bool squaring) {
    const Value a(randomUnits(argument(state))), other(randomUnits(argument(state)));
    const Value& b = squaring ? a : other;
    Value product;
    require(!isError(VLONG_mul(product.ours.get(), a.ours.get(), b.ours.get())), "mul");
    mpz_mul(product.theirs, a.theirs, b.theirs);
    product.check("mul");
    const auto n = static_cast<mp_size_t>(argument(state));
    std::vector<mp_limb_t> result(2 * argument(state));
    for ([[maybe_unused]] auto _ : state) {
        if (!gmp) {
            (void)VLONG_mul(product.ours.get(), a.ours.get(), b.ours.get());
        } else if (squaring) {
            mpn_sqr(result.data(), mpz_limbs_read(a.theirs), n);
        } else {
            mpn_mul(result.data(), mpz_limbs_read(a.theirs), n, mpz_limbs_read(b.theirs), n);
        }
        benchmark::ClobberMemory();
    }
}

void divide(benchmark::State& state, bool gmp) {
    const Value a(randomUnits(2 * argument(state))), b(randomUnits(argument(state)));
    Value quotient, remainder;
    vlong* queue = nullptr;
    const auto run = [&] {
        return VLONG_divide(quotient.ours.get(), a.ours.get(), b.ours.get(), remainder.ours.get(), &queue);
    };
    require(!isError(run()), "divide");
    mpz_tdiv_qr(quotient.theirs, remainder.theirs, a.theirs, b.theirs);
    quotient.check("divide");
    remainder.check("divide");
    for ([[maybe_unused]] auto _ : state) {
        if (gmp) {
            mpz_tdiv_qr(quotient.theirs, remainder.theirs, a.theirs, b.theirs);
        } else {
            (void)run();
        }
    }
    (void)VLONG_freeQueue(&queue);
}

void inverse(benchmark::State& state, bool gmp) {
    Units modulus = randomUnits(argument(state) / kUnitBits);
    modulus[0] |= 1;
    const Value m(modulus);
    Units start = randomUnits(modulus.size());
    start.back() >>= 1;
    Value a(start), result;
    while (mpz_invert(result.theirs, a.theirs, m.theirs) == 0) {
        mpz_add_ui(a.theirs, a.theirs, 1);
        (void)VLONG_increment(a.ours.get(), nullptr);
    }
    require(!isError(VLONG_modInverse(a.ours.get(), m.ours.get(), result.ours.out(), nullptr)), "modInverse");
    result.check("modInverse");
    for ([[maybe_unused]] auto _ : state) {
        if (gmp) {
            mpz_invert(result.theirs, a.theirs, m.theirs);
        } else {
            (void)VLONG_modInverse(a.ours.get(), m.ours.get(), result.ours.out(), nullptr);
        }
    }
}

void modExp(benchmark::State& state, bool gmp) {
    Units modulus = randomUnits(argument(state) / kUnitBits);
    modulus[0] |= 1;
    Units start = randomUnits(modulus.size());
    start.back() >>= 1;
    const Value m(modulus), base(start), exponent(randomUnits(modulus.size()));
    Value result;
    const auto run = [&] {
        return VLONG_modExp(base.ours.get(), exponent.ours.get(), m.ours.get(), result.ours.out(), nullptr);
    };
    require(!isError(run()), "modExp");
    mpz_powm(result.theirs, base.theirs, exponent.theirs, m.theirs);
    result.check("modExp");
    for ([[maybe_unused]] auto _ : state) {
        if (gmp) {
            mpz_powm(result.theirs, base.theirs, exponent.theirs, m.theirs);
        } else {
            (void)run();
        }
    }
}

// Two powers with moduli of so many bits, as a signature by RSA's two primes takes them; `exponentBits` 0 is their length.
// OpenSSL's call is the one behind its own signatures, in constant time like ours.
struct OpensslPower {
    explicit OpensslPower(const Value& base, const Value& exponent, const Value& modulus)
        : base_(number(base)), exponent_(number(exponent)), modulus_(number(modulus)) {
        BN_MONT_CTX_set(mont, modulus_, context);
    }
    OpensslPower(const OpensslPower&) = delete;
    OpensslPower& operator=(const OpensslPower&) = delete;
    ~OpensslPower() {
        for (BIGNUM* bn : {base_, exponent_, modulus_, result}) {
            BN_free(bn);
        }
        BN_MONT_CTX_free(mont);
        BN_CTX_free(context);
    }
    static BIGNUM* number(const Value& value) {
        const vlong* const ours = value.ours.get();
        return BN_lebin2bn(reinterpret_cast<const unsigned char*>(ours->units),
                           static_cast<int>(ours->length * sizeof(Unit)), nullptr);
    }
    bool equals(const Value& value) const {
        BIGNUM* const expected = number(value);
        const bool equal = BN_cmp(result, expected) == 0;
        BN_free(expected);
        return equal;
    }
    static void runBoth(OpensslPower& a, OpensslPower& b) {
        BN_mod_exp_mont_consttime_x2(a.result, a.base_, a.exponent_, a.modulus_, a.mont, b.result, b.base_, b.exponent_,
                                     b.modulus_, b.mont, a.context);
    }

    BIGNUM *base_, *exponent_, *modulus_;
    BIGNUM* result = BN_new();
    BN_MONT_CTX* mont = BN_MONT_CTX_new();
    BN_CTX* context = BN_CTX_new();
};

void modExpPair(benchmark::State& state, bool openssl) {
    const std::size_t units = argument(state) / kUnitBits;
    const auto exponentUnits = [&](std::size_t bits) {
        Units exponent = randomUnits((bits + kUnitBits - 1) / kUnitBits);
        exponent.back() >>= (kUnitBits - bits % kUnitBits) % kUnitBits;
        return exponent;
    };
    const std::size_t bits = state.range(1) != 0 ? static_cast<std::size_t>(state.range(1)) : argument(state);
    Units starts[2] = {randomUnits(units), randomUnits(units)}, moduli[2] = {randomUnits(units), randomUnits(units)};
    for (int i = 0; i < 2; ++i) {
        starts[i].back() >>= 1;
        moduli[i][0] |= 1;
    }
    const Value bases[2]{Value(starts[0]), Value(starts[1])}, modulus[2]{Value(moduli[0]), Value(moduli[1])},
        exponents[2]{Value(exponentUnits(bits)), Value(exponentUnits(bits))};
    Value results[2];
    MontgomeryCtx* contexts[2] = {};
    for (int i = 0; i < 2; ++i) {
        require(!isError(VLONG_newMontgomeryCtx(&contexts[i], modulus[i].ours.get(), nullptr)), "context");
    }
    OpensslPower first(bases[0], exponents[0], modulus[0]), second(bases[1], exponents[1], modulus[1]);
    const auto ours = [&] {
        return VLONG_modExpCtxPair({contexts[0], bases[0].ours.get(), exponents[0].ours.get(), results[0].ours.out()},
                                   {contexts[1], bases[1].ours.get(), exponents[1].ours.get(), results[1].ours.out()},
                                   nullptr);
    };
    require(!isError(ours()), "pair");
    OpensslPower::runBoth(first, second);
    require(first.equals(results[0]) && second.equals(results[1]), "pair");
    for ([[maybe_unused]] auto _ : state) {
        if (openssl) {
            OpensslPower::runBoth(first, second);
        } else {
            (void)ours();
        }
    }
    for (MontgomeryCtx*& context : contexts) {
        (void)VLONG_deleteMontgomeryCtx(&context, nullptr);
    }
}

// Names the kernels of this run in the output.
[[maybe_unused]] const bool kNamed = [] {
    benchmark::AddCustomContext("bignum kernels", chooseKernel(bignumKernelTable()).name);
    benchmark::AddCustomContext("modExp kernels", chooseKernel(modExpKernelTable()).name);
    benchmark::AddCustomContext("compiler", __VERSION__);
    benchmark::AddCustomContext("peer", gmp_version);
    return true;
}();

void unitSizes(benchmark::internal::Benchmark* benchmark) {
    benchmark->Arg(8)->Arg(16)->Arg(32)->Arg(64);
}

void modulusBits(benchmark::internal::Benchmark* benchmark) {
    benchmark->Arg(512)->Arg(1024)->Arg(1536)->Arg(2048)->Unit(benchmark::kMicrosecond);
}

void pairBits(benchmark::internal::Benchmark* benchmark) {
    benchmark->Unit(benchmark::kMicrosecond)->Args({512, 0})->Args({1024, 0})->Args({1536, 0})->Args({2048, 0});
    benchmark->Args({1024, 160});
}

BENCHMARK_CAPTURE(multiply, ours, false, false)->Apply(unitSizes);
BENCHMARK_CAPTURE(multiply, gmp, true, false)->Apply(unitSizes);
BENCHMARK_CAPTURE(multiply, ours_square, false, true)->Apply(unitSizes);
BENCHMARK_CAPTURE(multiply, gmp_square, true, true)->Apply(unitSizes);
BENCHMARK_CAPTURE(divide, ours, false)->Apply(unitSizes);
BENCHMARK_CAPTURE(divide, gmp, true)->Apply(unitSizes);
BENCHMARK_CAPTURE(inverse, ours, false)->Arg(1024)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(inverse, gmp, true)->Arg(1024)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(modExp, ours, false)->Apply(modulusBits);
BENCHMARK_CAPTURE(modExp, gmp, true)->Apply(modulusBits);
BENCHMARK_CAPTURE(modExpPair, ours, false)->Apply(pairBits);
BENCHMARK_CAPTURE(modExpPair, openssl, true)->Apply(pairBits);

} // namespace
