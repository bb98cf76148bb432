#include "core/asn1/asn1_node.h"
#include "core/asn1/der.h"

namespace {

constexpr std::uint8_t kSignBit = 0x80;

// Tree_AppendChild in constant time. Where the list ends is kept in its first item, so that it is forgotten with the
// list.
void append(DerNode* parent, DerNode* item) {
    const auto* const oldFirst = static_cast<DerNode*>(parent->firstChild);
    TreeNode* last = oldFirst == nullptr ? nullptr : oldFirst->lastSibling;
    treeAppendAfter(parent, &last, item);
    static_cast<DerNode*>(parent->firstChild)->lastSibling = last;
}

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
            parent->type |= static_cast<std::uint8_t>(kAsn1Constructed);
        }
        append(parent, item);
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
