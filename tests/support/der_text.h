// DER written by hand: items joined by ",", each hexadecimal octets, an identifier octet with its contents in parentheses
// ("30(020100,04(ff))"), or a NAME in capitals that the caller has octets for. "." is nothing.
#ifndef ZELSPI_TESTS_SUPPORT_DER_TEXT_H
#define ZELSPI_TESTS_SUPPORT_DER_TEXT_H

#include "tests/support/asn1_outline.h"
#include "tests/support/faults.h"
#include "tests/support/vectors.h"

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
    return derItem(0x02, bytesOf((hex.empty() || hex[0] >= '8' ? "00" : "") + hex));
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
            item = derItem(bytesOf(word)[0], derItems(text, names));
            text.remove_prefix(1);
        } else {
            item = word[0] >= 'A' && word[0] <= 'Z' ? names(word) : bytesOf(word);
        }
        all.insert(all.end(), item.begin(), item.end());
        text.remove_prefix(!text.empty() && text[0] == ',' ? 1 : 0);
    }
    all.reserve(1); // data() of an empty one is no null pointer
    return all;
}

inline Bytes derOf(std::string_view text, const DerNames& names = {}) {
    return derItems(text, names);
}

// integersOf: the INTEGERs of a SEQUENCE, in hexadecimal without leading zeros.
inline Words integersOf(const Bytes& der) {
    const testheap::OwnWork own;
    const testasn1::Parsed parsed(der);
    Words integers;
    for (const Asn1Node* item = asn1FirstChild(parsed.top()); item != nullptr; item = asn1NextSibling(item)) {
        const std::string hex = toHex({der.data() + item->dataOffset, item->length});
        integers.push_back(hex.substr(hex.starts_with("00") ? 2 : 0));
    }
    return integers;
}

#endif
