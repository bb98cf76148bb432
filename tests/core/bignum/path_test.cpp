// The path through an exponentiation, instruction by instruction, and the places that it reads and writes: neither must
// depend on exponent, base or modulus. The processor's single-step mode calls a signal handler before each instruction, which
// folds the instruction's address and those of its operands in memory into a number.
#include "core/bignum/kernels.h"
#include "core/bignum/modexp.h"
#include "tests/support/number.h"

#include <algorithm>
#include <csignal>
#include <ucontext.h>

namespace {

struct Path {
    std::uint64_t steps, hash;
    bool operator==(const Path&) const = default;
};
Path path;

// The general register with the number that an instruction gives it.
std::uint64_t registerOf(const greg_t* registers, unsigned number) {
    constexpr int kOrder[] = {REG_RAX, REG_RCX, REG_RDX, REG_RBX, REG_RSP, REG_RBP, REG_RSI, REG_RDI,
                              REG_R8,  REG_R9,  REG_R10, REG_R11, REG_R12, REG_R13, REG_R14, REG_R15};
    return static_cast<std::uint64_t>(registers[kOrder[number]]);
}

// What varies of the address of the operand in memory of the instruction at `code`: base + scale index; 0 without one. The
// displacement is the instruction's own. Operands of pushes and string instructions have the stack pointer and registers
// that the instructions themselves count.
std::uint64_t operandAddress(const std::uint8_t* code, const greg_t* registers) {
    unsigned extendBase = 0, extendIndex = 0, map = 0;
    while (*code == 0x66 || *code == 0xF2 || *code == 0xF3 || *code == 0x2E || *code == 0x64) {
        ++code; // prefixes
    }
    if (*code == 0x62 || *code == 0xC4) { // EVEX, VEX
        map = code[1] & 7;
        extendBase = (~code[1] >> 5 & 1) * 8;
        extendIndex = (~code[1] >> 6 & 1) * 8;
        code += *code == 0x62 ? 4 : 3;
    } else if (*code == 0xC5) {
        map = 1;
        code += 2;
    } else {
        if ((*code & 0xF0) == 0x40) { // REX
            extendBase = (*code & 1) * 8;
            extendIndex = (*code >> 1 & 1) * 8;
            ++code;
        }
        if (*code == 0x0F) {
            ++code;
            map = *code == 0x38 ? 2 : (*code == 0x3A ? 3 : 1);
            code += map > 1 ? 1 : 0;
        }
    }
    const unsigned opcode = *code, modrm = code[1], mode = modrm >> 6, low = modrm & 7;
    const bool isLegacy = map == 0;
    // In the first map these have an operand by a ModRM octet: arithmetic, moves, shifts; not LEA, whose sum is a value. In
    // the second none of the jumps, and no NOP.
    const bool hasModrm =
        isLegacy ? (opcode < 0x40 && (opcode & 7) < 4) || opcode == 0x63 || opcode == 0x69 || opcode == 0x6B ||
                       (opcode >= 0x80 && opcode <= 0x8B) || opcode == 0xC0 || opcode == 0xC1 || opcode == 0xC6 ||
                       opcode == 0xC7 || (opcode >= 0xD0 && opcode <= 0xD3) || opcode == 0xF6 || opcode == 0xF7 ||
                       opcode >= 0xFE
                 : map > 1 || !((opcode >= 0x80 && opcode <= 0x8F) || opcode == 0x1E || opcode == 0x1F ||
                                opcode == 0x05 || opcode == 0x0B || opcode == 0x77 || opcode == 0xA2);
    if (!hasModrm || mode == 3 || (low == 5 && mode == 0)) { // registers alone, or at a distance from the instruction
        return 0;
    }
    if (low != 4) {
        return registerOf(registers, low + extendBase);
    }
    const unsigned sib = code[2], base = sib & 7, index = (sib >> 3 & 7) + extendIndex;
    return (base == 5 && mode == 0 ? 0 : registerOf(registers, base + extendBase)) +
           (index == 4 ? 0 : registerOf(registers, index) << (sib >> 6));
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

// The path with the exponent given and all else at random, always at the same places.
Path pathOf(std::uint32_t k, bool pair, Unit exponent, bool isSecret, Random& random) {
    const ModExpKernel& kernel = chooseKernel(modExpKernelTable()).run;
    constexpr std::uint32_t bits = 8; // two windows: all that a longer exponent does is done

    static Unit modulus[64], base[64], square[64], result[64], other[64], exponentUnit;
    alignas(64) static Unit scratch[1 << 16];
    for (Unit* const units : {modulus, base, square}) {
        const Units given = random.units(k);
        std::copy(given.begin(), given.end(), units);
    }
    exponentUnit = exponent;
    modulus[0] |= 1;
    modulus[k - 1] |= Unit{1} << 63;
    base[k - 1] >>= 1;
    square[k - 1] >>= 1; // stands for the squared radix: the path is the same with any value
    const Unit inverse = VLONG_montNegInverse64(Number(Units(modulus, modulus + k)));
    ModExpTask tasks[2] = {{result, base, &exponentUnit, bits, {modulus, square, inverse, k}, isSecret}};
    tasks[1] = tasks[0];
    tasks[1].result = other;
    EXPECT_LE(kernel.scratchUnits(k, bits, isSecret), std::size(scratch));
    kernel.one(tasks[0], scratch); // resolves what is resolved at the first call
    return stepThrough(kernel, pair, tasks, scratch);
}

// The kernels without vectors are checked by valgrind.
class ModExpPaths : public testing::Test {
protected:
    void SetUp() override {
        if (chooseKernel(modExpKernelTable()).run.pair == nullptr) {
            GTEST_SKIP() << "no vector kernel on this CPU";
        }
        struct sigaction action = {};
        action.sa_sigaction = onStep;
        action.sa_flags = SA_SIGINFO;
        ASSERT_EQ(sigaction(SIGTRAP, &action, &before_), 0);
    }
    void TearDown() override {
        EXPECT_EQ(sigaction(SIGTRAP, &before_, nullptr), 0);
    }
    void compare(std::uint32_t k, bool pair) {
        const Path sparse = pathOf(k, pair, 0x80, true, random_);
        EXPECT_GT(sparse.steps, 3000U);
        EXPECT_EQ(pathOf(k, pair, random_.unit() & 0xFF, true, random_), sparse) << k << pair;
    }

    Random random_{8};

private:
    struct sigaction before_ = {};
};

TEST_F(ModExpPaths, DoNotDependOnSecrets) {
    compare(8, false);
    compare(8, true);
    // An exponent that is no secret decides on products, which shows that a difference would be seen.
    EXPECT_NE(pathOf(8, false, 0xFF, false, random_), pathOf(8, false, 0x80, false, random_));
    // And a place in a table does, on the same instructions.
    const auto stepsOver = [](std::size_t place) {
        static const volatile Unit table[8] = {};
        path = {};
        ZEL_CHANGE_FLAGS("orq $0x100");
        (void)table[place];
        ZEL_CHANGE_FLAGS("andq $-0x101");
        return path;
    };
    const Path first = stepsOver(1), second = stepsOver(2);
    EXPECT_EQ(first.steps, second.steps);
    EXPECT_NE(first.hash, second.hash);
}

// Every other shape that the kernel has. A step costs microseconds: a ctest of its own runs it.
TEST_F(ModExpPaths, DISABLED_OfLongShapes) {
    for (const std::uint32_t k : {16U, 24U, 32U, 48U, 64U}) {
        compare(k, false);
        if (k <= 32) { // two longer ones run one after the other
            compare(k, true);
        }
    }
}

} // namespace
