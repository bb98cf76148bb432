// Primes and what is made of them, beside OpenSSL and GMP: the test of a prime, RSA keys, DSA parameters with a key pair,
// DSA signatures.
//
// build/bench/bench/prime_bench, or bench/ratios.py build/bench/bench/prime_bench; the argument is a size in bits. A search
// takes as long as its luck has it: each row of one is the mean of 20 keys, and ratios.py takes the median of five rows.
// The tests of a prime differ: ours and GMP's are Miller-Rabin rounds and a Lucas test, of which GMP does one round;
// OpenSSL does 64 rounds and no Lucas test.
#include "bench/bench_check.h"
#include "core/bignum/kernels.h"
#include "core/bignum/prime/prime.h"
#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong_convert.h"
#include "core/pubkey/dsa/dsa.h"
#include "core/pubkey/key/internal/key_load.h"
#include "core/pubkey/rsa/rsa.h"

#include <benchmark/benchmark.h>
#include <gmp.h>
#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/dsa.h>
#include <openssl/evp.h>
#include <openssl/rsa.h>

#include <memory>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

// The library's own generator, as key generation uses it.
RandomBytes ownRandom() {
    static RandomContext* const context = [] {
        RandomContext* made = nullptr;
        require(randomSetSeedingMode(kSeedWithoutThreads) == OK && randomAcquireContext(&made) == OK, "random");
        return made;
    }();
    return context;
}

Bytes bytesOf(const BIGNUM* number) {
    Bytes bytes(static_cast<std::size_t>(BN_num_bytes(number)));
    BN_bn2bin(number, bytes.data());
    return bytes;
}

void read(const BIGNUM* number, ScopedVlong& value) {
    const Bytes bytes = bytesOf(number);
    require(VLONG_fromBytes(bytes.data(), static_cast<std::int32_t>(bytes.size()), value.out(), nullptr) == OK, "read");
}

BIGNUM* written(const vlong* value) {
    std::uint32_t count = 0;
    require(VLONG_toBytes(value, nullptr, &count) == OK, "size");
    Bytes bytes(count);
    require(VLONG_toBytes(value, bytes.data(), &count) == OK, "bytes");
    return BN_bin2bn(bytes.data(), static_cast<int>(count), nullptr);
}

int bitsOf(const benchmark::State& state) {
    return static_cast<int>(state.range(0));
}

enum class Library { ours, openSsl, gmp };

void testPrime(benchmark::State& state, Library library) {
    BIGNUM* const prime = BN_new();
    require(BN_generate_prime_ex(prime, bitsOf(state), 0, nullptr, nullptr, nullptr) == 1, "BN_generate_prime_ex");
    ScopedVlong ours(nullptr);
    read(prime, ours);
    mpz_t gmp;
    mpz_init(gmp);
    mpz_import(gmp, ours.get()->length, -1, sizeof(Unit), 0, 0, ours.get()->units);
    const RandomBytes random = ownRandom();
    for ([[maybe_unused]] auto _ : state) {
        if (library == Library::ours) {
            std::uint32_t flag = 0;
            require(PRIME_isProbablePrimeSearch(random, ours.get(), &flag, nullptr) == OK && flag == 1, "prime");
        } else if (library == Library::openSsl) {
            require(BN_check_prime(prime, nullptr, nullptr) == 1, "BN_check_prime");
        } else {
            require(mpz_probab_prime_p(gmp, 25) > 0, "mpz_probab_prime_p");
        }
    }
    mpz_clear(gmp);
    BN_free(prime);
}

void generateRsa(benchmark::State& state, Library library) {
    const RandomBytes random = ownRandom();
    for ([[maybe_unused]] auto _ : state) {
        if (library == Library::ours) {
            RSAKey key{};
            require(Rsa_GenerateKey(random, &key, static_cast<std::uint32_t>(bitsOf(state)), nullptr) == OK, "key");
            rsaKeyClear(&key, nullptr);
        } else {
            EVP_PKEY* const key = EVP_RSA_gen(static_cast<unsigned>(bitsOf(state)));
            require(key != nullptr, "EVP_RSA_gen");
            EVP_PKEY_free(key);
        }
    }
}

