// Number: an owned big integer for tests, made of text and printed as text. A text is hexadecimal digits, or 64-bit units
// of them joined by ".", most significant first, "U*n" for n equal units; "-" in front is the sign flag; "none" is no record.
// What a Number itself allocates is never refused.
#ifndef ZELSPI_TESTS_SUPPORT_NUMBER_H
#define ZELSPI_TESTS_SUPPORT_NUMBER_H

#include "core/bignum/scoped_vlong.h"
#include "tests/support/faults.h"

#include <ostream>
#include <string>
#include <vector>

using Units = std::vector<Unit>;

std::string textOf(const vlong* value);
std::string hexOf(const vlong* value); // whole bytes without leading zeros; "null" for none

class Number : public ScopedVlong {
public:
    Number() : ScopedVlong(nullptr) {
    }
    explicit Number(const std::string& text);
    explicit Number(const char* text) : Number(std::string(text)) {
    }
    explicit Number(Unit value) : Number(Units{value}) {
    }
    explicit Number(Units leastFirst, bool isNegative = false); // zero top units are trimmed
    Number(const Number& other);

    operator vlong*() const {
        return get();
    }
    std::string text() const {
        return textOf(get());
    }
    Units units(std::size_t count) const; // the least first, filled up with zeros, or cut
};

// What tests reckon with: a b; a mod m, not negative; a - 1; a 2^bits.
Number multiplied(const Number& a, const Number& b);
Number reduced(const Number& a, const Number& m);
Number lowered(Number a);
Number shifted(Number a, std::uint32_t bits);

inline bool operator==(const Number& a, const Number& b) {
    return a.text() == b.text();
}
inline void PrintTo(const Number& number, std::ostream* stream) {
    *stream << number.text();
}

#endif
