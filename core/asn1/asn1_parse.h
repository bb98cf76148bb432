// The parser: reads one BER or DER item, with all that is nested in it, into a tree.
//
// Input comes from strangers. Whatever its octets, parsing reads nothing outside the stream, allocates at most one node
// for each two octets (never by what a length field claims), takes time in proportion to the input and stack space that
// does not depend on it. At most 40 levels of items nest.
#ifndef ZELSPI_CORE_ASN1_ASN1_PARSE_H
#define ZELSPI_CORE_ASN1_ASN1_PARSE_H

#include "core/asn1/asn1_node.h"
#include "core/asn1/byte_stream.h"

// Called once for each item, after its header has been read and it has joined the tree, before its content is looked
// at; the stream stands at the content and may be moved. Items in a string whose content proves not to be nested DER
// are freed again later; octets behind the string are not reported from inside it.
using Asn1ParseCallback = void (*)(Asn1Node* item, ByteStream stream, void* callbackArg);

// Asn1_ParseStream: parses the item at the stream's position into a new tree and leaves the stream behind that item.
// Octets after it are not looked at.
// In/out:  *rootOut receives the synthetic root, null on failure. Release with Tree_FreeSubtree. After a failure the
//          stream may stand anywhere.
// Errors:  ERR_NULL_POINTER               stream not bound, rootOut null
//          ERR_MEM_ALLOC_FAIL             no memory
//          ERR_EOF                        nothing to read; input ends behind identifier octets; a primitive item's
//                                         content runs past the end
//          ERR_FALSE                      input ends inside a header otherwise, or where another item is due; a
//                                         stream that says it stands below 0 or beyond its end
//          ERR_ASN_UNEXPECTED_END         identifier of more than four octets
//          ERR_ASN_BAD_LENGTH_FIELD       more than four length octets
//          ERR_ASN_ZERO_LENGTH            no content where there must be some
//          ERR_ASN_UNRECOGNIZED_PRIMITIVE universal primitive type that is not known here
//          ERR_ASN_INCONSISTENT_LENGTH    content runs past the end of the item around it
//          ERR_CERT_STACK_OVERFLOW        items nested more than 40 deep
// Strings: a primitive OCTET STRING or BIT STRING whose content looks like nested DER is parsed as such, gets children
//          and the flag encapsulates. When that fails, it is an ordinary string again, unless the failure is
//          ERR_MEM_ALLOC_FAIL, ERR_NULL_POINTER or ERR_GENERAL, of which the last two can only come from a stream.
// Source:  X.690 section 8, more liberal where asn1_content.h says so.
Status Asn1_ParseStream(ByteStream stream, Asn1Node** rootOut);

// Asn1_ParseStreamEx: as above; callback may be null.
Status Asn1_ParseStreamEx(ByteStream stream, Asn1Node** rootOut, Asn1ParseCallback callback, void* callbackArg);

#endif
