// The operations on big integers: every line of bignum_vectors.txt, without a queue and with one that holds a used record, powers
// also by every kernel; then records, storage, units, limits and Montgomery products, which the vectors do not reach.
#include "core/bignum/kernels.h"
#include "core/bignum/residues.h"
#include "core/bignum/vlong_convert.h"
#include "core/bignum/vlong_math.h"
#include "core/memory/secret.h"
#include "tests/support/faults.h"
#include "tests/support/number.h"
#include "tests/support/vectors.h"

namespace {

using Operation = std::function<Status(const Words& in, Words& out, vlong** queue)>;

VectorOperation queued(Operation operation) {
    return [operation](const Words& in, Words& out) -> Status {
        Words withQueue;
        vlong *queue = nullptr, *used = Number("9.9.9").release();
        (void)VLONG_free(&used, &queue);
        const Status status = operation(in, withQueue, &queue);
        EXPECT_EQ(VLONG_freeQueue(&queue), OK);
        if (heapFaults().hasStruck()) {
            return status;
        }
        const Status without = operation(in, out, nullptr);
        EXPECT_TRUE(heapFaults().hasStruck() || (withQueue == out && status == without)) << "with a queue";
        return without;
    };
}

// What an operation that makes a record has made.
Status result(Status status, const Number& made, Words& out) {
    EXPECT_EQ(made.get() == nullptr, isError(status));
    if (!isError(status)) {
        out.push_back(made.text());
    }
    return status;
}

VectorOperation inPlace(Status (*run)(vlong*, const vlong*, vlong**)) {
    return queued([run](const Words& in, Words& out, vlong** queue) {
        const Number a(in[0]), b(in[1]), same(in[0]);
        RETURN_IF_ERROR(run(a, b, queue));
        if (in[0] == in[1]) { // and with one record for both
            RETURN_IF_ERROR(run(same, same, queue));
            EXPECT_EQ(same, a);
        }
        out = {a.text()};
        return OK;
    });
}

VectorOperation newRecord(Status (*run)(const vlong*, const vlong*, vlong**, vlong**)) {
    return queued([run](const Words& in, Words& out, vlong** queue) {
        Number made;
        const Number a(in[0]), b(in[1]);
        return result(run(a, b, made.out(), queue), made, out);
    });
}

VectorOperation shift(Status (*run)(vlong*, std::uint32_t), Status (*runByOne)(vlong*)) {
    return [run, runByOne](const Words& in, Words& out) -> Status {
        const Number a(in[0]), b(in[0]);
        RETURN_IF_ERROR(run(a, numberOf(in[1])));
        if (in[1] == "1" && b.get()->length < kMaxUnits - 1) {
            RETURN_IF_ERROR(runByOne(b));
            EXPECT_EQ(b, a);
        }
        out = {a.text()};
        return OK;
    };
}

Status multiply(const Words& in, Words& out, vlong** queue) {
    const Number a(in[0]), b(in[1]), same(a), product("-7.7"), square("7");
    Number made;
    RETURN_IF_ERROR(result(VLONG_mulSigned(a, b, made.out(), queue), made, out));
    RETURN_IF_ERROR(VLONG_mul(product, a, b));
    EXPECT_EQ(product, made);
    const std::uint32_t length = a.get()->length;
    if (2 * length < kMaxUnits) {
        RETURN_IF_ERROR(VLONG_mul(product, a, same));
        RETURN_IF_ERROR(VLONG_mul(square, a, a));
        EXPECT_EQ(square, product);
        RETURN_IF_ERROR(VLONG_square(square, a));
        EXPECT_EQ(square, product);
        for (const std::uint32_t columns : {length, 2 * length + 1}) {
            RETURN_IF_ERROR(VLONG_mulColumns(product, a, same, columns));
            RETURN_IF_ERROR(VLONG_squareColumns(square, a, columns));
            EXPECT_EQ(square, product);
        }
    }
    return OK;
}

Status divide(const Words& in, Words& out, vlong** queue) {
    const Number a(in[0]), b(in[1]), quotient("-7.7.7"), remainder("-5");
    RETURN_IF_ERROR(VLONG_divide(quotient, a, b, remainder, queue));
    out = {quotient.text(), remainder.text()};
    return OK;
}

Status compare(const Words& in, Words& out) {
    const Number a(in[0]), b(in[1]);
    out = {std::to_string(VLONG_cmp(a, b))};
    EXPECT_EQ(VLONG_cmp(b, a), -VLONG_cmp(a, b));
    EXPECT_EQ(VLONG_cmp(a, a), 0);
    return OK;
}

Status step(const Words& in, Words& out, vlong** queue) {
    const Number up(in[0]), alsoUp(up), down(up);
    RETURN_IF_ERROR(VLONG_increment(up, queue));
    RETURN_IF_ERROR(VLONG_addUnit(alsoUp, 1, queue));
    RETURN_IF_ERROR(VLONG_decrement(down, queue));
    EXPECT_EQ(alsoUp, up);
    out = {up.text(), down.text()};
    return OK;
}

Status fromBytes(const Words& in, Words& out, vlong** queue) {
    const Bytes bytes = bytesOf(in[0]);
    Number value, fromWords;
    RETURN_IF_ERROR(
        result(VLONG_fromBytes(bytes.data(), static_cast<std::int32_t>(bytes.size()), value.out(), queue), value, out));
    std::vector<std::uint32_t> words(bytes.size() / 4 + 1);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        words[words.size() - 1 - i / 4] |= std::uint32_t{bytes[bytes.size() - 1 - i]} << (8 * (i % 4));
    }
    RETURN_IF_ERROR(VLONG_fromWords32(words.data(), static_cast<std::uint32_t>(words.size()), fromWords.out()));
    EXPECT_EQ(fromWords, value);
    return OK;
}

