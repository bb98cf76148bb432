// DSA: generation against a model in Python, signatures against the example of the standard.
#include "core/bignum/vlong_math.h"
#include "core/pubkey/dsa/internal/dsa_params.h"
#include "core/pubkey/key/internal/key_load.h"
#include "tests/core/pubkey/key_support.h"

namespace {

using namespace keytest;

constexpr const char* kVectors = "core/pubkey/dsa_vectors.txt";

Status sign(const Words& in, Words& out) {
    ExampleKey key;
    ByteSource source(bytesOf(in[0]));
    Number r, s;
    bool verified = false;
    const Status status = Dsa_Sign(source.bytes(), key.record(), Number(in[1]), &verified, r.out(), s.out(), nullptr);
    EXPECT_TRUE((r.get() == nullptr) == isError(status) && (s.get() == nullptr) == isError(status));
    RETURN_IF_ERROR(status);
    out = source.told(); // one draw of twice the 19 whole octets of x, less two
    out.insert(out.begin(), {r.text(), s.text()});
    // Memory that the check of the fresh signature lacks counts as one that does not hold.
    return verified ? OK : heapFaults().hasStruck() ? ERR_MEM_ALLOC_FAIL : ERR_FALSE;
}

Status verify(const Words& in, Words& out) {
    ExampleKey key;
    const Number m(in[0]), r(in[1]), s(in[2]), even("fffffffffffffff6.0.0");
    bool valid = true;
    vlong* const p = key.record()->p;
    key.record()->p = in[3] == "even" ? even.get() : p; // by Barrett's method
    const Status status = Dsa_Verify(key.record(), m, r, s, &valid, nullptr);
    key.record()->p = p;
    EXPECT_TRUE(status == OK || !valid);
    out = status == OK ? Words{valid ? "valid" : "invalid"} : Words();
    return status;
}

Status generate(const Words& in, Words& out) {
    const testheap::OwnWork own; // refused below
    const std::uint32_t L = numberOf(in[1]), N = numberOf(in[2]), hash = numberOf(in[3]);
    ExampleKey holder; // the old values go
    DSAKey& key = *holder.record();
    ByteSource source(numberOf(in[0]));
    std::uint32_t counter = 0;
    Bytes seed(std::max(N / 8, 1U));
    Number h, r, s;
    const Status status =
        L == 1024 && N == 160 && hash == kDsaSha1
            ? Dsa_GenerateKey(source.bytes(), &key, L, &counter, seed.data(), h.out(), nullptr)
            : Dsa_GenerateKeyEx(source.bytes(), &key, L, N, hash, &counter, seed.data(), h.out(), nullptr);
    if (isError(status)) {
        EXPECT_TRUE(source.draws.empty() && key.p == nullptr && key.x == nullptr && h.get() == nullptr);
        return status;
    }
    out = source.told();
    out.insert(out.begin(), std::to_string(counter));
    out.insert(out.end(), {textOf(seed), textOf(key.p), textOf(key.q), textOf(key.x), textOf(key.y)});
    EXPECT_EQ(VLONG_addUnit(h, 2, nullptr), OK);
    EXPECT_EQ(h.text(), out[4]);
    bool isVerified = false;
    EXPECT_EQ(Dsa_Sign(source.bytes(), &key, h, &isVerified, r.out(), s.out(), nullptr), OK);
    EXPECT_TRUE(isVerified);
    return OK;
}

TEST(Dsa, Vectors) {
    runVectors(kVectors, {{"example", nullptr}, {"sign", sign}, {"verify", verify}, {"generate", generate}});
}

// Whatever a foreign key holds, or lacks: a status or a signature without meaning, and an end.
TEST(Dsa, ForeignValues) {
    ExampleKey holder;
    DSAKey& key = *holder.record();
    const Words example = vectorsOf(kVectors, "verify")[0];
    const Number m(example[0]), goodR(example[1]), goodS(example[2]);
    for (vlong** const value : {&key.p, &key.q, &key.g, &key.y, &key.x}) {
        for (const std::string text : {"none", "0", "1", "2", "3", "10", "ff", "7fff", "ffff", "ffffffffffffffff",
                                       "1.0", "ffffffffffffffff*3", "8.0*15"}) {
            Number foreign(text), r, s;
            vlong* const kept = std::exchange(*value, foreign.get());
            const Status expected = text == "none" && value != &key.y ? ERR_NULL_POINTER
                                    : text == "0" && value == &key.p  ? ERR_BAD_MODULO
                                    : text == "0" && value == &key.q  ? ERR_DIVIDE_BY_ZERO
                                                                      : OK;
            ByteSource source(9);
            bool isValid = true;
            EXPECT_EQ(Dsa_Sign(source.bytes(), &key, m, &isValid, r.out(), s.out(), nullptr), expected) << text;
            EXPECT_EQ(s.get() == nullptr, expected != OK);
            if (value == &key.x && expected == OK) { // less than 16 bits leave no room for a random k: it is 0
                const bool isZero = VLONG_bitLength(foreign) < 16;
                EXPECT_EQ(r.text() == "1" && s.text() == "0" && source.draws.empty(), isZero) << text;
            }
            const Status status = Dsa_Verify(&key, m, goodR, goodS, &isValid, nullptr);
            EXPECT_EQ(isValid, value == &key.x);
            EXPECT_EQ(text == "none" && !isValid, status == ERR_NULL_POINTER) << text;
            *value = kept;
        }
    }
    Number longest("ffffffffffffffff*4096"), r, s; // no number holds twice as many random octets
    ByteSource source(9);
    vlong* const kept = std::exchange(key.x, longest.get());
    EXPECT_EQ(Dsa_Sign(source.bytes(), &key, m, nullptr, r.out(), s.out(), nullptr), ERR_BAD_LENGTH);
    key.x = kept;
    EXPECT_EQ(Dsa_Sign(source.bytes(), &key, m, nullptr, r.out(), s.out(), nullptr), OK);
}

// A hash that gives the prime q of the example first and then zeros, with which every p is a bit too short: for each seed
// 4 L - 1 candidates of seven hashes are tried.
TEST(Dsa, CandidatesOfOneSeed) {
    static ByteSource source(1);
    static std::uint32_t hashes = 0;
    static std::size_t draws = 0; // at the last hash
    const auto hash = [](const std::uint8_t*, std::uint32_t, std::uint8_t* out) -> Status {
        const std::size_t before = std::exchange(draws, source.draws.size());
        const Bytes bytes = bytesOf(hashes == 0 ? "c773218c737ec8ee993b4f2ded30f48edace915f" : "00*20");
        std::copy(bytes.begin(), bytes.end(), out);
        return ++hashes > 2 && draws != before ? ERR_GENERAL : OK; // at the second seed
    };
    Number p, q;
    std::uint32_t counter = 0;
    std::uint8_t seed[20];
    EXPECT_EQ(dsaGeneratePrimes(source.bytes(), {1024, 160, 20, hash}, p.out(), q.out(), &counter, seed, nullptr),
              ERR_GENERAL);
    EXPECT_EQ(hashes, 1 + (4 * 1024 - 1) * 7 + 1);
}

TEST(Dsa, RefusedGeneration) {
    DSAKey key{};
    Number h;
    const auto attempt = [&](ByteSource source, std::uint32_t L, std::uint32_t N, DsaHash hash) {
        const Status status = Dsa_GenerateKeyEx(source.bytes(), &key, L, N, hash, nullptr, nullptr, h.out(), nullptr);
        for (const vlong* const value : {key.p, key.q, key.g, key.x, key.y, h.get()}) {
            EXPECT_EQ(value == nullptr, isError(status));
        }
        dsaKeyClear(&key, nullptr);
        return status;
    };
    ByteSource source(1), longP(12);
    EXPECT_EQ(Dsa_GenerateKey(source.bytes(), &key, 2048, nullptr, nullptr, nullptr, nullptr),
              ERR_DSA_INVALID_KEYLENGTH);
    EXPECT_EQ(Dsa_GenerateKey(source.bytes(), nullptr, 1024, nullptr, nullptr, nullptr, nullptr), ERR_NULL_POINTER);
    // A source that fails in each stage: while q is sought, while p is, and at x, the last of 181 draws.
    for (const std::size_t limit : {0U, 1U, 100U, 180U}) {
        source.limit = limit;
        EXPECT_EQ(attempt(source, 1024, 160, kDsaSha1), ERR_RTOS_MUTEX_WAIT);
    }
    longP.limit = 180; // of 224
    EXPECT_EQ(attempt(longP, 3072, 256, kDsaSha256), ERR_RTOS_MUTEX_WAIT);
    refuseEach([&] { return attempt(ByteSource(43), 1024, 160, kDsaSha512); });
}

} // namespace
