// DER written by hand: items joined by ",", each hexadecimal octets, an identifier octet with its contents in parentheses
// ("30(020100,04(ff))"), or a NAME in capitals that the caller has octets for. "." is nothing.
#ifndef ZELSPI_TESTS_SUPPORT_DER_TEXT_H
#define ZELSPI_TESTS_SUPPORT_DER_TEXT_H

#include "tests/support/hex.h"
#include "tests/support/vectors.h"

#include <cctype>
#include <functional>

using DerNames = std::function<Bytes(const std::string& name)>;

// derItem: an item by its identifier octet and content, below 64 KiB.
inline Bytes derItem(std::uint8_t identifier, const Bytes& content) {
    const std::size_t size = content.size();
    const auto high = static_cast<std::uint8_t>(size >> 8), low = static_cast<std::uint8_t>(size);
    Bytes item = size < 128   ? Bytes{identifier, low}
                 : size < 256 ? Bytes{identifier, 0x81, low}
                              : Bytes{identifier, 0x82, high, low};
    item.insert(item.end(), content.begin(), content.end());
    return item;
}

// derInteger: the INTEGER of an unsigned magnitude in hexadecimal.
inline Bytes derInteger(const std::string& hex) {
    Bytes content = fromHex(hex);
    if (content.empty() || content[0] >= 0x80) {
        content.insert(content.begin(), std::uint8_t{0});
    }
    return derItem(0x02, content);
}

inline Bytes derItems(std::string_view& text, const DerNames& names) {
    Bytes all;
    while (!text.empty() && text[0] != ')') {
        const std::size_t end = std::min(text.find_first_of(",()"), text.size());
        const std::string word(text.substr(0, end));
        text.remove_prefix(end);
        Bytes item;
        if (!text.empty() && text[0] == '(') {
            text.remove_prefix(1);
            item = derItem(fromHex(word)[0], derItems(text, names));
            text.remove_prefix(1);
        } else {
            item = std::isupper(static_cast<unsigned char>(word[0])) != 0 ? names(word) : fromHex(word);
        }
        all.insert(all.end(), item.begin(), item.end());
        text.remove_prefix(!text.empty() && text[0] == ',' ? 1 : 0);
    }
    return all;
}

inline Bytes derOf(std::string_view text, const DerNames& names = {}) {
    text = text == "." ? std::string_view() : text;
    Bytes octets = derItems(text, names);
    octets.reserve(1); // data() of an empty one is no null pointer
    return octets;
}

// integersOf: the INTEGERs of a SEQUENCE, in hexadecimal without leading zeros.
inline Words integersOf(const Bytes& der) {
    const auto header = [&der](std::size_t& at) {
        std::size_t length = der[at + 1];
        at += 2;
        for (std::size_t octets = length > 128 ? length - 128 : 0, i = 0; i < octets; ++i) {
            length = (i == 0 ? 0 : length << 8) | der[at++];
        }
        return length;
    };
    Words integers;
    std::size_t at = 0;
    (void)header(at);
    while (at < der.size()) {
        const std::size_t length = header(at);
        Bytes magnitude(der.begin() + static_cast<int>(at), der.begin() + static_cast<int>(at + length));
        at += length;
        magnitude.erase(magnitude.begin(),
                        std::find_if(magnitude.begin(), magnitude.end(), [](auto octet) { return octet != 0; }));
        integers.push_back(toHex(magnitude));
    }
    return integers;
}

#endif
