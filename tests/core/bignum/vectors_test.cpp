// Every line of bignum_vectors.txt, which check_vectors.py checks against Python's integers.
#include "core/bignum/modexp.h"
#include "core/bignum/vlong_convert.h"
#include "core/bignum/vlong_math.h"
#include "core/memory/memory.h"
#include "tests/core/bignum/bignum_support.h"
#include "tests/support/hex.h"

#include <fstream>
#include <functional>
#include <map>
#include <sstream>

namespace {

using bignumtest::Number;

// One line. Values are kept as text: an operation takes them from there as often as it needs fresh ones.
struct Case {
    std::string line, operation;
    std::vector<std::string> operands, results;
};

using Operation = std::function<void(const Case&, vlong**)>;

// Compares a status and, if it is no failure, a value with what the line expects.
void expect(const Case& test, Status status, const Number& value, std::size_t index = 0) {
    if (isError(status)) {
        EXPECT_EQ(statusName(status), test.results[0]);
    } else {
        EXPECT_EQ(value, Number(test.results.at(index)));
    }
}

using InPlace = Status (*)(vlong*, const vlong*, vlong**);
Operation inPlace(InPlace run) {
    return [run](const Case& test, vlong** queue) {
        const Number a(test.operands[0]), b(test.operands[1]);
        expect(test, run(a, b, queue), a);
        if (test.operands[0] == test.operands[1]) { // and with one record for both
            const Number same(test.operands[0]);
            expect(test, run(same, same, queue), same);
        }
    };
}

using NewRecord = Status (*)(const vlong*, const vlong*, vlong**, vlong**);
Operation newRecord(NewRecord run) {
    return [run](const Case& test, vlong** queue) {
        Number result;
        const Number a(test.operands[0]), b(test.operands[1]);
        const Status status = run(a, b, result.out(), queue);
        EXPECT_EQ(result.get() == nullptr, isError(status));
        expect(test, status, result);
        EXPECT_EQ(a, Number(test.operands[0]));
        EXPECT_EQ(b, Number(test.operands[1]));
    };
}

using Shift = Status (*)(vlong*, std::uint32_t);
using ShiftByOne = Status (*)(vlong*);
Operation shift(Shift run, ShiftByOne runByOne) {
    return [run, runByOne](const Case& test, vlong**) {
        const Number a(test.operands[0]), b(test.operands[0]);
        const auto bits = static_cast<std::uint32_t>(std::stoul(test.operands[1]));
        expect(test, run(a, bits), a);
        if (bits == 1 && a.get()->length < kMaxUnits - 1) {
            expect(test, runByOne(b), b);
        }
    };
}

void multiply(const Case& test, vlong** queue) {
    const Number a(test.operands[0]), b(test.operands[1]), product(Number("-7.7"));
    expect(test, VLONG_mul(product, a, b), product);
    newRecord(VLONG_mulSigned)(test, queue);
    if (test.operands[0] == test.operands[1]) {
        expect(test, VLONG_square(product, a), product);
        expect(test, VLONG_mul(product, b, b), product);
    }
}

void divide(const Case& test, vlong** queue) {
    const Number a(test.operands[0]), b(test.operands[1]), quotient(Number("-7.7.7")), remainder(Number("-5"));
    const Status status = VLONG_divide(quotient, a, b, remainder, queue);
    expect(test, status, quotient);
    expect(test, status, remainder, 1);
    EXPECT_EQ(a, Number(test.operands[0]));
    EXPECT_EQ(b, Number(test.operands[1]));
}

void compare(const Case& test, vlong**) {
    const Number a(test.operands[0]), b(test.operands[1]);
    EXPECT_EQ(VLONG_cmp(a, b), std::stoi(test.results[0]));
    EXPECT_EQ(VLONG_cmp(b, a), -std::stoi(test.results[0]));
    EXPECT_EQ(VLONG_cmp(a, a), 0);
}

void compareUnit(const Case& test, vlong**) {
    EXPECT_EQ(VLONG_cmpUnit(Number(test.operands[0]), std::stoull(test.operands[1], nullptr, 16)),
              std::stoi(test.results[0]));
}

void step(const Case& test, vlong** queue) {
    const Number up(test.operands[0]), alsoUp(up), down(up);
    expect(test, VLONG_increment(up, queue), up);
    expect(test, VLONG_addUnit(alsoUp, 1, queue), alsoUp);
    expect(test, VLONG_decrement(down, queue), down, 1);
}

void fromBytes(const Case& test, vlong** queue) {
    const std::vector<std::uint8_t> bytes = fromHex(test.operands[0]); // "." alone is no byte
    Number value;
    expect(test, VLONG_fromBytes(bytes.data(), static_cast<std::int32_t>(bytes.size()), value.out(), queue), value);
    std::vector<std::uint32_t> words(bytes.size() / 4 + 1);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        words[words.size() - 1 - i / 4] |= std::uint32_t{bytes[bytes.size() - 1 - i]} << (8 * (i % 4));
    }
    expect(test, VLONG_fromWords32(words.data(), static_cast<std::uint32_t>(words.size()), value.out()), value);
}

void toBytes(const Case& test, vlong**) {
    const Number value(test.operands[0]);
    std::uint32_t needed = 99, count = static_cast<std::uint32_t>(std::stoul(test.operands[1]));
    EXPECT_EQ(VLONG_toBytes(value, nullptr, &needed), OK);
    EXPECT_EQ(needed, std::stoul(test.results[1]));
    std::vector<std::uint8_t> buffer(count + 1, 0xEE);
    const Status status = VLONG_toBytes(value, buffer.data(), &count);
    const std::string text = count == 0 ? "." : toHex({buffer.data(), count});
    EXPECT_EQ(isError(status) ? statusName(status) : text, test.results[0]);
    EXPECT_EQ(buffer[isError(status) ? 0 : count], 0xEE);
    EXPECT_EQ(count + 1, buffer.size());
}

