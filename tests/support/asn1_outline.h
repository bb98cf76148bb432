// A parsed tree as one line of text, for tests and fuzz targets to compare: for each item its class (U, A, C, P), tag
// number, c when constructed, i when indefinite, e when encapsulating, [headerSize,dataOffset,length], =value unless 0,
// and its children in parentheses. Without places, leaves show [length] and other items nothing in brackets. Recursive;
// a parsed tree is shallow.
#ifndef ZELSPI_TESTS_SUPPORT_ASN1_OUTLINE_H
#define ZELSPI_TESTS_SUPPORT_ASN1_OUTLINE_H

#include "core/asn1/asn1_parse.h"

#include <string>
#include <vector>

namespace testasn1 {

inline std::string outline(const Asn1Node* item, bool withPlaces = true) {
    if (item == nullptr) {
        return "";
    }
    const auto number = [](std::uint32_t value) {
        return std::to_string(value);
    };
    std::string text = "UACP"[item->id >> 6] + number(item->tag) + ((item->id & kAsn1Constructed) != 0 ? "c" : "") +
                       (item->indefinite ? "i" : "") + (item->encapsulates ? "e" : "");
    const std::string place = number(item->headerSize) + ',' + number(item->dataOffset) + ',';
    if (withPlaces || item->firstChild == nullptr) {
        text += '[' + (withPlaces ? place : "") + number(item->length) + ']';
    }
    text += item->value != 0 ? '=' + number(item->value) : "";
    char separator = '(';
    for (const Asn1Node* child = asn1FirstChild(item); child != nullptr; child = asn1NextSibling(child)) {
        text += separator + outline(child, withPlaces);
        separator = ' ';
    }
    return text + (separator == ' ' ? ")" : "");
}

// A stream over octets, and the tree parsed from it.
class Parsed {
public:
    Parsed(const std::uint8_t* octets, std::size_t count) {
        (void)MemStream_Init(&memory, static_cast<std::int32_t>(count), octets);
        (void)ByteStream_Bind(&stream, &memory);
        status = Asn1_ParseStream(stream, root.out());
    }
    explicit Parsed(const std::vector<std::uint8_t>& octets) : Parsed(octets.data(), octets.size()) {
    }

    Asn1Node* top() const {
        return root.get() == nullptr ? nullptr : asn1FirstChild(root.get());
    }

    MemStream memory{};
    ByteStream stream{};
    ScopedTree<Asn1Node> root;
    Status status = OK;
};

} // namespace testasn1

#endif