Status toBytes(const Words& in, Words& out) {
    const Number value(in[0]);
    std::uint32_t needed = 99, count = numberOf(in[1]);
    EXPECT_EQ(VLONG_toBytes(value, nullptr, &needed), OK);
    Bytes buffer(count + 1, 0xEE);
    const Status status = VLONG_toBytes(value, buffer.data(), &count);
    EXPECT_EQ(buffer[isError(status) ? 0 : count], 0xEE);
    EXPECT_EQ(count + 1, buffer.size());
    buffer.resize(count);
    out = isError(status) ? Words{std::to_string(needed)} : Words{textOf(buffer), std::to_string(needed)};
    return status;
}

Status fromMpint(const Words& in, Words& out) {
    const Bytes bytes = bytesOf(in[0]);
    Number value;
    std::uint32_t consumed = 77;
    const Status status =
        VLONG_fromMpint(bytes.data(), static_cast<std::uint32_t>(bytes.size()), value.out(), &consumed);
    (void)result(status, value, out);
    out.push_back(std::to_string(consumed));
    return status;
}

Status mpint(const Words& in, Words& out) {
    const Number value(in[0]);
    Number readBack;
    SecretBuffer bytes;
    std::uint8_t* made = nullptr;
    std::uint32_t count = 0, consumed = 0;
    RETURN_IF_ERROR(VLONG_toMpint(value, &made, &count));
    bytes.adopt(made, count);
    out = {toHex({made, count})};
    RETURN_IF_ERROR(VLONG_fromMpint(made, count, readBack.out(), &consumed));
    EXPECT_TRUE(readBack == value && consumed == count);
    return OK;
}

struct Context {
    explicit Context(vlong** spare) : queue(spare) {
    }
    explicit Context(const Number& m) : queue(nullptr) {
        EXPECT_EQ(VLONG_newMontgomeryCtx(&record, m, queue), OK);
    }
    ~Context() {
        EXPECT_EQ(VLONG_deleteMontgomeryCtx(&record, queue), OK);
        EXPECT_EQ(record, nullptr);
    }
    operator MontgomeryCtx*() const {
        return record;
    }
    vlong** queue;
    MontgomeryCtx* record = nullptr;
};

constexpr Unit kGuard = 0xC0FFEE0DDBA11ULL;

