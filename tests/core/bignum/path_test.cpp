// The path through an exponentiation, instruction by instruction: it must not depend on exponent, base or modulus. The
// processor's single-step mode calls a signal handler after each instruction, which folds the addresses into a number.
#include "core/bignum/kernels.h"
#include "core/bignum/modexp.h"
#include "tests/support/number.h"

#include <csignal>
#include <ucontext.h>

namespace {

struct Path {
    std::uint64_t steps, hash;
    bool operator==(const Path&) const = default;
};
Path path;

void onStep(int, siginfo_t*, void* context) {
    const auto address = static_cast<std::uint64_t>(static_cast<ucontext_t*>(context)->uc_mcontext.gregs[REG_RIP]);
    path.hash = (path.hash ^ address) * 0x100000001B3;
    ++path.steps;
}

// Below the 128 bytes under the stack pointer, which belong to the caller.
#define ZEL_CHANGE_FLAGS(change)                                                                                       \
    __asm__ volatile("lea -128(%%rsp), %%rsp\n\tpushfq\n\t" change ", (%%rsp)\n\tpopfq\n\tlea 128(%%rsp), %%rsp"       \
                     :                                                                                                 \
                     :                                                                                                 \
                     : "cc", "memory")

__attribute__((noinline)) Path stepThrough(const ModExpKernel& kernel, bool pair, const ModExpTask (&tasks)[2],
                                           Unit* scratch) {
    path = {};
    ZEL_CHANGE_FLAGS("orq $0x100");
    pair ? kernel.pair(tasks[0], tasks[1], scratch) : kernel.one(tasks[0], scratch);
    ZEL_CHANGE_FLAGS("andq $-0x101");
    return path;
}

// The path with the exponent given and all else at random.
Path pathOf(const ModExpKernel& kernel, std::uint32_t k, bool pair, Units exponent, std::uint32_t bits,
            Random& random) {
    Units modulus = random.units(k), base = random.units(k), square = random.units(k), result(k), other(k);
    modulus[0] |= 1;
    modulus[k - 1] |= Unit{1} << 63;
    base[k - 1] >>= 1;
    square[k - 1] >>= 1; // stands for the squared radix: the path is the same with any value
    const Unit inverse = VLONG_montNegInverse64(Number(modulus));
    ModExpTask tasks[2] = {
        {result.data(), base.data(), exponent.data(), bits, {modulus.data(), square.data(), inverse, k}, bits > 64}};
    tasks[1] = tasks[0];
    tasks[1].result = other.data();
    Units scratch(kernel.scratchUnits(k, bits, bits > 64) + 8);
    Unit* const aligned =
        scratch.data() + (Unit{0} - reinterpret_cast<std::uintptr_t>(scratch.data())) % 64 / sizeof(Unit);
    kernel.one(tasks[0], aligned); // resolves what is resolved at the first call
    return stepThrough(kernel, pair, tasks, aligned);
}

// Two sizes only, as a step costs microseconds: numbers of few registers and, in the larger pair, of many. The others are
// instances of the same code. The kernel without vectors is checked by valgrind.
TEST(ModExpKernels, PathsDoNotDependOnSecrets) {
    const Kernel<ModExpKernel>& kernel = chooseKernel(modExpKernelTable());
    if (kernel.run.pair == nullptr) {
        GTEST_SKIP() << "no vector kernel on this CPU";
    }
    struct sigaction action = {}, before = {};
    action.sa_sigaction = onStep;
    action.sa_flags = SA_SIGINFO;
    ASSERT_EQ(sigaction(SIGTRAP, &action, &before), 0);
    Random random(8);
    for (const auto& [k, pair] : {std::pair{8U, false}, {8U, true}, {24U, true}}) {
        const Path sparse = pathOf(kernel.run, k, pair, {0, 2}, 66, random);
        EXPECT_GT(sparse.steps, 10000U);
        EXPECT_EQ(pathOf(kernel.run, k, pair, {random.unit(), 3}, 66, random), sparse) << k << pair;
    }
    // An exponent that is no secret decides on products, which shows that a difference would be seen.
    EXPECT_NE(pathOf(kernel.run, 8, false, {0xF}, 4, random), pathOf(kernel.run, 8, false, {0x8}, 4, random));
    EXPECT_EQ(sigaction(SIGTRAP, &before, nullptr), 0);
}

} // namespace
