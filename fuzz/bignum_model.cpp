// Big integers beside plain arithmetic written for this alone: division, powers, inverses, and the forms in bytes. The
// first byte chooses the operation and the signs; the rest are values: a length byte and as many bytes.
#include "core/bignum/modexp.h"
#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong_convert.h"
#include "core/bignum/vlong_math.h"
#include "core/memory/memory.h"
#include "fuzz/fuzz_check.h"
#include "fuzz/fuzz_input.h"
#include "fuzz/simple_natural.h"

#include <iterator>

namespace {

using Bytes = FuzzInput::Bytes;

// A value in both worlds.
struct Value {
    explicit Value(const Bytes& bytes, bool isNegative = false) : natural(bytes), record(nullptr) {
        FUZZ_CHECK(
            !isError(VLONG_fromBytes(dataOf(bytes), static_cast<std::int32_t>(bytes.size()), record.out(), nullptr)));
        record.get()->negative = isNegative && !VLONG_isZero(record.get()) ? 1 : 0;
    }
    bool isZero() const {
        return natural == SimpleNatural();
    }
    SimpleNatural natural; // the magnitude
    ScopedVlong record;
};

SimpleNatural magnitude(const vlong* value) {
    std::uint32_t count = 0;
    FUZZ_CHECK(!isError(VLONG_toBytes(value, nullptr, &count)));
    Bytes bytes(std::max(count, 1U)); // data() of an empty one is a null pointer
    FUZZ_CHECK(!isError(VLONG_toBytes(value, bytes.data(), &count)));
    bytes.resize(count);
    return SimpleNatural(bytes);
}

void requireValue(const vlong* value, const SimpleNatural& expected, bool isNegative) {
    FUZZ_CHECK(magnitude(value) == expected);
    FUZZ_CHECK(VLONG_isZero(value) == (expected == SimpleNatural()));
    FUZZ_CHECK(VLONG_isZero(value) || (value->negative != 0) == isNegative);
}

void divisions(FuzzInput& input, std::uint8_t signs) {
    const Value a(input.bytes(), (signs & 1) != 0), b(input.bytes(), (signs & 2) != 0);
    ScopedVlong quotient(nullptr), remainder(nullptr);
    if (b.isZero()) {
        FUZZ_CHECK(VLONG_div(a.record.get(), b.record.get(), quotient.out(), nullptr) == ERR_DIVIDE_BY_ZERO);
        FUZZ_CHECK(VLONG_mod(a.record.get(), b.record.get(), remainder.out(), nullptr) == ERR_DIVIDE_BY_ZERO);
        return;
    }
    const auto [q, r] = a.natural.dividedBy(b.natural);
    FUZZ_CHECK(!isError(VLONG_div(a.record.get(), b.record.get(), quotient.out(), nullptr)));
    requireValue(quotient.get(), q, (signs & 1) != (signs >> 1 & 1));
    FUZZ_CHECK(!isError(VLONG_mod(a.record.get(), b.record.get(), remainder.out(), nullptr)));
    requireValue(remainder.get(), r, (signs & 1) != 0);
    FUZZ_CHECK(!isError(VLONG_divide(quotient.get(), a.record.get(), b.record.get(), remainder.get(), nullptr)));
    requireValue(quotient.get(), q, false);
    requireValue(remainder.get(), r, false);
}

// Barrett's method may give the modulus in place of 0.
void requirePower(const vlong* power, const SimpleNatural& expected, const SimpleNatural& modulus, bool isBarrett) {
    const SimpleNatural found = magnitude(power);
    FUZZ_CHECK(found == expected || (isBarrett && expected == SimpleNatural() && found == modulus));
}

void powers(FuzzInput& input, std::uint8_t choice) {
    const Value base(input.bytes()), exponent(input.bytes()), modulus(input.bytes());
    if (exponent.natural.bitCount() > 128 || modulus.natural.bitCount() > 768) {
        return; // the model is slow
    }
    ScopedVlong power(nullptr);
    const Status status =
        VLONG_modExp(base.record.get(), exponent.record.get(), modulus.record.get(), power.out(), nullptr);
    if (base.isZero() || exponent.isZero()) {
        FUZZ_CHECK(!isError(status) == !modulus.isZero());
        if (!isError(status)) {
            requireValue(power.get(), base.isZero() ? 0 : 1, false);
        }
        return;
    }
    if (modulus.isZero()) {
        FUZZ_CHECK(status == ERR_BAD_MODULO && power.get() == nullptr);
        return;
    }
    FUZZ_CHECK(!isError(status));
    const SimpleNatural expected = base.natural.power(exponent.natural, modulus.natural);
    const bool isOdd = modulus.natural.bit(0);
    requirePower(power.get(), expected, modulus.natural, !isOdd || modulus.natural.bitCount() <= kUnitBits);
    if (!isOdd) {
        return;
    }
    MontgomeryCtx* context = nullptr;
    FUZZ_CHECK(!isError(VLONG_newMontgomeryCtx(&context, modulus.record.get(), nullptr)));
    ScopedVlong alone(nullptr), first(nullptr), second(nullptr);
    FUZZ_CHECK(!isError(VLONG_modExpCtx(context, base.record.get(), exponent.record.get(), alone.out(), nullptr)));
    requirePower(alone.get(), expected, modulus.natural, false);
    if ((choice & 1) != 0) {
        FUZZ_CHECK(
            !isError(VLONG_modExpCtxPair({context, base.record.get(), exponent.record.get(), first.out()},
                                         {context, exponent.record.get(), base.record.get(), second.out()}, nullptr)));
        requirePower(first.get(), expected, modulus.natural, false);
        if (base.natural.bitCount() <= 128) {
            requirePower(second.get(), exponent.natural.power(base.natural, modulus.natural), modulus.natural, false);
        }
    }
    FUZZ_CHECK(!isError(VLONG_deleteMontgomeryCtx(&context, nullptr)));
}

void inverses(FuzzInput& input, std::uint8_t /*choice*/) {
    const Value a(input.bytes()), n(input.bytes());
    if (a.isZero() || n.isZero()) {
        return;
    }
    const SimpleNatural gcd = a.natural.gcd(n.natural);
    ScopedVlong found(nullptr), inverse(nullptr);
    FUZZ_CHECK(!isError(VLONG_gcd(a.record.get(), n.record.get(), found.out(), nullptr)));
    requireValue(found.get(), gcd, false);
    FUZZ_CHECK(!isError(VLONG_modInverse(a.record.get(), n.record.get(), inverse.out(), nullptr)));
    if (gcd == SimpleNatural(1) && !(n.natural == SimpleNatural(1))) {
        const SimpleNatural result = magnitude(inverse.get());
        FUZZ_CHECK(inverse.get()->negative == 0 && result < n.natural);
        FUZZ_CHECK(a.natural * result % n.natural == SimpleNatural(1));
    }
}

// A length of four bytes and as many bytes of two's complement.
void mpints(FuzzInput& input, std::uint8_t /*choice*/) {
    const Bytes bytes = input.rest();
    std::uint64_t length = 0;
    for (std::size_t i = 0; i < 4 && i < bytes.size(); ++i) {
        length = length << 8 | bytes[i];
    }
    const bool isGood = bytes.size() >= 4 && length <= bytes.size() - 4 && length <= 65535;
    ScopedVlong value(nullptr);
    std::uint32_t consumed = 0;
    const Status status =
        VLONG_fromMpint(dataOf(bytes), static_cast<std::uint32_t>(bytes.size()), value.out(), &consumed);
    FUZZ_CHECK(status == (isGood ? OK : ERR_BAD_LENGTH));
    if (!isGood) {
        return;
    }
    FUZZ_CHECK(consumed == length + 4);
    Bytes body(bytes.begin() + 4, bytes.begin() + 4 + static_cast<std::ptrdiff_t>(length));
    const bool isNegative = !body.empty() && (body[0] & 0x80) != 0;
    SimpleNatural expected(body);
    if (isNegative) {
        Bytes power(length + 1); // 2^(8 * length)
        power[0] = 1;
        SimpleNatural complement(power);
        complement -= expected;
        power[0] = 0;
        power[1] = 0x80; // the most negative value reads as zero
        expected = complement == SimpleNatural(power) ? SimpleNatural() : complement;
    }
    requireValue(value.get(), expected, isNegative);

    std::uint8_t* written = nullptr;
    std::uint32_t count = 0;
    FUZZ_CHECK(!isError(VLONG_toMpint(value.get(), &written, &count)));
    Bytes wanted = expected.bytes();
    if (!wanted.empty() && (wanted[0] & 0x80) != 0) { // room for the sign
        wanted.insert(wanted.begin(), std::uint8_t{0});
    }
    if (isNegative && !wanted.empty()) {
        unsigned carry = 1;
        for (std::size_t i = wanted.size(); i-- > 0;) {
            carry += static_cast<std::uint8_t>(~wanted[i]);
            wanted[i] = static_cast<std::uint8_t>(carry);
            carry >>= 8;
        }
    }
    const auto size = static_cast<std::uint32_t>(wanted.size());
    for (unsigned shift = 0; shift < 32; shift += 8) {
        wanted.insert(wanted.begin(), static_cast<std::uint8_t>(size >> shift));
    }
    FUZZ_CHECK(Bytes(written, written + count) == wanted);
    void* block = written;
    FUZZ_CHECK(!isError(memFree(&block)));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    constexpr void (*kOperations[])(FuzzInput&, std::uint8_t) = {divisions, powers, inverses, mpints};
    const std::uint8_t choice = input.byte();
    kOperations[choice % std::size(kOperations)](input, choice / std::size(kOperations));
    return 0;
}
