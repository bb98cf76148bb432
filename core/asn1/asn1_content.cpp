#include "core/asn1/internal/asn1_content.h"

#include "core/asn1/internal/asn1_header.h"

#include <initializer_list>

namespace {

constexpr std::uint32_t tagSet(std::initializer_list<std::uint32_t> tags) {
    std::uint32_t set = 0;
    for (const std::uint32_t tag : tags) {
        set |= std::uint32_t{1} << tag;
    }
    return set;
}

constexpr bool isIn(std::uint32_t set, std::uint32_t tag) {
    return tag < 32 && (set >> tag & 1) != 0;
}

// Universal primitive types that may have no content. 9, 16 and 17 pass here only to be found unknown a step later. An
// empty INTEGER passes as well and decodes to 0.
constexpr std::uint32_t kMayBeEmpty = tagSet({0, 2, 4, 5, 7, 9, 12, 16, 17, 18, 19, 20, 21, 22, 25, 26, 27, 28, 30});

// Universal primitive types that are known here: those with a meaning to the parser, then identifiers, strings and
// times.
constexpr std::uint32_t kKnown =
    tagSet({0, 1, 2, 3, 4, 5, 10}) | tagSet({6, 7, 12, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 30});

constexpr std::uint32_t kMaxNestedTag = 49;

bool isUniversalOrContext(const Asn1Node& header) {
    const std::uint32_t itemClass = header.id & kAsn1ClassMask;
    return itemClass == kAsn1Universal || itemClass == kAsn1ContextSpecific;
}

// Whether an item with this header fills a content of outerLength octets exactly. Never subtracts: lengths are foreign.
bool fills(const Asn1Node& header, std::uint32_t outerLength) {
    return std::uint64_t{header.headerSize} + header.length == outerLength;
}

// Looks ahead at a header. What is not one comes back as an end-of-contents, which no string is parsed for.
Status peek(ByteStream stream, std::uint32_t position, Asn1Node* header) {
    const Status status = asn1ReadHeader(stream, position, header);
    if (isError(status)) {
        *header = {};
    }
    return asn1IsFatal(status) ? status : OK;
}

// Sets encapsulates of an OCTET STRING: whether it holds an item that fills it.
Status lookIntoOctetString(ByteStream stream, Asn1Node* string) {
    Asn1Node inner{};
    RETURN_IF_ERROR(peek(stream, string->dataOffset, &inner));
    string->encapsulates =
        isUniversalOrContext(inner) && inner.tag >= 1 && inner.tag <= kMaxNestedTag && fills(inner, string->length);
    return OK;
}

// Sets encapsulates of a BIT STRING: whether it holds a SEQUENCE that fills it and begins with an INTEGER and something
// after it: an RSA public key does, a DSA public key, a bare INTEGER, does not.
Status lookIntoBitString(ByteStream stream, Asn1Node* string) {
    Asn1Node sequence{};
    RETURN_IF_ERROR(peek(stream, string->dataOffset, &sequence));
    if (!isUniversalOrContext(sequence) || sequence.tag != kAsn1Sequence || !fills(sequence, string->length)) {
        return OK;
    }
    Asn1Node integer{};
    RETURN_IF_ERROR(peek(stream, sequence.dataOffset, &integer));
    string->encapsulates = isUniversalOrContext(integer) && integer.tag == kAsn1Integer &&
                           std::uint64_t{sequence.headerSize} + integer.headerSize + integer.length < string->length;
    return OK;
}

Status takeBitString(ByteStream stream, Asn1Node* item) {
    if (item->length == 0) {
        return ERR_ASN_ZERO_LENGTH; // only with the indefinite length octet; there is no unused-bits octet to take
    }
    RETURN_IF_ERROR(asn1ReadBigEndian(stream, 1, &item->value));
    --item->length;
    ++item->dataOffset;
    return item->length == 0 && item->value != 0 ? ERR_ASN_ZERO_LENGTH : OK;
}

Status takeUniversalPrimitive(ByteStream stream, Asn1Node* item) {
    switch (item->tag) {
    case kAsn1Boolean:
        return asn1ReadBigEndian(stream, item->length == 0 ? 0 : 1, &item->value);
    case kAsn1Integer:
    case kAsn1Enumerated:
        return item->length <= kAsn1MaxValueOctets ? asn1ReadBigEndian(stream, item->length, &item->value) : OK;
    case kAsn1BitString:
        RETURN_IF_ERROR(takeBitString(stream, item));
        return lookIntoBitString(stream, item);
    case kAsn1OctetString:
        return lookIntoOctetString(stream, item);
    default:
        return isIn(kKnown, item->tag) ? OK : ERR_ASN_UNRECOGNIZED_PRIMITIVE;
    }
}

} // namespace

Status asn1TakeContent(ByteStream stream, const Asn1Bounds& bounds, Asn1Node* item, bool* descends) {
    const std::uint32_t itemClass = item->id & kAsn1ClassMask;
    const bool isConstructed = (item->id & kAsn1Constructed) != 0;
    const bool isEmpty = item->length == 0 && !item->indefinite;
    *descends = isConstructed && !isEmpty;

    const bool mayBeEmpty =
        itemClass == kAsn1Universal ? isConstructed || isIn(kMayBeEmpty, item->tag) : itemClass == kAsn1ContextSpecific;
    if (isEmpty && !mayBeEmpty) {
        return ERR_ASN_ZERO_LENGTH;
    }
    // A constructed item may claim to go beyond the stream: what is missing then shows when its items are read.
    if (!isConstructed && asn1ContentEnd(item) > bounds.streamEnd) {
        return ERR_EOF;
    }
    // Outside a string, content beyond the item around it shows once it is read. Inside one this must not wait: the
    // octets behind the string would be parsed here, and again after the string has turned out not to hold items. The
    // result is the same: a string ends where it ends, so what is in it could only fail later.
    if (asn1ContentEnd(item) > bounds.limit) {
        return ERR_ASN_INCONSISTENT_LENGTH;
    }
    if (itemClass == kAsn1Universal && !isConstructed) {
        RETURN_IF_ERROR(takeUniversalPrimitive(stream, item));
        *descends = item->encapsulates;
    }
    return OK;
}
