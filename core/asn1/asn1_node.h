// Parsed items: what the parser makes of BER or DER input.
//
// An item refers to its place in the input and copies nothing: its content octets are those at dataOffset, length of
// them, and are reached with ByteStream_MemAccess, which callers treat as ERR_MEM_ALLOC_FAIL when it gives null. A tree
// stands below a synthetic root whose own fields are all zero; the outermost item is the root's first child.
#ifndef ZELSPI_CORE_ASN1_ASN1_NODE_H
#define ZELSPI_CORE_ASN1_ASN1_NODE_H

#include "core/asn1/tree.h"

// The parts of an identifier octet (X.690 section 8.1.2) but for the tag number.
inline constexpr std::uint32_t kAsn1ClassMask = 0xC0;
inline constexpr std::uint32_t kAsn1Universal = 0x00;
inline constexpr std::uint32_t kAsn1ContextSpecific = 0x80;
inline constexpr std::uint32_t kAsn1Constructed = 0x20;

// In a length octet (section 8.1.3): the number of length octets that follow, 0 for the indefinite form.
inline constexpr std::uint8_t kAsn1LongForm = 0x80;

// The longest INTEGER or ENUMERATED content that is decoded.
inline constexpr std::uint32_t kAsn1MaxValueOctets = 4;

// Universal tag numbers (X.680 section 8.6).
inline constexpr std::uint32_t kAsn1EndOfContents = 0;
inline constexpr std::uint32_t kAsn1Boolean = 1;
inline constexpr std::uint32_t kAsn1Integer = 2;
inline constexpr std::uint32_t kAsn1BitString = 3;
inline constexpr std::uint32_t kAsn1OctetString = 4;
inline constexpr std::uint32_t kAsn1Null = 5;
inline constexpr std::uint32_t kAsn1ObjectIdentifier = 6;
inline constexpr std::uint32_t kAsn1Enumerated = 10;
inline constexpr std::uint32_t kAsn1Sequence = 16;

struct Asn1Node : TreeNode {
    std::uint32_t id;         // class and constructed bit, at their places in the identifier octet
    std::uint32_t tag;        // tag number
    std::uint32_t length;     // of the content; of a BIT STRING without its unused-bits octet; 0 when indefinite
    std::uint32_t headerSize; // identifier and length octets
    std::uint32_t dataOffset; // position of the content in the stream
    std::uint32_t value;      // BOOLEAN: the octet; INTEGER, ENUMERATED of up to 4 octets: the unsigned value;
                              // BIT STRING: the number of unused bits as it stands, also above 7
    bool indefinite;          // the length octet was 0x80
    bool encapsulates;        // a primitive string whose content was parsed as items of its own
};

// The links of an item, as items.
inline Asn1Node* asn1Parent(const Asn1Node* item) {
    return static_cast<Asn1Node*>(item->parent);
}
inline Asn1Node* asn1FirstChild(const Asn1Node* item) {
    return static_cast<Asn1Node*>(item->firstChild);
}
inline Asn1Node* asn1NextSibling(const Asn1Node* item) {
    return static_cast<Asn1Node*>(item->nextSibling);
}

#endif
