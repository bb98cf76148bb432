#include "core/asn1/der.h"

namespace {

constexpr std::uint8_t kConstructed = 0x20;
constexpr std::uint8_t kSignBit = 0x80;

} // namespace

Status Der_AddItem(DerNode* parent, std::uint8_t type, std::uint32_t dataLength, const std::uint8_t* data,
                   DerNode** itemOut) {
    if (itemOut != nullptr) {
        *itemOut = nullptr;
    }
    if (parent == nullptr && itemOut == nullptr) {
        return ERR_INVALID_ARG;
    }
    if (parent != nullptr && parent->kind == kDerOpaque) {
        return ERR_DER_ENCODER_OPAQUE;
    }
    DerNode* item = nullptr;
    RETURN_IF_ERROR(treeNewNode(&item));
    item->type = type;
    item->dataLength = dataLength;
    item->data = data;
    if (parent != nullptr) {
        if (parent->kind == kDerIndefinite) {
            parent->type |= kConstructed;
        }
        treeAppendAfter(parent, &parent->lastChild, item);
    }
    if (itemOut != nullptr) {
        *itemOut = item;
    }
    return OK;
}

Status Der_AddUnsignedInteger(DerNode* parent, std::uint32_t length, const std::uint8_t* bytes, DerNode** itemOut) {
    if (itemOut != nullptr) {
        *itemOut = nullptr;
    }
    if (bytes == nullptr) {
        return ERR_NULL_POINTER;
    }
    if (length == 0 || bytes[0] != 0) {
        return ERR_INVALID_ARG;
    }
    while (length > 1 && bytes[0] == 0 && bytes[1] < kSignBit) {
        ++bytes;
        --length;
    }
    return Der_AddItem(parent, kDerTypeInteger, length, bytes, itemOut);
}
