// Hexadecimal text and the bytes it stands for.
#ifndef ZELSPI_TESTS_SUPPORT_HEX_H
#define ZELSPI_TESTS_SUPPORT_HEX_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

inline std::string toHex(std::span<const std::uint8_t> bytes) {
    std::string text;
    for (const std::uint8_t byte : bytes) {
        text += "0123456789abcdef"[byte >> 4];
        text += "0123456789abcdef"[byte & 15];
    }
    return text;
}

// fromHex: spaces are skipped; anything else but pairs of hexadecimal digits is a mistake of the test's author.
inline std::vector<std::uint8_t> fromHex(std::string_view text) {
    std::vector<std::uint8_t> bytes;
    bytes.reserve(text.size() / 2 + 1); // data() of an empty one is no null pointer
    std::string digits;
    for (const char c : text) {
        if (c != ' ') {
            digits += c;
        }
    }
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
        bytes.push_back(static_cast<std::uint8_t>(std::stoi(digits.substr(i, 2), nullptr, 16)));
    }
    return bytes;
}

#endif
