// Drawing random bytes, and what it is made of: two SHA-1 compressions for each 40 bytes. Contention on one context.
#include "core/hash/sha_kernels.h"
#include "core/random/random.h"

#include <benchmark/benchmark.h>
#include <openssl/rand.h>

#include <cstdlib>
#include <vector>

namespace {

// Without entropy threads: how a context was seeded makes no difference to its speed.
RandomContext* sharedContext() {
    static RandomContext* const context = [] {
        RandomContext* made = nullptr;
        if (isError(randomSetSeedingMode(kSeedWithoutThreads)) || isError(randomAcquireContext(&made))) {
            std::abort();
        }
        return made;
    }();
    return context;
}

void setBytes(benchmark::State& state) {
    state.SetBytesProcessed(state.range(0) * static_cast<std::int64_t>(state.iterations()));
}

void benchGenerate(benchmark::State& state) {
    RandomContext* const context = sharedContext();
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        if (isError(randomGenerate(context, bytes.data(), static_cast<std::uint32_t>(bytes.size())))) {
            state.SkipWithError("no bytes");
        }
        benchmark::DoNotOptimize(bytes.data());
    }
    setBytes(state);
}
BENCHMARK(benchGenerate)->Name("zelspi/random")->Arg(16)->Arg(1024)->Arg(16384);
BENCHMARK(benchGenerate)->Name("zelspi/random-contended")->Arg(1024)->Threads(1)->Threads(2)->Threads(8)->UseRealTime();

// The bound: the compressions alone, one after the other.
void benchCompressions(benchmark::State& state) {
    const std::vector<std::uint8_t> block(64);
    std::uint32_t chaining[5] = {};
    for (auto _ : state) {
        for (std::int64_t done = 0; done < state.range(0); done += 20) {
            sha1Kernel().run(chaining, block.data(), 1);
        }
        benchmark::DoNotOptimize(chaining);
    }
    setBytes(state);
}
BENCHMARK(benchCompressions)->Name("compressions/random")->Arg(16384);

void benchPeer(benchmark::State& state) {
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        RAND_bytes(bytes.data(), static_cast<int>(bytes.size()));
        benchmark::DoNotOptimize(bytes.data());
    }
    setBytes(state);
}
BENCHMARK(benchPeer)->Name("openssl/random")->Arg(16)->Arg(1024)->Arg(16384);

} // namespace
