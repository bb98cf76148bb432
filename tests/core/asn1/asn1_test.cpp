// The parser, the look-ups, and the stream beneath them; the builder.
#include "core/asn1/asn1_walk.h"
#include "core/asn1/der.h"
#include "core/memory/secret.h"
#include "tests/support/asn1_outline.h"
#include "tests/support/faults.h"
#include "tests/support/vectors.h"

#include <deque>

namespace {

using namespace testasn1;

Status parse(const Words& in, Words& out) {
    const Bytes input = bytesOf(in[0]);
    const Parsed parsed(input);
    EXPECT_EQ(parsed.root.get() == nullptr, parsed.status != OK);
    if (parsed.status == OK) {
        out = {outline(parsed.top())};
    }
    return parsed.status;
}

// SEQUENCE { 0, SEQUENCE { 1.2.3, NULL }, [1] { 7 }, [3] { constructed OCTET STRING { OCTET STRING { NULL } } }, SET {},
//            [2] {}, SEQUENCE {}, SEQUENCE { 1.2.4 }, constructed INTEGER, 0 in 5 octets, SET { 1.2.5 },
//            SEQUENCE { [4] { NULL } } }
const Bytes kTree = bytesOf("303b020100300606022a030500a103020107a306240404020500"
                            "3100a2003000300406022a0422020500020500000000003104"
                            "06022a053004a4020500");

Bytes oidOf(const std::string& hex) {
    Bytes oid = bytesOf(hex);
    oid.insert(oid.begin(), static_cast<std::uint8_t>(oid.size()));
    return oid;
}

Status walk(const Words& in, Words& out) {
    const Parsed parsed(kTree);
    RETURN_IF_ERROR(parsed.status);
    std::deque<Bytes> oids;
    std::vector<Asn1WalkStep> steps;
    for (const std::string& word : in) {
        const std::string argument = word.substr(word.find(':') + 1); // the instruction again where it needs none
        const std::uint32_t instruction = numberOf(word);
        const bool isOid = instruction == kWalkCheckOid || instruction == kWalkSequenceByOid;
        steps.push_back({instruction, isOid ? 0 : numberOf(argument),
                         isOid && argument != "none" ? oids.emplace_back(oidOf(argument)).data() : nullptr});
    }
    steps.push_back({kWalkEnd, 0, nullptr});
    Asn1Node* result = parsed.top();
    const Status status = Asn1_WalkPath(parsed.top(), parsed.stream, steps.data(), &result);
    EXPECT_EQ(result == nullptr, status != OK);
    const std::string text = outline(result);
    out = status == OK ? Words{text.substr(0, text.find('('))} : Words();
    return status;
}

constexpr std::uint8_t kInput[] = {10, 11, 12, 13, 14}; // constant: a store would crash

Status seek(const Words& in, Words& out) {
    static Parsed at(kInput, 5); // no DER
    const ByteStreamOperations& operations = *at.stream.operations;
    std::int32_t position = 0;
    std::uint8_t octet = 0;
    bool isAtEnd = false;
    at.memory.position = static_cast<std::int32_t>(numberOf(in[0]));
    EXPECT_EQ(operations.seek(&at.memory, static_cast<std::int32_t>(numberOf(in[1])), numberOf(in[2])), OK);
    EXPECT_EQ(operations.tell(&at.memory, &position), OK);
    EXPECT_EQ(operations.eof(&at.memory, &isAtEnd), OK);
    EXPECT_EQ(operations.getc(&at.memory, &octet), isAtEnd ? ERR_FALSE : OK);
    out = {std::to_string(position), isAtEnd ? "none" : std::to_string(octet)};
    return OK;
}

Status read(const Words& in, Words& out) {
    static Parsed at(kInput, 5); // no DER
    Bytes buffer(6, 0xEE);
    std::uint32_t copied = 0;
    const std::uint32_t size = numberOf(in[1]);
    at.memory.position = static_cast<std::int32_t>(numberOf(in[0]));
    EXPECT_EQ(at.stream.operations->read(&at.memory, size, numberOf(in[2]), buffer.data(), &copied), OK);
    EXPECT_EQ(at.memory.position, static_cast<std::int32_t>(numberOf(in[0]) + size * copied));
    EXPECT_EQ(buffer[size * copied], 0xEE);
    buffer.resize(size * copied);
    out = {std::to_string(copied), textOf(buffer)};
    return OK;
}

Status serialize(DerNode* root, SecretBuffer& encoding) {
    std::uint8_t* octets = nullptr;
    std::uint32_t length = 1;
    const Status status = Der_SerializeToBuffer(root, &octets, &length);
    EXPECT_EQ(octets == nullptr, length == 0);
    encoding.adopt(octets, length);
    return status;
}

Status build(const Words& in, Words& out) {
    ScopedTree<DerNode> root;
    std::vector<DerNode*> items;
    std::deque<Bytes> data;
    const auto kindOf = [](const std::string& letter) { // in the order of their numbers
        return static_cast<std::uint8_t>(std::string("doi").find(letter));
    };
    for (std::string word : in) {
        std::replace(word.begin(), word.end(), ',', ' ');
        const Words part = wordsOf(word);
        if (word[0] == '!') {
            items[numberOf(part[0].substr(1))]->kind = kindOf(part[1]);
            continue;
        }
        const bool isOpen = part[3][0] == '#', isForeign = word[0] == '+', isInteger = part[2] == "u";
        DerNode *const parent = items.empty() ? nullptr : items[numberOf(part[0])], *item = nullptr;
        const Bytes& content = data.emplace_back(isOpen ? Bytes() : bytesOf(part[3]));
        const auto length = isOpen ? numberOf(part[3].substr(1)) : static_cast<std::uint32_t>(content.size());
        RETURN_IF_ERROR(isInteger ? Der_AddUnsignedInteger(parent, length, content.data(), &item)
                                  : Der_AddItem(isForeign ? nullptr : parent, bytesOf(part[1])[0], length,
                                                isOpen ? nullptr : content.data(), &item));
        if (items.empty()) {
            *root.out() = item;
        } else if (isForeign) {
            EXPECT_EQ(Tree_AppendChild(parent, item), OK);
        }
        EXPECT_TRUE(isOpen || item->data + item->dataLength == content.data() + length) << "copied";
        item->kind = isInteger ? kDerDefinite : kindOf(part[2]);
        item->writtenAt = &item->type; // as if it had been written before
        items.push_back(item);
    }
    std::uint32_t length = 1;
    const Status computed = Der_ComputeLength(root.get(), &length);
    out = {std::to_string(length)};
    if (computed == ERR_BAD_LENGTH) {
        return computed;
    }
    out.insert(out.begin(), statusName(computed));
    if (length == UINT32_MAX) { // nothing that long is ever there, the builder only adds lengths up
        return OK;
    }
    SecretBuffer encoding;
    RETURN_IF_ERROR(serialize(root.get(), encoding));
    EXPECT_EQ(encoding.size(), length);
    out.push_back(textOf(Bytes(encoding.data(), encoding.data() + std::min(length, 32U))));
    for (const DerNode* item : items) {
        const std::string place = std::to_string(item->writtenAt - encoding.data());
        out.push_back(item->writtenAt == nullptr       ? "-"
                      : item->writtenAt == &item->type ? "untouched"
                                                       : place + "+" + std::to_string(item->writtenLength));
    }
    return OK;
}

TEST(Asn1, Vectors) {
    runVectors("core/asn1/asn1_vectors.txt",
               {{"parse", parse}, {"walk", walk}, {"seek", seek}, {"read", read}, {"build", build}});
}

TEST(Asn1, RootsAndNulls) {
    const Bytes input = bytesOf("0501993000ff"), object = bytesOf("06022a03"), empty = bytesOf("0200"),
                oid = oidOf("2a03"), noOid = oidOf("");
    Parsed parsed(input);
    EXPECT_EQ(outline(parsed.root.get()), "U0[0,0,0](U5[2,2,1])");
    EXPECT_EQ(parsed.top()->parent, parsed.root.get());
    EXPECT_EQ(Asn1_CheckUniversalTag(parsed.root.get(), kAsn1EndOfContents), OK); // so it is, the root being all zero
    ScopedTree<Asn1Node> second;
    EXPECT_EQ(Asn1_ParseStream(parsed.stream, second.out()), OK); // goes on behind the first item, surplus and all
    EXPECT_EQ(outline(second.get()), "U0[0,0,0](U16c[2,5,0])");
    for (const auto& [stream, status] : {std::pair{parsed.stream, ERR_EOF}, // FF: an identifier without a length
                                         {ByteStream{}, ERR_NULL_POINTER},
                                         {{nullptr, parsed.stream.operations}, ERR_NULL_POINTER}}) {
        Asn1Node* root = parsed.root.get();
        EXPECT_EQ(Asn1_ParseStream(stream, &root), status);
        EXPECT_EQ(root, nullptr);
    }
    EXPECT_EQ(Asn1_ParseStream(parsed.stream, nullptr), ERR_NULL_POINTER);

    Parsed item(object);
    EXPECT_EQ(Asn1_CheckSmallInteger(Parsed(empty).top(), 0), OK); // no value is 0
    item.memory.size = 3;                                          // the content is not all there
    EXPECT_EQ(Asn1_CheckOid(item.top(), item.stream, oid.data()), ERR_FALSE);
    item.memory.size = 1;
    item.top()->length = 0; // nor when there is none
    EXPECT_EQ(Asn1_CheckOid(item.top(), item.stream, noOid.data()), ERR_FALSE);
    item.memory.size = 4;
    static int stopped = 0;
    ByteStreamOperations counting = *item.stream.operations;
    counting.stopaccess = [](void*, const std::uint8_t*) {
        ++stopped;
        return OK;
    };
    EXPECT_EQ(Asn1_CheckOid(item.top(), {&item.memory, &counting}, noOid.data()), OK);
    EXPECT_EQ(stopped, 1);

    Asn1Node* out = nullptr;
    const Asn1WalkStep end{kWalkEnd, 0, nullptr};
    EXPECT_EQ(Asn1_CheckOid(item.top(), {}, oid.data()), ERR_NULL_POINTER);
    EXPECT_EQ(Asn1_FindSequenceByOid(item.top(), {}, oid.data(), &out), ERR_NULL_POINTER);
    expectNullsRefused({Asn1_CheckOid}, item.top(), item.stream, oid.data());
    expectNullsRefused({Asn1_FindSequenceByOid}, item.top(), item.stream, oid.data(), &out);
    expectNullsRefused({Asn1_WalkPath}, item.top(), item.stream, &end, &out);
    expectNullsRefused({Asn1_FindContextChild, Asn1_NthChild}, item.top(), 1, &out);
    expectNullsRefused({Asn1_CheckUniversalTag, Asn1_CheckContextTag, Asn1_CheckSmallInteger}, item.top(), 2);
}

TEST(Asn1, StreamsInMemory) {
    Parsed at(kInput, 5);
    const ByteStreamOperations& operations = *at.stream.operations;
    std::uint8_t octet = 0, own[] = {1, 2};
    std::uint32_t copied = 0;
    std::int32_t position = 0;
    bool isAtEnd = false;
    for (const std::int32_t nowhere : {0, -1, 6}) {
        at.memory.position = nowhere;
        EXPECT_EQ(operations.ungetc(&at.memory, 99), ERR_FALSE);
    }
    at.memory.position = 3;
    EXPECT_EQ(operations.ungetc(&at.memory, 12), OK); // writes only what differs
    EXPECT_EQ(at.memory.position, 2);
    MemStream writable{own, 2, 2}, noBuffer{nullptr, 5, 0};
    EXPECT_EQ(operations.ungetc(&writable, 9), OK);
    EXPECT_EQ(own[1], 9);
    for (const auto& [offset, length, isInside] :
         {std::tuple{0U, 5U, true}, {5, 0, true}, {4, 2, false}, {6, 0, false}, {2, 0xFFFFFFFF, false}}) {
        EXPECT_EQ(ByteStream_MemAccess(at.stream, offset, length), isInside ? kInput + offset : nullptr);
    }
    EXPECT_EQ(ByteStream_StopAccess(at.stream, kInput), OK);
    at.memory.size = -1; // a length above 2^31 - 1 taken as signed: empty
    EXPECT_EQ(ByteStream_MemAccess(at.stream, 0, 0), nullptr);
    EXPECT_EQ(operations.getc(&at.memory, &octet), ERR_FALSE);

    EXPECT_EQ(ByteStream_MemAccess({}, 0, 0), nullptr);
    EXPECT_EQ(ByteStream_StopAccess({}, kInput), ERR_NULL_POINTER);
    EXPECT_EQ(MemStream_Init(nullptr, 5, kInput), ERR_NULL_POINTER);
    EXPECT_EQ(ByteStream_Bind(nullptr, &at.memory), ERR_NULL_POINTER);
    EXPECT_EQ(operations.eof(&noBuffer, &isAtEnd), ERR_NULL_POINTER);
    EXPECT_EQ(operations.memaccess(nullptr, 0, 0), nullptr);
    expectNullsRefused({operations.ungetc}, &at.memory, 1);
    expectNullsRefused({operations.seek}, &at.memory, 0, 1);
    expectNullsRefused({operations.stopaccess}, &at.memory, nullptr);
    expectNullsRefused({operations.getc}, &at.memory, &octet);
    expectNullsRefused({operations.tell}, &at.memory, &position);
    expectNullsRefused({operations.eof}, &at.memory, &isAtEnd);
    expectNullsRefused({operations.read}, &at.memory, 1, 1, &octet, &copied);
}

FaultPoint streamFaults;
Status streamFailure = OK;
const ByteStreamOperations* memoryOperations = nullptr;

template <auto operation, typename... Arguments> Status failing(void* handle, Arguments... arguments) {
    return streamFaults.strikes() ? streamFailure : (memoryOperations->*operation)(handle, arguments...);
}

// A stream that fails one call with a status that says nothing about the input, and one that ends before its start.
TEST(Asn1, FailuresOfTheStreamArePassedOn) {
    const Bytes input = bytesOf("3012040302010503070030040200050004020501");
    Parsed plain(input);
    memoryOperations = plain.stream.operations;
    ByteStreamOperations operations = *memoryOperations;
    operations.getc = failing<&ByteStreamOperations::getc>;
    operations.tell = failing<&ByteStreamOperations::tell>;
    operations.seek = failing<&ByteStreamOperations::seek>;
    operations.eof = failing<&ByteStreamOperations::eof>;
    for (const Status failure : {ERR_MEM_ALLOC_FAIL, ERR_NULL_POINTER, ERR_GENERAL}) {
        streamFailure = failure;
        const auto run = [&] {
            plain.memory.position = 0;
            ScopedTree<Asn1Node> root;
            const Status status = Asn1_ParseStreamEx(
                {&plain.memory, &operations}, root.out(), [](Asn1Node*, ByteStream, void*) {}, nullptr);
            EXPECT_EQ(outline(root.get()), status == OK ? outline(plain.root.get()) : "");
            return status;
        };
        refuseEach(run, failure, streamFaults);
    }
    operations = *memoryOperations;
    operations.tell = [](void* handle, std::int32_t* position) {
        *position = -static_cast<MemStream*>(handle)->position;
        return OK;
    };
    plain.memory.position = 0;
    Asn1Node* root = nullptr;
    EXPECT_EQ(Asn1_ParseStream({&plain.memory, &operations}, &root), ERR_FALSE);
}

// Half a million siblings: a parser that looked for the end of the list each time would not come back in time.
TEST(Asn1, AMegabyteOfSmallItems) {
    EXPECT_EQ(Parsed(bytesOf("3084000f4240+0500*500000")).status, OK);
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
    expectNullsRefusedByEach(Tree_AppendChild, Tree_FreeSubtree);
    add(root.get(), 5);
    SecretBuffer encoding;
    EXPECT_EQ(serialize(root.get(), encoding), OK);
    EXPECT_EQ(toHex({encoding.data(), encoding.size()}), "3006030004000500");
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
    SecretBuffer encoding;
    EXPECT_EQ(serialize(root.get(), encoding), OK);
    EXPECT_EQ(toHex({encoding.data() + encoding.size() - 4, 4}), "05000500");
}

} // namespace