// The power alone and in place, and beside one of 2 modulo 2^(64 k) - 1, which is a single bit; all within the scratch.
void expectPower(const ModExpKernel& kernel, const Number& base, const Number& exponent, const Number& m,
                 const Number& expected, bool isSecret) {
    const std::uint32_t k = m.get()->length, bits = VLONG_bitLength(exponent), wholeBits = (bits + 63) / 64 * 64;
    const Unit other = 0x12345; // of 17 bits
    const Units modulus = m.units(k), square = reduced(shifted(Number(1), 128 * k), m).units(k), from = base.units(k),
                power = exponent.units(wholeBits / 64), right = expected.units(k), ones(k, ~Unit{0}),
                one = Number(1).units(k), two = Number(2).units(k),
                bit = shifted(Number(1), static_cast<std::uint32_t>(other % (64 * k))).units(k);
    Units result = from, ofTwo(k);
    ModExpTask task{result.data(),
                    result.data(),
                    power.data(),
                    isSecret ? wholeBits : bits, // of a secret one its public length
                    {modulus.data(), square.data(), VLONG_montNegInverse64(m), k},
                    isSecret};
    ModExpTask beside{ofTwo.data(), two.data(), &other, isSecret ? 64U : 17U, {ones.data(), one.data(), 1, k},
                      isSecret};
    const std::size_t units = kernel.scratchUnits(k, std::max(task.exponentBits, beside.exponentBits), isSecret);
    Units scratch(units + 2, kGuard);
    Unit* const unaligned = scratch.data() + (isSecret ? 1 : 0);
    kernel.one(task, unaligned);
    ASSERT_EQ(result, right);
    task.base = from.data();
    for (const auto& [first, second] : {std::pair{&task, &beside}, {&beside, &task}}) {
        std::fill(result.begin(), result.end(), kGuard);
        if (kernel.pair != nullptr) {
            kernel.pair(*first, *second, unaligned);
        } else {
            kernel.one(*first, unaligned);
            kernel.one(*second, unaligned);
        }
        ASSERT_EQ(result, right);
        ASSERT_EQ(ofTwo, bit);
    }
    ASSERT_EQ(unaligned[units], kGuard);
}

// By every kernel that this CPU supports and that takes the modulus, which are made of all its products.
void expectPowers(const Number& base, const Number& exponent, const Number& m, const Number& power) {
    const Number magnitude(base), expected(reduced(power, m));
    magnitude.get()->negative = 0; // is not looked at
    for (const Kernel<ModExpKernel>& kernel : modExpKernelTable()) {
        SCOPED_TRACE(kernel.name);
        if (kernel.isSupported() && kernel.run.takes(m.get()->length)) {
            expectPower(kernel.run, reduced(magnitude, m), exponent, m, expected, false);
            expectPower(kernel.run, reduced(magnitude, m), exponent, m, expected, true);
        }
    }
}

// Barrett's engine, that of VLONG_modExp and (for odd moduli) the Montgomery forms, by a context and by a clone that outlives
// it: each gives the expected power, but for the modulus that only Barrett's may give in place of 0.
Status power(const Words& in, Words& out, vlong** queue) {
    const Number base(in[0]), exponent(in[1]), m(in[2]);
    Number made, again, first, second;
    RETURN_IF_ERROR(result(VLONG_modExp(base, exponent, m, made.out(), queue), made, out));
    if (queue == nullptr && FaultPoint::on() == 0 && takesResidues(m) && !VLONG_isZero(exponent)) {
        expectPowers(base, exponent, m, made);
    }
    if (VLONG_isZero(base) || VLONG_isZero(exponent)) {
        return OK;
    }
    const Number residue(made == m ? Number("0") : made);
    const bool isShort = VLONG_bitLength(exponent) < 200; // a long one takes too long by single bits
    if (isShort) {
        RETURN_IF_ERROR(VLONG_modExpBarrett(base, exponent, m, again.out(), queue));
        EXPECT_TRUE(again == residue || (VLONG_isZero(residue) && again == m)) << again.text();
    }
    const bool isOdd = VLONG_testBit(m, 0);
    if (!isOdd) { // a context takes it all the same
        EXPECT_EQ(VLONG_modExpMontgomery(base, exponent, m, again.out(), queue), ERR_BAD_MODULO);
    }
    const auto isRight = [&](const Number& of) {
        return isOdd ? of == residue : VLONG_cmpMagnitude(of, m) < 0;
    };
    Context context(queue), clone(queue), secret(queue);
    RETURN_IF_ERROR(VLONG_newMontgomeryCtx(&context.record, m, queue));
    RETURN_IF_ERROR(VLONG_cloneMontgomeryCtx(context.record, &clone.record, queue));
    if (isOdd) {
        const auto make = takesResidues(m) ? VLONG_newSecretMontgomeryCtx : VLONG_newMontgomeryCtx;
        RETURN_IF_ERROR(make(&secret.record, m, queue));
        EXPECT_EQ(VLONG_cmp(secret.record->radixSquared, clone.record->radixSquared), 0);
    }
    const Status status = VLONG_modExpCtxPair({context.record, base, exponent, first.out()},
                                              {clone.record, base, exponent, second.out()}, queue);
    EXPECT_TRUE(isError(status) ? first.get() == nullptr && second.get() == nullptr
                                : isRight(first) && isRight(second));
    RETURN_IF_ERROR(status);
    EXPECT_EQ(VLONG_deleteMontgomeryCtx(&context.record, queue), OK);
    RETURN_IF_ERROR(VLONG_modExpCtx(clone.record, base, exponent, again.out(), queue));
    EXPECT_TRUE(isRight(again));
    if (isOdd && isShort && base.get()->negative == 0) {
        RETURN_IF_ERROR(VLONG_montExpBinary(clone.record, base, exponent, again.out(), queue));
        EXPECT_EQ(again, residue);
    }
    return OK;
}

