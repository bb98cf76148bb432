// What the parser does with an item's content once its header is read. For use by the parser only.
//
// Deliberately liberal, because keys and certificates in use depend on it: INTEGER and most string types may be empty,
// a BIT STRING may claim more than 7 unused bits, BOOLEAN and NULL may have surplus content (which is passed over), and
// a primitive item with the indefinite length octet counts as empty.
#ifndef ZELSPI_CORE_ASN1_INTERNAL_ASN1_CONTENT_H
#define ZELSPI_CORE_ASN1_INTERNAL_ASN1_CONTENT_H

#include "core/asn1/asn1_node.h"
#include "core/asn1/byte_stream.h"

// The region that content must keep to.
struct Asn1Bounds {
    std::uint64_t streamEnd; // the end of the stream
    std::uint64_t limit;     // the end of the innermost string parsed as nested DER, or kAsn1NoLimit
};

inline constexpr std::uint64_t kAsn1NoLimit = ~std::uint64_t{0};

// asn1TakeContent: checks an item's content and decodes its small value.
// In/out:  sets item's value and encapsulates; of a BIT STRING moves dataOffset behind the unused-bits octet and takes
//          that octet off length. *descends says whether the content holds items to be parsed next. The stream stands
//          at the content before, anywhere after.
// Errors:  ERR_ASN_ZERO_LENGTH, ERR_ASN_UNRECOGNIZED_PRIMITIVE, ERR_EOF, ERR_ASN_INCONSISTENT_LENGTH as described at
//          Asn1_ParseStream.
Status asn1TakeContent(ByteStream stream, const Asn1Bounds& bounds, Asn1Node* item, bool* descends);

// asn1IsFatal: whether a failure says nothing about the input, so that it ends a parse also inside a string.
inline bool asn1IsFatal(Status failure) {
    return failure == ERR_NULL_POINTER || failure == ERR_MEM_ALLOC_FAIL || failure == ERR_GENERAL;
}

#endif
