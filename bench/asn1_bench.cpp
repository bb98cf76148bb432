// ASN.1: parsing and freeing a key and the trees that cost most, and building a key, with OpenSSL's reader of the outer
// PKCS#8 structure (which leaves the key in it unread) as a yardstick.
//
// Counters: nodes in the tree, the bytes asked of the heap for them, bytes of input.
#include "core/asn1/asn1_parse.h"
#include "core/asn1/der.h"

#include <benchmark/benchmark.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

#include <cstdlib>
#include <string>
#include <vector>

namespace {

using Octets = std::vector<std::uint8_t>;

Octets withHeader(std::uint8_t identifier, const Octets& content) {
    Octets item{identifier, 0x84};
    for (int shift = 24; shift >= 0; shift -= 8) {
        item.push_back(static_cast<std::uint8_t>(content.size() >> shift));
    }
    item.insert(item.end(), content.begin(), content.end());
    return item;
}

// Repeats a piece up to about a megabyte, inside one SEQUENCE.
Octets megabyteOf(const Octets& piece) {
    Octets content;
    while (content.size() < 1000000) {
        content.insert(content.end(), piece.begin(), piece.end());
    }
    return withHeader(0x30, content);
}

Octets nested(Octets content, std::uint8_t first, std::uint8_t second, int levels) {
    for (int level = 0; level < levels; ++level) {
        content = withHeader(level % 2 == 0 ? first : second, content);
    }
    return content;
}

const Octets& rsaKey() {
    static const Octets key = [] {
        EVP_PKEY* const pkey = EVP_RSA_gen(2048);
        PKCS8_PRIV_KEY_INFO* const info = EVP_PKEY2PKCS8(pkey);
        std::uint8_t* der = nullptr;
        const int length = i2d_PKCS8_PRIV_KEY_INFO(info, &der);
        Octets octets(der, der + length);
        OPENSSL_free(der);
        PKCS8_PRIV_KEY_INFO_free(info);
        EVP_PKEY_free(pkey);
        return octets;
    }();
    return key;
}

Asn1Node* parse(const Octets& input) {
    MemStream memory{};
    ByteStream stream{};
    Asn1Node* root = nullptr;
    if (isError(MemStream_Init(&memory, static_cast<std::int32_t>(input.size()), input.data())) ||
        isError(ByteStream_Bind(&stream, &memory)) || isError(Asn1_ParseStream(stream, &root))) {
        std::abort();
    }
    return root;
}

std::size_t countNodes(const Asn1Node* item) {
    std::size_t count = 1;
    for (const Asn1Node* child = asn1FirstChild(item); child != nullptr; child = asn1NextSibling(child)) {
        count += countNodes(child);
    }
    return count;
}

void parseAndFree(benchmark::State& state, const Octets& input, std::size_t expectedNodes) {
    Asn1Node* const tree = parse(input);
    const std::size_t nodes = countNodes(tree);
    if (isError(Tree_FreeSubtree(tree)) || (expectedNodes != 0 && nodes != expectedNodes)) {
        state.SkipWithError("not the tree expected");
        return;
    }
    for (auto _ : state) {
        Asn1Node* const root = parse(input);
        benchmark::DoNotOptimize(root);
        (void)Tree_FreeSubtree(root);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * static_cast<std::int64_t>(input.size()));
    state.counters["nodes"] = static_cast<double>(nodes);
    state.counters["heapBytes"] = static_cast<double>(nodes * sizeof(Asn1Node));
    state.counters["inputBytes"] = static_cast<double>(input.size());
}

void parsePkcs8(benchmark::State& state) {
    parseAndFree(state, rsaKey(),
                 17); // root; SEQUENCE, version, SEQUENCE, OID, NULL; OCTET STRING, SEQUENCE, 9 INTEGERs
}

void opensslPkcs8(benchmark::State& state) {
    for (auto _ : state) {
        const std::uint8_t* in = rsaKey().data();
        PKCS8_PRIV_KEY_INFO* const info = d2i_PKCS8_PRIV_KEY_INFO(nullptr, &in, static_cast<long>(rsaKey().size()));
        benchmark::DoNotOptimize(info);
        PKCS8_PRIV_KEY_INFO_free(info);
    }
}

// SEQUENCEs in each other over an INTEGER, side by side.
void parseNestedMegabyte(benchmark::State& state) {
    parseAndFree(state, megabyteOf(nested({2, 1, 5}, 0x30, 0x30, 38)), 0);
}

// The most nodes that a megabyte can hold.
void parseMegabyteOfNulls(benchmark::State& state) {
    parseAndFree(state, megabyteOf({5, 0}), 500002);
}

// Strings in each other that each prove, at their last item, not to be nested DER.
void parseMegabyteOfWrongGuesses(benchmark::State& state) {
    Octets piece;
    for (int level = 0; level < 19; ++level) {
        piece.insert(piece.end(), {8, 1, 0});
        piece = withHeader(0x04, withHeader(0x30, piece));
    }
    parseAndFree(state, megabyteOf(piece), 0);
}

// BIT STRINGs that look nested until the end: two looks ahead each, a descent, and a way back.
void parseMegabyteOfWrongBitStrings(benchmark::State& state) {
    parseAndFree(state, megabyteOf({3, 7, 0, 0x30, 4, 2, 0, 8, 0}), 0);
}

// Strings whose nested SEQUENCE claims all that is left of the input.
void parseMegabyteOfRunaways(benchmark::State& state) {
    const std::size_t kStrings = 83000;
    const std::size_t kStringOctets = 12;
    Octets content;
    for (std::size_t i = 0; i < kStrings; ++i) {
        const std::size_t claim = (kStrings - i) * kStringOctets - 10;
        content.insert(content.end(), {4, 10, 0x30, 8, 0x30, 0x84, 0, static_cast<std::uint8_t>(claim >> 16),
                                       static_cast<std::uint8_t>(claim >> 8), static_cast<std::uint8_t>(claim), 5, 0});
    }
    parseAndFree(state, withHeader(0x30, content), kStrings + 5); // the last one is right: three items in it
}

// The nine INTEGERs of an RSA private key, to a buffer.
void buildRsaKey(benchmark::State& state) {
    Octets number(257, 0xA5);
    number[0] = 0;
    for (auto _ : state) {
        ScopedTree<DerNode> root;
        (void)Der_AddItem(nullptr, kDerTypeSequence, 0, nullptr, root.out());
        for (int i = 0; i < 9; ++i) {
            (void)Der_AddUnsignedInteger(root.get(), i < 3 ? 257 : 129, number.data(), nullptr);
        }
        std::uint8_t* buffer = nullptr;
        std::uint32_t length = 0;
        if (isError(Der_SerializeToBuffer(root.get(), &buffer, &length)) || length != 4 + 3 * 261 + 6 * 132) {
            state.SkipWithError("not the encoding expected");
            return;
        }
        void* block = buffer;
        (void)memFree(&block);
    }
}

BENCHMARK(parsePkcs8);
BENCHMARK(opensslPkcs8);
BENCHMARK(parseNestedMegabyte)->Unit(benchmark::kMillisecond);
BENCHMARK(parseMegabyteOfNulls)->Unit(benchmark::kMillisecond);
BENCHMARK(parseMegabyteOfWrongGuesses)->Unit(benchmark::kMillisecond);
BENCHMARK(parseMegabyteOfWrongBitStrings)->Unit(benchmark::kMillisecond);
BENCHMARK(parseMegabyteOfRunaways)->Unit(benchmark::kMillisecond);
BENCHMARK(buildRsaKey);

} // namespace
