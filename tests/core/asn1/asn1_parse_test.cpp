#include "core/asn1/asn1_check.h"
#include "tests/support/asn1_outline.h"
#include "tests/support/hex.h"
#include "tests/support/faults.h"

namespace {

using testasn1::outline;
using testasn1::Parsed;
using Octets = std::vector<std::uint8_t>;

// Content inside items in each other, each with a length field of four octets.
Octets nest(std::uint8_t identifier, int levels, Octets content) {
    for (; levels > 0; --levels) {
        const std::size_t length = content.size();
        Octets header{identifier, 0x84};
        for (int shift = 24; shift >= 0; shift -= 8) {
            header.push_back(static_cast<std::uint8_t>(length >> shift));
        }
        content.insert(content.begin(), header.begin(), header.end());
    }
    return content;
}

TEST(Asn1Parse, Table) {
    const std::uint64_t before = testheap::liveBlocks();
    const auto check = [before](const char* hex, Status status, const char* tree) {
        SCOPED_TRACE(hex);
        {
            const Octets input = fromHex(hex);
            const Parsed parsed(input);
            EXPECT_STREQ(statusName(parsed.status), statusName(status));
            EXPECT_EQ(parsed.root.get() == nullptr, status != OK);
            EXPECT_EQ(outline(parsed.top()), tree);
        }
        EXPECT_EQ(testheap::liveBlocks(), before);
    };
#define ASN1_CASE(...) check(__VA_ARGS__);
#include "tests/core/asn1/parse_cases.inc"
#undef ASN1_CASE
}

TEST(Asn1Parse, DepthLimit) {
    const Octets null = {5, 0};
    EXPECT_EQ(Parsed(nest(0x30, 39, null)).status, OK);
    EXPECT_EQ(Parsed(nest(0x30, 40, null)).status, ERR_CERT_STACK_OVERFLOW);
    EXPECT_EQ(Parsed(nest(0x30, 40, {})).status, OK); // an empty innermost SEQUENCE has nothing to descend into
    EXPECT_EQ(Parsed(nest(0x30, 41, {})).status, ERR_CERT_STACK_OVERFLOW);
    EXPECT_EQ(Parsed(Octets(100000, 0x30)).status, ERR_CERT_STACK_OVERFLOW);

    // Below a string the limit only says that the string is not to be parsed further.
    const Octets strings = nest(0x04, 41, null);
    const Parsed nested(strings);
    ASSERT_EQ(nested.status, OK);
    int depth = 0;
    for (const Asn1Node* item = nested.top(); item != nullptr; item = asn1FirstChild(item)) {
        ++depth;
    }
    EXPECT_EQ(depth, 40);
    const Octets wrapped = nest(0x04, 1, nest(0x30, 41, {}));
    EXPECT_EQ(outline(Parsed(wrapped).top()), "U4[6,6,246]");
}

// What the table cannot show: the root, the stream's position, null arguments.
TEST(Asn1Parse, RootAndStream) {
    const Octets input = fromHex("05 01 99 30 00 FF");
    Parsed parsed(input);
    EXPECT_EQ(outline(parsed.root.get()), "U0[0,0,0](U5[2,2,1])");
    EXPECT_EQ(parsed.top()->parent, parsed.root.get());
    ScopedTree<Asn1Node> second;
    EXPECT_EQ(Asn1_ParseStream(parsed.stream, second.out()),
              OK); // goes on behind the first item, surplus content and all
    EXPECT_EQ(outline(second.get()), "U0[0,0,0](U16c[2,5,0])");
    EXPECT_EQ(parsed.memory.position, 5);

    Asn1Node* root = parsed.root.get();
    EXPECT_EQ(Asn1_ParseStream({}, &root), ERR_NULL_POINTER);
    EXPECT_EQ(root, nullptr);
    EXPECT_EQ(Asn1_ParseStream(parsed.stream, nullptr), ERR_NULL_POINTER);
    root = parsed.root.get();
    EXPECT_EQ(Asn1_ParseStream(parsed.stream, &root), ERR_EOF); // FF: the identifier of an item without a length
    EXPECT_EQ(root, nullptr);
    parsed.stream.handle = nullptr;
    EXPECT_EQ(Asn1_ParseStream(parsed.stream, &root), ERR_NULL_POINTER);
}

TEST(Asn1Parse, CallbackSeesEachHeaderBeforeItsContent) {
    std::string seen;
    const auto callback = [](Asn1Node* item, ByteStream stream, void* argument) {
        std::int32_t position = 0;
        ASSERT_EQ(stream.operations->tell(stream.handle, &position), OK);
        EXPECT_EQ(static_cast<std::uint32_t>(position), item->dataOffset);
        EXPECT_NE(item->parent, nullptr);
        *static_cast<std::string*>(argument) += outline(item) + ";";
        EXPECT_EQ(stream.operations->seek(stream.handle, 1000, kSeekAbsolute), OK); // is put back
    };
    const auto check = [&](const char* hex, const char* expected) {
        const Octets input = fromHex(hex);
        Parsed parsed(input);
        parsed.memory.position = 0;
        ScopedTree<Asn1Node> root;
        seen.clear();
        ASSERT_EQ(Asn1_ParseStreamEx(parsed.stream, root.out(), callback, &seen), OK);
        EXPECT_EQ(seen, expected);
        EXPECT_EQ(outline(asn1FirstChild(root.get())), outline(parsed.top()));
    };
    check("30 0B 03 02 04 F0 04 05 30 03 08 01 00", "U16c[2,2,11];U3[2,4,2];U4[2,8,5];U16c[2,10,3];U8[2,12,1];");
    // What stands behind a string is not reported from inside it.
    check("30 80 04 04 30 02 30 80 05 00 00 00 05 00 00 00",
          "U16ci[2,2,0];U4[2,4,4];U16c[2,6,2];U16ci[2,8,0];U5[2,10,0];U0[2,12,0];");
}

// A stream that fails one call with a status that says nothing about the input.
struct FaultyStream : MemStream {
    const ByteStreamOperations* operations;
    int callsLeft;
    Status failure;
};

template <auto operation, typename... Arguments> Status failing(void* handle, Arguments... arguments) {
    auto* const stream = static_cast<FaultyStream*>(static_cast<MemStream*>(handle));
    return stream->callsLeft-- != 0 ? (stream->operations->*operation)(handle, arguments...) : stream->failure;
}

TEST(Asn1Parse, FailuresOfHeapAndStreamArePassedOn) {
    const Octets input = fromHex("30 12 04 03 02 01 05 03 07 00 30 04 02 00 05 00 04 02 05 01");
    const std::uint64_t dirty = testheap::dirtyFrees();
    refuseEach([&input] { return Parsed(input).status; });
    EXPECT_EQ(testheap::dirtyFrees(), dirty);
    const auto ignore = [](Asn1Node*, ByteStream, void*) {
    };
    const Parsed plain(input);
    for (const Status failure : {ERR_MEM_ALLOC_FAIL, ERR_NULL_POINTER, ERR_GENERAL}) {
        Status status = failure;
        for (int calls = 0; status != OK; ++calls) {
            FaultyStream memory{
                {const_cast<std::uint8_t*>(input.data()), 20, 0}, plain.stream.operations, calls, failure};
            ByteStreamOperations operations = *memory.operations;
            operations.getc = failing<&ByteStreamOperations::getc>;
            operations.tell = failing<&ByteStreamOperations::tell>;
            operations.seek = failing<&ByteStreamOperations::seek>;
            operations.eof = failing<&ByteStreamOperations::eof>;
            ScopedTree<Asn1Node> root;
            status = Asn1_ParseStreamEx({&memory, &operations}, root.out(), ignore, nullptr);
            ASSERT_EQ(status, memory.callsLeft < 0 ? failure : OK) << "after " << calls << " calls";
            ASSERT_EQ(outline(root.get()), status == OK ? outline(plain.root.get()) : "");
        }
    }
    MemStream memory = plain.memory; // one that ends before its start
    memory.position = 0;
    ByteStreamOperations operations = *plain.stream.operations;
    operations.tell = [](void* handle, std::int32_t* position) {
        *position = -static_cast<MemStream*>(handle)->position;
        return OK;
    };
    Asn1Node* root = nullptr;
    EXPECT_EQ(Asn1_ParseStream({&memory, &operations}, &root), ERR_FALSE);
}

// Half a million siblings: a parser that looked for the end of the list each time would not come back in time.
TEST(Asn1Parse, AMegabyteOfSmallItems) {
    Octets nulls(1000000, 0);
    for (std::size_t i = 0; i < nulls.size(); i += 2) {
        nulls[i] = 5;
    }
    const Octets input = nest(0x30, 1, nulls);
    const Parsed parsed(input);
    ASSERT_EQ(parsed.status, OK);
    Asn1Node* last = nullptr;
    EXPECT_EQ(Asn1_NthChild(parsed.top(), 500000, &last), OK);
    EXPECT_EQ(outline(last), "U5[2,1000006,0]");
}

} // namespace
