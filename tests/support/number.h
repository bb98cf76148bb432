// Number: an owned big integer for tests, made of text and printed as text. A text is hexadecimal digits, or 64-bit units
// of them joined by ".", most significant first, "U*n" for n equal units; "-" in front is the sign flag; "none" is no record.
// What a Number itself allocates is never refused.
#ifndef ZELSPI_TESTS_SUPPORT_NUMBER_H
#define ZELSPI_TESTS_SUPPORT_NUMBER_H

#include "core/bignum/scoped_vlong.h"
#include "tests/support/faults.h"

#include <ostream>
#include <random>
#include <string>
#include <vector>

using Units = std::vector<Unit>;

class Number : public ScopedVlong {
public:
    Number() : ScopedVlong(nullptr) {
    }
    explicit Number(const std::string& text);
    explicit Number(const char* text) : Number(std::string(text)) {
    }
    explicit Number(Unit value) : Number(Units{value}) {
    }
    explicit Number(const Units& leastFirst, bool isNegative = false); // zero top units are trimmed
    Number(const Number& other);

    operator vlong*() const {
        return get();
    }
    std::string text() const;
};

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

std::string textOf(const vlong* value);
std::string hexOf(const vlong* value); // whole bytes without leading zeros; "null" for none

// What tests reckon with: a b; a mod m, not negative; a 2^bits.
Number multiplied(const Number& a, const Number& b);
Number reduced(const Number& a, const Number& m);
Number shifted(Number a, std::uint32_t bits);

inline bool operator==(const Number& a, const Number& b) {
    return a.text() == b.text();
}
inline void PrintTo(const Number& number, std::ostream* stream) {
    *stream << number.text();
}

// emptyArgument: a pointer to an empty object, a source without bytes, or a number: for functions that refuse another argument.
template <typename T> T emptyArgument() {
    if constexpr (std::is_arithmetic_v<T>) {
        return T{2};
    } else if constexpr (std::is_pointer_v<T> && std::is_object_v<std::remove_pointer_t<T>>) {
        static std::remove_cv_t<std::remove_pointer_t<T>> object{};
        return &object;
    } else {
        return T(nullptr);
    }
}

// expectNullsRefusedByEach: expectNullsRefused with such arguments for every pointer but a queue, which stands last.
template <Status first = ERR_NULL_POINTER, typename... Functions>
void expectNullsRefusedByEach(Functions... functions) {
    int number = 0;
    const auto refuse = [&number]<typename... Parameters>(Status (*function)(Parameters...)) {
        SCOPED_TRACE(testing::Message() << "function " << number++);
        std::tuple<std::decay_t<Parameters>...> good{emptyArgument<std::decay_t<Parameters>>()...};
        auto& last = std::get<sizeof...(Parameters) - 1>(good);
        if constexpr (std::is_same_v<decltype(last), vlong**&>) {
            last = nullptr;
        }
        std::apply([function](const auto&... each) { expectNullsRefused<first>({function}, each...); }, good);
    };
    (refuse(functions), ...);
}

#endif
