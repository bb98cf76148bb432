// The builder.
#include "core/asn1/der.h"
#include "core/memory/memory.h"
#include "tests/support/faults.h"
#include "tests/support/vectors.h"

#include <deque>

namespace {

Status serialize(DerNode* root, Bytes& encoding) {
    std::uint8_t* buffer = nullptr;
    std::uint32_t length = 1;
    const Status status = Der_SerializeToBuffer(root, &buffer, &length);
    EXPECT_EQ(buffer == nullptr, length == 0);
    encoding.assign(buffer, buffer + length);
    void* block = buffer;
    (void)memWipeAndFree(&block, length); // refused: nothing to free
    return status;
}

Status integer(const Words& in, Words& out) {
    const Bytes magnitude = bytesOf(in[0]);
    Bytes encoding;
    ScopedTree<DerNode> item;
    const auto length = static_cast<std::uint32_t>(magnitude.size());
    RETURN_IF_ERROR(Der_AddUnsignedInteger(nullptr, length, magnitude.data(), item.out()));
    EXPECT_EQ(item->data + item->dataLength, magnitude.data() + length); // not copied
    RETURN_IF_ERROR(serialize(item.get(), encoding));
    out = {textOf(encoding)};
    return OK;
}

Status header(const Words& in, Words& out) {
    const Bytes filler(numberOf(in[0]), 0x5A);
    Bytes encoding;
    ScopedTree<DerNode> root;
    RETURN_IF_ERROR(Der_AddItem(nullptr, kDerTypeSequence, 0, nullptr, root.out()));
    DerNode* content = nullptr;
    RETURN_IF_ERROR(Der_AddItem(root.get(), 0, numberOf(in[0]), filler.data(), &content));
    content->kind = kDerOpaque;
    RETURN_IF_ERROR(serialize(root.get(), encoding));
    const auto end = encoding.end() - static_cast<std::ptrdiff_t>(filler.size());
    EXPECT_TRUE(std::equal(filler.begin(), filler.end(), end));
    out = {textOf(Bytes(encoding.begin(), end))};
    return OK;
}

Status build(const Words& in, Words& out) {
    ScopedTree<DerNode> root;
    std::vector<DerNode*> items;
    std::deque<Bytes> data;
    for (std::string word : in) {
        std::replace(word.begin(), word.end(), ',', ' ');
        const Words part = wordsOf(word);
        const auto kindOf = [](const std::string& letter) {
            return letter == "i" ? kDerIndefinite : letter == "o" ? kDerOpaque : kDerDefinite;
        };
        if (word[0] == '!') {
            items[numberOf(part[0].substr(1))]->kind = kindOf(part[1]);
            continue;
        }
        const bool isOpen = part[3][0] == '#', isForeign = word[0] == '+';
        DerNode *const parent = items.empty() ? nullptr : items[numberOf(part[0])], *item = nullptr;
        data.push_back(isOpen ? Bytes() : bytesOf(part[3]));
        RETURN_IF_ERROR(
            Der_AddItem(isForeign ? nullptr : parent, bytesOf(part[1])[0],
                        isOpen ? numberOf(part[3].substr(1)) : static_cast<std::uint32_t>(data.back().size()),
                        isOpen ? nullptr : data.back().data(), &item));
        if (items.empty()) {
            *root.out() = item;
        } else if (isForeign) {
            EXPECT_EQ(Tree_AppendChild(parent, item), OK);
        }
        item->kind = kindOf(part[2]);
        items.push_back(item);
        item->writtenAt = &item->type; // as if it had been written before
    }
    std::uint32_t length = 1;
    const Status computed = Der_ComputeLength(root.get(), &length);
    if (length > 1000 || length == 0) { // nothing that long is ever there, the builder only adds lengths up
        out = computed == OK ? Words{"OK", std::to_string(length)} : Words{std::to_string(length)};
        return computed;
    }
    std::uint8_t* buffer = nullptr;
    RETURN_IF_ERROR(Der_SerializeToBuffer(root.get(), &buffer, &length));
    out = {statusName(computed), std::to_string(length), textOf(Bytes(buffer, buffer + length))};
    for (const DerNode* item : items) {
        const std::string place = std::to_string(item->writtenAt - buffer) + "+" + std::to_string(item->writtenLength);
        out.push_back(item->writtenAt == nullptr ? "-" : item->writtenAt == &item->type ? "untouched" : place);
    }
    void* block = buffer;
    return memWipeAndFree(&block, length);
}

TEST(Der, Vectors) {
    runVectors("core/asn1/der_vectors.txt", {{"integer", integer}, {"header", header}, {"build", build}});
}

DerNode* add(DerNode* parent, std::uint8_t type) {
    DerNode* item = nullptr;
    EXPECT_EQ(Der_AddItem(parent, type, 0, nullptr, &item), OK);
    return item;
}

TEST(Der, WrongArgumentsAndLinkedItems) {
    ScopedTree<DerNode> root;
    *root.out() = add(nullptr, 0x10);
    root->kind = kDerIndefinite;
    const std::uint8_t zero = 0;
    std::uint8_t* buffer = nullptr;
    std::uint32_t length = 1, written = 1;
    DerNode* item = root.get();
    {
        const Fault refused(heapFaults(), 1);
        EXPECT_EQ(Der_AddItem(root.get(), 5, 0, nullptr, &item), ERR_MEM_ALLOC_FAIL);
    }
    EXPECT_TRUE(item == nullptr && root->firstChild == nullptr && root->type == 0x10);
    EXPECT_EQ(Der_AddItem(nullptr, 5, 0, nullptr, nullptr), ERR_INVALID_ARG);
    EXPECT_EQ(Der_AddUnsignedInteger(nullptr, 1, &zero, nullptr), ERR_INVALID_ARG);
    EXPECT_EQ(Der_AddUnsignedInteger(root.get(), 0, nullptr, nullptr), ERR_NULL_POINTER);
    expectNullsRefused({Der_ComputeLength}, root.get(), &length);
    expectNullsRefused({Der_SerializeToBuffer}, root.get(), &buffer, &written);
    EXPECT_EQ(length + written, 0U);
    // Where a list ends is not remembered for longer than it does; what is linked is neither linked again nor freed.
    add(root.get(), 1);
    add(root.get(), 2);
    treeFreeChildren(root.get());
    root->kind = kDerDefinite;
    DerNode *const kept = add(root.get(), 3), *const last = add(root.get(), 4);
    EXPECT_EQ(Tree_FreeSubtree(last), ERR_TREE_LINKEDCHILD);
    EXPECT_EQ(Tree_AppendChild(kept, last), ERR_TREE_LINKEDCHILD);
    expectNullsRefused({Tree_AppendChild}, root.get(), kept);
    expectNullsRefused({Tree_FreeSubtree}, root.get());
    add(root.get(), 5);
    Bytes octets;
    EXPECT_EQ(serialize(root.get(), octets), OK);
    EXPECT_EQ(textOf(octets), "3006030004000500");
}

// Deeper and longer than any stack or quadratic walk would bear.
TEST(Der, DeepAndWideTrees) {
    ScopedTree<DerNode> root;
    *root.out() = add(nullptr, kDerTypeSequence);
    DerNode* deepest = root.get();
    for (int i = 0; i < 200000; ++i) {
        add(root.get(), 5);
        deepest = add(deepest, kDerTypeSequence);
    }
    Bytes octets;
    EXPECT_EQ(serialize(root.get(), octets), OK);
    EXPECT_EQ(Bytes(octets.end() - 4, octets.end()), (Bytes{5, 0, 5, 0}));
}

} // namespace
