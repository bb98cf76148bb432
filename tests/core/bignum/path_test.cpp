// The path through an exponentiation, instruction by instruction, and the places that it reads and writes: neither must
// depend on exponent, base or modulus. The processor's single-step mode calls a signal handler before each instruction, which
// folds the instruction's address and those of its operands in memory into a number.
#include "core/bignum/kernels.h"
#include "core/bignum/modexp.h"
#include "tests/support/number.h"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <random>
#include <ucontext.h>
#include <x86intrin.h>

namespace {

struct Path {
    std::uint64_t steps, hash;
} path;

// What varies of the address of the operand in memory of the instruction at `code`: base + scale index; 0 without one. The
// displacement is the instruction's own. Operands of pushes and string instructions have the stack pointer and registers
// that the instructions themselves count.
std::uint64_t operandAddress(const std::uint8_t* code, const greg_t* registers) {
    unsigned rex = 0, map = 0; // of REX the lowest bits: the base's highest bit, and that of the index
    while (*code == 0x66 || *code == 0xF2 || *code == 0xF3 || *code == 0x2E || *code == 0x64) {
        ++code; // prefixes
    }
    if (*code == 0x62 || *code == 0xC4) { // EVEX, VEX
        rex = ~unsigned{code[1]} >> 5;
        map = code[1] & 7;
        code += *code == 0x62 ? 4 : 3;
    } else if (*code == 0xC5) {
        map = 1;
        code += 2;
    } else {
        rex = (*code & 0xF0) == 0x40 ? *code++ : 0U;
        if (*code == 0x0F) {
            ++code;
            map = *code == 0x38 || *code == 0x3A ? 2 : 1;
            code += map - 1;
        }
    }
    // Which opcodes have an operand by a ModRM octet: a row of bits for the 16 from 16 i on. In the first map these are
    // arithmetic, moves, shifts; not LEA, whose sum is a value. In the second all but jumps, NOPs, and those without operands.
    constexpr std::uint16_t kRows[2][16] = {{0x0F0F, 0x0F0F, 0x0F0F, 0x0F0F, 0, 0, 0x0A08, 0, //
                                             0x0FFF, 0, 0, 0, 0x00C3, 0x000F, 0, 0xC0C0},
                                            {0xF7DF, 0x3FFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFF7F, //
                                             0, 0xFFFF, 0xFFFB, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF}};
    const bool hasModrm = map > 1 || (kRows[map][*code >> 4] >> (*code & 15) & 1) != 0;
    const unsigned modrm = code[1], mode = modrm >> 6, low = modrm & 7;
    // Registers alone, or at a distance from the instruction: no operand that varies.
    if (!hasModrm || mode == 3 || (low == 5 && mode == 0)) {
        return 0;
    }
    const auto valueOf = [registers](unsigned number) {
        constexpr int kOrder[] = {REG_RAX, REG_RCX, REG_RDX, REG_RBX, REG_RSP, REG_RBP, REG_RSI, REG_RDI,
                                  REG_R8,  REG_R9,  REG_R10, REG_R11, REG_R12, REG_R13, REG_R14, REG_R15};
        return static_cast<std::uint64_t>(registers[kOrder[number]]);
    };
    const unsigned extendBase = (rex & 1) * 8, extendIndex = (rex >> 1 & 1) * 8;
    if (low != 4) {
        return valueOf(low + extendBase);
    }
    const unsigned sib = code[2], base = sib & 7, index = (sib >> 3 & 7) + extendIndex;
    return (base == 5 && mode == 0 ? 0 : valueOf(base + extendBase)) + (index == 4 ? 0 : valueOf(index) << (sib >> 6));
}

void onStep(int, siginfo_t*, void* context) {
    const greg_t* const registers = static_cast<ucontext_t*>(context)->uc_mcontext.gregs;
    const auto address = static_cast<std::uint64_t>(registers[REG_RIP]);
    for (const std::uint64_t value :
         {address, operandAddress(reinterpret_cast<const std::uint8_t*>(address), registers)}) {
        path.hash = (path.hash ^ value) * 0x100000001B3;
    }
    ++path.steps;
}

template <typename Run> __attribute__((noinline)) Path stepThrough(Run run) {
    constexpr std::uint64_t kTrapFlag = 0x100;
    path = {};
    __writeeflags(__readeflags() | kTrapFlag);
    __asm__ volatile("nop" : : : "memory"); // the first instruction is not stepped over
    run();
    __writeeflags(__readeflags() & ~kTrapFlag);
    std::atomic_signal_fence(std::memory_order_seq_cst);
    return path;
}

// The path with the exponent given and all else at random, always at the same places.
Path pathOf(std::uint32_t k, bool pair, Unit exponent, bool isSecret) {
    constexpr std::uint32_t kBits = 8; // two windows: all that a longer exponent does is done
    static std::mt19937_64 random(8);
    static Unit modulus[64], base[64], square[64], results[2][64], exponentUnit;
    alignas(64) static Unit scratch[1 << 16];
    const ModExpKernel& kernel = chooseKernel(modExpKernelTable()).run;
    for (Unit* const units :
         {modulus, base, square}) { // square stands for the squared radix: any value has the same path
        std::generate_n(units, k, [] { return random(); });
        units[k - 1] >>= 1;
    }
    modulus[0] |= 1;
    modulus[k - 1] |= Unit{1} << 63;
    exponentUnit = exponent;
    const MontModulus m{modulus, square, VLONG_montNegInverse64(Number(modulus[0])), k};
    const ModExpTask first{results[0], base, &exponentUnit, kBits, m, isSecret};
    const ModExpTask second{results[1], base, &exponentUnit, kBits, m, isSecret};
    EXPECT_LE(kernel.scratchUnits(k, kBits, isSecret), std::size(scratch));
    kernel.one(first, scratch); // resolves what is resolved at the first call
    return stepThrough([&] { pair ? kernel.pair(first, second, scratch) : kernel.one(first, scratch); });
}

void expectOnePath(std::uint32_t k, bool pair) {
    const Path sparse = pathOf(k, pair, 0x80, true);
    EXPECT_GT(sparse.steps, 3000U);
    EXPECT_EQ(pathOf(k, pair, 0x5B, true).hash, sparse.hash) << k << pair;
}

struct ModExpPaths : testing::Test {
    void SetUp() override {
        struct sigaction action = {};
        action.sa_sigaction = onStep;
        action.sa_flags = SA_SIGINFO;
        EXPECT_EQ(sigaction(SIGTRAP, &action, nullptr), 0);
        if (chooseKernel(modExpKernelTable()).run.pair == nullptr) {
            GTEST_SKIP() << "no vector kernel on this CPU; valgrind checks the others";
        }
    }
};

TEST_F(ModExpPaths, DoNotDependOnSecrets) {
    expectOnePath(8, false);
    expectOnePath(8, true);
    // An exponent that is no secret decides on products, which shows that a difference would be seen; and a place in a table
    // does, on the same instructions.
    EXPECT_NE(pathOf(8, false, 0xFF, false).hash, pathOf(8, false, 0x80, false).hash);
    const auto stepsOver = [](std::size_t place) {
        static const volatile Unit table[8] = {};
        return stepThrough([place] { (void)table[place]; });
    };
    const Path first = stepsOver(1), second = stepsOver(2);
    EXPECT_EQ(first.steps, second.steps);
    EXPECT_NE(first.hash, second.hash);
}

// Every other shape that the kernel has. A step costs microseconds: a ctest of its own runs it.
TEST_F(ModExpPaths, DISABLED_OfLongShapes) {
    for (const std::uint32_t k : {16U, 24U, 32U, 48U, 64U}) {
        expectOnePath(k, false);
        if (k <= 32) { // two longer ones run one after the other
            expectOnePath(k, true);
        }
    }
}

} // namespace
