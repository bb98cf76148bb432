// RSA beside OpenSSL: the private operation (unblinded, as the signature engine calls it, and blinded; OpenSSL's is
// always blinded), the public operation, and loading a private key from PKCS#8. Keys are OpenSSL's; every result is
// compared before it is timed.
//
// build/bench/bench/rsa_bench, or bench/ratios.py build/bench/bench/rsa_bench; the argument is the modulus in bits.
#include "bench/bench_check.h"
#include "core/bignum/kernels.h"
#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong_convert.h"
#include "core/pubkey/key/key_der.h"
#include "core/pubkey/key/scoped_key.h"
#include "core/pubkey/rsa/rsa.h"

#include <benchmark/benchmark.h>
#include <openssl/evp.h>
#include <openssl/rand.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>

#include <algorithm>
#include <map>
#include <memory>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

Status systemRandom(void* /*context*/, std::uint32_t length, std::uint8_t* buffer) {
    return RAND_bytes(buffer, static_cast<int>(length)) == 1 ? OK : ERR_RTOS;
}

// One key in both libraries, with an input and its power.
struct Key {
    explicit Key(unsigned bits) : input(bits / 8, 0x5A), power(bits / 8), value(nullptr), signature(nullptr) {
        theirs = EVP_RSA_gen(bits);
        require(theirs != nullptr, "EVP_RSA_gen");
        PKCS8_PRIV_KEY_INFO* const info = EVP_PKEY2PKCS8(theirs);
        pkcs8.resize(static_cast<std::size_t>(i2d_PKCS8_PRIV_KEY_INFO(info, nullptr)));
        std::uint8_t* end = pkcs8.data();
        i2d_PKCS8_PRIV_KEY_INFO(info, &end);
        PKCS8_PRIV_KEY_INFO_free(info);
        require(AsymKey_FromPkcs8Der(pkcs8.data(), size(), ours.get()) == OK, "AsymKey_FromPkcs8Der");
        signer = EVP_PKEY_CTX_new(theirs, nullptr);
        require(EVP_PKEY_sign_init(signer) == 1 && EVP_PKEY_CTX_set_rsa_padding(signer, RSA_NO_PADDING) == 1, "sign");
        verifier = EVP_PKEY_CTX_new(theirs, nullptr);
        require(EVP_PKEY_verify_recover_init(verifier) == 1, "verify");
        require(EVP_PKEY_CTX_set_rsa_padding(verifier, RSA_NO_PADDING) == 1, "verify");
        require(VLONG_fromBytes(input.data(), static_cast<std::int32_t>(bits / 8), value.out(), nullptr) == OK,
                "input");
        theirSign();
        require(VLONG_fromBytes(power.data(), static_cast<std::int32_t>(bits / 8), signature.out(), nullptr) == OK,
                "s");
    }
    RSAKey* rsa() {
        return asymKeyRsa(ours.get());
    }
    std::uint32_t size() const {
        return static_cast<std::uint32_t>(pkcs8.size());
    }
    void theirSign() {
        std::size_t length = power.size();
        require(EVP_PKEY_sign(signer, power.data(), &length, input.data(), input.size()) == 1, "EVP_PKEY_sign");
    }

    EVP_PKEY* theirs;
    EVP_PKEY_CTX *signer, *verifier;
    ScopedKey ours;
    Bytes pkcs8, input, power;
    ScopedVlong value, signature;
};

Key& keyOf(const benchmark::State& state) {
    static std::map<std::int64_t, std::unique_ptr<Key>> keys; // for the life of the program
    std::unique_ptr<Key>& key = keys[state.range(0)];
    if (key == nullptr) {
        key = std::make_unique<Key>(static_cast<unsigned>(state.range(0)));
    }
    return *key;
}

void ourSign(benchmark::State& state, RandomSource random) {
    Key& key = keyOf(state);
    ScopedVlong result(nullptr);
    for ([[maybe_unused]] auto _ : state) {
        require(Rsa_PrivateOp(key.rsa(), key.value.get(), random, nullptr, result.out(), nullptr) == OK, "sign");
    }
    require(VLONG_cmp(result.get(), key.signature.get()) == 0, "signature");
}

void theirSign(benchmark::State& state) {
    Key& key = keyOf(state);
    for ([[maybe_unused]] auto _ : state) {
        key.theirSign();
    }
}

void ourVerify(benchmark::State& state) {
    Key& key = keyOf(state);
    ScopedVlong result(nullptr);
    for ([[maybe_unused]] auto _ : state) {
        require(Rsa_PublicOp(key.rsa(), key.signature.get(), result.out(), nullptr) == OK, "verify");
    }
    require(VLONG_cmp(result.get(), key.value.get()) == 0, "input");
}

void theirVerify(benchmark::State& state) {
    Key& key = keyOf(state);
    Bytes opened(key.input.size());
    for ([[maybe_unused]] auto _ : state) {
        std::size_t length = opened.size();
        require(EVP_PKEY_verify_recover(key.verifier, opened.data(), &length, key.power.data(), key.power.size()) == 1,
                "EVP_PKEY_verify_recover");
    }
    require(opened == key.input, "input");
}

void ourLoad(benchmark::State& state) {
    Key& key = keyOf(state);
    for ([[maybe_unused]] auto _ : state) {
        ScopedKey loaded;
        require(AsymKey_FromPkcs8Der(key.pkcs8.data(), key.size(), loaded.get()) == OK, "load");
    }
}

void theirLoad(benchmark::State& state) {
    Key& key = keyOf(state);
    for ([[maybe_unused]] auto _ : state) {
        const std::uint8_t* start = key.pkcs8.data();
        EVP_PKEY* const loaded = d2i_AutoPrivateKey(nullptr, &start, static_cast<long>(key.size()));
        require(loaded != nullptr, "d2i_AutoPrivateKey");
        EVP_PKEY_free(loaded);
    }
}

template <typename Run, typename... Arguments> void add(const char* name, Run run, Arguments... arguments) {
    auto* const row = benchmark::RegisterBenchmark(name, run, arguments...);
    row->Unit(benchmark::kMicrosecond);
    for (const int bits : {1024, 2048, 3072, 4096}) {
        row->Arg(bits);
    }
}

[[maybe_unused]] const bool kAdded = [] {
    benchmark::AddCustomContext("modExp kernels", chooseKernel(modExpKernelTable()).name);
    benchmark::AddCustomContext("peer", OpenSSL_version(OPENSSL_VERSION));
    add("zelspi/sign", ourSign, RandomSource{nullptr});
    add("OpenSSL/sign", theirSign);
    add("zelspi/sign-blinded", ourSign, systemRandom);
    add("OpenSSL/sign-blinded", theirSign);
    add("zelspi/verify", ourVerify);
    add("OpenSSL/verify", theirVerify);
    add("zelspi/load", ourLoad);
    add("OpenSSL/load", theirLoad);
    return true;
}();

} // namespace
