// Reads anything as DER. A parsed tree must describe its input: items stand one behind the other without gaps, children fill
// their parent, content lies inside the input; and the work must be in proportion to the input, with no octet taken for the
// begin of an item twice. The tree, built again, must give the same tree, and the same octets when the input's headers are
// minimal. As a DSA signature it must come back from its minimal encoding.
#include "core/asn1/der.h"
#include "core/asn1/asn1_walk.h"
#include "core/bignum/scoped_vlong.h"
#include "core/memory/memory.h"
#include "core/pubkey/dsa/dsa_der.h"
#include "fuzz/fuzz_check.h"
#include "tests/support/asn1_outline.h"

#include <algorithm>
#include <bit>

namespace {

using namespace testasn1;

constexpr std::uint32_t kMaxLevels = 40;

std::uint64_t octetsRead = 0;
const ByteStreamOperations* memoryOperations = nullptr;

Status countingGetc(void* handle, std::uint8_t* octet) {
    ++octetsRead;
    return memoryOperations->getc(handle, octet);
}

// What the parser has told of: each item once, from its content on, in the input's order. The stream is put back.
struct Told {
    std::int64_t lastStart = -1;
    std::ptrdiff_t items = 0;
};

void onItem(Asn1Node* item, ByteStream stream, void* argument) {
    auto& told = *static_cast<Told*>(argument);
    const std::int64_t start = std::int64_t{item->dataOffset} - item->headerSize;
    std::int32_t position = 0;
    FUZZ_CHECK(start > told.lastStart && item->parent != nullptr);
    FUZZ_CHECK(stream.operations->tell(stream.handle, &position) == OK && std::uint32_t(position) == item->dataOffset);
    FUZZ_CHECK(stream.operations->seek(stream.handle, 1000, kSeekAbsolute) == OK);
    told.lastStart = start;
    ++told.items;
}

bool isBitString(const Asn1Node& item) {
    return item.id == kAsn1Universal && item.tag == kAsn1BitString;
}

bool isConstructed(const Asn1Node& item) {
    return (item.id & kAsn1Constructed) != 0;
}

// Checks the item that begins at start, with all below it; returns where it ends.
std::uint64_t checkItem(const Asn1Node& item, ByteStream stream, std::uint64_t start, std::uint32_t level) {
    FUZZ_CHECK(level <= kMaxLevels);
    FUZZ_CHECK(item.dataOffset == start + item.headerSize + (isBitString(item) ? 1 : 0));
    FUZZ_CHECK(item.indefinite ? item.length == 0 : item.headerSize >= 2);
    std::uint64_t end = item.dataOffset;
    const Asn1Node* last = nullptr;
    for (const Asn1Node* child = asn1FirstChild(&item); child != nullptr; child = asn1NextSibling(child)) {
        FUZZ_CHECK(asn1Parent(child) == &item);
        end = checkItem(*child, stream, end, level + 1);
        last = child;
    }
    FUZZ_CHECK(item.encapsulates ? last != nullptr && !isConstructed(item) : last == nullptr || isConstructed(item));
    if (isConstructed(item) && item.indefinite) {
        FUZZ_CHECK(last != nullptr && last->id == kAsn1Universal && last->tag == kAsn1EndOfContents);
        return end;
    }
    const std::uint64_t declaredEnd = std::uint64_t{item.dataOffset} + item.length;
    FUZZ_CHECK(last == nullptr || end == declaredEnd);
    FUZZ_CHECK(ByteStream_MemAccess(stream, item.dataOffset, item.length) != nullptr);
    return declaredEnd;
}

// The look-ups, on whatever is there: where they lead must be an item that fits.
void lookAround(const Asn1Node& top, Asn1Node* root, ByteStream stream) {
    static constexpr std::uint8_t kOid[] = {3, 0x2A, 0x03, 0x04};
    constexpr Asn1WalkStep kSteps[] = {{kWalkFirstChild, 0, nullptr},    {kWalkIntoOctetString, 0, nullptr},
                                       {kWalkExplicitField, 0, nullptr}, {kWalkSequenceByOid, 0, kOid},
                                       {kWalkCheckOid, 0, kOid},         {kWalkEnd, 0, nullptr}};
    Asn1Node* found = nullptr;
    FUZZ_CHECK(isError(Asn1_WalkPath(root, stream, kSteps, &found)) == (found == nullptr));
    FUZZ_CHECK(!isError(Asn1_FindContextChild(&top, 1, &found)));
    FUZZ_CHECK(found == nullptr || !isError(Asn1_CheckContextTag(found, 1)));
    FUZZ_CHECK(!isError(Asn1_FindSequenceByOid(&top, stream, kOid, &found)));
    FUZZ_CHECK(found == nullptr || !isError(Asn1_CheckOid(found, stream, kOid)));
    FUZZ_CHECK(isError(Asn1_NthChild(&top, 3, &found)) == (found == nullptr));
}

struct Rebuilt {
    // Not with tag numbers in the high form, and primitive items with the indefinite length octet.
    bool isPossible = true;
    bool isMinimal = true;
};

DerNode* rebuild(const Asn1Node& item, ByteStream stream, DerNode* parent, Rebuilt* rebuilt) {
    const std::uint32_t unusedBitsOctet = isBitString(item) ? 1 : 0, content = item.length + unusedBitsOctet;
    rebuilt->isPossible = rebuilt->isPossible && item.tag < 31 && (isConstructed(item) || !item.indefinite);
    const std::uint32_t lengthBytes = static_cast<std::uint32_t>(std::bit_width(content) + 7) / 8;
    const std::uint32_t minimalHeader = item.indefinite || content < 0x80 ? 2 : 2 + lengthBytes;
    rebuilt->isMinimal = rebuilt->isMinimal && item.headerSize == minimalHeader;
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

void checkRebuilt(const Parsed& parsed, const std::uint8_t* input) {
    Rebuilt rebuilt;
    ScopedTree<DerNode> tree;
    *tree.out() = rebuild(*parsed.top(), parsed.stream, nullptr, &rebuilt);
    if (!rebuilt.isPossible) {
        return;
    }
    std::uint8_t* buffer = nullptr;
    std::uint32_t length = 0;
    FUZZ_CHECK(!isError(Der_SerializeToBuffer(tree.get(), &buffer, &length)));
    const Bytes before(input, input + parsed.memory.position), after(buffer, buffer + length);
    void* block = buffer;
    FUZZ_CHECK(!isError(memWipeAndFree(&block, length)));
    FUZZ_CHECK(outline(parsed.top(), false) == outline(Parsed(after).top(), false));
    FUZZ_CHECK(rebuilt.isMinimal ? before == after : after.size() < before.size());
}

void checkSignature(const std::uint8_t* input, std::size_t size) {
    ScopedVlong r(nullptr), s(nullptr), again(nullptr), sAgain(nullptr);
    if (isError(parseDSASignature(input, static_cast<std::uint32_t>(size), r.out(), s.out()))) {
        FUZZ_CHECK(r.get() == nullptr && s.get() == nullptr);
        return;
    }
    std::uint8_t* der = nullptr;
    std::uint32_t length = 0;
    FUZZ_CHECK(createDSASignature(r.get(), s.get(), &der, &length) == OK);
    FUZZ_CHECK(parseDSASignature(der, length, again.out(), sAgain.out()) == OK);
    FUZZ_CHECK(VLONG_cmp(again.get(), r.get()) == 0 && VLONG_cmp(sAgain.get(), s.get()) == 0);
    void* block = der;
    FUZZ_CHECK(!isError(memWipeAndFree(&block, length)));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::uint8_t kNothing = 0;
    const std::uint8_t* const input = size == 0 ? &kNothing : data;
    checkSignature(input, size);
    Parsed parsed(input, size);
    FUZZ_CHECK((parsed.root.get() == nullptr) == isError(parsed.status));
    if (parsed.root.get() != nullptr) {
        FUZZ_CHECK(parsed.top() != nullptr && parsed.top()->nextSibling == nullptr);
        const std::uint64_t end = checkItem(*parsed.top(), parsed.stream, 0, 1);
        FUZZ_CHECK(end <= size && end == static_cast<std::uint64_t>(parsed.memory.position));
        lookAround(*parsed.top(), parsed.root.get(), parsed.stream);
        const Parsed alone(input, end); // what follows the item makes no difference
        FUZZ_CHECK(outline(alone.top()) == outline(parsed.top()));
        checkRebuilt(parsed, input);
    }
    memoryOperations = parsed.stream.operations;
    ByteStreamOperations counting = *memoryOperations;
    counting.getc = countingGetc;
    octetsRead = 0;
    parsed.memory.position = 0;
    ScopedTree<Asn1Node> again;
    Told told;
    FUZZ_CHECK(Asn1_ParseStreamEx({&parsed.memory, &counting}, again.out(), onItem, &told) == parsed.status);
    const std::string same = again.get() == nullptr ? "" : outline(asn1FirstChild(again.get()));
    FUZZ_CHECK(same == outline(parsed.top()) && told.items >= std::count(same.begin(), same.end(), '['));
    FUZZ_CHECK(octetsRead <= 10 * size + 32); // each octet once, and two looks ahead for each string
    return 0;
}
