#include "core/asn1/asn1_check.h"

#include <cstring>

namespace {

bool hasTag(const Asn1Node& item, std::uint32_t itemClass, std::uint32_t tag) {
    return (item.id & kAsn1ClassMask) == itemClass && item.tag == tag;
}

Status trueOrFalse(bool isTrue) {
    return isTrue ? OK : ERR_FALSE;
}

// Clears the result of a look-up among the children of item.
Status startLookUp(const Asn1Node* item, Asn1Node** childOut) {
    if (childOut != nullptr) {
        *childOut = nullptr;
    }
    return item == nullptr || childOut == nullptr ? ERR_NULL_POINTER : OK;
}

bool isOid(const Asn1Node& item, ByteStream stream, Asn1Oid oid) {
    if (!hasTag(item, kAsn1Universal, kAsn1ObjectIdentifier) || item.length != oid[0]) {
        return false;
    }
    const std::uint8_t* const content = ByteStream_MemAccess(stream, item.dataOffset, item.length);
    if (content == nullptr) {
        return false;
    }
    const bool isEqual = std::memcmp(content, oid + 1, item.length) == 0;
    (void)ByteStream_StopAccess(stream, content); // nothing to do about a stream that does not take it back
    return isEqual;
}

} // namespace

Status Asn1_CheckUniversalTag(const Asn1Node* item, std::uint32_t tag) {
    return item == nullptr ? ERR_NULL_POINTER : trueOrFalse(hasTag(*item, kAsn1Universal, tag));
}

Status Asn1_CheckContextTag(const Asn1Node* item, std::uint32_t tag) {
    return item == nullptr ? ERR_NULL_POINTER : trueOrFalse(hasTag(*item, kAsn1ContextSpecific, tag));
}

Status Asn1_CheckSmallInteger(const Asn1Node* item, std::uint32_t value) {
    RETURN_IF_ERROR(Asn1_CheckUniversalTag(item, kAsn1Integer));
    return trueOrFalse(item->length <= kAsn1MaxValueOctets && item->value == value);
}

Status Asn1_CheckOid(const Asn1Node* item, ByteStream stream, Asn1Oid oid) {
    if (item == nullptr || stream.operations == nullptr || oid == nullptr) {
        return ERR_NULL_POINTER;
    }
    return trueOrFalse(isOid(*item, stream, oid));
}

Status Asn1_FindContextChild(const Asn1Node* item, std::uint32_t tag, Asn1Node** childOut) {
    RETURN_IF_ERROR(startLookUp(item, childOut));
    for (Asn1Node* child = asn1FirstChild(item); child != nullptr; child = asn1NextSibling(child)) {
        if (hasTag(*child, kAsn1ContextSpecific, tag)) {
            *childOut = child;
            break;
        }
    }
    return OK;
}

Status Asn1_NthChild(const Asn1Node* item, std::uint32_t n, Asn1Node** childOut) {
    RETURN_IF_ERROR(startLookUp(item, childOut));
    if (n == 0) {
        return ERR_INDEX_OOB;
    }
    Asn1Node* child = asn1FirstChild(item);
    if (child == nullptr) {
        return ERR_CERT_INVALID_STRUCT;
    }
    for (std::uint32_t i = 1; i < n && child != nullptr; ++i) {
        child = asn1NextSibling(child);
    }
    *childOut = child;
    return child == nullptr ? ERR_INDEX_OOB : OK;
}

Status Asn1_FindSequenceByOid(const Asn1Node* item, ByteStream stream, Asn1Oid oid, Asn1Node** childOut) {
    RETURN_IF_ERROR(startLookUp(item, childOut));
    if (stream.operations == nullptr || oid == nullptr) {
        return ERR_NULL_POINTER;
    }
    for (const Asn1Node* child = asn1FirstChild(item); child != nullptr; child = asn1NextSibling(child)) {
        Asn1Node* const first = asn1FirstChild(child);
        if (hasTag(*child, kAsn1Universal, kAsn1Sequence) && first != nullptr && isOid(*first, stream, oid)) {
            *childOut = first;
            break;
        }
    }
    return OK;
}
