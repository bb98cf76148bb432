// The operations on big integers: every line of bignum_vectors.txt, without a queue and with one that holds a used record.
#include "core/bignum/modexp.h"
#include "core/bignum/vlong_convert.h"
#include "core/bignum/vlong_math.h"
#include "core/memory/memory.h"
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
    std::uint8_t* bytes = nullptr;
    std::uint32_t count = 0, consumed = 0;
    RETURN_IF_ERROR(VLONG_toMpint(value, &bytes, &count));
    out = {toHex({bytes, count})};
    const Status status = VLONG_fromMpint(bytes, count, readBack.out(), &consumed);
    void* block = bytes;
    EXPECT_EQ(memWipeAndFree(&block, count), OK);
    EXPECT_TRUE(isError(status) || (readBack == value && consumed == count));
    return status;
}

struct OwnedContext {
    ~OwnedContext() {
        EXPECT_EQ(VLONG_deleteMontgomeryCtx(&context, queue), OK);
        EXPECT_EQ(context, nullptr);
    }
    vlong** queue;
    MontgomeryCtx* context = nullptr;
};

// 1/R, which no power but that by single bits reads.
void expectInverse(const MontgomeryCtx& context, const Number& m) {
    const testheap::OwnWork own;
    const Number rest = reduced(multiplied(Number(textOf(context.R)), Number(textOf(context.RInverse))), m);
    EXPECT_EQ(rest.text(), VLONG_cmpUnit(m, 1) == 0 ? "0" : "1");
    EXPECT_LT(VLONG_cmp(context.RInverse, m), 0);
}

// Barrett's engine, that of VLONG_modExp and (for odd moduli) the Montgomery forms, by a context and by a clone that outlives
// it: each gives the expected power, but for the modulus that only Barrett's may give in place of 0.
Status power(const Words& in, Words& out, vlong** queue) {
    const Number base(in[0]), exponent(in[1]), m(in[2]);
    Number made, again, first, second;
    RETURN_IF_ERROR(result(VLONG_modExp(base, exponent, m, made.out(), queue), made, out));
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
    OwnedContext context{queue}, clone{queue};
    RETURN_IF_ERROR(VLONG_newMontgomeryCtx(&context.context, m, queue));
    RETURN_IF_ERROR(VLONG_cloneMontgomeryCtx(context.context, &clone.context, queue));
    if (isOdd) {
        expectInverse(*context.context, m);
        expectInverse(*clone.context, m);
    }
    const Status status = VLONG_modExpCtxPair({context.context, base, exponent, first.out()},
                                              {clone.context, base, exponent, second.out()}, queue);
    EXPECT_TRUE(isError(status) ? first.get() == nullptr && second.get() == nullptr
                                : isRight(first) && isRight(second));
    RETURN_IF_ERROR(status);
    EXPECT_EQ(VLONG_deleteMontgomeryCtx(&context.context, queue), OK);
    RETURN_IF_ERROR(VLONG_modExpCtx(clone.context, base, exponent, again.out(), queue));
    EXPECT_TRUE(isRight(again));
    if (isOdd && isShort && base.get()->negative == 0) {
        RETURN_IF_ERROR(VLONG_montExpBinary(clone.context, base, exponent, again.out(), queue));
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

} // namespace
