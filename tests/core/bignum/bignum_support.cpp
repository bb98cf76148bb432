#include "tests/core/bignum/bignum_support.h"

#include <algorithm>
#include <cstdio>
#include <sstream>

namespace bignumtest {

Number::Number(const Units& units, bool negative) : Number() {
    EXPECT_EQ(alloc(), OK);
    EXPECT_EQ(units.size() > 1 ? VLONG_growKeep(get(), units.size()) : OK, OK);
    for (std::size_t i = 0; i < units.size(); ++i) {
        EXPECT_EQ(VLONG_setUnit(get(), static_cast<std::uint32_t>(i), units[i]), OK);
    }
    get()->negative = negative ? 1 : 0;
}

Number::Number(const std::string& text) : Number() {
    const bool negative = text[0] == '-';
    std::istringstream parts(text.substr(negative ? 1 : 0));
    Units units;
    for (std::string part; std::getline(parts, part, '.');) {
        const std::size_t star = part.find('*');
        const std::size_t count = star == std::string::npos ? 1 : std::stoul(part.substr(star + 1));
        units.insert(units.end(), count, std::stoull(part.substr(0, star), nullptr, 16));
    }
    std::reverse(units.begin(), units.end());
    Number value(units, negative);
    swap(value);
}

Number::Number(const Number& other) : Number() {
    EXPECT_EQ(VLONG_newCopy(other.get(), out(), nullptr), OK);
}

std::string Number::text() const {
    if (get() == nullptr) {
        return "none";
    }
    std::string text = get()->negative != 0 ? "-" : "";
    if (get()->length == 0) {
        return text + "0";
    }
    for (std::uint32_t i = get()->length; i-- > 0;) {
        char unit[20];
        (void)std::snprintf(unit, sizeof unit, "%llx", static_cast<unsigned long long>(get()->units[i]));
        text.append(unit).append(i > 0 ? "." : "");
    }
    return text;
}

Units Random::units(std::size_t count, bool extreme) {
    constexpr Unit kExtremes[] = {0, 1, Unit{1} << 63, ~Unit{0}, ~Unit{0} - 1, (Unit{1} << 32) - 1, Unit{1} << 32};
    Units units(count);
    for (Unit& unit : units) {
        unit = extreme && below(4) != 0 ? kExtremes[below(7)] : this->unit();
    }
    return units;
}

} // namespace bignumtest
