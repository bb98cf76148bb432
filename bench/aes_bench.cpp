// The AES modes in both directions and all key sizes, in place, beside OpenSSL's EVP in the same run; then every kernel
// that this CPU supports on CBC with 256 bits; then the making of a context. Every result is compared before it is
// timed.
//
// To see OpenSSL's table code, hide the CPU's extensions from it:
//     OPENSSL_ia32cap="~0x200020200000000:~0x20000000" aes_bench
#include "core/aes/aes.h"
#include "core/aes/aes_kernels.h"

#include <benchmark/benchmark.h>
#include <openssl/evp.h>

#include <cstdlib>
#include <string>
#include <vector>

namespace {

struct Mode {
    const char* name;
    std::int32_t number;
    const EVP_CIPHER* (*peer[3])();
};

constexpr Mode kModes[] = {
    {"CBC", kAesModeCbc, {EVP_aes_128_cbc, EVP_aes_192_cbc, EVP_aes_256_cbc}},
    {"ECB", kAesModeEcb, {EVP_aes_128_ecb, EVP_aes_192_ecb, EVP_aes_256_ecb}},
    {"CFB128", kAesModeCfb128, {EVP_aes_128_cfb128, EVP_aes_192_cfb128, EVP_aes_256_cfb128}},
    {"OFB", kAesModeOfb, {EVP_aes_128_ofb, EVP_aes_192_ofb, EVP_aes_256_ofb}},
};

constexpr std::int64_t kSizes[] = {16, 256, 1024, 16 * 1024, 1024 * 1024};
constexpr std::uint8_t kKey[32] = {0x60, 0x3d, 0xeb, 0x10, 0x15, 0xca, 0x71, 0xbe};

struct Case {
    Mode mode;
    std::uint32_t keyBits;
    bool encrypt;
};

using Bytes = std::vector<std::uint8_t>;

// A peer's context, keyed and without padding; the chain goes on from call to call, as ours does.
class Peer {
public:
    explicit Peer(const Case& c) : context_(EVP_CIPHER_CTX_new()) {
        const std::uint8_t iv[16] = {};
        EVP_CipherInit_ex(context_, c.mode.peer[c.keyBits / 64 - 2](), nullptr, kKey, iv, c.encrypt ? 1 : 0);
        EVP_CIPHER_CTX_set_padding(context_, 0);
    }
    ~Peer() {
        EVP_CIPHER_CTX_free(context_);
    }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    void run(Bytes& data) {
        int written = 0;
        EVP_CipherUpdate(context_, data.data(), &written, data.data(), static_cast<int>(data.size()));
    }

private:
    EVP_CIPHER_CTX* context_;
};

Bytes dataOf(const benchmark::State& state) {
    return Bytes(static_cast<std::size_t>(state.range(0)), 0x61);
}

// Two calls in a row against the peer, so that the chaining value counts too.
template <typename Run> bool agreesWithPeer(const benchmark::State& state, const Case& c, Run run) {
    Bytes ours = dataOf(state), theirs = ours;
    Peer peer(c);
    for (int i = 0; i < 2; ++i) {
        run(ours);
        peer.run(theirs);
    }
    return ours == theirs;
}

template <typename Run> void timeRun(benchmark::State& state, Run run) {
    Bytes data = dataOf(state);
    for (auto _ : state) {
        run(data);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.range(0) * static_cast<std::int64_t>(state.iterations()));
}

void benchOurs(benchmark::State& state, const Case& c) {
    AesContext context;
    std::uint8_t iv[16] = {};
    (void)aesInitKey(&context, c.keyBits, kKey, c.encrypt ? 1 : 0, c.mode.number);
    const auto run = [&](Bytes& data) {
        (void)aesDoBlocks(&context, data.data(), static_cast<std::uint32_t>(data.size()), c.encrypt ? 1 : 0, iv);
    };
    if (!agreesWithPeer(state, c, run)) {
        state.SkipWithError("the result is wrong");
        return;
    }
    timeRun(state, run);
}

void benchPeer(benchmark::State& state, const Case& c) {
    Peer peer(c);
    timeRun(state, [&](Bytes& data) { peer.run(data); });
}

void benchKernel(benchmark::State& state, const AesModes& modes, const Case& c) {
    AesContext context;
    std::uint8_t iv[16] = {};
    (void)aesInitKey(&context, c.keyBits, kKey, c.encrypt ? 1 : 0, c.mode.number);
    const AesModeRun cbc = c.encrypt ? modes.cbcEncrypt : modes.cbcDecrypt;
    const auto run = [&](Bytes& data) {
        cbc(context.roundKeys, context.rounds, iv, data.data(), data.data(), data.size() / kAesBlockBytes);
    };
    if (!agreesWithPeer(state, c, run)) {
        state.SkipWithError("the result is wrong");
        return;
    }
    timeRun(state, run);
}

void benchKey(benchmark::State& state, std::uint32_t encrypt) {
    for (auto _ : state) {
        AesContext* context = aesCreateContext(kKey, 32, encrypt);
        benchmark::DoNotOptimize(context);
        (void)aesDeleteContext(&context);
    }
}

const bool registered = [] {
    for (const Mode& mode : kModes) {
        for (const std::uint32_t keyBits : {128u, 192u, 256u}) {
            for (const bool encrypt : {true, false}) {
                const Case c{mode, keyBits, encrypt};
                const std::string name =
                    std::string(mode.name) + "-" + std::to_string(keyBits) + (encrypt ? "/encrypt" : "/decrypt");
                for (const std::int64_t size : kSizes) {
                    benchmark::RegisterBenchmark(("zelspi/" + name).c_str(), benchOurs, c)->Arg(size);
                    benchmark::RegisterBenchmark(("openssl/" + name).c_str(), benchPeer, c)->Arg(size);
                }
            }
        }
    }
    for (const Kernel<AesModes>& kernel : aesKernels()) {
        if (kernel.isSupported()) {
            for (const bool encrypt : {true, false}) {
                const std::string name =
                    std::string("kernel-") + kernel.name + (encrypt ? "/CBC-256/encrypt" : "/CBC-256/decrypt");
                benchmark::RegisterBenchmark(name.c_str(), benchKernel, kernel.run, Case{kModes[0], 256, encrypt})
                    ->Arg(16 * 1024);
            }
        }
    }
    benchmark::RegisterBenchmark("context/AES-256/encrypt", benchKey, 1u);
    benchmark::RegisterBenchmark("context/AES-256/decrypt", benchKey, 0u);
    benchmark::AddCustomContext("AES kernel", aesKernel().name);
    return true;
}();

} // namespace
