// The functions of zel.h beside OpenSSL's EVP, as a native program calls either: one row an operation, checks of arguments,
// set-up and padding included. Every answer is compared, or verified by the other library, before it is timed.
//
// bench/ratios.py build/bench/bench/capi_bench; the argument is a length in bytes, or the bits of a key.
#include "bench/bench_check.h"
#include "capi/zel.h"
#include "core/random/random.h"

#include <benchmark/benchmark.h>
#include <openssl/bio.h>
#include <openssl/dsa.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/rsa.h>

#include <map>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

// digest, by one call; and by a context that is kept, as programs do for many messages.
struct Hash {
    const char* name;
    ZelHash ours;
    const EVP_MD* (*theirs)();
};
constexpr Hash kHashes[] = {
    {"SHA-1", ZEL_SHA1, EVP_sha1}, {"SHA-256", ZEL_SHA256, EVP_sha256}, {"SHA-512", ZEL_SHA512, EVP_sha512}};

void compareDigests(const Hash& hash, const Bytes& message) {
    Bytes ours(64), theirs(64);
    require(zelDigestOnce(hash.ours, message.data(), message.size(), ours.data(), ours.size()) == ZEL_OK &&
                EVP_Digest(message.data(), message.size(), theirs.data(), nullptr, hash.theirs(), nullptr) == 1 &&
                ours == theirs,
            hash.name);
}

void ourDigest(benchmark::State& state, const Hash& hash) {
    const Bytes message(static_cast<std::size_t>(state.range(0)), 0x61);
    compareDigests(hash, message);
    Bytes digest(64);
    for ([[maybe_unused]] auto _ : state) {
        require(zelDigestOnce(hash.ours, message.data(), message.size(), digest.data(), digest.size()) == ZEL_OK,
                "digest");
    }
}

void theirDigest(benchmark::State& state, const Hash& hash) {
    const Bytes message(static_cast<std::size_t>(state.range(0)), 0x61);
    Bytes digest(64);
    for ([[maybe_unused]] auto _ : state) {
        require(EVP_Digest(message.data(), message.size(), digest.data(), nullptr, hash.theirs(), nullptr) == 1,
                "digest");
    }
}

void ourKeptDigest(benchmark::State& state, const Hash& hash) {
    const Bytes message(static_cast<std::size_t>(state.range(0)), 0x61);
    Bytes digest(64);
    ZelDigest* handle = nullptr;
    require(zelDigestNew(hash.ours, &handle) == ZEL_OK, "new");
    for ([[maybe_unused]] auto _ : state) {
        require(zelDigestUpdate(handle, message.data(), message.size()) == ZEL_OK &&
                    zelDigestFinish(handle, digest.data(), digest.size()) == ZEL_OK,
                "digest");
    }
    zelDigestFree(handle);
}

void theirKeptDigest(benchmark::State& state, const Hash& hash) {
    const Bytes message(static_cast<std::size_t>(state.range(0)), 0x61);
    Bytes digest(64);
    EVP_MD* const type = EVP_MD_fetch(nullptr, hash.name, nullptr);
    EVP_MD_CTX* const context = EVP_MD_CTX_new();
    for ([[maybe_unused]] auto _ : state) {
        require(EVP_DigestInit_ex(context, type, nullptr) == 1 &&
                    EVP_DigestUpdate(context, message.data(), message.size()) == 1 &&
                    EVP_DigestFinal_ex(context, digest.data(), nullptr) == 1,
                "digest");
    }
    EVP_MD_CTX_free(context);
    EVP_MD_free(type);
}

// A whole message with its padding, the key set anew; OpenSSL's context is kept.
const Bytes kKey(32, 0x3C), kIv(16, 0x7E);

Bytes theirCipher(EVP_CIPHER_CTX* context, bool encrypts, const Bytes& input) {
    Bytes output(input.size() + 16);
    int first = 0, last = 0;
    require(EVP_CipherInit_ex(context, EVP_aes_256_cbc(), nullptr, kKey.data(), kIv.data(), encrypts ? 1 : 0) == 1 &&
                EVP_CipherUpdate(context, output.data(), &first, input.data(), static_cast<int>(input.size())) == 1 &&
                EVP_CipherFinal_ex(context, output.data() + first, &last) == 1,
            "EVP cipher");
    output.resize(static_cast<std::size_t>(first + last));
    return output;
}

