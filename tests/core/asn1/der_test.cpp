#include "core/asn1/der.h"

#include "tests/support/hex.h"
#include "tests/support/faults.h"

namespace {

using Octets = std::vector<std::uint8_t>;

Octets serialized(DerNode* root) {
    std::uint8_t* buffer = nullptr;
    std::uint32_t length = 0;
    EXPECT_EQ(Der_SerializeToBuffer(root, &buffer, &length), OK);
    const Octets octets(buffer, buffer + length);
    EXPECT_EQ(root->writtenAt, buffer);
    EXPECT_EQ(root->writtenLength, length);
    void* block = buffer;
    EXPECT_EQ(memWipeAndFree(&block, length), OK);
    return octets;
}

DerNode* add(DerNode* parent, std::uint8_t type, std::uint8_t kind = kDerDefinite, const Octets& data = {}) {
    DerNode* item = nullptr;
    EXPECT_EQ(Der_AddItem(parent, type, static_cast<std::uint32_t>(data.size()), data.data(), &item), OK);
    item->kind = kind;
    return item;
}

TEST(Der, UnsignedIntegers) {
    const auto check = [](const char* hex, Status status, const char* encoding) {
        SCOPED_TRACE(hex);
        const Octets magnitude = fromHex(hex);
        const auto length = static_cast<std::uint32_t>(magnitude.size());
        ScopedTree<DerNode> item;
        EXPECT_EQ(Der_AddUnsignedInteger(nullptr, length, magnitude.data(), item.out()), status);
        ASSERT_EQ(item.get() != nullptr, status == OK);
        if (status == OK) {
            EXPECT_EQ(serialized(item.get()), fromHex(encoding));
            EXPECT_EQ(item->data + item->dataLength, magnitude.data() + length); // not copied
        }
    };
#define INTEGER_CASE(...) check(__VA_ARGS__);
#include "tests/core/asn1/der_cases.inc"
#undef INTEGER_CASE
}

TEST(Der, Lengths) {
    const auto check = [](std::uint32_t contentLength, const char* header) {
        SCOPED_TRACE(header);
        const Octets filler(contentLength, 0x5A);
        ScopedTree<DerNode> root;
        *root.out() = add(nullptr, kDerTypeSequence);
        add(root.get(), 0, kDerOpaque, filler);
        Octets expected = fromHex(header);
        expected.insert(expected.end(), filler.begin(), filler.end());
        EXPECT_TRUE(serialized(root.get()) == expected); // too long to print
    };
#define LENGTH_CASE(...) check(__VA_ARGS__);
#include "tests/core/asn1/der_cases.inc"
#undef LENGTH_CASE
    // Over 32 bits: nothing that long is ever there, the builder only adds lengths up.
    ScopedTree<DerNode> root;
    *root.out() = add(nullptr, kDerTypeSequence);
    std::uint32_t length = 1;
    ASSERT_EQ(Der_AddItem(root.get(), 4, 0xFFFFFFFF - 12, nullptr, nullptr), OK);
    EXPECT_EQ(Der_ComputeLength(root.get(), &length), OK);
    EXPECT_EQ(length, 0xFFFFFFFF);
    ASSERT_EQ(Der_AddItem(root.get(), 5, 0, nullptr, nullptr), OK);
    EXPECT_EQ(Der_ComputeLength(root.get(), &length), ERR_BAD_LENGTH);
    EXPECT_EQ(length, 0U);
    std::uint8_t* buffer = nullptr;
    EXPECT_EQ(Der_SerializeToBuffer(root.get(), &buffer, &length), ERR_BAD_LENGTH);
    EXPECT_EQ(buffer, nullptr);
}

TEST(Der, WrittenPlacesAndContentLeftOpen) {
    const Octets oid = {0x2A, 0x03};
    ScopedTree<DerNode> root;
    *root.out() = add(nullptr, kDerTypeSequence);
    DerNode* const inner = add(root.get(), kDerTypeSequence);
    DerNode* const name = add(inner, 6, kDerDefinite, oid);
    DerNode* open = nullptr;
    ASSERT_EQ(Der_AddItem(inner, 4, 3, nullptr, &open), OK); // the caller fills it in afterwards
    const Octets encoded = fromHex("05 00");
    DerNode* const opaque = add(root.get(), 0, kDerOpaque, encoded);
    std::uint8_t* buffer = nullptr;
    std::uint32_t length = 0;
    ASSERT_EQ(Der_SerializeToBuffer(root.get(), &buffer, &length), OK);
    EXPECT_EQ(Octets(buffer, buffer + length), fromHex("30 0D 30 09 06 02 2A 03 04 03 00 00 00 05 00"));
    const auto expectAt = [buffer](const DerNode* item, std::ptrdiff_t at, std::uint32_t written) {
        EXPECT_EQ(item->writtenAt - buffer, at);
        EXPECT_EQ(item->writtenLength, written);
    };
    expectAt(root.get(), 0, 15);
    expectAt(inner, 2, 11);
    expectAt(name, 4, 4);
    expectAt(open, 8, 5);
    expectAt(opaque, 13, 2);
    EXPECT_EQ(root->childrenLength, 13U);
    void* block = buffer;
    EXPECT_EQ(memWipeAndFree(&block, length), OK);
    EXPECT_EQ(serialized(inner), fromHex("30 09 06 02 2A 03 04 03 00 00 00")); // part of a tree
    EXPECT_EQ(Der_AddItem(opaque, 5, 0, nullptr, nullptr), ERR_DER_ENCODER_OPAQUE);
    EXPECT_EQ(opaque->firstChild, nullptr);
    inner->kind = kDerOpaque; // the children that it has no longer count
    EXPECT_EQ(serialized(root.get()), fromHex("30 02 05 00"));
}

// SEQUENCE { NULL, string outer { string inner { ... }, OCTET STRING 42 ... }, NULL ... }, terminated step by step.
TEST(Der, IndefiniteLengthsAndTheStopMark) {
    const Octets first = {0x41};
    const Octets second = {0x42};
    ScopedTree<DerNode> root;
    *root.out() = add(nullptr, kDerTypeSequence);
    add(root.get(), 5);
    DerNode* const outer = add(root.get(), 0x24, kDerIndefinite);
    DerNode* const inner = add(outer, 0x04, kDerIndefinite);
    const DerNode* const behind = add(outer, 4, kDerDefinite, second);
    add(root.get(), 5);
    const auto expectStop = [&root](const char* encoding) {
        std::uint32_t length = 0;
        EXPECT_EQ(Der_ComputeLength(root.get(), &length), ERR_DER_BER_NOT_TERMINATED);
        EXPECT_EQ(length, fromHex(encoding).size());
        EXPECT_EQ(serialized(root.get()), fromHex(encoding));
    };
    expectStop("30 06 05 00 24 80 04 80"); // inner has no children; what follows it is not reached
    EXPECT_EQ(behind->writtenAt, nullptr);
    add(inner, 4, kDerDefinite, first); // which makes inner constructed
    expectStop("30 09 05 00 24 80 24 80 04 01 41");
    EXPECT_EQ(outer->writtenLength, 7U);
    add(inner, kDerTypeEndOfContents);
    expectStop("30 0E 05 00 24 80 24 80 04 01 41 00 00 04 01 42"); // now outer is the first
    EXPECT_NE(behind->writtenAt, nullptr);
    // The end of the list is found also when somebody else has appended to it, to one with children or to an empty one.
    ASSERT_EQ(Tree_AppendChild(outer, add(nullptr, kDerTypeEndOfContents)), OK);
    ASSERT_EQ(Tree_AppendChild(add(root.get(), 0x30, kDerIndefinite), add(nullptr, kDerTypeEndOfContents)), OK);
    std::uint32_t length = 0;
    EXPECT_EQ(Der_ComputeLength(root.get(), &length), OK);
    EXPECT_EQ(serialized(root.get()),
              fromHex("30 16 05 00 24 80 24 80 04 01 41 00 00 04 01 42 00 00 05 00 30 80 00 00"));
    add(outer, 5);
    expectStop("30 12 05 00 24 80 24 80 04 01 41 00 00 04 01 42 00 00 05 00");
    EXPECT_EQ(static_cast<DerNode*>(outer->nextSibling)->writtenAt, nullptr); // it was written before, not this time
    // Its own content stands before the children; an opaque item is no end-of-contents, whatever its type.
    ScopedTree<DerNode> string;
    *string.out() = add(nullptr, 0x24, kDerIndefinite, first);
    add(string.get(), kDerTypeEndOfContents, kDerOpaque);
    EXPECT_EQ(Der_ComputeLength(string.get(), &length), ERR_DER_BER_NOT_TERMINATED);
    EXPECT_EQ(serialized(string.get()), fromHex("24 80 41"));
}

// Where a list ends is not remembered for longer than it does.
TEST(Der, ItemsAddedAfterOthersHaveLeft) {
    ScopedTree<DerNode> root;
    ScopedTree<DerNode> other;
    *root.out() = add(nullptr, kDerTypeSequence);
    *other.out() = add(nullptr, kDerTypeSequence);
    add(root.get(), 1);
    add(root.get(), 2);
    treeFreeChildren(root.get());
    ASSERT_EQ(Tree_AppendChild(root.get(), add(nullptr, 3)), OK);
    DerNode* const moved = add(root.get(), 4);
    root->firstChild->nextSibling = nullptr;
    moved->parent = nullptr;
    ASSERT_EQ(Tree_AppendChild(other.get(), moved), OK);
    add(root.get(), 5);
    EXPECT_EQ(serialized(root.get()), fromHex("30 04 03 00 05 00"));
    EXPECT_EQ(serialized(other.get()), fromHex("30 02 04 00"));
}

TEST(Der, Refusals) {
    ScopedTree<DerNode> root;
    *root.out() = add(nullptr, 0x10, kDerIndefinite);
    const std::uint8_t zero = 0;
    std::uint8_t* buffer = nullptr;
    std::uint32_t length = 0;
#define REFUSED_CASE(status, call) EXPECT_EQ(call, status);
#include "tests/core/asn1/der_cases.inc"
#undef REFUSED_CASE
    heapFaults().arm(1);
    DerNode* item = root.get();
    EXPECT_EQ(Der_AddItem(root.get(), 5, 0, nullptr, &item), ERR_MEM_ALLOC_FAIL);
    EXPECT_EQ(item, nullptr);
    EXPECT_EQ(root->firstChild, nullptr); // as it was
    EXPECT_EQ(root->type, 0x10);

    const std::uint64_t before = testheap::dirtyFrees();
    refuseEach([&zero] {
        ScopedTree<DerNode> sequence;
        RETURN_IF_ERROR(Der_AddItem(nullptr, kDerTypeSequence, 0, nullptr, sequence.out()));
        RETURN_IF_ERROR(Der_AddUnsignedInteger(sequence.get(), 1, &zero, nullptr));
        std::uint8_t* bytes = nullptr;
        std::uint32_t count = 1;
        const Status status = Der_SerializeToBuffer(sequence.get(), &bytes, &count);
        EXPECT_EQ(count != 0, bytes != nullptr);
        void* block = bytes;
        (void)memWipeAndFree(&block, count); // refused: nothing to free
        return status;
    });
    EXPECT_EQ(testheap::dirtyFrees(), before);
}

// Deeper and longer than any stack or quadratic walk would bear.
TEST(Der, DeepAndWideTrees) {
    const std::uint64_t before = testheap::liveBlocks();
    {
        ScopedTree<DerNode> root;
        *root.out() = add(nullptr, kDerTypeSequence);
        DerNode* deepest = root.get();
        for (int i = 0; i < 200000; ++i) {
            add(root.get(), 5);
            deepest = add(deepest, kDerTypeSequence);
        }
        const Octets octets = serialized(root.get());
        EXPECT_EQ((Octets{octets.end() - 4, octets.end()}), fromHex("05 00 05 00"));
    }
    EXPECT_EQ(testheap::liveBlocks(), before);
}

} // namespace
