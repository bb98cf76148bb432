// DER written by hand: items joined by ",", each hexadecimal octets, an identifier octet with its contents in parentheses
// ("30(020100,04(ff))"), or a NAME in capitals that the caller has octets for. "." is nothing.
#ifndef ZELSPI_TESTS_SUPPORT_DER_TEXT_H
#define ZELSPI_TESTS_SUPPORT_DER_TEXT_H

#include "tests/support/asn1_outline.h"
#include "tests/support/faults.h"
#include "tests/support/vectors.h"

#include <sstream>

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

inline Bytes derOf(std::string text, const DerNames& names = {}) {
    const auto octetsOf = [&names](const std::string& list) {
        Bytes all;
        std::istringstream items(list);
        for (std::string item; std::getline(items, item, ',');) {
            const Bytes octets = item[0] >= 'A' && item[0] <= 'Z' ? names(item) : bytesOf(item);
            all.insert(all.end(), octets.begin(), octets.end());
        }
        all.reserve(1); // data() of an empty one is no null pointer
        return all;
    };
    for (std::size_t close; (close = text.find(')')) != std::string::npos;) { // the innermost item first
        const std::size_t open = text.rfind('(', close);
        const Bytes content = octetsOf(text.substr(open + 1, close - open - 1));
        text.replace(open - 2, close - open + 3, toHex(derItem(bytesOf(text.substr(open - 2, 2))[0], content)));
    }
    return octetsOf(text);
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
