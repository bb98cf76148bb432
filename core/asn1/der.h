// The builder: DER output is assembled as a tree of items and written into one new buffer.
//
// Items refer to content octets that belong to the caller and must stay where they are until the tree has been written.
// A tree is released with Tree_FreeSubtree on its root; content buffers are not freed with it. Low tag numbers only.
// Everything below an item is a DerNode. Children leave an item all at once, with treeFreeChildren or the whole tree: the
// first one remembers the last one, and would not notice that it was unlinked and freed.
#ifndef ZELSPI_CORE_ASN1_DER_H
#define ZELSPI_CORE_ASN1_DER_H

#include "core/asn1/tree.h"

inline constexpr std::uint8_t kDerDefinite = 0;   // an ordinary item
inline constexpr std::uint8_t kDerOpaque = 1;     // already encoded octets, written as they stand; no children
inline constexpr std::uint8_t kDerIndefinite = 2; // length octet 0x80, ended by an end-of-contents child

// Identifier octets.
inline constexpr std::uint8_t kDerTypeEndOfContents = 0x00;
inline constexpr std::uint8_t kDerTypeInteger = 0x02;
inline constexpr std::uint8_t kDerTypeSequence = 0x30;

struct DerNode : TreeNode {
    std::uint8_t kind;            // kDerDefinite when added; the caller may change it before it adds children
    std::uint8_t type;            // the identifier octet
    std::uint32_t dataLength;     // of the item's own content
    const std::uint8_t* data;     // not owned; null leaves dataLength octets for the caller to fill in after writing
    std::uint32_t childrenLength; // encoded length of all children; set by Der_ComputeLength
    std::uint32_t writtenLength;  // header, content and children; set when written
    std::uint8_t* writtenAt;      // where in the output the item begins; set when written
    TreeNode* lastSibling;        // in a first child: where Der_AddItem begins to look for the end of the list
};

// Der_AddItem: a new item with this identifier octet and content, at the end of parent's children when parent is given.
// A constructed item has no data of its own and length 0.
// In/out:  parent or itemOut may be null, not both. The parent of an item gets the constructed bit if it is of kind
//          kDerIndefinite; the caller sets it for others.
// Errors:  ERR_INVALID_ARG parent and itemOut null; ERR_DER_ENCODER_OPAQUE parent is of kind kDerOpaque;
//          ERR_MEM_ALLOC_FAIL. *itemOut is then null and parent as it was.
Status Der_AddItem(DerNode* parent, std::uint8_t type, std::uint32_t dataLength, const std::uint8_t* data,
                   DerNode** itemOut);

// Der_AddUnsignedInteger: adds an INTEGER in its minimal form from an unsigned big-endian magnitude.
// Shapes:  bytes[length]; bytes[0] is an extra 0x00 that length counts. It lets the item point into bytes also when the
//          magnitude needs a sign octet.
// Errors:  ERR_NULL_POINTER bytes null; ERR_INVALID_ARG length 0 or bytes[0] not 0x00; those of Der_AddItem.
Status Der_AddUnsignedInteger(DerNode* parent, std::uint32_t length, const std::uint8_t* bytes, DerNode** itemOut);

// Der_ComputeLength: the encoded length of an item with all below it, which it also notes in the items. What follows
// the first unterminated kDerIndefinite item (one whose last child is no end-of-contents) does not count. An opaque
// item is no end-of-contents, whatever its type, which is not written.
// Errors:  ERR_NULL_POINTER item or lengthOut null; ERR_BAD_LENGTH more than 2^32 - 1; *lengthOut is then 0.
//          ERR_DER_BER_NOT_TERMINATED there is such an item, *lengthOut is set all the same.
Status Der_ComputeLength(DerNode* item, std::uint32_t* lengthOut);

// Der_SerializeToBuffer: writes the encoding of root and all below it into a new buffer of exactly its size. The output
// ends with the first unterminated kDerIndefinite item, ready to be continued; items after it are not written and have
// writtenAt null.
// In/out:  *bufferOut is null and *lengthOut 0 on failure. The caller frees the buffer, and wipes it when it holds a
//          secret (memWipeAndFree). Content left to the caller to fill in is zero.
// Errors:  ERR_NULL_POINTER root, bufferOut or lengthOut null; ERR_BAD_LENGTH more than 2^32 - 1 octets;
//          ERR_MEM_ALLOC_FAIL.
// Source:  X.690 sections 8.1 and 10.1.
Status Der_SerializeToBuffer(DerNode* root, std::uint8_t** bufferOut, std::uint32_t* lengthOut);

#endif