Status reduce(const Words& in, Words& out, vlong** queue) {
    const Number x(in[0]), m(in[1]);
    Number mu, made;
    RETURN_IF_ERROR(VLONG_barrettMu(m, mu.out(), queue));
    return result(VLONG_barrettReduce(x, m, mu, made.out(), queue), made, out);
}

TEST(Bignum, Vectors) {
    const VectorOperation compareUnit = [](const Words& in, Words& out) {
        out = {std::to_string(VLONG_cmpUnit(Number(in[0]), std::stoull(in[1], nullptr, 16)))};
        return OK;
    };
    runVectors("core/bignum/bignum_vectors.txt", {{"add", inPlace(VLONG_add)},
                                                  {"sub", inPlace(VLONG_sub)},
                                                  {"mul", queued(multiply)},
                                                  {"divide", queued(divide)},
                                                  {"mod", newRecord(VLONG_mod)},
                                                  {"div", newRecord(VLONG_div)},
                                                  {"gcd", newRecord(VLONG_gcd)},
                                                  {"inverse", newRecord(VLONG_modInverse)},
                                                  {"shl", shift(VLONG_shiftLeft, VLONG_shiftLeft1)},
                                                  {"shr", shift(VLONG_shiftRight, VLONG_shiftRight1)},
                                                  {"cmp", compare},
                                                  {"cmpunit", compareUnit},
                                                  {"step", queued(step)},
                                                  {"frombytes", queued(fromBytes)},
                                                  {"tobytes", toBytes},
                                                  {"frommpint", fromMpint},
                                                  {"mpint", mpint},
                                                  {"modexp", queued(power)},
                                                  {"barrett", queued(reduce)}});
}