// A DSA key with fresh parameters of 1024 and 160 bits.
EVP_PKEY* theirDsaKey() {
    EVP_PKEY *parameters = nullptr, *key = nullptr;
    EVP_PKEY_CTX* const context = EVP_PKEY_CTX_new_id(EVP_PKEY_DSA, nullptr);
    require(EVP_PKEY_paramgen_init(context) == 1 && EVP_PKEY_CTX_set_dsa_paramgen_bits(context, 1024) == 1 &&
                EVP_PKEY_CTX_set_dsa_paramgen_q_bits(context, 160) == 1 && EVP_PKEY_paramgen(context, &parameters) == 1,
            "EVP_PKEY_paramgen");
    EVP_PKEY_CTX_free(context);
    EVP_PKEY_CTX* const generator = EVP_PKEY_CTX_new(parameters, nullptr);
    require(EVP_PKEY_keygen_init(generator) == 1 && EVP_PKEY_keygen(generator, &key) == 1, "EVP_PKEY_keygen");
    EVP_PKEY_CTX_free(generator);
    EVP_PKEY_free(parameters);
    return key;
}

void generateDsa(benchmark::State& state, Library library) {
    const RandomBytes random = ownRandom();
    for ([[maybe_unused]] auto _ : state) {
        if (library == Library::ours) {
            DSAKey key{};
            require(Dsa_GenerateKey(random, &key, 1024, nullptr, nullptr, nullptr, nullptr) == OK, "key");
            dsaKeyClear(&key, nullptr);
        } else {
            EVP_PKEY_free(theirDsaKey());
        }
    }
}

// One DSA key in both libraries, with a digest and a signature by each, which the other has taken.
struct DsaPair {
    DsaPair() : theirs(theirDsaKey()), signer(EVP_PKEY_CTX_new(theirs, nullptr)), digest(20, 0x5A) {
        const Bytes p = number("p"), q = number("q"), g = number("g"), x = number("priv");
        require(Dsa_SetPrivateKey(&ours, p.data(), size(p), q.data(), size(q), g.data(), size(g), x.data(), size(x),
                                  nullptr) == OK,
                "Dsa_SetPrivateKey");
        require(VLONG_fromBytes(digest.data(), 20, m.out(), nullptr) == OK, "digest");
        require(EVP_PKEY_sign_init(signer) == 1, "EVP_PKEY_sign_init");
        verifier = EVP_PKEY_CTX_new(theirs, nullptr);
        require(EVP_PKEY_verify_init(verifier) == 1, "EVP_PKEY_verify_init");

        theirSign();
        const std::uint8_t* start = signature.data();
        DSA_SIG* const parsed = d2i_DSA_SIG(nullptr, &start, static_cast<long>(signature.size()));
        require(parsed != nullptr, "d2i_DSA_SIG");
        const BIGNUM *theirR = nullptr, *theirS = nullptr;
        DSA_SIG_get0(parsed, &theirR, &theirS);
        read(theirR, r);
        read(theirS, s);
        DSA_SIG_free(parsed);
        ourVerify();

        ourSign(false);
        DSA_SIG* const made = DSA_SIG_new();
        require(DSA_SIG_set0(made, written(r.get()), written(s.get())) == 1, "DSA_SIG_set0");
        signature.resize(static_cast<std::size_t>(i2d_DSA_SIG(made, nullptr)));
        std::uint8_t* end = signature.data();
        i2d_DSA_SIG(made, &end);
        DSA_SIG_free(made);
        theirVerify();
    }

    Bytes number(const char* name) {
        BIGNUM* value = nullptr;
        require(EVP_PKEY_get_bn_param(theirs, name, &value) == 1, name);
        const Bytes bytes = bytesOf(value);
        BN_free(value);
        return bytes;
    }
    static std::uint32_t size(const Bytes& bytes) {
        return static_cast<std::uint32_t>(bytes.size());
    }

