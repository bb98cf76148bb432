// SimpleNatural: natural numbers as plainly as they can be written, bit by bit and slowly: what the fuzz targets hold the
// product's big integers against. It shares no code with them.
#ifndef ZELSPI_FUZZ_SIMPLE_NATURAL_H
#define ZELSPI_FUZZ_SIMPLE_NATURAL_H

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

class SimpleNatural {
public:
    SimpleNatural(std::uint32_t value = 0) : digits_{value} {
        trim();
    }
    explicit SimpleNatural(const std::vector<std::uint8_t>& bigEndian) : digits_((bigEndian.size() + 3) / 4) {
        for (std::size_t i = 0; i < bigEndian.size(); ++i) {
            digits_[i / 4] |= std::uint32_t{bigEndian[bigEndian.size() - 1 - i]} << (8 * (i % 4));
        }
        trim();
    }

    std::vector<std::uint8_t> bytes() const { // big-endian, without leading zeros
        std::vector<std::uint8_t> out;
        for (std::size_t i = 4 * digits_.size(); i-- > 0;) {
            const auto byte = static_cast<std::uint8_t>(digits_[i / 4] >> (8 * (i % 4)));
            if (byte != 0 || !out.empty()) {
                out.push_back(byte);
            }
        }
        return out;
    }
    std::size_t bitCount() const {
        return 32 * digits_.size();
    }
    bool bit(std::size_t index) const {
        return index / 32 < digits_.size() && (digits_[index / 32] >> (index % 32) & 1) != 0;
    }

    bool operator==(const SimpleNatural& other) const = default;
    bool operator<(const SimpleNatural& other) const {
        if (digits_.size() != other.digits_.size()) {
            return digits_.size() < other.digits_.size();
        }
        for (std::size_t i = digits_.size(); i-- > 0;) {
            if (digits_[i] != other.digits_[i]) {
                return digits_[i] < other.digits_[i];
            }
        }
        return false;
    }

    // this := 2 * this + bit.
    void append(bool bit) {
        std::uint32_t carry = bit ? 1 : 0;
        for (std::uint32_t& digit : digits_) {
            const std::uint32_t top = digit >> 31;
            digit = digit << 1 | carry;
            carry = top;
        }
        if (carry != 0) {
            digits_.push_back(carry);
        }
    }

    // this := this - other, which is not larger.
    SimpleNatural& operator-=(const SimpleNatural& other) {
        std::uint64_t borrow = 0;
        for (std::size_t i = 0; i < digits_.size(); ++i) {
            const std::uint64_t taken = borrow + (i < other.digits_.size() ? other.digits_[i] : 0);
            borrow = digits_[i] < taken ? 1 : 0;
            digits_[i] = static_cast<std::uint32_t>(digits_[i] - taken);
        }
        trim();
        return *this;
    }

    friend SimpleNatural operator*(const SimpleNatural& a, const SimpleNatural& b) {
        SimpleNatural product;
        product.digits_.assign(a.digits_.size() + b.digits_.size(), 0);
        for (std::size_t i = 0; i < a.digits_.size(); ++i) {
            std::uint64_t carry = 0;
            for (std::size_t j = 0; j < b.digits_.size(); ++j) {
                carry += std::uint64_t{a.digits_[i]} * b.digits_[j] + product.digits_[i + j];
                product.digits_[i + j] = static_cast<std::uint32_t>(carry);
                carry >>= 32;
            }
            product.digits_[i + b.digits_.size()] = static_cast<std::uint32_t>(carry);
        }
        product.trim();
        return product;
    }

    // The quotient and the remainder, by long division in base 2.
    std::pair<SimpleNatural, SimpleNatural> dividedBy(const SimpleNatural& divisor) const {
        SimpleNatural quotient, remainder;
        for (std::size_t i = bitCount(); i-- > 0;) {
            remainder.append(bit(i));
            const bool fits = !(remainder < divisor);
            if (fits) {
                remainder -= divisor;
            }
            quotient.append(fits);
        }
        return {quotient, remainder};
    }
    friend SimpleNatural operator%(const SimpleNatural& a, const SimpleNatural& modulus) {
        return a.dividedBy(modulus).second;
    }

    SimpleNatural power(const SimpleNatural& exponent, const SimpleNatural& modulus) const {
        const SimpleNatural base = *this % modulus;
        SimpleNatural result = SimpleNatural(1) % modulus;
        for (std::size_t i = exponent.bitCount(); i-- > 0;) {
            result = result * result % modulus;
            if (exponent.bit(i)) {
                result = result * base % modulus;
            }
        }
        return result;
    }

    SimpleNatural gcd(SimpleNatural other) const {
        SimpleNatural one = *this;
        while (!(other == SimpleNatural())) {
            one = std::exchange(other, one % other);
        }
        return one;
    }

private:
    void trim() {
        while (!digits_.empty() && digits_.back() == 0) {
            digits_.pop_back();
        }
    }

    std::vector<std::uint32_t> digits_; // least significant first
};

#endif
