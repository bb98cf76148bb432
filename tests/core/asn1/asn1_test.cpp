// The parser, the look-ups, and the stream beneath them.
#include "core/asn1/asn1_check.h"
#include "core/asn1/asn1_walk.h"
#include "core/memory/endian.h"
#include "tests/support/asn1_outline.h"
#include "tests/support/faults.h"
#include "tests/support/vectors.h"

#include <deque>

namespace {

using testasn1::outline;
using testasn1::Parsed;

Status parse(const Words& in, Words& out) {
    const Bytes input = bytesOf(in[0]);
    const Parsed parsed(input);
    EXPECT_EQ(parsed.root.get() == nullptr, parsed.status != OK);
    if (parsed.status == OK) {
        out = {outline(parsed.top())};
    }
    return parsed.status;
}

// Content inside items in each other, each with a length field of four octets.
Bytes nested(std::uint8_t identifier, std::uint32_t levels, Bytes content) {
    for (; levels > 0; --levels) {
        Bytes header{identifier, 0x84, 0, 0, 0, 0};
        storeBigEndian(header.data() + 2, static_cast<std::uint32_t>(content.size()));
        content.insert(content.begin(), header.begin(), header.end());
    }
    return content;
}

Status nest(const Words& in, Words& out) {
    Bytes input = bytesOf(in.back());
    for (std::size_t i = in.size() - 1; i >= 2; i -= 2) {
        input = nested(bytesOf(in[i - 2])[0], numberOf(in[i - 1]), input);
    }
    const Parsed parsed(input);
    int depth = 0;
    for (const Asn1Node* item = parsed.top(); item != nullptr; item = asn1FirstChild(item)) {
        ++depth;
    }
    out = parsed.status == OK ? Words{std::to_string(depth)} : Words();
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
        const std::size_t colon = std::min(word.find(':') + 1, word.size());
        const std::string argument = colon == 0 ? "0" : word.substr(colon);
        const std::uint32_t instruction = numberOf(word);
        const bool isOid = instruction == kWalkCheckOid || instruction == kWalkSequenceByOid;
        oids.push_back(isOid && argument != "none" ? oidOf(argument) : Bytes());
        steps.push_back(
            {instruction, isOid ? 0 : numberOf(argument), oids.back().empty() ? nullptr : oids.back().data()});
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

TEST(Asn1, Vectors) {
    runVectors("core/asn1/asn1_vectors.txt",
               {{"parse", parse}, {"nest", nest}, {"walk", walk}, {"seek", seek}, {"read", read}});
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
    for (MemStream* const handle : {static_cast<MemStream*>(nullptr), &noBuffer}) {
        const Status statuses[] = {operations.getc(handle, &octet),      operations.ungetc(handle, 1),
                                   operations.tell(handle, &position),   operations.seek(handle, 0, 1),
                                   operations.eof(handle, &isAtEnd),     operations.read(handle, 1, 1, &octet, &copied),
                                   operations.stopaccess(handle, kInput)};
        EXPECT_EQ(std::count(std::begin(statuses), std::end(statuses), ERR_NULL_POINTER), 7);
        EXPECT_EQ(operations.memaccess(handle, 0, 0), nullptr);
    }
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
    const Bytes input = nested(0x30, 1, bytesOf("0500*500000"));
    const Parsed parsed(input);
    Asn1Node* last = nullptr;
    ASSERT_EQ(Asn1_NthChild(parsed.top(), 500000, &last), OK);
    EXPECT_EQ(outline(last), "U5[2,1000006,0]");
}

} // namespace
