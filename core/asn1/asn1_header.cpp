#include "core/asn1/internal/asn1_header.h"

namespace {

constexpr std::uint8_t kTagNumberBits = 0x1F; // all set: the number follows in octets of its own
constexpr std::uint32_t kMaxIdentifierOctets = 4;
constexpr std::uint8_t kMoreTagOctets = 0x80;
constexpr std::uint32_t kMaxLengthOctets = 4;

Status nextOctet(ByteStream stream, Asn1Node* item, std::uint8_t* octet) {
    RETURN_IF_ERROR(stream.operations->getc(stream.handle, octet));
    ++item->headerSize;
    return OK;
}

Status readHighTag(ByteStream stream, Asn1Node* item) {
    item->tag = 0;
    std::uint8_t octet = 0;
    do {
        bool isAtEnd = false;
        RETURN_IF_ERROR(stream.operations->eof(stream.handle, &isAtEnd));
        if (isAtEnd) {
            return OK; // found again, and reported, where the length is due
        }
        if (item->headerSize == kMaxIdentifierOctets) {
            return ERR_ASN_UNEXPECTED_END;
        }
        RETURN_IF_ERROR(nextOctet(stream, item, &octet));
        item->tag = item->tag << 7 | (octet & 0x7FU);
    } while ((octet & kMoreTagOctets) != 0);
    return OK;
}

Status readIdentifier(ByteStream stream, Asn1Node* item) {
    std::uint8_t octet = 0;
    RETURN_IF_ERROR(nextOctet(stream, item, &octet));
    item->id = octet & ~std::uint32_t{kTagNumberBits};
    item->tag = octet & kTagNumberBits;
    return item->tag == kTagNumberBits ? readHighTag(stream, item) : OK;
}

Status readLength(ByteStream stream, Asn1Node* item) {
    bool isAtEnd = false;
    RETURN_IF_ERROR(stream.operations->eof(stream.handle, &isAtEnd));
    if (isAtEnd) {
        return ERR_EOF;
    }
    std::uint8_t octet = 0;
    RETURN_IF_ERROR(nextOctet(stream, item, &octet));
    if (octet < kAsn1LongForm) {
        item->length = octet;
        return OK;
    }
    const std::uint32_t count = octet - std::uint32_t{kAsn1LongForm};
    if (count > kMaxLengthOctets) {
        return ERR_ASN_BAD_LENGTH_FIELD;
    }
    item->indefinite = count == 0;
    item->headerSize += count;
    return asn1ReadBigEndian(stream, count, &item->length);
}

} // namespace

Status asn1Seek(ByteStream stream, std::uint32_t position) {
    return stream.operations->seek(stream.handle, static_cast<std::int32_t>(position), kSeekAbsolute);
}

Status asn1ReadBigEndian(ByteStream stream, std::uint32_t count, std::uint32_t* value) {
    std::uint32_t read = 0;
    for (std::uint32_t i = 0; i < count; ++i) {
        std::uint8_t octet = 0;
        RETURN_IF_ERROR(stream.operations->getc(stream.handle, &octet));
        read = read << 8 | octet;
    }
    *value = read;
    return OK;
}

Status asn1ReadHeader(ByteStream stream, std::uint32_t position, Asn1Node* item) {
    item->headerSize = 0;
    item->length = 0;
    RETURN_IF_ERROR(asn1Seek(stream, position));
    RETURN_IF_ERROR(readIdentifier(stream, item));
    RETURN_IF_ERROR(readLength(stream, item));
    item->dataOffset = position + item->headerSize;
    return OK;
}
