#include "core/asn1/parsed_der.h"

#include "core/asn1/asn1_parse.h"

Status ParsedDer::parse(ByteView der) {
    // A length beyond 31 bits is negative for the stream, which then counts as empty.
    RETURN_IF_ERROR(MemStream_Init(&memory_, static_cast<std::int32_t>(lengthOf(der)), der.data()));
    RETURN_IF_ERROR(ByteStream_Bind(&stream_, &memory_));
    return Asn1_ParseStream(stream_, root_.out());
}

Status ParsedDer::content(const Asn1Node& item, ByteView* octets) const {
    *octets = {ByteStream_MemAccess(stream_, item.dataOffset, item.length), item.length};
    return octets->data() == nullptr ? ERR_MEM_ALLOC_FAIL : OK;
}
