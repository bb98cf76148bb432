// Whether the time of work with secrets tells of them: each row takes the time of two classes of secrets, one fixed or of a
// special form, the other random, in random order, and prints Welch's t of the difference of their means. Above 4.5 in size
// the classes can be told apart with so many measurements. The last row shows what that looks like. It asserts nothing.
//
// build/bench/bench/timing_bench [MEASUREMENTS], 10000 without an argument.
//
// Of each class the tenth that took longest is left out: interrupts. Operands lie in the same places for both classes, and
// both use as many keys.
//
// Source: Gilbert, Goodwill, Jaffe, Rohatgi, A testing methodology for side-channel resistance validation, 2011.
#include "bench/bench_check.h"
#include "core/bignum/kernels.h"
#include "core/bignum/residues.h"
#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong_convert.h"
#include "core/bignum/vlong_math.h"
#include "core/pubkey/dsa/dsa.h"
#include "core/pubkey/key/scoped_key.h"
#include "core/pubkey/rsa/rsa.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <random>
#include <vector>

namespace {

using Octets = std::vector<std::uint8_t>;

std::mt19937_64 generator(20261122);

Octets randomOctets(std::size_t count) {
    Octets octets(count);
    std::generate(octets.begin(), octets.end(), [] { return static_cast<std::uint8_t>(generator()); });
    return octets;
}

Status drawRandom(void*, std::uint32_t length, std::uint8_t* buffer) {
    std::generate_n(buffer, length, [] { return static_cast<std::uint8_t>(generator()); });
    return OK;
}

// A row: prepare(isFixed) chooses a secret, work() is what takes the time.
void row(const char* name, std::size_t measurements, const std::function<void(bool)>& prepare,
         const std::function<void()>& work) {
    std::vector<double> times[2];
    for (std::size_t i = 0; i < measurements + 100; ++i) { // the first hundred warm up
        const bool isFixed = generator() % 2 != 0;
        prepare(isFixed);
        const auto start = std::chrono::steady_clock::now();
        work();
        const std::chrono::duration<double, std::nano> time = std::chrono::steady_clock::now() - start;
        if (i >= 100) {
            times[isFixed ? 1 : 0].push_back(time.count());
        }
    }
    double mean[2] = {}, error[2] = {};
    for (int isFixed = 0; isFixed < 2; ++isFixed) {
        std::vector<double>& of = times[isFixed];
        std::sort(of.begin(), of.end());
        of.resize(of.size() - of.size() / 10);
        const auto count = static_cast<double>(of.size());
        double squares = 0;
        for (const double time : of) {
            mean[isFixed] += time / count;
        }
        for (const double time : of) {
            squares += (time - mean[isFixed]) * (time - mean[isFixed]);
        }
        error[isFixed] = squares / (count - 1) / count;
    }
    std::printf("| %-46s | %9.0f ns | %+8.1f ns | %+7.1f |\n", name, mean[0], mean[1] - mean[0],
                (mean[1] - mean[0]) / std::sqrt(error[0] + error[1]));
    std::fflush(stdout);
}

class Number : public ScopedVlong {
public:
    explicit Number(const Octets& octets) : ScopedVlong(nullptr) {
        require(VLONG_fromBytes(octets.data(), static_cast<std::int32_t>(octets.size()), out(), nullptr) == OK,
                "number");
    }
};

Octets octetsOf(const vlong* value, std::uint32_t count) {
    Octets octets(count);
    require(VLONG_toBytesFixed(value, octets.data(), count) == OK, "octets");
    return octets;
}

void dsaRows(std::size_t measurements) {
    ScopedKey key;
    require(AsymKey_MakeDsa(key.get(), nullptr) == OK, "key");
    DSAKey* const dsa = asymKeyDsa(key.get());
    require(Dsa_GenerateKey({drawRandom, nullptr}, dsa, 1024, nullptr, nullptr, nullptr, nullptr) == OK, "DSA key");
    const Number m(randomOctets(20));
    Octets nonce(40);
    const auto giveNonce = [](void* context, std::uint32_t length, std::uint8_t* buffer) -> Status {
        const Octets& given = *static_cast<Octets*>(context);
        std::copy(given.end() - length, given.end(), buffer);
        return OK;
    };
    const auto sign = [&] {
        ScopedVlong r(nullptr), s(nullptr);
        require(Dsa_Sign({giveNonce, &nonce}, dsa, m.get(), nullptr, r.out(), s.out(), nullptr) == OK, "sign");
    };
    // Below 2^159, so that no nonce is reduced; the special ones shorter than that.
    for (const std::size_t octetsLess : {1U, 2U, 8U}) {
        char name[64];
        std::snprintf(name, sizeof name, "DSA-1024 signature, nonce %zu bits short", 8 * octetsLess);
        row(
            name, measurements,
            [&](bool isFixed) {
                nonce = randomOctets(40);
                std::fill_n(nonce.begin(), 20 + (isFixed ? octetsLess : 0), std::uint8_t{0});
                if (!isFixed) {
                    nonce[20] = static_cast<std::uint8_t>(nonce[20] >> 2 | 0x40);
                }
            },
            sign);
    }
    const Octets x = octetsOf(dsa->x, 20);
    row(
        "DSA-1024 signature, private value", measurements,
        [&](bool isFixed) {
            Octets octets = isFixed ? x : randomOctets(20);
            octets[0] = static_cast<std::uint8_t>(octets[0] >> 2 | 0x40);
            Number value(octets);
            std::copy_n(value.get()->units, value.get()->length, dsa->x->units);
            nonce = randomOctets(40);
        },
        sign);
}

struct RsaKeys {
    explicit RsaKeys(std::uint32_t bits) {
        for (int i = 0; i < 32; ++i) {
            random.push_back(std::make_unique<ScopedKey>());
            require(AsymKey_MakeRsa(random.back()->get(), nullptr) == OK, "key");
            RSAKey* const made = asymKeyRsa(random.back()->get());
            require(Rsa_GenerateKey({drawRandom, nullptr}, made, bits, nullptr) == OK, "RSA key");
        }
        for (int i = 0; i < 32; ++i) { // as many copies of one
            fixed.push_back(std::make_unique<ScopedKey>());
            require(AsymKey_MakeRsa(fixed.back()->get(), nullptr) == OK, "key");
            load(asymKeyRsa(fixed.back()->get()), asymKeyRsa(random[0]->get()), bits);
        }
    }
    static void load(RSAKey* to, const RSAKey* from, std::uint32_t bits) {
        const Octets n = octetsOf(from->n, bits / 8), p = octetsOf(from->p, bits / 16),
                     q = octetsOf(from->q, bits / 16);
        require(RsaKey_SetPrivate(to, kRsaPublicExponent, n.data(), bits / 8, p.data(), bits / 16, q.data(), bits / 16,
                                  nullptr) == OK,
                "load");
    }
    RSAKey* any(bool isFixed) const {
        return asymKeyRsa((isFixed ? fixed : random)[generator() % 32]->get());
    }
    std::vector<std::unique_ptr<ScopedKey>> random, fixed;
};

void rsaRows(std::uint32_t bits, std::size_t measurements) {
    const RsaKeys keys(bits);
    RSAKey* key = keys.any(true);
    Octets block(bits / 8, 0xFF);
    block[0] = 0;
    block[1] = 1;
    Number input(block);
    const auto sign = [&] {
        ScopedVlong result(nullptr);
        require(Rsa_PrivateOp(key, input.get(), nullptr, nullptr, result.out(), nullptr) == OK, "sign");
    };
    const auto takeBlock = [&](bool isFixed) {
        Octets octets = isFixed ? block : randomOctets(bits / 8);
        octets[0] = 0;
        octets[1] = 1;
        const Number value(octets);
        std::copy_n(value.get()->units, value.get()->length, input.get()->units);
    };
    char name[64];
    std::snprintf(name, sizeof name, "RSA-%u private operation, padded block", bits);
    row(name, measurements, takeBlock, sign);
    std::snprintf(name, sizeof name, "RSA-%u private operation, key", bits);
    row(
        name, measurements,
        [&](bool isFixed) {
            key = keys.any(isFixed);
            takeBlock(false);
        },
        sign);
    ScopedKey loaded;
    require(AsymKey_MakeRsa(loaded.get(), nullptr) == OK, "key");
    std::snprintf(name, sizeof name, "RSA-%u, loading a key", bits);
    row(
        name, measurements / 4, [&](bool isFixed) { key = keys.any(isFixed); },
        [&] { RsaKeys::load(asymKeyRsa(loaded.get()), key, bits); });
}

// Of each kernel: the exponent 2^511 against any.
void exponentRows(std::size_t measurements) {
    constexpr std::uint32_t k = 8;
    Octets octets = randomOctets(64);
    octets[0] |= 0x80;
    octets[63] |= 1;
    const Number m(octets);
    MontgomeryCtx* context = nullptr;
    require(VLONG_newMontgomeryCtx(&context, m.get(), nullptr) == OK, "context");
    for (const Kernel<ModExpKernel>& kernel : modExpKernelTable()) {
        const bool isLast = &kernel == &modExpKernelTable().back();
        if (!kernel.isSupported()) {
            continue;
        }
        Unit exponent[k], base[k] = {2}, result[k];
        std::vector<Unit> scratch(kernel.run.scratchUnits(k, 64 * k, !isLast));
        const ModExpTask task = {result, base, exponent, 64 * k, montModulusOf(*context), !isLast};
        char name[64];
        std::snprintf(name, sizeof name, "power, kernel %s%s", kernel.name, isLast ? " (public exponents)" : "");
        row(
            name, measurements,
            [&](bool isFixed) {
                std::generate(exponent, exponent + k, [&] { return isFixed ? 0 : generator(); });
                exponent[k - 1] |= Unit{1} << 63;
            },
            [&] { kernel.run.one(task, scratch.data()); });
    }
    (void)VLONG_deleteMontgomeryCtx(&context, nullptr); // always OK
}

} // namespace

int main(int argc, char** argv) {
    const std::size_t measurements = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 10000;
    require(measurements >= 100, "measurements of 100 and more");
    std::printf("| Work and secret | Time of random ones | Difference of special ones | t |\n|---|---|---|---|\n");
    dsaRows(measurements);
    rsaRows(1024, measurements);
    rsaRows(2048, measurements);
    exponentRows(measurements);
    return 0;
}
