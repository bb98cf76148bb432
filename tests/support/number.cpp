#include "tests/support/number.h"

#include "core/bignum/vlong_convert.h"
#include "core/bignum/vlong_math.h"
#include "tests/support/faults.h"
#include "tests/support/vectors.h"

#include <algorithm>
#include <sstream>

Number::Number(const Units& leastFirst, bool isNegative) : Number() {
    const testheap::OwnWork own;
    EXPECT_EQ(alloc(), OK);
    const bool isZero = std::count(leastFirst.begin(), leastFirst.end(), Unit{0}) == std::ssize(leastFirst);
    EXPECT_EQ(isZero ? OK : VLONG_growKeep(get(), leastFirst.size()), OK); // a zero has no units behind it
    for (std::size_t i = 0; i < leastFirst.size(); ++i) {
        EXPECT_EQ(VLONG_setUnit(get(), static_cast<std::uint32_t>(i), leastFirst[i]), OK);
    }
    get()->negative = isNegative ? 1 : 0;
}

Number::Number(const std::string& text) : Number() {
    if (text == "none") {
        return;
    }
    const bool isNegative = text[0] == '-';
    std::istringstream parts(text.substr(isNegative ? 1 : 0));
    Units units;
    for (std::string part; std::getline(parts, part, '.');) {
        const std::size_t star = std::min(part.find('*'), part.size());
        const std::size_t count = star < part.size() ? std::stoul(part.substr(star + 1)) : 1;
        for (std::size_t at = 0, end = star % 16; at < star;
             at = end, end += 16) { // more than 16 digits: several units
            end = end == 0 ? 16 : end;
            units.insert(units.end(), count, std::stoull(part.substr(at, end - at), nullptr, 16));
        }
    }
    std::reverse(units.begin(), units.end());
    Number value(units, isNegative);
    swap(value);
}

Number::Number(const Number& other) : Number() {
    const testheap::OwnWork own;
    EXPECT_EQ(VLONG_newCopy(other.get(), out(), nullptr), OK);
}

std::string Number::text() const {
    return textOf(get());
}

Units Random::units(std::size_t count, bool extreme) {
    constexpr Unit kExtremes[] = {0, 1, Unit{1} << 63, ~Unit{0}, ~Unit{0} - 1, (Unit{1} << 32) - 1, Unit{1} << 32};
    Units units(count);
    for (Unit& unit : units) {
        unit = extreme && below(4) != 0 ? kExtremes[below(7)] : this->unit();
    }
    return units;
}

std::string textOf(const vlong* value) {
    if (value == nullptr) {
        return "none";
    }
    std::ostringstream text;
    text << (value->negative != 0 ? "-" : "") << std::hex;
    for (std::uint32_t i = value->length, run = 0; i > 0; i -= run) {
        const Unit unit = value->units[i - 1];
        for (run = 1; run < i && value->units[i - 1 - run] == unit; ++run) {
        }
        text << (i == value->length ? "" : ".") << unit;
        if (run > 1) {
            text << '*' << std::dec << run << std::hex;
        }
    }
    text << (value->length == 0 ? "0" : "");
    return text.str();
}

std::string hexOf(const vlong* value) {
    Bytes bytes((VLONG_bitLength(value) + 7) / 8);
    (void)VLONG_toBytesFixed(value, bytes.data(), static_cast<std::uint32_t>(bytes.size())); // null has no bits
    return value == nullptr ? "null" : toHex(bytes);
}

Number multiplied(const Number& a, const Number& b) {
    const testheap::OwnWork own;
    Number product;
    EXPECT_EQ(VLONG_mulSigned(a, b, product.out(), nullptr), OK);
    return product;
}

Number reduced(const Number& a, const Number& m) {
    const testheap::OwnWork own;
    Number rest;
    EXPECT_EQ(VLONG_mod(a, m, rest.out(), nullptr), OK);
    if (rest.get()->negative != 0 && !VLONG_isZero(rest)) {
        EXPECT_EQ(VLONG_add(rest, m, nullptr), OK);
    }
    rest.get()->negative = 0;
    return rest;
}

Number shifted(Number a, std::uint32_t bits) {
    const testheap::OwnWork own;
    EXPECT_EQ(VLONG_shiftLeft(a, bits), OK);
    return a;
}
