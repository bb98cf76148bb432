// The five hashes, one-shot, beside OpenSSL's EVP in the same run. Every digest is compared before it is timed.
#include "core/hash/sha1.h"
#include "core/hash/sha256.h"
#include "core/hash/sha512.h"
#include "core/hash/sha_kernels.h"

#include <benchmark/benchmark.h>
#include <openssl/evp.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

struct Algorithm {
    const char* name;
    Status (*digest)(const std::uint8_t*, std::uint32_t, std::uint8_t*);
    const EVP_MD* (*peer)();
    std::size_t digestBytes;
};

constexpr Algorithm kAlgorithms[] = {
    {"SHA-1", sha1Digest, EVP_sha1, 20},       {"SHA-224", sha224Digest, EVP_sha224, 28},
    {"SHA-256", sha256Digest, EVP_sha256, 32}, {"SHA-384", sha384Digest, EVP_sha384, 48},
    {"SHA-512", sha512Digest, EVP_sha512, 64},
};

constexpr std::int64_t kSizes[] = {16, 64, 256, 1024, 16 * 1024, 1024 * 1024};

std::vector<std::uint8_t> messageOf(const benchmark::State& state) {
    return std::vector<std::uint8_t>(static_cast<std::size_t>(state.range(0)), 0x61);
}

void digestOurs(const Algorithm& algorithm, const std::vector<std::uint8_t>& message, std::uint8_t* out) {
    (void)algorithm.digest(message.data(), static_cast<std::uint32_t>(message.size()), out);
}

// As a program would do it that hashes many messages: the context is made once.
void digestPeer(EVP_MD_CTX* context, const EVP_MD* type, const std::vector<std::uint8_t>& message, std::uint8_t* out) {
    EVP_DigestInit_ex(context, type, nullptr);
    EVP_DigestUpdate(context, message.data(), message.size());
    EVP_DigestFinal_ex(context, out, nullptr);
}

void benchOurs(benchmark::State& state, const Algorithm& algorithm) {
    const std::vector<std::uint8_t> message = messageOf(state);
    std::uint8_t out[64], expected[64];
    digestOurs(algorithm, message, out);
    EVP_Digest(message.data(), message.size(), expected, nullptr, algorithm.peer(), nullptr);
    if (!std::equal(out, out + algorithm.digestBytes, expected)) {
        state.SkipWithError("the digest is wrong");
        return;
    }
    for (auto _ : state) {
        digestOurs(algorithm, message, out);
        benchmark::DoNotOptimize(out);
    }
    state.SetBytesProcessed(state.range(0) * static_cast<std::int64_t>(state.iterations()));
}

void benchPeer(benchmark::State& state, const Algorithm& algorithm) {
    const std::vector<std::uint8_t> message = messageOf(state);
    std::uint8_t out[64];
    EVP_MD_CTX* const context = EVP_MD_CTX_new();
    for (auto _ : state) {
        digestPeer(context, algorithm.peer(), message, out);
        benchmark::DoNotOptimize(out);
    }
    EVP_MD_CTX_free(context);
    state.SetBytesProcessed(state.range(0) * static_cast<std::int64_t>(state.iterations()));
}

// One kernel's compression alone, for whatever kernels this CPU supports.
template <typename Run, typename Word> void benchKernel(benchmark::State& state, const Kernel<Run>& kernel) {
    const std::vector<std::uint8_t> message = messageOf(state);
    Word chaining[8] = {};
    for (auto _ : state) {
        kernel.run(chaining, message.data(), message.size() / (16 * sizeof(Word)));
        benchmark::DoNotOptimize(chaining);
    }
    state.SetBytesProcessed(state.range(0) * static_cast<std::int64_t>(state.iterations()));
}

template <typename Word, typename Run> void registerKernels(const char* name, std::span<const Kernel<Run>> kernels) {
    for (const Kernel<Run>& kernel : kernels) {
        if (kernel.isSupported()) {
            const std::string row = std::string("kernel-") + kernel.name + "/" + name;
            benchmark::RegisterBenchmark(row.c_str(), benchKernel<Run, Word>, kernel)->Arg(16 * 1024);
        }
    }
}

const bool registered = [] {
    registerKernels<std::uint32_t>("SHA-1", sha1Kernels());
    registerKernels<std::uint32_t>("SHA-256", sha256Kernels());
    registerKernels<std::uint64_t>("SHA-512", sha512Kernels());
    for (const Algorithm& algorithm : kAlgorithms) {
        for (const std::int64_t size : kSizes) {
            const std::string name = algorithm.name;
            benchmark::RegisterBenchmark(("zelspi/" + name).c_str(), benchOurs, algorithm)->Arg(size);
            benchmark::RegisterBenchmark(("openssl/" + name).c_str(), benchPeer, algorithm)->Arg(size);
        }
    }
    benchmark::AddCustomContext("SHA-1 kernel", sha1Kernel().name);
    benchmark::AddCustomContext("SHA-256 kernel", sha256Kernel().name);
    benchmark::AddCustomContext("SHA-512 kernel", sha512Kernel().name);
    return true;
}();

} // namespace
