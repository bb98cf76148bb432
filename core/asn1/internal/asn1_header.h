// One header: the identifier and length octets in front of an item's content. For use by the parser only.
#ifndef ZELSPI_CORE_ASN1_INTERNAL_ASN1_HEADER_H
#define ZELSPI_CORE_ASN1_INTERNAL_ASN1_HEADER_H

#include "core/asn1/asn1_node.h"
#include "core/asn1/byte_stream.h"

// asn1ReadHeader: reads the header at a position of the stream, which then stands at the content.
// In/out:  sets item's id, tag, length, headerSize, dataOffset and indefinite, in part on failure. A tag number in the
//          high form is taken also where the low form would have done.
// Errors:  ERR_FALSE, ERR_EOF, ERR_ASN_UNEXPECTED_END, ERR_ASN_BAD_LENGTH_FIELD as described at Asn1_ParseStream.
Status asn1ReadHeader(ByteStream stream, std::uint32_t position, Asn1Node* item);

// asn1ReadBigEndian: reads count (at most 4) octets at the stream's position as one unsigned value.
// Errors:  those of the stream's getc; *value is then unchanged.
Status asn1ReadBigEndian(ByteStream stream, std::uint32_t count, std::uint32_t* value);

// asn1Seek: moves the stream to an absolute position.
Status asn1Seek(ByteStream stream, std::uint32_t position);

// asn1ContentEnd: the position behind an item's content. In 64 bits, since a length field may claim anything.
inline std::uint64_t asn1ContentEnd(const Asn1Node* item) {
    return std::uint64_t{item->dataOffset} + item->length;
}

#endif
