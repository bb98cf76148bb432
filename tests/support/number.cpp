#include "tests/support/number.h"

#include "core/bignum/vlong_convert.h"
#include "core/bignum/vlong_math.h"
#include "tests/support/faults.h"
#include "tests/support/vectors.h"

#include <algorithm>
#include <sstream>

Number::Number(Units leastFirst, bool isNegative) : Number() {
    const testheap::OwnWork own;
    while (!leastFirst.empty() && leastFirst.back() == 0) { // a zero has no units behind it
        leastFirst.pop_back();
    }
    EXPECT_TRUE(alloc() == OK && VLONG_growKeep(get(), leastFirst.size()) == OK);
    std::copy(leastFirst.begin(), leastFirst.end(), get()->units);
    get()->length = static_cast<std::uint32_t>(leastFirst.size());
    get()->negative = isNegative ? 1 : 0;
}

Number::Number(const std::string& text) : Number() {
    if (text == "none") {
        return;
    }
    const bool isNegative = text[0] == '-';
    std::istringstream parts(text.substr(isNegative ? 1 : 0));
    std::string digits; // of whole units
    for (std::string part; std::getline(parts, part, '.');) {
        const std::size_t star = std::min(part.find('*'), part.size());
        for (std::size_t left = star < part.size() ? std::stoul(part.substr(star + 1)) : 1; left > 0; --left) {
            digits += std::string((16 - star % 16) % 16, '0') + part.substr(0, star);
        }
    }
    Units units;
    for (std::size_t end = digits.size(); end > 0; end -= 16) {
        units.push_back(std::stoull(digits.substr(end - 16, 16), nullptr, 16));
    }
    Number value(units, isNegative);
    swap(value);
}

Number::Number(const Number& other) : Number() {
    const testheap::OwnWork own;
    EXPECT_EQ(VLONG_newCopy(other.get(), out(), nullptr), OK);
}

Units Number::units(std::size_t count) const {
    Units units(get()->units, get()->units + get()->length);
    units.resize(count);
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

Number lowered(Number a) {
    const testheap::OwnWork own;
    EXPECT_EQ(VLONG_decrement(a, nullptr), OK);
    return a;
}

Number shifted(Number a, std::uint32_t bits) {
    const testheap::OwnWork own;
    EXPECT_EQ(VLONG_shiftLeft(a, bits), OK);
    return a;
}