void fromMpint(const Case& test, vlong**) {
    const std::vector<std::uint8_t> bytes = fromHex(test.operands[0]);
    Number value;
    std::uint32_t consumed = 77;
    const Status status =
        VLONG_fromMpint(bytes.data(), static_cast<std::uint32_t>(bytes.size()), value.out(), &consumed);
    EXPECT_EQ(isError(status), value.get() == nullptr);
    expect(test, status, value);
    EXPECT_EQ(consumed, std::stoul(test.results[1]));
}

void mpint(const Case& test, vlong**) {
    const Number value(test.operands[0]);
    std::uint8_t* bytes = nullptr;
    std::uint32_t count = 0;
    ASSERT_EQ(VLONG_toMpint(value, &bytes, &count), OK);
    EXPECT_EQ(toHex({bytes, count}), test.results[0]);
    Number readBack;
    std::uint32_t consumed = 0;
    EXPECT_EQ(VLONG_fromMpint(bytes, count, readBack.out(), &consumed), OK);
    EXPECT_EQ(readBack, value);
    EXPECT_EQ(consumed, count);
    void* block = bytes;
    EXPECT_EQ(memWipeAndFree(&block, count), OK);
}

// Barrett's engine, that of VLONG_modExp and (for odd moduli) the Montgomery forms: each gives the expected power, but
// for the modulus that only Barrett's may give in place of 0.
void power(const Case& test, vlong** queue) {
    const Number base(test.operands[0]), exponent(test.operands[1]), modulus(test.operands[2]),
        expected(test.results[0]);
    Number result;
    expect(test, VLONG_modExp(base, exponent, modulus, result.out(), queue), result);
    const Number residue(expected == modulus ? Number(Unit{0}) : expected);
    const bool isShort = VLONG_bitLength(exponent) < 200; // a long one takes too long by single bits
    if (isShort) {
        ASSERT_EQ(VLONG_modExpBarrett(base, exponent, modulus, result.out(), queue), OK);
        EXPECT_TRUE(result == residue || (VLONG_isZero(residue) && result == modulus)) << result.text();
    }
    if (!VLONG_testBit(modulus, 0)) {
        EXPECT_EQ(VLONG_modExpMontgomery(base, exponent, modulus, result.out(), queue), ERR_BAD_MODULO);
        return;
    }
    MontgomeryCtx* context = nullptr;
    ASSERT_EQ(VLONG_newMontgomeryCtx(&context, modulus, queue), OK);
    EXPECT_EQ(VLONG_modExpCtx(context, base, exponent, result.out(), queue), OK);
    EXPECT_EQ(result, residue);
    if (base.get()->negative == 0 && isShort) {
        EXPECT_EQ(VLONG_montExpBinary(context, base, exponent, result.out(), queue), OK);
        EXPECT_EQ(result, residue);
    }
    EXPECT_EQ(VLONG_deleteMontgomeryCtx(&context, queue), OK);
}

void reduce(const Case& test, vlong** queue) {
    const Number x(test.operands[0]), modulus(test.operands[1]);
    Number mu, result;
    ASSERT_EQ(VLONG_barrettMu(modulus, mu.out(), queue), OK);
    expect(test, VLONG_barrettReduce(x, modulus, mu, result.out(), queue), result);
}

const std::map<std::string, Operation> kOperations = {
    {"add", inPlace(VLONG_add)},
    {"sub", inPlace(VLONG_sub)},
    {"mul", multiply},
    {"divide", divide},
    {"mod", newRecord(VLONG_mod)},
    {"div", newRecord(VLONG_div)},
    {"gcd", newRecord(VLONG_gcd)},
    {"inverse", newRecord(VLONG_modInverse)},
    {"shl", shift(VLONG_shiftLeft, VLONG_shiftLeft1)},
    {"shr", shift(VLONG_shiftRight, VLONG_shiftRight1)},
    {"cmp", compare},
    {"cmpunit", compareUnit},
    {"step", step},
    {"frombytes", fromBytes},
    {"tobytes", toBytes},
    {"frommpint", fromMpint},
    {"mpint", mpint},
    {"modexp", power},
    {"barrett", reduce},
};

Case parse(const std::string& line) {
    Case test{line, "", {}, {}};
    std::istringstream words(line);
    words >> test.operation;
    bool isResult = false;
    for (std::string word; words >> word;) {
        if (word == "=") {
            isResult = true;
        } else {
            (isResult ? test.results : test.operands).push_back(word);
        }
    }
    return test;
}

TEST(BignumVectors, AgreeWithPython) {
    std::ifstream file(ZEL_BIGNUM_VECTORS);
    ASSERT_TRUE(file.is_open()) << ZEL_BIGNUM_VECTORS;
    vlong* queue = nullptr;
    std::size_t cases = 0;
    for (std::string line; std::getline(file, line);) {
        if (line[0] == '#') {
            continue;
        }
        const Case test = parse(line);
        SCOPED_TRACE(test.line.substr(0, 300));
        kOperations.at(test.operation)(test, nullptr);
        kOperations.at(test.operation)(test, &queue); // with records that have been used before
        ++cases;
    }
    EXPECT_EQ(VLONG_freeQueue(&queue), OK);
    EXPECT_GT(cases, 1000U);
}

} // namespace
