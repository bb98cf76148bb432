// Keys, powers and signatures against the vector files of this folder: from openssl, from the standard, from models in Python.
// Then keys that are refused something, lack something, are used by many threads, and those of strangers. What a key computes
// from any numbers, and that it is written as it was read: fuzz/key.cpp and tests/capi.
#include "core/bignum/vlong_convert.h"
#include "core/bignum/vlong_math.h"
#include "core/pubkey/dsa/internal/dsa_params.h"
#include "core/pubkey/key/key_encoding.h"
#include "core/pubkey/rsa/internal/exponent_inverse.h"
#include "core/pubkey/rsa/internal/rsa_prime.h"
#include "core/pubkey/rsa/rsa_sign.h"
#include "tests/core/pubkey/key_support.h"
#include "tests/support/in_threads.h"

#include <memory>

namespace {

// Operations that take long are not refused each allocation.
std::unique_ptr<testheap::OwnWork> unrefusedIf(bool takesLong) {
    return takesLong ? std::make_unique<testheap::OwnWork>() : nullptr;
}

// Read from the primes and the exponent alone: what a key says of d, dP, dQ and qInv is not read, nor the order of its primes,
// nor signs: without an octet 00 in front these numbers are negative. All of it is written.
Status rsaKey(const Words& in, Words& out) {
    const RsaNumbers k(in);
    const std::string others = "02(" + k.n + ")+02(" + k.e + ")+020101+02(" + k.q + ")+02(" + k.p + ")";
    ScopedKey key;
    Bytes written;
    RETURN_IF_ERROR(readKey(RsaKey_FromPublicDer, derOf("30(020101+" + others + "+020101+020101+020107)"), key.get()));
    RETURN_IF_ERROR(writeKey(RsaKey_ToDer, key.get(), written));
    EXPECT_EQ(written, derOf(k));
    std::string hex;
    for (const auto& [value, expected] : {std::pair{std::string("0"), ""}, {"1", "01"}, {k.n, ""}}) { // n counts as 0
        RETURN_IF_ERROR(into(hex, Rsa_PrivateCrt, asymKeyRsa(key.get()), Number(value)));
        EXPECT_EQ(hex, expected);
    }
    RETURN_IF_ERROR(into(hex, rsaSign, asymKeyRsa(key.get()), Number(k.input)));
    out = {hex};
    return OK;
}

// Over a key, which is gone afterwards in any case.
VectorOperation reading(Reader reader) {
    return [reader](const Words& in, Words& out) {
        const Bytes der = derOf(in[1]);
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
    out = {toHex(written)};
    RETURN_IF_ERROR(readKey(AsymKey_FromPkcs8Der, der, key.get()));
    RETURN_IF_ERROR(writeKey(DsaKey_ToDer, key.get(), written));
    out.push_back(toHex(written));
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
    FilledKey key(derOf("30(02(00+" + in[1] + ")+@E)"));
    (void)VLONG_free(&key.rsa->e, nullptr);
    key.rsa->e = Number(in[0]).release();
    return opened(key.rsa, Bytes(600, 0x11), out);
}

Status strange(const Words& in, Words& out) {
    const testheap::OwnWork own; // the key's making and its powers have each been refused their allocations
    FilledKey key(
        derOf("30(020100+02(00+" + in[0] + ")+02(00+" + in[1] + ")+020100+02(00+" + in[2] + ")+02(00+" + in[3] + "))"));
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

// Whatever is refused: no half of a pair is left, none serves twice, and the key still gives what it should.
TEST(Rsa, RefusalsWhileBlinded) {
    FilledKey key, tiny(derOf("30(020100020123020105020100020107020105)"));
    const Number input(firstKey().input);
    ByteSource source(1), broken(1);
    std::string hex;
    broken.limit = 0;
    EXPECT_EQ(into(hex, Rsa_PrivateOp, tiny.rsa, input, ByteSource::fill, &source), ERR_RSA_INVALID_KEY);
    EXPECT_EQ(into(hex, Rsa_PrivateOp, key.rsa, input, ByteSource::fill, &broken), ERR_RTOS_MUTEX_WAIT);
    const auto use = [&] {
        const Status status = into(hex, Rsa_PrivateOp, key.rsa, input, ByteSource::fill, &source);
        EXPECT_EQ(hex, isError(status) ? "null" : firstKey().power);
        return status;
    };
    {
        const Fault busy(PlatformService::mutexWait, 1);
        EXPECT_EQ(use(), ERR_RTOS_MUTEX_WAIT);
    }
    EXPECT_TRUE(source.draws.empty());
    RsaBlinding& pair = key.rsa->blinding;
    unsigned dropped = 0;
    refuseEach([&] { // a first use of a pair, then the refused one, then another
        {
            const testheap::OwnWork own;
            EXPECT_EQ(use(), OK);
        }
        const Status status = use();
        dropped += pair.blind == nullptr && pair.unblind == nullptr ? 1U : 0U;
        const testheap::OwnWork own;
        EXPECT_EQ(use(), OK);
        (void)VLONG_free(&pair.blind, nullptr);
        (void)VLONG_free(&pair.unblind, nullptr);
        return status;
    });
    EXPECT_EQ(source.draws[0], 128 - sizeof(Unit));
    EXPECT_GE(dropped, 2U) << "each of two squarings takes a record";
}

// Primes in the wrong order, with the derived values of the right one: all of it changes, or nothing does. With a bit of one
// of those values wrong there is no signature.
TEST(Rsa, PreparingAgainAndSigning) {
    FilledKey key;
    RSAKey& rsa = *key.rsa;
    const Number input(firstKey().input);
    std::string hex;
    refuseEach([&] {
        if (VLONG_cmp(rsa.p, rsa.q) > 0) {
            std::swap(rsa.p, rsa.q);
        }
        const RSAKey before = rsa;
        const Status status = Rsa_PrepareKey(&rsa, nullptr);
        EXPECT_EQ(rsa.p == before.p && rsa.dP == before.dP && rsa.contextQ == before.contextQ, isError(status));
        return status;
    });
    EXPECT_EQ(Rsa_PrepareKey(&rsa, nullptr), OK);
    for (vlong* const value : {rsa.dP, rsa.dQ, rsa.qInv, rsa.contextP->modulus, rsa.contextQ->radixSquared}) {
        for (const unsigned bit : {0U, 77U, 400U}) {
            value->units[bit / 64] ^= Unit{1} << bit % 64;
            EXPECT_EQ(into(hex, rsaSign, &rsa, input), ERR_RSA_BAD_SIGNATURE) << bit;
            value->units[bit / 64] ^= Unit{1} << bit % 64;
        }
    }
    refuseEach([&] { return into(hex, rsaSign, &rsa, input); });
    EXPECT_EQ(into(hex, rsaSign, &rsa, input), OK);
    EXPECT_EQ(hex, firstKey().power);
}

// Each pair serves 33 operations, in whichever thread.
TEST(Rsa, OneKeyInManyThreads) {
    FilledKey key;
    ByteSource source(1); // drawn from under the key's lock
    const Number input(firstKey().input);
    inThreads(16, [&](unsigned) {
        std::string hex;
        for (unsigned i = 0; i < 5; ++i) {
            EXPECT_EQ(into(hex, Rsa_PrivateOp, key.rsa, input, ByteSource::fill, &source), OK);
            EXPECT_EQ(hex, firstKey().power);
        }
    });
    EXPECT_EQ(key.rsa->blinding.blindUses, 80U - 66U - 1U);
}

// One less than a multiple is met by a modulus that comes out a bit short, as in the first attempt from this seed.
TEST(RsaGenerate, OneBitLess) {
    FilledKey key;
    ByteSource source(12);
    EXPECT_EQ(Rsa_GenerateKey(source.bytes(), nullptr, 1024, nullptr), ERR_RSA_INVALID_KEY);
    EXPECT_EQ(Rsa_GenerateKey(source.bytes(), key.rsa, 1023, nullptr), OK);
    EXPECT_EQ(VLONG_bitLength(key.rsa->n), 1023U);
}

// A key that lacks a value, or has one that no key has: a status or a signature without meaning. Any others: fuzz/key.cpp.
TEST(Dsa, ForeignValues) {
    ExampleKey holder;
    const Words example = vectorsOf("core/pubkey/dsa_vectors.txt", "verify")[0];
    const Number m(example[0]), goodR(example[1]), goodS(example[2]), longest("ffffffffffffffff*4096");
    DSAKey key = *holder.dsa;
    Number r, s;
    for (vlong* DSAKey::*const value : {&DSAKey::p, &DSAKey::q, &DSAKey::g, &DSAKey::y, &DSAKey::x}) {
        for (const std::string text : {"none", "0", "7fff", "ffff"}) {
            const Number foreign(text);
            key.*value = foreign.get();
            const Status expected = text == "none" && value != &DSAKey::y ? ERR_NULL_POINTER
                                    : text == "0" && value == &DSAKey::p  ? ERR_BAD_MODULO
                                    : text == "0" && value == &DSAKey::q  ? ERR_DIVIDE_BY_ZERO
                                                                          : OK;
            ByteSource source(9);
            bool isValid = true;
            EXPECT_EQ(Dsa_Sign(source.bytes(), &key, m, &isValid, r.out(), s.out(), nullptr), expected) << text;
            if (value == &DSAKey::x && expected == OK) { // less than 16 bits leave no room for a random k: it is 0
                EXPECT_EQ(r.text() == "1" && s.text() == "0" && source.draws.empty(), text != "ffff") << text;
            }
            const Status status = Dsa_Verify(&key, m, goodR, goodS, &isValid, nullptr);
            EXPECT_EQ(isValid, value == &DSAKey::x);
            EXPECT_EQ(text == "none" && !isValid, status == ERR_NULL_POINTER) << text;
            key = *holder.dsa;
        }
    }
    EXPECT_EQ(Dsa_Sign(ByteSource(9).bytes(), &key, m, nullptr, r.out(), s.out(), nullptr), OK); // unchecked
    key.x = longest.get(); // no number holds twice as many random octets
    EXPECT_EQ(Dsa_Sign(ByteSource(9).bytes(), &key, m, nullptr, r.out(), s.out(), nullptr), ERR_BAD_LENGTH);
    bool isValid = true;
    expectNullsRefused({Dsa_Verify}, holder.dsa, m, goodR, goodS, &isValid, nullptr);
}

// A hash that gives the prime q of the example first and then zeros, with which every p is a bit too short: for each seed
// 4 L - 1 candidates of seven hashes are tried.
TEST(Dsa, CandidatesOfOneSeed) {
    static std::uint32_t hashes = 0;
    const auto hash = [](const std::uint8_t*, std::uint32_t, std::uint8_t* out) {
        const Bytes bytes = bytesOf(hashes++ == 0 ? "c773218c737ec8ee993b4f2ded30f48edace915f" : "00*20");
        std::copy(bytes.begin(), bytes.end(), out);
        return OK;
    };
    const auto source = [](void*, std::uint32_t length, std::uint8_t* buffer) {
        std::fill_n(buffer, length, std::uint8_t{9});
        return hashes > 1 ? ERR_GENERAL : OK; // at the second seed
    };
    Number p, q;
    std::uint32_t counter = 0;
    std::uint8_t seed[20];
    EXPECT_EQ(dsaGeneratePrimes({source, nullptr}, {1024, 160, 20, hash}, p.out(), q.out(), &counter, seed, nullptr),
              ERR_GENERAL);
    EXPECT_EQ(hashes, 1 + (4 * 1024 - 1) * 7);
}

TEST(AsymKey, States) {
    AsymmetricKey key{7, &key};
    Bytes written;
    ASSERT_EQ(AsymKey_Init(&key), OK);
    for (const auto make : {AsymKey_MakeRsa, AsymKey_MakeDsa, AsymKey_MakeRsa}) {
        ASSERT_EQ(make(&key, nullptr), OK); // over the one before
        EXPECT_EQ(asymKeyRsa(&key) != nullptr, make == AsymKey_MakeRsa);
        EXPECT_EQ(asymKeyDsa(&key) != nullptr, make == AsymKey_MakeDsa);
    }
    EXPECT_EQ(AsymKey_Uninit(&key, nullptr), OK);
    for (const std::uint32_t type : {kKeyRsa, kKeyDsa, 2U, 4U}) { // without a record, and of no type
        key.type = type;
        const Status refusal = type % 2 != 0 ? ERR_NULL_POINTER : ERR_INTERNAL_ERROR;
        EXPECT_EQ(AsymKey_Uninit(&key, nullptr), refusal);
        EXPECT_EQ(AsymKey_MakeDsa(&key, nullptr), refusal);
        EXPECT_EQ(readKey(RsaKey_FromPublicDer, derOf("30(@N+@E)"), &key), refusal);
        EXPECT_EQ(writeKey(type == kKeyDsa ? DsaKey_ToDer : RsaKey_ToDer, &key, written),
                  type % 2 != 0 ? ERR_NULL_POINTER : ERR_BAD_KEY_TYPE);
        EXPECT_EQ(key.type, type);
    }
}

// A record that lacks one of its values.
TEST(AsymKey, AbsentValues) {
    FilledKey key;
    std::string hex;
    Bytes written;
    for (vlong* RSAKey::*const value :
         {&RSAKey::n, &RSAKey::e, &RSAKey::p, &RSAKey::q, &RSAKey::dP, &RSAKey::dQ, &RSAKey::qInv}) {
        RSAKey lacking = *key.rsa;
        lacking.*value = nullptr;
        const AsymmetricKey container{kKeyRsa, &lacking};
        const RandomSource random = value == &RSAKey::n || value == &RSAKey::e ? ByteSource::fill : nullptr;
        EXPECT_EQ(into(hex, Rsa_PrivateOp, &lacking, Number("1"), random, nullptr), ERR_RSA_KEY_NOT_READY);
        EXPECT_EQ(writeKey(RsaKey_ToDer, &container, written), ERR_RSA_KEY_NOT_READY);
        if (value == &RSAKey::e || value == &RSAKey::p || value == &RSAKey::q) {
            EXPECT_EQ(Rsa_PrepareKey(&lacking, nullptr), ERR_NULL_POINTER);
        }
    }
    for (MontgomeryCtx* RSAKey::*const context : {&RSAKey::contextP, &RSAKey::contextQ}) {
        RSAKey lacking = *key.rsa;
        lacking.*context = nullptr;
        EXPECT_EQ(into(hex, Rsa_PrivateCrt, &lacking, Number("1")), ERR_RSA_KEY_NOT_READY);
    }
}

TEST(AsymKey, Arguments) {
    expectNullsRefusedByEach(AsymKey_Init, AsymKey_Uninit, AsymKey_MakeRsa, AsymKey_MakeDsa, RsaKey_FromPublicDer,
                             AsymKey_FromPkcs8Der, asymKeyReadSigner, RsaKey_ToDer, DsaKey_ToDer, Rsa_PrepareKey,
                             Rsa_ModulusLength, Rsa_VlongToFixedBytes, Rsa_PublicOp, Rsa_PrivateCrt, Rsa_PrivateOp,
                             inverseOfExponent, Dsa_CreateKey, Dsa_FreeKey, Dsa_SetPublicKey, Dsa_SetPrivateKey,
                             Dsa_Sign);
    expectNullsRefusedByEach<ERR_RSA_INVALID_KEY>(RsaKey_SetPublic, RsaKey_SetPrivate, Rsa_OpenPkcs1Signature);
    const auto setGroup = +[](AsymmetricKey* key, std::uint8_t* p, std::uint8_t* q, std::uint8_t* g) {
        return AsymKey_SetDsaParameters(key, p, 1, q, 1, g, 1, named("@TEXT").data(), 1, nullptr, 0, nullptr);
    };
    FilledKey rsa;
    ScopedKey key;
    RSAKey empty{};
    DSAKey* none = nullptr;
    Number out;
    Bytes written, bytes = {0, 3, 5, 7, 9};
    std::uint8_t *const b = bytes.data(), *const p = b + 1, *const q = b + 2, *const g = b + 3, *const y = b + 4;
    std::string hex;
    std::uint32_t length = 0;
    expectNullsRefused({Rsa_BytesToVlong}, b, 1, out.out());
    EXPECT_EQ(RsaKey_FromPublicDer(b, 0x80000000, key.get()), ERR_EOF);
    EXPECT_EQ(writeKey(RsaKey_ToDer, key.get(), written), ERR_BAD_KEY_TYPE);
    EXPECT_EQ(writeKey(DsaKey_ToDer, rsa.get(), written), ERR_BAD_KEY_TYPE);
    EXPECT_EQ(RsaKey_SetPublic(rsa.rsa, 3, p, 1, nullptr), OK); // over a private key
    EXPECT_EQ(Dsa_FreeKey(&none, nullptr), ERR_NULL_POINTER);
    EXPECT_EQ(Dsa_GenerateKey({ByteSource::fill, nullptr}, none, 1024, nullptr, nullptr, nullptr, nullptr),
              ERR_NULL_POINTER);
    EXPECT_EQ(Rsa_PrepareKey(&empty, nullptr), OK); // a public key
    EXPECT_EQ(Rsa_ModulusLength(&empty, &length), ERR_NULL_POINTER);
    EXPECT_EQ(into(hex, Rsa_PublicOp, &empty, Number("1")), ERR_NULL_POINTER);
    EXPECT_EQ(into(hex, Rsa_PrivateOp, &empty, Number("1"), ByteSource::fill, nullptr), ERR_RSA_KEY_NOT_READY);
    EXPECT_EQ(Rsa_OpenPkcs1Signature(&empty, b, b, &length, nullptr), ERR_NULL_POINTER);
    EXPECT_EQ(Rsa_BytesToVlong(b, 65536, out.out()), ERR_BAD_LENGTH);
    EXPECT_EQ(RsaKey_SetPublic(&empty, 1, nullptr, 0, nullptr), ERR_BAD_EXPONENT);
    EXPECT_EQ(RsaKey_SetPublic(&empty, 2, b, 0x80000000, nullptr), ERR_BAD_LENGTH);
    EXPECT_EQ(RsaKey_SetPrivate(&empty, 1, nullptr, 1, b, 1, b, 1, nullptr), ERR_BAD_EXPONENT);
    expectNullsRefused({setGroup}, key.get(), p, q, g); // that of p is found late
    EXPECT_EQ(AsymKey_SetDsaParameters(key.get(), p, 0, q, 1, g, 1, y, 1, nullptr, 0, nullptr), ERR_INVALID_ARG);
    EXPECT_EQ(AsymKey_SetDsaParameters(key.get(), p, 1, q, 1, g, 1, y, 0, y, 0, nullptr), ERR_INVALID_ARG);
    EXPECT_EQ(AsymKey_SetDsaParameters(key.get(), b, 1, q, 1, g, 1, nullptr, 0, y, 1, nullptr), ERR_BAD_MODULO);
    EXPECT_EQ(AsymKey_SetDsaParameters(key.get(), p, 1, q, 1, g, 1, y, 1, nullptr, 0, nullptr), OK);
    EXPECT_EQ(writeKey(DsaKey_ToDer, key.get(), written), OK);
    EXPECT_EQ(toHex(written), "300f020100020103020105020107020109");
}

} // namespace
