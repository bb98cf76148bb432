// Parses, rebuilds the tree with the builder, and parses the result: the tree must be the same, and so must the octets
// when the input's headers are minimal. Items that the builder cannot express end the run: tag numbers in the high
// form, and primitive items with the indefinite length octet.
#include "core/asn1/der.h"
#include "fuzz/fuzz_check.h"
#include "tests/support/asn1_outline.h"

namespace {

struct Rebuilt {
    bool isPossible = true;
    bool isMinimal = true;
};

bool isBitString(const Asn1Node& item) {
    return item.id == kAsn1Universal && item.tag == kAsn1BitString;
}

std::uint32_t minimalHeader(std::uint32_t length) {
    return length < 0x80 ? 2 : length < 0x100 ? 3 : length < 0x10000 ? 4 : length < 0x1000000 ? 5 : 6;
}

DerNode* rebuild(const Asn1Node& item, ByteStream stream, DerNode* parent, Rebuilt* rebuilt) {
    const bool isConstructed = (item.id & kAsn1Constructed) != 0;
    const std::uint32_t unusedBitsOctet = isBitString(item) ? 1 : 0;
    rebuilt->isPossible = rebuilt->isPossible && item.tag < 31 && (isConstructed || !item.indefinite);
    const std::uint32_t headerSize = item.indefinite ? 2 : minimalHeader(item.length + unusedBitsOctet);
    rebuilt->isMinimal = rebuilt->isMinimal && item.headerSize == headerSize;
    const std::uint32_t length = unusedBitsOctet + (item.firstChild == nullptr ? item.length : 0);
    DerNode* built = nullptr;
    FUZZ_CHECK(!isError(Der_AddItem(parent, static_cast<std::uint8_t>(item.id | (item.tag & 31)), length,
                                    ByteStream_MemAccess(stream, item.dataOffset - unusedBitsOctet, length), &built)));
    built->kind = item.indefinite ? kDerIndefinite : kDerDefinite;
    for (const Asn1Node* child = asn1FirstChild(&item); child != nullptr; child = asn1NextSibling(child)) {
        (void)rebuild(*child, stream, built, rebuilt);
    }
    return built;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const testasn1::Parsed parsed(data, size);
    if (parsed.top() == nullptr) {
        return 0;
    }
    Rebuilt rebuilt;
    ScopedTree<DerNode> tree;
    *tree.out() = rebuild(*parsed.top(), parsed.stream, nullptr, &rebuilt);
    if (!rebuilt.isPossible) {
        return 0;
    }
    std::uint8_t* buffer = nullptr;
    std::uint32_t length = 0;
    FUZZ_CHECK(!isError(Der_SerializeToBuffer(tree.get(), &buffer, &length)));
    {
        const testasn1::Parsed again(buffer, length);
        FUZZ_CHECK(testasn1::outline(parsed.top(), false) == testasn1::outline(again.top(), false));
        const std::vector<std::uint8_t> before(data, data + parsed.memory.position);
        const std::vector<std::uint8_t> after(buffer, buffer + length);
        FUZZ_CHECK(rebuilt.isMinimal ? before == after : after.size() < before.size());
    }
    void* block = buffer;
    FUZZ_CHECK(!isError(memFree(&block)));
    return 0;
}