Bytes cipherInput(const benchmark::State& state, bool encrypts) {
    const Bytes plaintext(static_cast<std::size_t>(state.range(0)), 0x61);
    EVP_CIPHER_CTX* const context = EVP_CIPHER_CTX_new();
    const Bytes ciphertext = theirCipher(context, true, plaintext);
    EVP_CIPHER_CTX_free(context);
    return encrypts ? plaintext : ciphertext;
}

void ourCipher(benchmark::State& state, bool encrypts) {
    const Bytes input = cipherInput(state, encrypts), expected = cipherInput(state, !encrypts);
    Bytes output(input.size() + 16);
    std::size_t length = 0;
    for ([[maybe_unused]] auto _ : state) {
        length = output.size();
        require((encrypts ? zelAesCbcEncrypt : zelAesCbcDecrypt)(kKey.data(), 32, kIv.data(), input.data(),
                                                                 input.size(), output.data(), &length) == ZEL_OK,
                "cipher");
    }
    output.resize(length);
    require(output == expected, "cipher");
    state.SetBytesProcessed(state.range(0) * static_cast<std::int64_t>(state.iterations()));
}

void theirCipherRow(benchmark::State& state, bool encrypts) {
    const Bytes input = cipherInput(state, encrypts);
    Bytes output(input.size() + 16);
    EVP_CIPHER* const cipher = EVP_CIPHER_fetch(nullptr, "AES-256-CBC", nullptr);
    EVP_CIPHER_CTX* const context = EVP_CIPHER_CTX_new();
    for ([[maybe_unused]] auto _ : state) {
        int first = 0, last = 0;
        require(EVP_CipherInit_ex(context, cipher, nullptr, kKey.data(), kIv.data(), encrypts ? 1 : 0) == 1 &&
                    EVP_CipherUpdate(context, output.data(), &first, input.data(), static_cast<int>(input.size())) ==
                        1 &&
                    EVP_CipherFinal_ex(context, output.data() + first, &last) == 1,
                "cipher");
    }
    EVP_CIPHER_CTX_free(context);
    EVP_CIPHER_free(cipher);
}

// One key in both libraries, with a signature of each by the other's leave.
struct Key {
    Key(const std::string& kind, unsigned bits) {
        if (kind == "RSA") {
            theirs = EVP_RSA_gen(bits);
        } else {
            EVP_PKEY* parameters = nullptr;
            EVP_PKEY_CTX* maker = EVP_PKEY_CTX_new_from_name(nullptr, "DSA", nullptr);
            require(EVP_PKEY_paramgen_init(maker) == 1 &&
                        EVP_PKEY_CTX_set_dsa_paramgen_bits(maker, static_cast<int>(bits)) == 1 &&
                        EVP_PKEY_CTX_set_dsa_paramgen_q_bits(maker, 256) == 1 &&
                        EVP_PKEY_paramgen(maker, &parameters) == 1,
                    "DSA parameters");
            EVP_PKEY_CTX_free(maker);
            maker = EVP_PKEY_CTX_new(parameters, nullptr);
            require(EVP_PKEY_keygen_init(maker) == 1 && EVP_PKEY_keygen(maker, &theirs) == 1, "DSA key");
            EVP_PKEY_CTX_free(maker);
            EVP_PKEY_free(parameters);
        }
        BIO* const file = BIO_new(BIO_s_mem());
        char* text = nullptr;
        require(PEM_write_bio_PKCS8PrivateKey(file, theirs, nullptr, nullptr, 0, nullptr, nullptr) == 1, "PEM");
        const long count = BIO_get_mem_data(file, &text);
        pem.assign(text, text + count);
        BIO_free(file);
        require(zelKeyReadPrivate(pem.data(), pem.size(), &ours) == ZEL_OK, "read");
        signature.resize(zelKeySignatureSize(ours));
        ourSign();
        theirVerify();
        theirSign();
        ourVerify();
    }
    void ourSign() {
        length = zelKeySignatureSize(ours);
        signature.resize(length);
        require(zelSign(ours, ZEL_SHA256, message.data(), message.size(), signature.data(), &length) == ZEL_OK, "sign");
        signature.resize(length);
    }
    void ourVerify() const {
        require(zelVerify(ours, ZEL_SHA256, message.data(), message.size(), signature.data(), signature.size()) ==
                    ZEL_OK,
                "verify");
    }
    void theirSign() {
        length = static_cast<std::size_t>(EVP_PKEY_get_size(theirs));
        signature.resize(length);
        require(EVP_DigestSignInit(context, nullptr, EVP_sha256(), nullptr, theirs) == 1 &&
                    EVP_DigestSign(context, signature.data(), &length, message.data(), message.size()) == 1,
                "EVP_DigestSign");
        signature.resize(length);
        EVP_MD_CTX_reset(context);
    }
    void theirVerify() const {
        require(EVP_DigestVerifyInit(context, nullptr, EVP_sha256(), nullptr, theirs) == 1 &&
                    EVP_DigestVerify(context, signature.data(), signature.size(), message.data(), message.size()) == 1,
                "EVP_DigestVerify");
        EVP_MD_CTX_reset(context);
    }
    void ourRead() const {
        ZelKey* key = nullptr;
        require(zelKeyReadPrivate(pem.data(), pem.size(), &key) == ZEL_OK && zelKeyFree(key) == ZEL_OK, "read");
    }
    void theirRead() const {
        BIO* const file = BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size()));
        EVP_PKEY* const key = PEM_read_bio_PrivateKey(file, nullptr, nullptr, nullptr);
        require(key != nullptr, "PEM_read_bio_PrivateKey");
        EVP_PKEY_free(key);
        BIO_free(file);
    }

    EVP_MD_CTX* context = EVP_MD_CTX_new();
    EVP_PKEY* theirs = nullptr;
    ZelKey* ours = nullptr;
    Bytes pem, message = Bytes(64, 0x61), signature;
    std::size_t length = 0;
};

