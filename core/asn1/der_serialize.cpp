#include "core/asn1/asn1_node.h"
#include "core/asn1/der.h"

#include <cstring>

namespace {

constexpr std::uint32_t kMaxShortLength = 127;

// The octets of a length above kMaxShortLength, without the one that counts them.
std::uint32_t longLengthOctets(std::uint64_t length) {
    std::uint32_t count = 1;
    while (length >> (8 * count) != 0) {
        ++count;
    }
    return count;
}

// The content and the encoding of an item, given its childrenLength.
std::uint64_t contentLength(const DerNode& item) {
    return std::uint64_t{item.dataLength} + item.childrenLength;
}

std::uint64_t encodedLength(const DerNode& item) {
    const std::uint64_t content = contentLength(item);
    if (item.kind == kDerOpaque) {
        return item.dataLength;
    }
    if (item.kind == kDerIndefinite || content <= kMaxShortLength) {
        return content + 2;
    }
    return content + 2 + longLengthOctets(content);
}

bool isUnterminated(const DerNode& item) {
    if (item.kind != kDerIndefinite) {
        return false;
    }
    const auto* last = static_cast<const DerNode*>(item.firstChild);
    while (last != nullptr && last->nextSibling != nullptr) {
        last = static_cast<const DerNode*>(last->nextSibling);
    }
    return last == nullptr || last->kind == kDerOpaque || last->type != kDerTypeEndOfContents;
}

// Visits root and all below it in the order of writing: enter(item) before an item's children, leave(item) after them.
// If stops: once an unterminated item has been left, only the items around it are still left, and nothing more is
// entered. Measuring and writing both go through here, so that the length computed is the length written, however the
// tree was put together.
// Errors:  ERR_DER_BER_NOT_TERMINATED after such an item; the first failure of leave ends the visit at once.
template <typename Enter, typename Leave> Status visit(DerNode* root, bool stops, Enter enter, Leave leave) {
    DerNode* item = root;
    bool isStopped = false;
    for (;;) {
        enter(item);
        if (item->kind != kDerOpaque && item->firstChild != nullptr) {
            item = static_cast<DerNode*>(item->firstChild);
            continue;
        }
        for (;;) {
            RETURN_IF_ERROR(leave(item));
            isStopped = isStopped || (stops && isUnterminated(*item));
            if (item == root) {
                return isStopped ? ERR_DER_BER_NOT_TERMINATED : OK;
            }
            if (!isStopped && item->nextSibling != nullptr) {
                item = static_cast<DerNode*>(item->nextSibling);
                break;
            }
            item = static_cast<DerNode*>(item->parent);
        }
    }
}

// Forgets where items were written before: that buffer may be gone, and not every item need be written again.
void forgetPlaces(DerNode* root) {
    const auto enter = [](DerNode* node) {
        node->writtenAt = nullptr;
        node->writtenLength = 0;
    };
    (void)visit(root, false, enter, [](DerNode*) { return OK; }); // has nothing to fail with
}

// Adds length to *sum. ERR_BAD_LENGTH when that takes more than 32 bits.
Status addLength(std::uint64_t length, std::uint32_t* sum) {
    const std::uint64_t total = length + *sum;
    if (total > UINT32_MAX) {
        return ERR_BAD_LENGTH;
    }
    *sum = static_cast<std::uint32_t>(total);
    return OK;
}

std::uint8_t* writeLength(std::uint8_t* out, std::uint32_t length) {
    if (length <= kMaxShortLength) {
        *out++ = static_cast<std::uint8_t>(length);
        return out;
    }
    std::uint32_t count = longLengthOctets(length);
    *out++ = static_cast<std::uint8_t>(kAsn1LongForm + count);
    while (count-- > 0) {
        *out++ = static_cast<std::uint8_t>(length >> (8 * count));
    }
    return out;
}

// Writes an item up to where its children begin.
std::uint8_t* writeStart(std::uint8_t* out, const DerNode& item) {
    if (item.kind != kDerOpaque) {
        *out++ = item.type;
        if (item.kind == kDerIndefinite) {
            *out++ = kAsn1LongForm;
        } else {
            out = writeLength(out, static_cast<std::uint32_t>(contentLength(item)));
        }
    }
    if (item.data != nullptr && item.dataLength != 0) {
        std::memcpy(out, item.data, item.dataLength);
    }
    return out + item.dataLength;
}

} // namespace

Status Der_ComputeLength(DerNode* item, std::uint32_t* lengthOut) {
    if (lengthOut != nullptr) {
        *lengthOut = 0;
    }
    if (item == nullptr || lengthOut == nullptr) {
        return ERR_NULL_POINTER;
    }
    std::uint32_t total = 0;
    const auto enter = [](DerNode* node) {
        node->childrenLength = 0;
    };
    const auto leave = [item, &total](DerNode* node) {
        std::uint32_t* const sum = node == item ? &total : &static_cast<DerNode*>(node->parent)->childrenLength;
        return addLength(encodedLength(*node), sum);
    };
    const Status status = visit(item, true, enter, leave);
    *lengthOut = total;
    return status;
}

Status Der_SerializeToBuffer(DerNode* root, std::uint8_t** bufferOut, std::uint32_t* lengthOut) {
    if (bufferOut != nullptr) {
        *bufferOut = nullptr;
    }
    if (lengthOut != nullptr) {
        *lengthOut = 0;
    }
    if (root == nullptr || bufferOut == nullptr || lengthOut == nullptr) {
        return ERR_NULL_POINTER;
    }
    forgetPlaces(root);
    std::uint32_t length = 0;
    if (const Status status = Der_ComputeLength(root, &length); status != ERR_DER_BER_NOT_TERMINATED) {
        RETURN_IF_ERROR(status);
    }
    void* block = nullptr;
    RETURN_IF_ERROR(memAllocZeroed(length, &block));
    auto* const buffer = static_cast<std::uint8_t*>(block);
    std::uint8_t* out = buffer;
    const auto enter = [&out](DerNode* node) {
        node->writtenAt = out;
        out = writeStart(out, *node);
    };
    const auto leave = [&out](DerNode* node) {
        node->writtenLength = static_cast<std::uint32_t>(out - node->writtenAt);
        return OK;
    };
    (void)visit(root, true, enter, leave); // reports again that an item is not terminated, which is no failure here
    *bufferOut = buffer;
    *lengthOut = length;
    return OK;
}