TEST(Bignum, StorageUnitsAndBits) {
    const Number kept("-3.2.1"), value("0");
    EXPECT_EQ(VLONG_growKeep(kept, 10), OK);
    EXPECT_EQ(kept.get()->capacity, 13U);
    EXPECT_EQ(VLONG_growDiscard(kept, 13), OK); // enough there: the value stays
    EXPECT_EQ(VLONG_copy(kept, kept), OK);
    EXPECT_EQ(VLONG_copyMagnitude(kept, kept), OK);
    EXPECT_EQ(kept.text(), "-3.2.1");
    EXPECT_EQ(VLONG_growDiscard(kept, 14), OK);
    EXPECT_EQ(kept.get()->capacity, 15U);
    EXPECT_TRUE(VLONG_isZero(kept));
    for (const auto grow : {VLONG_growKeep, VLONG_growDiscard}) {
        const Number one("1");
        EXPECT_EQ(grow(one, ~std::uint64_t{0}), ERR_BAD_LENGTH);
        EXPECT_EQ(grow(one, kMaxUnits), OK);
        EXPECT_EQ(grow(one, kMaxUnits + 1), ERR_BAD_LENGTH); // though the spare units would hold it
    }
    EXPECT_FALSE(VLONG_testBit(value, 0));     // no units behind it yet
    EXPECT_EQ(VLONG_setUnit(value, 5, 0), OK); // a zero is not stored above the length
    EXPECT_EQ(value.text(), "0");
    EXPECT_EQ(VLONG_setUnit(value, 2, 0xABCD), OK);
    EXPECT_EQ(value.text(), "abcd.0*2");
    EXPECT_EQ(VLONG_getUnit(value, 2) + VLONG_getUnit(value, 3), 0xABCDU);
    EXPECT_TRUE(VLONG_getByte(value, 17) == 0xAB && VLONG_getByte(value, 4000) == 0);
    EXPECT_TRUE(VLONG_testBit(value, 143) && !VLONG_testBit(value, 144) && VLONG_bitLength(value) == 144);
    EXPECT_EQ(VLONG_setBit(value, 0), OK);
    EXPECT_EQ(VLONG_setUnit(value, 2, 0), OK); // the top goes, and the zero below it
    EXPECT_EQ(value.text(), "1");
    EXPECT_EQ(VLONG_setBit(value, 64 * kMaxUnits - 1), OK);
    EXPECT_EQ(VLONG_bitLength(value), 64 * kMaxUnits);
    EXPECT_EQ(VLONG_setBit(value, 64 * kMaxUnits), ERR_BAD_LENGTH);
    EXPECT_EQ(VLONG_setUnit(value, ~0U, 1), ERR_BAD_LENGTH);
}

TEST(Bignum, Limits) {
    for (const char* const refused : {"0", "1", "1.0", "1*4096"}) {
        EXPECT_FALSE(takesResidues(Number(refused))) << refused;
    }
    std::vector<std::uint32_t> words(2 * kMaxUnits + 2);
    Number value;
    words.back() = 7; // behind zeros
    EXPECT_EQ(VLONG_fromWords32(words.data(), 2 * kMaxUnits + 2, value.out()), OK);
    EXPECT_EQ(value.text(), "7");
    words[1] = 1;
    EXPECT_EQ(VLONG_fromWords32(words.data() + 1, 2 * kMaxUnits, value.out()), OK);
    EXPECT_EQ(VLONG_fromWords32(words.data() + 1, 2 * kMaxUnits + 1, value.out()), ERR_BAD_LENGTH);
    EXPECT_EQ(VLONG_fromWords32(words.data() + 1, ~0U, value.out()), ERR_BAD_LENGTH);
    EXPECT_EQ(VLONG_fromBytes(Bytes(1).data(), -1, value.out(), nullptr), ERR_BAD_LENGTH);
    EXPECT_EQ(value.get(), nullptr);
    Bytes low(3);
    EXPECT_EQ(VLONG_toBytesFixed(Number("11223344"), low.data(), 3), OK); // the high byte is lost
    EXPECT_EQ(textOf(low), "223344");

    const Number one("1"), full(Units(kMaxUnits, 1)), small("1");
    { // a product above the limit takes no scratch
        const Fault refused(heapFaults(), 1);
        EXPECT_EQ(VLONG_square(small, full), ERR_BAD_LENGTH);
    }
    EXPECT_EQ(VLONG_setValue(small, 1), OK);
    EXPECT_EQ(VLONG_subMagnitude(small, Number("2.0")), OK); // an unordered difference stays within its units
    EXPECT_EQ(small.text(), "1");
    // Moduli for Montgomery's and for Barrett's method, then bases.
    for (const auto& [base, modulus, status] : {std::tuple{"3", "f.0*4092.1", OK},
                                                {"3", "f.0*4092.2", OK},
                                                {"3", "f.0*4094.1", ERR_BAD_LENGTH},
                                                {"3", "f.0*4094.2", ERR_BAD_LENGTH},
                                                {"5*8189", "7.7", OK},
                                                {"5*8190", "7.7", ERR_BAD_LENGTH}}) {
        EXPECT_EQ(VLONG_modExp(Number(base), one, Number(modulus), value.out(), nullptr), status) << modulus;
    }
    EXPECT_EQ(VLONG_barrettReduce(Number("1.0.0"), Number("7"), one, value.out(), nullptr), ERR_BAD_LENGTH);

    // What is left of a sum whose carry finds no room is zero, and must look like one.
    small.get()->length = small.get()->capacity;
    std::fill_n(small.get()->units, small.get()->length, ~Unit{0});
    const Fault refused(heapFaults(), 1);
    EXPECT_EQ(VLONG_addMagnitude(small, one), ERR_MEM_ALLOC_FAIL);
    EXPECT_TRUE(VLONG_isZero(small));
}