Key& keyOf(const std::string& kind, std::int64_t bits) {
    static std::map<std::pair<std::string, std::int64_t>, Key> keys; // for the life of the program
    return keys.try_emplace({kind, bits}, kind, static_cast<unsigned>(bits)).first->second;
}

template <auto work> void withKey(benchmark::State& state, const char* kind) {
    Key& key = keyOf(kind, state.range(0));
    for ([[maybe_unused]] auto _ : state) {
        (key.*work)();
    }
}

void ourRandom(benchmark::State& state) {
    Bytes bytes(static_cast<std::size_t>(state.range(0)));
    for ([[maybe_unused]] auto _ : state) {
        require(zelRandomBytes(bytes.data(), bytes.size()) == ZEL_OK, "random");
    }
}

void theirRandom(benchmark::State& state) {
    Bytes bytes(static_cast<std::size_t>(state.range(0)));
    for ([[maybe_unused]] auto _ : state) {
        require(RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) == 1, "RAND_bytes");
    }
}

template <typename Ours, typename Theirs, typename... Arguments>
void add(const std::string& work, std::initializer_list<std::int64_t> sizes, Ours ours, Theirs theirs,
         Arguments... arguments) {
    for (const std::int64_t size : sizes) {
        benchmark::RegisterBenchmark(("zelspi/" + work).c_str(), ours, arguments...)->Arg(size);
        benchmark::RegisterBenchmark(("OpenSSL/" + work).c_str(), theirs, arguments...)->Arg(size);
    }
}

[[maybe_unused]] const bool kAdded = [] {
    benchmark::AddCustomContext("peer", OpenSSL_version(OPENSSL_VERSION));
    require(randomSetSeedingMode(kSeedWithoutThreads) == OK, "seeding"); // the speed does not depend on it
    for (const Hash& hash : kHashes) {
        add(std::string(hash.name) + "/once", {0, 64, 1024, 16384}, ourDigest, theirDigest, hash);
        add(std::string(hash.name) + "/kept", {64, 16384}, ourKeptDigest, theirKeptDigest, hash);
    }
    add("AES-256-CBC/encrypt", {15, 1024, 16384}, ourCipher, theirCipherRow, true);
    add("AES-256-CBC/decrypt", {15, 1024, 16384}, ourCipher, theirCipherRow, false);
    add("random", {32, 4096}, ourRandom, theirRandom);
    add("RSA/sign", {2048, 3072, 4096}, withKey<&Key::ourSign>, withKey<&Key::theirSign>, "RSA");
    add("RSA/verify", {2048, 3072, 4096}, withKey<&Key::ourVerify>, withKey<&Key::theirVerify>, "RSA");
    add("RSA/read", {2048}, withKey<&Key::ourRead>, withKey<&Key::theirRead>, "RSA");
    add("DSA/sign", {2048}, withKey<&Key::ourSign>, withKey<&Key::theirSign>, "DSA");
    add("DSA/verify", {2048}, withKey<&Key::ourVerify>, withKey<&Key::theirVerify>, "DSA");
    return true;
}();

} // namespace
