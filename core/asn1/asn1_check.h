// Checks and look-ups on parsed items, for callers that know the shape they expect.
#ifndef ZELSPI_CORE_ASN1_ASN1_CHECK_H
#define ZELSPI_CORE_ASN1_ASN1_CHECK_H

#include "core/asn1/asn1_node.h"
#include "core/asn1/byte_stream.h"

// An object identifier to compare with, length-prefixed: the first octet counts the content octets that follow it.
using Asn1Oid = const std::uint8_t*;

// Asn1_CheckUniversalTag: whether an item is of the universal class with this tag number. The constructed bit is not
// compared, so a constructed INTEGER passes as an INTEGER, and the synthetic root as an end-of-contents.
// Errors:  ERR_NULL_POINTER item null; ERR_FALSE it is not.
Status Asn1_CheckUniversalTag(const Asn1Node* item, std::uint32_t tag);

// Asn1_CheckContextTag: whether an item is of the context-specific class with this tag number. Errors as above.
Status Asn1_CheckContextTag(const Asn1Node* item, std::uint32_t tag);

// Asn1_CheckSmallInteger: whether an item is a universal INTEGER of at most 4 content octets with this unsigned value.
// In/out:  an empty or constructed INTEGER decodes no value and passes as 0.
// Errors:  ERR_NULL_POINTER item null; ERR_FALSE it is not.
Status Asn1_CheckSmallInteger(const Asn1Node* item, std::uint32_t value);

// Asn1_CheckOid: whether an item is a universal tag 6 whose content in the stream is that of oid.
// Errors:  ERR_NULL_POINTER item or oid null, stream not bound; ERR_FALSE it is not, or the stream lacks its content.
Status Asn1_CheckOid(const Asn1Node* item, ByteStream stream, Asn1Oid oid);

// Asn1_FindContextChild: the first child of item of the context-specific class with this tag number.
// In/out:  *childOut is null when there is none, which is no failure.
// Errors:  ERR_NULL_POINTER item or childOut null.
Status Asn1_FindContextChild(const Asn1Node* item, std::uint32_t tag, Asn1Node** childOut);

// Asn1_NthChild: the n-th child of item, counted from 1.
// Errors:  ERR_NULL_POINTER item or childOut null; ERR_INDEX_OOB n is 0 or beyond the last child;
//          ERR_CERT_INVALID_STRUCT item has no children. *childOut is then null.
Status Asn1_NthChild(const Asn1Node* item, std::uint32_t n, Asn1Node** childOut);

// Asn1_FindSequenceByOid: the first item of the first universal SEQUENCE among item's children that begins with oid.
// In/out:  *childOut is null when there is none, which is no failure.
// Errors:  ERR_NULL_POINTER item, oid or childOut null, stream not bound.
Status Asn1_FindSequenceByOid(const Asn1Node* item, ByteStream stream, Asn1Oid oid, Asn1Node** childOut);

#endif
