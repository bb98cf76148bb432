// The byte formats of keys: read, refused, written, and written as others write them.
#include "core/bignum/vlong_math.h"
#include "core/pubkey/dsa.h"
#include "tests/core/pubkey/key_support.h"
#include "tests/support/test_heap.h"

namespace {

using namespace keytest;

const Octets kOpensslKey = fromHex(
#define OPENSSL_RSA(hex) hex
#include "tests/core/pubkey/key_vectors.inc"
#undef OPENSSL_RSA
);
const Octets kJdkKey = fromHex(
#define PKCS8_RSA(hex) hex
#include "tests/core/pubkey/key_vectors.inc"
#undef PKCS8_RSA
);
struct DsaNumbers {
    const char *pkcs8, *p, *q, *g, *y, *x;
};
constexpr DsaNumbers kDsaKey = {
#define DSA_KEY(...) __VA_ARGS__
#include "tests/core/pubkey/key_vectors.inc"
#undef DSA_KEY
};

void expectNumbers(const RSAKey* key, const RsaNumbers& numbers, bool isPrivate) {
    ASSERT_NE(key, nullptr);
    EXPECT_EQ(key->privateKey, isPrivate ? 1U : 0U);
    EXPECT_EQ(hexOf(key->n), numbers.n);
    EXPECT_EQ(hexOf(key->e), numbers.e);
    EXPECT_EQ(hexOf(key->p), isPrivate ? numbers.p : "null");
    EXPECT_EQ(hexOf(key->q), isPrivate ? numbers.q : "null");
    EXPECT_EQ(hexOf(key->dP), isPrivate ? numbers.dP : "null");
    EXPECT_EQ(hexOf(key->dQ), isPrivate ? numbers.dQ : "null");
    EXPECT_EQ(hexOf(key->qInv), isPrivate ? numbers.qInv : "null");
    EXPECT_EQ(key->contextP != nullptr && key->contextQ != nullptr, isPrivate);
}

TEST(KeyDer, RsaKeysOfOthersReadAndWrittenAgain) {
    for (const RsaNumbers& numbers : kRsaKeys) {
        SCOPED_TRACE(testing::Message() << numbers.bits << " bits, e = " << numbers.e);
        ScopedKey key;
        Octets written;
        ASSERT_EQ(read(RsaKey_FromPublicDer, privateDer(numbers), key.get()), OK);
        expectNumbers(asymKeyRsa(key.get()), numbers, true);
        EXPECT_EQ(write(RsaKey_ToDer, key.get(), &written), OK);
        EXPECT_EQ(written, privateDer(numbers));                                  // d is the model's
        ASSERT_EQ(read(RsaKey_FromPublicDer, publicDer(numbers), key.get()), OK); // over the old one
        expectNumbers(asymKeyRsa(key.get()), numbers, false);
        EXPECT_EQ(write(RsaKey_ToDer, key.get(), &written), OK);
        EXPECT_EQ(written, publicDer(numbers));
        ASSERT_EQ(read(AsymKey_FromPkcs8Der, pkcs8(kRsaAlgorithm, privateDer(numbers)), key.get()), OK);
        expectNumbers(asymKeyRsa(key.get()), numbers, true);
        EXPECT_EQ(write(DsaKey_ToDer, key.get(), &written), ERR_BAD_KEY_TYPE);
    }
    ScopedKey key;
    Octets written;
    ASSERT_EQ(read(RsaKey_FromPublicDer, kOpensslKey, key.get()), OK);
    EXPECT_EQ(write(RsaKey_ToDer, key.get(), &written), OK);
    EXPECT_EQ(written, kOpensslKey);
    ASSERT_EQ(read(AsymKey_FromPkcs8Der, kJdkKey, key.get()), OK);
    EXPECT_EQ(asymKeyRsa(key.get())->privateKey, 1U);
}

// What a key says of d, dP, dQ and qInv is not read, nor the order of its primes, nor signs: without an octet 00 in front
// these numbers are negative. A qInv that is right, but too large, is none.
TEST(KeyDer, PrivateKeysAreComputedFromFourValues) {
    for (const RsaNumbers& key : kRsaKeys) {
        const auto negative = [](const char* hex) {
            return item(0x02, fromHex(hex));
        };
        const Octets wrong = integer("07"), version = integer("01");
        Number inverse(key.qInv);
        ASSERT_EQ(VLONG_add(inverse.get(), Number(key.p).get(), nullptr), OK);
        const Octets tooLarge = integer(hexOf(inverse.get()).c_str());
        for (const auto& [p, q, qInv] :
             {std::tuple(key.p, key.q, wrong), {key.q, key.p, wrong}, {key.p, key.q, tooLarge}}) {
            FilledKey read(sequence(
                {version, negative(key.n), integer(key.e), wrong, negative(p), negative(q), wrong, wrong, qInv}));
            expectNumbers(read.rsa(), key, true);
        }
    }
}

TEST(KeyDer, Shapes) {
    const RsaNumbers& key = kRsaKeys[0];
    const Octets N = integer(key.n), E = integer(key.e), P = integer(key.p), Q = integer(key.q), ONE = integer("01"),
                 ZERO = integer(""), TEXT = item(0x04, fromHex("68 69")), RSA = kRsaAlgorithm,
                 HUGE_N = integer(std::string(64000, 'f').c_str()), HUGE_P = integer(std::string(8000, 'f').c_str()),
                 HUGE_Q = integer(std::string(7990, '7').c_str());
    const auto BITS = [](unsigned bits) {
        Octets octets(2 + (bits + 7) / 8, 0x55);
        octets[0] = octets[1] = 0;
        octets[2] = static_cast<std::uint8_t>(1 << (bits - 1) % 8);
        return item(0x02, octets);
    };
    const auto DSA = [](const Octets& parameters) {
        return sequence({fromHex("06 07 2a 86 48 ce 38 04 01"), parameters});
    };
    // Each into an empty container and over a key, which is gone afterwards in any case.
    const auto check = [&](Reader reader, const char* what, const Octets& der, Status status) {
        SCOPED_TRACE(what);
        for (const bool isFilled : {false, true}) {
            ScopedKey container;
            if (isFilled) {
                ASSERT_EQ(AsymKey_MakeDsa(container.get(), nullptr), OK);
            }
            EXPECT_EQ(read(reader, der, container.get()), status) << statusName(status);
            EXPECT_EQ(container.get()->type == kKeyEmpty, isError(status));
            EXPECT_EQ(container.get()->key == nullptr, isError(status));
        }
    };
#define RSA_CASE(...) check(RsaKey_FromPublicDer, __VA_ARGS__);
#define PKCS8_CASE(...) check(AsymKey_FromPkcs8Der, __VA_ARGS__);
#define SIGNER_CASE(...) check(asymKeyReadSigner, __VA_ARGS__);
#include "tests/core/pubkey/read_cases.inc"
#undef RSA_CASE
#undef PKCS8_CASE
#undef SIGNER_CASE
    // The unsigned value of four octets is the exponent.
    FilledKey large(sequence({N, fromHex("02 04 FF FF FF FF")}));
    EXPECT_EQ(hexOf(large->e), "ffffffff");
    const std::uint8_t nothing = 0;
    ScopedKey container;
    EXPECT_EQ(RsaKey_FromPublicDer(&nothing, 0x80000000, container.get()), ERR_EOF);
}

TEST(KeyDer, DsaKeys) {
    ScopedKey key;
    ASSERT_EQ(read(AsymKey_FromPkcs8Der, fromHex(kDsaKey.pkcs8), key.get()), OK);
    const DSAKey* const dsa = asymKeyDsa(key.get());
    ASSERT_NE(dsa, nullptr);
    EXPECT_EQ(hexOf(dsa->p) + hexOf(dsa->q) + hexOf(dsa->g), std::string(kDsaKey.p) + kDsaKey.q + kDsaKey.g);
    EXPECT_EQ(hexOf(dsa->y), kDsaKey.y);
    EXPECT_EQ(hexOf(dsa->x), kDsaKey.x);
    Octets written;
    EXPECT_EQ(write(DsaKey_ToDer, key.get(), &written), OK);
    const Octets first = joined({integer(""), integer(kDsaKey.p), integer(kDsaKey.q), integer(kDsaKey.g)});
    EXPECT_EQ(written, item(0x30, joined({first, integer(kDsaKey.y), integer(kDsaKey.x)})));
    EXPECT_EQ(write(RsaKey_ToDer, key.get(), &written), ERR_BAD_KEY_TYPE);

    // The public part alone, into the same container; then as far as the values go.
    const Octets p = fromHex(kDsaKey.p), q = fromHex(kDsaKey.q), g = fromHex(kDsaKey.g), y = fromHex(kDsaKey.y);
    const auto size = [](const Octets& octets) {
        return static_cast<std::uint32_t>(octets.size());
    };
    ASSERT_EQ(AsymKey_SetDsaParameters(key.get(), p.data(), size(p), q.data(), size(q), g.data(), size(g), y.data(),
                                       size(y), y.data(), 0, nullptr),
              OK);
    EXPECT_EQ(write(DsaKey_ToDer, key.get(), &written), OK);
    EXPECT_EQ(written, item(0x30, joined({first, integer(kDsaKey.y)})));
    ASSERT_EQ(VLONG_free(&asymKeyDsa(key.get())->q, nullptr), OK);
    EXPECT_EQ(write(DsaKey_ToDer, key.get(), &written), OK);
    EXPECT_EQ(written, sequence({integer(""), integer(kDsaKey.p)}));

    // Read to make one signature it lacks its y; the record then takes a whole key like any other.
    ASSERT_EQ(read(asymKeyReadSigner, fromHex(kDsaKey.pkcs8), key.get()), OK);
    EXPECT_EQ(hexOf(asymKeyDsa(key.get())->y), "null");
    const Octets x = fromHex(kDsaKey.x);
    ASSERT_EQ(AsymKey_SetDsaParameters(key.get(), p.data(), size(p), q.data(), size(q), g.data(), size(g), nullptr, 0,
                                       x.data(), size(x), nullptr),
              OK);
    EXPECT_EQ(hexOf(asymKeyDsa(key.get())->y), kDsaKey.y);
}

TEST(KeyDer, UnfinishedKeysAreNotWritten) {
    ScopedKey key;
    Octets written;
    EXPECT_EQ(write(RsaKey_ToDer, key.get(), &written), ERR_BAD_KEY_TYPE);
    ASSERT_EQ(AsymKey_MakeRsa(key.get(), nullptr), OK);
    EXPECT_EQ(write(RsaKey_ToDer, key.get(), &written), ERR_RSA_KEY_NOT_READY);
    ASSERT_EQ(read(RsaKey_FromPublicDer, privateDer(kRsaKeys[0]), key.get()), OK);
    ASSERT_EQ(VLONG_free(&asymKeyRsa(key.get())->qInv, nullptr), OK);
    EXPECT_EQ(write(RsaKey_ToDer, key.get(), &written), ERR_RSA_KEY_NOT_READY);
}

TEST(KeyDer, RefusedAllocationsAndWiping) {
    const RsaNumbers& key = kRsaKeys[0];
    const Octets publicKey = publicDer(key), wrapped = pkcs8(kRsaAlgorithm, privateDer(key));
    const Octets zero = integer(""), dsaKey = fromHex(kDsaKey.pkcs8);
    const Octets withoutInverse =
        sequence({zero, integer(key.n), integer(key.e), zero, integer(key.p), integer(key.q)});
    const auto roundTrip = [](Reader reader, const Octets& der, Writer writer) {
        ScopedKey container;
        std::uint8_t* written = nullptr;
        std::uint32_t length = 0;
        RETURN_IF_ERROR(read(reader, der, container.get()));
        RETURN_IF_ERROR(writer(container.get(), &written, &length));
        void* block = written;
        return memWipeAndFree(&block, length);
    };
    const std::uint64_t dirtyFrees = testheap::dirtyFrees();
    EXPECT_EQ(roundTrip(RsaKey_FromPublicDer, publicKey, RsaKey_ToDer), OK);
    EXPECT_EQ(roundTrip(AsymKey_FromPkcs8Der, wrapped, RsaKey_ToDer), OK);
    EXPECT_EQ(roundTrip(AsymKey_FromPkcs8Der, dsaKey, DsaKey_ToDer), OK);
    EXPECT_EQ(testheap::dirtyFrees(), dirtyFrees);
    // Making the key's lock is what gives another status.
    const auto refusalsSeen = [&](Reader reader, const Octets& der, Writer writer) {
        testheap::failEach([&] {
            const Status status = roundTrip(reader, der, writer);
            return status == ERR_RTOS_MUTEX_CREATE ? ERR_MEM_ALLOC_FAIL : status;
        });
    };
    refusalsSeen(RsaKey_FromPublicDer, publicKey, RsaKey_ToDer);
    refusalsSeen(RsaKey_FromPublicDer, withoutInverse, RsaKey_ToDer);
    refusalsSeen(AsymKey_FromPkcs8Der, wrapped, RsaKey_ToDer);
    refusalsSeen(AsymKey_FromPkcs8Der, dsaKey, DsaKey_ToDer);
}

} // namespace
