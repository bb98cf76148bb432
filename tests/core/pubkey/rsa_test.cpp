// RSA keys and powers: in their byte formats, as strangers make them, blinded, in many threads.
#include "core/bignum/vlong_math.h"
#include "core/pubkey/key/key_encoding.h"
#include "core/pubkey/key/scoped_key.h"
#include "core/pubkey/rsa/internal/exponent_inverse.h"
#include "core/pubkey/rsa/rsa_sign.h"
#include "tests/core/pubkey/key_support.h"

#include <memory>
#include <thread>

namespace {

using namespace keytest;

// The result of an operation in hexadecimal.
Status privatePower(RSAKey* key, const vlong* input, std::string& hex, ByteSource* source = nullptr) {
    ScopedVlong result(nullptr);
    const Status status =
        Rsa_PrivateOp(key, input, source == nullptr ? nullptr : ByteSource::fill, source, result.out(), nullptr);
    hex = hexOf(result.get());
    EXPECT_EQ(hex == "null", isError(status));
    return status;
}

Status publicPower(const RSAKey* key, const vlong* input, std::string& hex) {
    ScopedVlong result(nullptr);
    const Status status = Rsa_PublicOp(key, input, result.out(), nullptr);
    hex = hexOf(result.get());
    EXPECT_EQ(hex == "null", isError(status));
    return status;
}

// Written from the primes and the exponent alone: what a key says of d, dP, dQ and qInv is not read, nor the order of its primes,
// nor signs: without an octet 00 in front these numbers are negative. A qInv that is right, but too large, is none.
Status rsaKey(const Words& in, Words& out) {
    const auto [e, p, q, input] = std::tie(in[0], in[1], in[2], in[3]);
    const Number pValue(p), qValue(q), inputValue(input);
    Number tooLarge;
    {
        const testheap::OwnWork own;
        EXPECT_EQ(VLONG_modInverse(qValue, pValue, tooLarge.out(), nullptr), OK);
        EXPECT_EQ(VLONG_add(tooLarge, pValue, nullptr), OK);
    }
    ScopedKey key;
    Bytes written;
    Words w; // 0, n, e, d, p, q, dP, dQ, qInv
    for (const auto& [first, second, qInv] :
         {std::tuple{q, p, std::string("07")}, {p, q, "07"}, {p, q, hexOf(tooLarge)}}) {
        const Bytes der = derOf("30(ONE,02(" + hexOf(multiplied(pValue, qValue)) + "),02(" + e + "),ONE,02(" + first +
                                    "),02(" + second + "),ONE,ONE,02(00" + qInv + "))",
                                named);
        RETURN_IF_ERROR(read(RsaKey_FromPublicDer, der, key.get()));
        RETURN_IF_ERROR(write(RsaKey_ToDer, key.get(), written));
        EXPECT_TRUE(w.empty() || integersOf(written) == w);
        w = integersOf(written);
    }
    EXPECT_EQ(w[0] + w[2] + w[4] + w[5], in[0] + in[1] + in[2]);
    RETURN_IF_ERROR(read(AsymKey_FromPkcs8Der, derOf("30(ZERO,RSA,04(" + toHex(written) + "))", named), key.get()));
    RETURN_IF_ERROR(write(RsaKey_ToDer, key.get(), written));
    EXPECT_EQ(integersOf(written), w);

    std::string power, back, hex;
    RSAKey* const rsa = asymKeyRsa(key.get());
    RETURN_IF_ERROR(privatePower(rsa, inputValue, power));
    RETURN_IF_ERROR(publicPower(rsa, Number(power), back));
    EXPECT_EQ(back, input);
    for (const auto& [value, expected] : {std::pair{"0", ""}, {"1", "01"}, {w[1].c_str(), ""}}) { // n counts as 0
        RETURN_IF_ERROR(privatePower(rsa, Number(value), hex));
        EXPECT_EQ(hex, expected);
    }
    RETURN_IF_ERROR(privatePower(rsa, rsa->p, hex));
    RETURN_IF_ERROR(publicPower(rsa, Number(hex), back));
    EXPECT_EQ(back, p);
    std::uint32_t length = 0;
    EXPECT_EQ(Rsa_ModulusLength(rsa, &length), OK);
    EXPECT_EQ(2 * length, w[1].size());

    RETURN_IF_ERROR(
        read(RsaKey_FromPublicDer, derOf("30(02(00" + w[1] + "),02(" + e + "))"), key.get())); // over the old
    EXPECT_TRUE(asymKeyRsa(key.get())->privateKey == 0 && asymKeyRsa(key.get())->p == nullptr);
    RETURN_IF_ERROR(write(RsaKey_ToDer, key.get(), written));
    EXPECT_EQ(integersOf(written), (Words{w[1], w[2]}));
    EXPECT_EQ(write(DsaKey_ToDer, key.get(), written), ERR_BAD_KEY_TYPE);
    out = {w[1], w[3], w[6], w[7], w[8], power};
    return OK;
}

// Each into an empty container and over a key, which is gone afterwards in any case.
VectorOperation reading(Reader reader) {
    return [reader](const Words& in, Words& out) {
        const Bytes der = derOf(in[1], named);
        // The largest take seconds each; the others are refused each allocation.
        const auto unrefused = der.size() > 2000 ? std::make_unique<testheap::OwnWork>() : nullptr;
        Status status = OK;
        for (const bool isFilled : {false, true}) {
            ScopedKey key;
            if (isFilled) {
                const testheap::OwnWork own;
                EXPECT_EQ(AsymKey_MakeDsa(key.get(), nullptr), OK);
            }
            status = read(reader, der, key.get());
            const RSAKey* const rsa = asymKeyRsa(key.get());
            EXPECT_TRUE((key.get()->type == kKeyEmpty) == isError(status) &&
                        (key.get()->key == nullptr) == isError(status));
            if (heapFaults().hasStruck()) {
                return status;
            }
            out = isError(status)        ? Words()
                  : rsa == nullptr       ? Words{"dsa"}
                  : rsa->privateKey != 0 ? Words{"private"}
                                         : Words{"public"};
        }
        return status;
    };
}

Status dsaKey(const Words& in, Words& out) {
    const Bytes der = derOf(in[0]);
    Bytes written;
    ScopedKey key;
    RETURN_IF_ERROR(read(asymKeyReadSigner, der, key.get())); // to make one signature it lacks its y
    EXPECT_EQ(asymKeyDsa(key.get())->y, nullptr);
    RETURN_IF_ERROR(read(AsymKey_FromPkcs8Der, der, key.get()));
    DSAKey& dsa = *asymKeyDsa(key.get());
    Words values = {"", hexOf(dsa.p), hexOf(dsa.q), hexOf(dsa.g), hexOf(dsa.y), hexOf(dsa.x)};
    out = Words(values.begin() + 1, values.end());
    RETURN_IF_ERROR(write(DsaKey_ToDer, key.get(), written));
    EXPECT_EQ(integersOf(written), values);
    EXPECT_EQ(write(RsaKey_ToDer, key.get(), written), ERR_BAD_KEY_TYPE);
    // The public part alone, into the same container; then as far as the values go.
    RETURN_IF_ERROR(setDsa(key.get(), out, out[3], ""));
    RETURN_IF_ERROR(write(DsaKey_ToDer, key.get(), written));
    values.pop_back();
    EXPECT_EQ(integersOf(written), values);
    EXPECT_EQ(VLONG_free(&dsa.q, nullptr), OK);
    RETURN_IF_ERROR(write(DsaKey_ToDer, key.get(), written));
    values.resize(2);
    EXPECT_EQ(integersOf(written), values);
    return OK;
}

Status block(const Words& in, Words& out) {
    FilledKey key;
    const Number value(toHex(bytesOf(in[0])));
    ScopedVlong signature(nullptr);
    RETURN_IF_ERROR(Rsa_PrivateCrt(key.rsa(), value, signature.out(), nullptr));
    std::uint8_t* bytes = nullptr;
    RETURN_IF_ERROR(Rsa_VlongToFixedBytes(signature.get(), 128, &bytes));
    Bytes opened(128);
    std::uint32_t length = 1;
    const Status status = Rsa_OpenPkcs1Signature(key.rsa(), bytes, opened.data(), &length, nullptr);
    void* memory = bytes;
    EXPECT_EQ(memWipeAndFree(&memory, 128), OK);
    opened.resize(length);
    out = isError(status) ? Words() : Words{textOf(opened)};
    EXPECT_TRUE(status == OK || length == 0);
    return status;
}

Status strange(const Words& in, Words& out) {
    const testheap::OwnWork own; // the key's making and its powers have each been refused their allocations
    FilledKey key(derOf("30(ZERO,V0,V1,ZERO,V2,V3)", [&in](const std::string& name) {
        return name[0] == 'V' ? derInteger(toHex(bytesOf(in[numberOf(name.substr(1))]))) : named(name);
    }));
    const Number input("5");
    std::string hex;
    Status status = publicPower(key.rsa(), input, hex);
    out.push_back(isError(status) ? statusName(status) : hex.empty() ? "." : hex);
    status = privatePower(key.rsa(), input, hex);
    if (in[4] == "any") {
        const Number pq = multiplied(Number(hexOf(key->p)), Number(hexOf(key->q)));
        hex = VLONG_cmp(Number(hex), pq) < 0 ? "below" : "above";
    }
    out.push_back(isError(status) ? statusName(status) : hex);
    return OK;
}

TEST(Rsa, Vectors) {
    runVectors("core/pubkey/rsa_vectors.txt", {{"rsakey", rsaKey},
                                               {"dsakey", dsaKey},
                                               {"rsa", reading(RsaKey_FromPublicDer)},
                                               {"pkcs8", reading(AsymKey_FromPkcs8Der)},
                                               {"signer", reading(asymKeyReadSigner)},
                                               {"block", block},
                                               {"strange", strange}});
}

TEST(Rsa, ABlindingPairServes33Operations) {
    FilledKey key;
    ByteSource source(1);
    for (unsigned operation = 0; operation <= 100; ++operation) {
        const Number input(firstKey().p + std::to_string(1000 + operation));
        std::string blinded, plain;
        ASSERT_EQ(privatePower(key.rsa(), input, blinded, &source), OK);
        ASSERT_EQ(privatePower(key.rsa(), input, plain), OK);
        ASSERT_EQ(blinded, plain);
        ASSERT_EQ(source.draws, std::vector<std::uint32_t>(1 + operation / 33, 128 - sizeof(Unit))) << operation;
    }
}

// Whatever is refused: no half of a pair is left, none serves twice, and the key still gives what it should.
TEST(Rsa, RefusalsWhileBlinded) {
    FilledKey key, tiny(derOf("30(ZERO,020123,020105,ZERO,020107,020105)", named));
    const Number input(firstKey().input);
    ByteSource source(1), broken(1);
    std::string hex;
    broken.limit = 0;
    EXPECT_EQ(privatePower(tiny.rsa(), Number("3"), hex, &source), ERR_RSA_INVALID_KEY);
    EXPECT_EQ(privatePower(key.rsa(), input, hex, &broken), ERR_RTOS_MUTEX_WAIT);
    {
        const Fault busy(PlatformService::mutexWait, 1);
        EXPECT_EQ(privatePower(key.rsa(), input, hex, &source), ERR_RTOS_MUTEX_WAIT);
    }
    EXPECT_TRUE(source.draws.empty());
    const auto use = [&] {
        const Status status = privatePower(key.rsa(), input, hex, &source);
        EXPECT_EQ(hex, isError(status) ? "null" : firstKey().power);
        return status;
    };
    unsigned dropped = 0;
    refuseEach([&] { // a first use of a pair, then the refused one, then another
        {
            const testheap::OwnWork own;
            EXPECT_EQ(use(), OK);
        }
        const Status status = use();
        dropped += key->blinding.blind == nullptr && key->blinding.unblind == nullptr ? 1U : 0U;
        const testheap::OwnWork own;
        EXPECT_EQ(use(), OK);
        (void)VLONG_free(&key->blinding.blind, nullptr);
        (void)VLONG_free(&key->blinding.unblind, nullptr);
        return status;
    });
    EXPECT_GE(dropped, 2U) << "each of two squarings takes a record";
}

// Primes in the wrong order, with the derived values of the right one: all of it changes, or nothing does.
TEST(Rsa, PreparingAgain) {
    FilledKey key;
    refuseEach([&] {
        if (VLONG_cmp(key->p, key->q) > 0) {
            std::swap(key->p, key->q);
        }
        const RSAKey before = *key.rsa();
        const Status status = Rsa_PrepareKey(key.rsa(), nullptr);
        EXPECT_EQ(key->p == before.p && key->dP == before.dP && key->contextQ == before.contextQ, isError(status));
        return status;
    });
    EXPECT_EQ(Rsa_PrepareKey(key.rsa(), nullptr), OK);
    std::string hex;
    EXPECT_EQ(privatePower(key.rsa(), Number(firstKey().input), hex), OK);
    EXPECT_EQ(hex, firstKey().power);
}

// A bit of any derived value wrong, or a key whose values do not belong together: no signature. Where n is none of theirs
// the result is what it is.
TEST(Rsa, SignaturesAreChecked) {
    FilledKey key;
    const auto sign = [](RSAKey* rsa, const vlong* message) {
        ScopedVlong result(nullptr);
        const Status status = rsaSign(rsa, message, result.out(), nullptr);
        EXPECT_EQ(result.get() == nullptr, isError(status));
        return isError(status) ? std::string(statusName(status)) : hexOf(result.get());
    };
    const Number input(firstKey().input), five("5");
    for (vlong* const value : {key->dP, key->dQ, key->qInv, key->contextP->modulus, key->contextQ->radixSquared}) {
        for (const unsigned bit : {0U, 77U, 400U}) {
            value->units[bit / 64] ^= Unit{1} << bit % 64;
            EXPECT_EQ(sign(key.rsa(), input), "ERR_RSA_BAD_SIGNATURE") << bit;
            value->units[bit / 64] ^= Unit{1} << bit % 64;
        }
    }
    EXPECT_EQ(sign(key.rsa(), input), firstKey().power);
    // p and q: 2^127 - 1, 2^89 - 1; a composite number in place of each; e divides p - 1; q three times a prime
    const std::string kP = "7fffffffffffffffffffffffffffffff", kQ = "01ffffffffffffffffffffff";
    for (const auto& [p, q, e] : {std::tuple{kP, kQ, "0b"},
                                  {"7ffffffffffffffffffffffffffffffd", kQ, "0b"},
                                  {kP, "01fffffffffffffffffffff9", "0b"},
                                  {kP, kQ, "07"},
                                  {kP, "05fffffffffffffffffffffd", "0b"}}) {
        for (const std::string& n : {hexOf(multiplied(Number(p), Number(q))), std::string("ff0123456789abcdef")}) {
            FilledKey strangers(
                derOf("30(ZERO,02(00" + n + "),02(" + e + "),ZERO,02(" + p + "),02(" + q + "))", named));
            const bool isSigned = n.size() < 20 || (p == kP && q == kQ && e[1] == 'b');
            EXPECT_EQ(sign(strangers.rsa(), five) != "ERR_RSA_BAD_SIGNATURE", isSigned) << p << q << e;
        }
    }
    refuseEach([&] {
        ScopedVlong result(nullptr);
        return rsaSign(key.rsa(), input, result.out(), nullptr);
    });
}

TEST(Rsa, OneKeyInManyThreads) {
    const auto constant = [](void*, std::uint32_t length, std::uint8_t* buffer) -> Status {
        std::fill_n(buffer, length, std::uint8_t{0x5A});
        return OK;
    };
    FilledKey key;
    std::vector<std::thread> threads;
    for (unsigned thread = 0; thread < 16; ++thread) {
        threads.emplace_back([&] {
            const Number input(firstKey().input);
            for (unsigned i = 0; i < 5; ++i) {
                Number result;
                EXPECT_EQ(Rsa_PrivateOp(key.rsa(), input, constant, nullptr, result.out(), nullptr), OK);
                EXPECT_EQ(hexOf(result), firstKey().power);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(key->blinding.blindUses, 80U - 66U - 1U);
}

TEST(Rsa, ModuliAndExponentsThatAreNotOpened) {
    const Bytes signature(600, 0x11);
    Bytes opened(600);
    for (const auto& [modulus, exponent, expected] : {std::tuple{"ff*513", "3", ERR_RSA_INVALID_MODULUS},
                                                      {"ff*512", "3", ERR_RSA_DECRYPTION},
                                                      {"ff*512", "010000000000000001", ERR_RSA_INVALID_EXPONENT},
                                                      {"ff*512", "none", ERR_RSA_INVALID_EXPONENT},
                                                      {"00", "3", ERR_BAD_MODULO}}) {
        FilledKey key(derOf("30(02(00" + toHex(bytesOf(modulus)) + "),E)", named));
        std::uint32_t length = 1;
        EXPECT_EQ(VLONG_free(&key->e, nullptr), OK);
        key->e = Number(exponent).release();
        EXPECT_EQ(Rsa_OpenPkcs1Signature(key.rsa(), signature.data(), opened.data(), &length, nullptr), expected);
        EXPECT_EQ(length, 0U);
    }
}

TEST(AsymKey, States) {
    AsymmetricKey key{7, &key};
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
        EXPECT_EQ(read(RsaKey_FromPublicDer, named("PUBLIC"), &key), refusal);
        EXPECT_EQ(key.type, type);
    }
    // And a key whose record lacks one of its values. Of DSA: dsa_test.cpp.
    FilledKey filled;
    const Number one("1");
    ByteSource source(1);
    std::string hex;
    Bytes written;
    const auto expect = [](Status status, const auto& use, auto... parts) {
        for (auto* const part : {parts...}) {
            auto* const kept = std::exchange(*part, nullptr);
            EXPECT_EQ(use(), status);
            *part = kept;
        }
    };
    const auto crt = [&] {
        return privatePower(filled.rsa(), one, hex);
    };
    expect(ERR_RSA_KEY_NOT_READY, crt, &filled->p, &filled->q, &filled->dP, &filled->dQ, &filled->qInv);
    expect(ERR_RSA_KEY_NOT_READY, crt, &filled->contextP, &filled->contextQ);
    expect(
        ERR_RSA_KEY_NOT_READY, [&] { return privatePower(filled.rsa(), one, hex, &source); }, &filled->e, &filled->n);
    expect(
        ERR_RSA_KEY_NOT_READY, [&] { return write(RsaKey_ToDer, filled.get(), written); }, &filled->qInv);
    expect(
        ERR_NULL_POINTER, [&] { return Rsa_PrepareKey(filled.rsa(), nullptr); }, &filled->e, &filled->p, &filled->q);
}

TEST(AsymKey, Arguments) {
    ScopedKey holder;
    AsymmetricKey none{};
    RSAKey empty{};
    DSAKey bare{}, *dsa = nullptr;
    const Number one("1");
    Number out, other;
    ByteSource source(1);
    std::uint8_t byte = 3, *bytes = nullptr;
    std::uint32_t length = 0;
    bool valid = false;
    vlong **const o = out.out(), **const none2 = nullptr;
    expectNullsRefused({AsymKey_Init}, &none);
    expectNullsRefused({AsymKey_Uninit, AsymKey_MakeRsa, AsymKey_MakeDsa}, holder.get(), none2);
    expectNullsRefused({RsaKey_FromPublicDer, AsymKey_FromPkcs8Der, asymKeyReadSigner}, &byte, 1, &none);
    expectNullsRefused({RsaKey_ToDer, DsaKey_ToDer}, &none, &bytes, &length);
    expectNullsRefused({Rsa_PrepareKey}, &empty, none2);
    expectNullsRefused({Rsa_ModulusLength}, &empty, &length);
    expectNullsRefused({Rsa_BytesToVlong}, &byte, 1, o);
    expectNullsRefused({Rsa_VlongToFixedBytes}, one, 1, &bytes);
    expectNullsRefused({Rsa_PublicOp, Rsa_PrivateCrt}, &empty, one, o, none2);
    expectNullsRefused({Rsa_PrivateOp}, &empty, one, nullptr, nullptr, o, none2);
    expectNullsRefused<ERR_RSA_INVALID_KEY>({RsaKey_SetPublic}, &empty, 2, &byte, 1, none2);
    expectNullsRefused<ERR_RSA_INVALID_KEY>({RsaKey_SetPrivate}, &empty, 2, &byte, 1, &byte, 1, &byte, 1, none2);
    expectNullsRefused<ERR_RSA_INVALID_KEY>({Rsa_OpenPkcs1Signature}, &empty, &byte, &byte, &length, none2);
    expectNullsRefused({inverseOfExponent}, one, one, o, none2);
    expectNullsRefused({Dsa_SetPublicKey, Dsa_SetPrivateKey}, &bare, &byte, 1, &byte, 1, &byte, 1, &byte, 1, none2);
    expectNullsRefused({Dsa_Sign}, source.bytes(), &bare, one, nullptr, o, other.out(), none2);
    expectNullsRefused({Dsa_Verify}, &bare, one, one, one, &valid, none2);
    expectNullsRefused({Dsa_FreeKey}, &dsa, none2);
    const auto setParts = [&](AsymmetricKey* key, const std::uint8_t* p, const std::uint8_t* q, const std::uint8_t* g) {
        return AsymKey_SetDsaParameters(key, p, 1, q, 1, g, 1, &byte, 1, nullptr, 0, nullptr);
    };
    const std::pair<Status, Status> rows[] = {
        {Dsa_CreateKey(nullptr), ERR_NULL_POINTER},
        {Dsa_FreeKey(&dsa, nullptr), ERR_NULL_POINTER},
        {Rsa_PrepareKey(&empty, nullptr), OK}, // a public key
        {Rsa_ModulusLength(&empty, &length), ERR_NULL_POINTER},
        {Rsa_PublicOp(&empty, one, o, nullptr), ERR_NULL_POINTER},
        {Rsa_PrivateOp(&empty, one, ByteSource::fill, &source, o, nullptr), ERR_RSA_KEY_NOT_READY},
        {Rsa_OpenPkcs1Signature(&empty, &byte, &byte, &length, nullptr), ERR_NULL_POINTER},
        {RsaKey_FromPublicDer(&byte, 0x80000000, &none), ERR_EOF},
        {Rsa_BytesToVlong(&byte, 65536, o), ERR_BAD_LENGTH},
        {RsaKey_ToDer(&none, &bytes, &length), ERR_BAD_KEY_TYPE},
        {RsaKey_SetPublic(&empty, 1, nullptr, 0, nullptr), ERR_BAD_EXPONENT},
        {RsaKey_SetPublic(&empty, 2, &byte, 0x80000000, nullptr), ERR_BAD_LENGTH},
        {RsaKey_SetPrivate(&empty, 1, nullptr, 1, &byte, 1, &byte, 1, nullptr), ERR_BAD_EXPONENT},
        {setParts(nullptr, &byte, &byte, &byte), ERR_NULL_POINTER},
        {setParts(holder.get(), nullptr, &byte, &byte), ERR_NULL_POINTER}, // found late
        {setParts(holder.get(), &byte, nullptr, &byte), ERR_NULL_POINTER},
        {setParts(holder.get(), &byte, &byte, nullptr), ERR_NULL_POINTER},
        {setDsa(holder.get(), {"", "03", "03"}, "03", ""), ERR_INVALID_ARG},
        {setDsa(holder.get(), {"03", "03", "03"}, "", ""), ERR_INVALID_ARG},
        {setDsa(holder.get(), {"00", "03", "03"}, "", "03"), ERR_BAD_MODULO},
        {setDsa(holder.get(), {"03", "03", "03"}, "03", ""), OK}};
    for (const auto& row : rows) {
        EXPECT_EQ(row.first, row.second) << "row " << &row - rows;
    }
}

} // namespace