    void ourSign(bool verified) {
        bool isVerified = false;
        require(Dsa_Sign(ownRandom(), &ours, m.get(), verified ? &isVerified : nullptr, r.out(), s.out(), nullptr) ==
                        OK &&
                    isVerified == verified,
                "Dsa_Sign");
    }
    void ourVerify() {
        bool isValid = false;
        require(Dsa_Verify(&ours, m.get(), r.get(), s.get(), &isValid, nullptr) == OK && isValid, "Dsa_Verify");
    }
    void theirSign() {
        signature.resize(64);
        std::size_t length = signature.size();
        require(EVP_PKEY_sign(signer, signature.data(), &length, digest.data(), digest.size()) == 1, "EVP_PKEY_sign");
        signature.resize(length);
    }
    void theirVerify() {
        require(EVP_PKEY_verify(verifier, signature.data(), signature.size(), digest.data(), digest.size()) == 1,
                "EVP_PKEY_verify");
    }

    EVP_PKEY* theirs;
    EVP_PKEY_CTX *signer, *verifier;
    DSAKey ours{};
    Bytes digest, signature;
    ScopedVlong m{nullptr}, r{nullptr}, s{nullptr};
};

void onDsaPair(benchmark::State& state, void (*operation)(DsaPair&)) {
    static DsaPair* const pair = new DsaPair; // for the life of the program
    for ([[maybe_unused]] auto _ : state) {
        operation(*pair);
    }
}

template <typename Run, typename... Arguments>
benchmark::internal::Benchmark* add(const char* name, Run run, Arguments... arguments) {
    return benchmark::RegisterBenchmark(name, run, arguments...)->Unit(benchmark::kMicrosecond);
}

[[maybe_unused]] const bool kAdded = [] {
    benchmark::AddCustomContext("modExp kernels", chooseKernel(modExpKernelTable()).name);
    benchmark::AddCustomContext("bignum kernels", chooseKernel(bignumKernelTable()).name);
    benchmark::AddCustomContext("peers", std::string(OpenSSL_version(OPENSSL_VERSION)) + ", GMP " + gmp_version);
    constexpr std::pair<const char*, Library> kPeers[] = {
        {"zelspi", Library::ours}, {"OpenSSL", Library::openSsl}, {"GMP", Library::gmp}};
    for (const auto& [name, library] : kPeers) {
        const std::string prefix = std::string(name) + '/';
        add((prefix + "prime-test").c_str(), testPrime, library)->Arg(512)->Arg(1024)->Arg(2048);
        if (library != Library::gmp) {
            add((prefix + "rsa-key").c_str(), generateRsa, library)->Iterations(20)->Arg(1024)->Arg(2048);
            add((prefix + "rsa-large-key").c_str(), generateRsa, library)->Iterations(4)->Arg(3072)->Arg(4096);
            add((prefix + "dsa-key").c_str(), generateDsa, library)->Iterations(20)->Arg(1024);
        }
    }
    const auto addDsa = [](const char* name, void (*operation)(DsaPair&)) {
        add(name, onDsaPair, operation)->Arg(1024);
    };
    addDsa("zelspi/dsa-sign", [](DsaPair& pair) { pair.ourSign(false); });
    addDsa("OpenSSL/dsa-sign", [](DsaPair& pair) { pair.theirSign(); });
    addDsa("zelspi/dsa-sign-checked", [](DsaPair& pair) { pair.ourSign(true); });
    addDsa("OpenSSL/dsa-sign-checked", [](DsaPair& pair) {
        pair.theirSign();
        pair.theirVerify();
    });
    addDsa("zelspi/dsa-verify", [](DsaPair& pair) { pair.ourVerify(); });
    addDsa("OpenSSL/dsa-verify", [](DsaPair& pair) { pair.theirVerify(); });
    return true;
}();

} // namespace