TEST(Bignum, Print) {
    testing::internal::CaptureStdout();
    EXPECT_EQ(VLONG_print("n", Number(std::string(98, 'a'))), OK);
    EXPECT_EQ(VLONG_print("zero", Number("0")), OK);
    std::string text = testing::internal::GetCapturedStdout();
    std::erase(text, '\r');
    const std::string line = std::string(48, 'A') + "\\\n";
    EXPECT_EQ(text, "n\n" + line + line + "AA\nzero\n\n");
}

// R mod m and small bases in Montgomery form are a single unit: 105 is 1.
const std::string kNearlyTheRadix = "ffffffffffffffff*15.ffffffffffffff97";

TEST(Montgomery, ProductsOfRecords) {
    const Number scratch("1"), tooLong(Units(17, 1)), one(105), two(2 * 105);
    const Context context{Number(kNearlyTheRadix)}, empty{Number("0")};
    const auto multiply = [&scratch](const MontgomeryCtx* by, vlong* a, const vlong* b) {
        return b == nullptr ? VLONG_montSquare(by, a, scratch) : VLONG_montMultiply(by, a, b, scratch);
    };
    for (const vlong* other : {one.get(), static_cast<vlong*>(nullptr)}) { // a square
        const Number zero("0");
        Number out;
        EXPECT_EQ(multiply(context, zero, other), OK);
        EXPECT_TRUE(zero.get()->length == 1 && zero.get()->units[0] == 0); // left with one unit, it is 0 elsewhere too
        EXPECT_EQ(VLONG_mod(two, zero, out.out(), nullptr), ERR_DIVIDE_BY_ZERO);
        EXPECT_EQ(VLONG_mod(zero, two, out.out(), nullptr), OK);
        EXPECT_EQ(out.text(), "0");
        EXPECT_EQ(multiply(context, tooLong, other), ERR_BAD_LENGTH);
        EXPECT_EQ(multiply(empty, one, other), ERR_BAD_MODULO);
    }
    EXPECT_EQ(multiply(context, one, tooLong), ERR_BAD_LENGTH);
    EXPECT_EQ(multiply(context, one, two), OK); // with too little room for the modulus
    EXPECT_EQ(one, two);
    EXPECT_EQ(multiply(context, two, two), OK);
    EXPECT_EQ(two, Number(4 * 105));
}

TEST(Montgomery, EdgesOfContexts) {
    const Context empty{Number("0")}, unity{Number("1")}, five{Number("5")}, half{Number("7*8")},
        large{Number(kNearlyTheRadix)}, longest{Number("1.0*4093.1")}, tooLong{Number("1.0*4094.1")};
    EXPECT_TRUE(longest.record->radixSquared->length > 0 && tooLong.record->radixSquared->length == 0); // has no room
    const Number base("5.5.5.5"), zero("0");
    Number first, last;
    for (const auto& [context, powerToZero] : {std::pair{&empty, "none"}, {&unity, "0"}, {&five, "1"}}) {
        Context clone(nullptr);
        ASSERT_EQ(VLONG_cloneMontgomeryCtx(*context, &clone.record, nullptr), OK);
        const Status expected = context == &empty ? ERR_DIVIDE_BY_ZERO : OK;
        EXPECT_EQ(VLONG_modExpCtx(clone, base, base, first.out(), nullptr), expected);
        EXPECT_EQ(VLONG_montExpWindow(clone, base, zero, first.out(), nullptr), expected);
        EXPECT_EQ(first.text(), powerToZero);
        EXPECT_EQ(VLONG_modExpCtx(clone, base, zero, first.out(), nullptr), OK);
        EXPECT_EQ(first.text(), "1");
    }
    EXPECT_EQ(VLONG_deleteMontgomeryCtx(nullptr, nullptr), OK);
    EXPECT_EQ(VLONG_clearMontgomeryCtx(nullptr, nullptr), OK);
    // Two powers at once: of moduli of different sizes, and where one is trivial (0^0 is 0), or fails.
    for (const auto& [value, other] : {std::pair{&base, &half}, {&zero, &large}, {&base, &large}}) {
        Number expected;
        EXPECT_EQ(VLONG_modExpCtxPair({large, *value, *value, first.out()}, {*other, base, base, last.out()}, nullptr),
                  OK);
        EXPECT_EQ(VLONG_modExpCtx(large, *value, *value, expected.out(), nullptr), OK);
        EXPECT_EQ(first, expected);
        EXPECT_EQ(VLONG_modExpCtx(*other, base, base, expected.out(), nullptr), OK);
        EXPECT_EQ(last, expected);
    }
    EXPECT_EQ(VLONG_modExpCtxPair({large, base, base, first.out()}, {empty, base, base, last.out()}, nullptr),
              ERR_DIVIDE_BY_ZERO);
    EXPECT_TRUE(first.get() == nullptr && last.get() == nullptr);
}

