// Numbers for the tests of the big integers: parsing, printing, comparing, random ones.
#ifndef ZELSPI_TESTS_CORE_BIGNUM_BIGNUM_SUPPORT_H
#define ZELSPI_TESTS_CORE_BIGNUM_BIGNUM_SUPPORT_H

#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong.h"

#include <gtest/gtest.h>

#include <ostream>
#include <random>
#include <string>
#include <vector>

namespace bignumtest {

using Units = std::vector<Unit>;

// Number: an owned record, compared and printed with its sign flag. Not for runs in which allocations are refused.
class Number : public ScopedVlong {
public:
    Number() : ScopedVlong(nullptr) {
    }
    explicit Number(Unit value, bool negative = false) : Number(Units{value}, negative) {
    }
    // From units, least significant first; zero top units are trimmed.
    explicit Number(const Units& units, bool negative = false);
    // From the text of the vector file: units most significant first, "." between them, "*n" for repetition, "-" in
    // front.
    explicit Number(const std::string& text);
    explicit Number(const char* text) : Number(std::string(text)) {
    }
    Number(const Number& other);

    // The record, for calls that want one; the tests change it freely.
    operator vlong*() const {
        return get();
    }
    std::string text() const;
};

// textOf: the text of a record that somebody else owns.
inline std::string textOf(const vlong* value) {
    Number copy;
    EXPECT_EQ(VLONG_newCopy(value, copy.out(), nullptr), OK);
    return copy.text();
}

inline bool operator==(const Number& a, const Number& b) {
    return a.text() == b.text();
}
inline void PrintTo(const Number& number, std::ostream* stream) {
    *stream << number.text();
}

// Random: units from a fixed seed; with `extreme` most of them are 0, 1, 2^63, 2^64-1 and the like.
class Random {
public:
    explicit Random(std::uint64_t seed) : generator_(seed) {
    }
    Unit unit() {
        return generator_();
    }
    std::uint32_t below(std::uint32_t bound) {
        return static_cast<std::uint32_t>(unit() % bound);
    }
    Units units(std::size_t count, bool extreme = false);

private:
    std::mt19937_64 generator_;
};

} // namespace bignumtest

#endif
