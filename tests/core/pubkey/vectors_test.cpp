// Keys, powers and signatures against the vector files of this folder: from openssl, from the standard, from models in Python.
// What a key computes from any numbers, and that it is written as it was read: fuzz/key.cpp and tests/capi.
#include "core/bignum/vlong_convert.h"
#include "core/bignum/vlong_math.h"
#include "core/pubkey/key/key_encoding.h"
#include "core/pubkey/rsa/internal/rsa_prime.h"
#include "core/pubkey/rsa/rsa_sign.h"
#include "tests/core/pubkey/key_support.h"

#include <memory>

namespace {

// Operations that take long are not refused each allocation.
std::unique_ptr<testheap::OwnWork> unrefusedIf(bool takesLong) {
    return takesLong ? std::make_unique<testheap::OwnWork>() : nullptr;
}

// Read from the primes and the exponent alone: what a key says of d, dP, dQ and qInv is not read, nor the order of its primes,
// nor signs: without an octet 00 in front these numbers are negative. All of it is written.
Status rsaKey(const Words& in, Words& out) {
    const auto [n, e, p, q, input] = std::tie(in[0], in[1], in[2], in[3], in[8]);
    const std::string numbers = "02(" + n + "),02(" + e + "),020101,02(" + q + "),02(" + p + ")";
    ScopedKey key;
    Bytes written;
    RETURN_IF_ERROR(readKey(RsaKey_FromPublicDer, derOf("30(020101," + numbers + ",020101,020101,020107)"), key.get()));
    RETURN_IF_ERROR(writeKey(RsaKey_ToDer, key.get(), written));
    EXPECT_EQ(integersOf(written), (Words{"", n, e, in[4], p, q, in[5], in[6], in[7]}));
    std::string hex;
    for (const auto& [value, expected] : {std::pair{std::string("0"), ""}, {"1", "01"}, {n, ""}}) { // n counts as 0
        RETURN_IF_ERROR(into(hex, Rsa_PrivateCrt, asymKeyRsa(key.get()), Number(value)));
        EXPECT_EQ(hex, expected);
    }
    RETURN_IF_ERROR(into(hex, rsaSign, asymKeyRsa(key.get()), Number(input)));
    out = {hex};
    return OK;
}

// Over a key, which is gone afterwards in any case.
VectorOperation reading(Reader reader) {
    return [reader](const Words& in, Words& out) {
        const Bytes der = derOf(in[1], named);
        ScopedKey key;
        {
            const testheap::OwnWork own;
            EXPECT_EQ(AsymKey_MakeDsa(key.get(), nullptr), OK);
        }
        const auto unrefused = unrefusedIf(der.size() > 2000);
        const Status status = readKey(reader, der, key.get());
        const RSAKey* const rsa = asymKeyRsa(key.get());
        EXPECT_EQ(key.get()->type == kKeyEmpty, isError(status));
        EXPECT_EQ(key.get()->key == nullptr, isError(status));
        if (!isError(status)) {
            out = {rsa == nullptr ? "dsa" : rsa->privateKey != 0 ? "private" : "public"};
        }
        return status;
    };
}

// A key that is to make one signature lacks its y, and is written as far as its values go.
Status dsaKey(const Words& in, Words& out) {
    const Bytes der = derOf(in[0]);
    Bytes written;
    ScopedKey key;
    RETURN_IF_ERROR(readKey(asymKeyReadSigner, der, key.get()));
    RETURN_IF_ERROR(writeKey(DsaKey_ToDer, key.get(), written));
    EXPECT_EQ(integersOf(written).size(), 4U);
    RETURN_IF_ERROR(readKey(AsymKey_FromPkcs8Der, der, key.get()));
    RETURN_IF_ERROR(writeKey(DsaKey_ToDer, key.get(), written));
    out = integersOf(written);
    EXPECT_EQ(std::exchange(out[0], "0"), ""); // as a word
    return OK;
}

// What the block of a signature opens to.
Status opened(const RSAKey* key, const Bytes& signature, Words& out) {
    Bytes content(signature.size());
    std::uint32_t length = 1;
    const Status status = Rsa_OpenPkcs1Signature(key, signature.data(), content.data(), &length, nullptr);
    EXPECT_TRUE(status == OK || length == 0);
    content.resize(length);
    out = status == OK ? Words{textOf(content)} : Words();
    return status;
}

Status block(const Words& in, Words& out) {
    FilledKey key;
    Number signature;
    Bytes bytes(128);
    RETURN_IF_ERROR(Rsa_PrivateCrt(key.rsa, Number(toHex(bytesOf(in[0]))), signature.out(), nullptr));
    EXPECT_EQ(VLONG_toBytesFixed(signature, bytes.data(), 128), OK);
    return opened(key.rsa, bytes, out);
}

// An exponent, a modulus: neither is opened.
Status refused(const Words& in, Words& out) {
    FilledKey key(derOf("30(02(00+" + in[1] + "),E)", named));
    (void)VLONG_free(&key.rsa->e, nullptr);
    key.rsa->e = Number(in[0]).release();
    return opened(key.rsa, Bytes(600, 0x11), out);
}

Status strange(const Words& in, Words& out) {
    const testheap::OwnWork own; // the key's making and its powers have each been refused their allocations
    FilledKey key(
        derOf("30(020100,02(00+" + in[0] + "),02(00+" + in[1] + "),020100,02(00+" + in[2] + "),02(00+" + in[3] + "))"));
    std::string hex;
    const auto tell = [&](Status status) {
        out.push_back(isError(status) ? statusName(status) : hex);
    };
    tell(into(hex, Rsa_PublicOp, key.rsa, Number("5")));
    tell(into(hex, rsaSign, key.rsa, Number("5")));
    return OK;
}

// Over another key, under the same lock. The source gives the bytes of a seed, or these bytes and then zeros.
Status rsaGenerate(const Words& in, Words& out) {
    const std::uint32_t bits = numberOf(in[1]);
    const auto unrefused = unrefusedIf(in[0] != "1" || bits != 1024);
    FilledKey holder;
    RSAKey& key = *holder.rsa;
    const RtosMutex lock = key.blinding.mutex;
    const bool isSeed = in[0].size() < 3;
    ByteSource source = isSeed ? ByteSource(numberOf(in[0])) : ByteSource(bytesOf(in[0]));
    source.limit = numberOf(in[2]);
    const Status status = Rsa_GenerateKey(source.bytes(), &key, bits, nullptr);
    if (isError(status)) {
        EXPECT_EQ(hexOf(key.n), firstKey().n); // as it was
        out = isSeed ? Words() : source.told();
        return status;
    }
    EXPECT_TRUE(key.privateKey == 1 && key.blinding.mutex == lock);
    EXPECT_EQ(VLONG_bitLength(key.n), bits);
    const Number message(std::string(bits / 4 - 16, 'a'));
    Number raised, back;
    RETURN_IF_ERROR(Rsa_PublicOp(&key, message, raised.out(), nullptr));
    RETURN_IF_ERROR(Rsa_PrivateCrt(&key, raised, back.out(), nullptr));
    EXPECT_EQ(back, message);
    out = source.told();
    out.insert(out.end(), {textOf(key.e), textOf(key.p), textOf(key.q)});
    return OK;
}

Status rsaConstruct(const Words& in, Words& out) {
    const Number x(in[0]), x1(in[1]), x2(in[2]);
    ByteSource bases(1);
    Number prime;
    const Status status = rsaConstructPrime(bases.bytes(), {x, x1, x2}, numberOf(in[3]), prime.out(), nullptr);
    out = {prime.text()};
    return status;
}

// Memory that the check of a fresh signature lacks counts as one that does not hold.
Status verdict(bool isVerified) {
    return isVerified ? OK : heapFaults().hasStruck() ? ERR_MEM_ALLOC_FAIL : ERR_FALSE;
}

Status dsaSign(const Words& in, Words& out) {
    ExampleKey key;
    ByteSource source(bytesOf(in[0]));
    Number r, s;
    bool verified = false;
    const Status status = Dsa_Sign(source.bytes(), key.dsa, Number(in[1]), &verified, r.out(), s.out(), nullptr);
    EXPECT_TRUE((r.get() == nullptr) == isError(status) && (s.get() == nullptr) == isError(status));
    RETURN_IF_ERROR(status);
    out = source.told(); // one draw of twice the 19 whole octets of x, less two
    out.insert(out.begin(), {r.text(), s.text()});
    return verdict(verified);
}

Status dsaVerify(const Words& in, Words& out) {
    ExampleKey key;
    bool valid = true;
    const Status status = Dsa_Verify(key.dsa, Number(in[0]), Number(in[1]), Number(in[2]), &valid, nullptr);
    EXPECT_TRUE(status == OK || !valid);
    out = status == OK ? Words{valid ? "valid" : "invalid"} : Words();
    return status;
}

Status dsaGenerate(const Words& in, Words& out) {
    const auto unrefused = unrefusedIf(in[0] != "43");
    const std::uint32_t L = numberOf(in[1]), N = numberOf(in[2]), hash = numberOf(in[3]);
    ExampleKey holder; // the old values go
    DSAKey& key = *holder.dsa;
    ByteSource source(numberOf(in[0]));
    source.limit = numberOf(in[4]);
    std::uint32_t counter = 0;
    Bytes seed(std::max(N / 8, 1U));
    Number h, r, s;
    const Status status =
        N == 160 && hash == kDsaSha1
            ? Dsa_GenerateKey(source.bytes(), &key, L, &counter, seed.data(), h.out(), nullptr)
            : Dsa_GenerateKeyEx(source.bytes(), &key, L, N, hash, &counter, seed.data(), h.out(), nullptr);
    for (const vlong* const value : {key.p, key.q, key.g, key.x, key.y, h.get()}) {
        EXPECT_EQ(value == nullptr, isError(status));
    }
    RETURN_IF_ERROR(status);
    out = source.told();
    out.insert(out.begin(), std::to_string(counter));
    out.insert(out.end(), {textOf(seed), textOf(key.p), textOf(key.q), textOf(key.x), textOf(key.y)});
    RETURN_IF_ERROR(VLONG_addUnit(h, 2, nullptr));
    EXPECT_EQ(h.text(), out[4]);
    bool isVerified = false;
    RETURN_IF_ERROR(Dsa_Sign(ByteSource(1).bytes(), &key, h, &isVerified, r.out(), s.out(), nullptr));
    return verdict(isVerified);
}

TEST(PubkeyVectors, Rsa) {
    runVectors("core/pubkey/rsa_vectors.txt", {{"rsakey", rsaKey},
                                               {"dsakey", dsaKey},
                                               {"rsa", reading(RsaKey_FromPublicDer)},
                                               {"pkcs8", reading(AsymKey_FromPkcs8Der)},
                                               {"signer", reading(asymKeyReadSigner)},
                                               {"block", block},
                                               {"refused", refused},
                                               {"strange", strange}});
}

TEST(PubkeyVectors, RsaGenerate) {
    runVectors("core/pubkey/rsa_generate_vectors.txt", {{"generate", rsaGenerate}, {"construct", rsaConstruct}});
}

TEST(PubkeyVectors, Dsa) {
    runVectors("core/pubkey/dsa_vectors.txt",
               {{"example", nullptr}, {"sign", dsaSign}, {"verify", dsaVerify}, {"generate", dsaGenerate}});
}

} // namespace