TEST(Bignum, NullArguments) {
    expectNullsRefusedByEach(
        VLONG_alloc, VLONG_free, VLONG_newValue, VLONG_newCopy, VLONG_barrettMu, VLONG_copy, VLONG_copyMagnitude,
        VLONG_addMagnitude, VLONG_subMagnitude, VLONG_square, VLONG_clear, VLONG_shiftLeft1, VLONG_shiftRight1,
        VLONG_setValue, VLONG_growKeep, VLONG_growDiscard, VLONG_setUnit, VLONG_setBit, VLONG_shiftLeft,
        VLONG_shiftRight, VLONG_fromBytes, VLONG_toBytesFixed, VLONG_fromMpint, VLONG_toMpint, VLONG_print, VLONG_add,
        VLONG_sub, VLONG_addUnit, VLONG_increment, VLONG_decrement, VLONG_mul, VLONG_mulColumns, VLONG_squareColumns,
        VLONG_divide, VLONG_mulSigned, VLONG_mod, VLONG_div, VLONG_gcd, VLONG_modInverse, VLONG_modExp,
        VLONG_modExpMontgomery, VLONG_modExpBarrett, VLONG_barrettReduce, VLONG_barrettMulMod, VLONG_newMontgomeryCtx,
        VLONG_initMontgomeryCtx, VLONG_cloneMontgomeryCtx, VLONG_montMultiply, VLONG_montSquare);
    const Context context{Number("5")};
    MontgomeryCtx *made = nullptr, bare{};
    const Number v("5");
    Number out;
    vlong *none = nullptr, **const q = nullptr, **const o = out.out();
    std::uint32_t word = 0;
    expectNullsRefused({VLONG_modExpCtx, VLONG_montExpWindow, VLONG_montExpBinary}, context, v, v, o, q);
    expectNullsRefused({VLONG_toBytes}, v, nullptr, &word);
    expectNullsRefused({VLONG_fromWords32}, &word, 1, o);
    EXPECT_EQ(VLONG_free(&none, q), ERR_NULL_POINTER);
    EXPECT_EQ(VLONG_cloneMontgomeryCtx(&bare, &made, q), ERR_NULL_POINTER);
    EXPECT_EQ(VLONG_modExpCtx(&bare, v, v, o, q), ERR_NULL_POINTER);
    EXPECT_EQ(VLONG_modExpCtxPair({nullptr, v, v, o}, {context, v, v, o}, q), ERR_NULL_POINTER);
    EXPECT_EQ(VLONG_modExpCtxPair({context, v, v, o}, {context, v, v, nullptr}, q), ERR_NULL_POINTER);
    EXPECT_EQ(VLONG_getUnit(nullptr, 0), 0U);
    EXPECT_EQ(VLONG_cmp(nullptr, v), -1);
    EXPECT_EQ(VLONG_cmpUnit(nullptr, 0), 0);
    EXPECT_TRUE(VLONG_isZero(nullptr));
}

} // namespace
