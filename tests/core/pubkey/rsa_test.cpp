// RSA keys and powers: in their byte formats, as strangers make them, blinded, in many threads.
#include "core/bignum/vlong_convert.h"
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
template <typename Run> Status into(std::string& hex, Run run) {
    ScopedVlong result(nullptr);
    const Status status = run(result.out());
    hex = hexOf(result.get());
    EXPECT_EQ(hex == "null", isError(status));
    return status;
}

Status privatePower(RSAKey* key, const vlong* input, std::string& hex, ByteSource* source = nullptr) {
    const RandomSource fill = source == nullptr ? nullptr : ByteSource::fill;
    return into(hex, [&](vlong** out) { return Rsa_PrivateOp(key, input, fill, source, out, nullptr); });
}

Status publicPower(const RSAKey* key, const vlong* input, std::string& hex) {
    return into(hex, [&](vlong** out) { return Rsa_PublicOp(key, input, out, nullptr); });
}

Status sign(RSAKey* key, const vlong* input, std::string& hex) {
    return into(hex, [&](vlong** out) { return rsaSign(key, input, out, nullptr); });
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

    std::string power, back, hex;
    RSAKey* const rsa = asymKeyRsa(key.get());
    RETURN_IF_ERROR(privatePower(rsa, inputValue, power));
    RETURN_IF_ERROR(publicPower(rsa, Number(power), back));
    EXPECT_EQ(back, input);
    for (const auto& [value, expected] : {std::pair{"0", ""}, {"1", "01"}, {w[1].c_str(), ""}}) { // n counts as 0
        RETURN_IF_ERROR(privatePower(rsa, Number(value), hex));
        EXPECT_EQ(hex, expected);
    }
    RETURN_IF_ERROR(
        read(RsaKey_FromPublicDer, derOf("30(02(00" + w[1] + "),02(" + e + "))"), key.get())); // over the old
    EXPECT_TRUE(asymKeyRsa(key.get())->privateKey == 0 && asymKeyRsa(key.get())->p == nullptr);
    RETURN_IF_ERROR(write(RsaKey_ToDer, key.get(), written));
    EXPECT_EQ(integersOf(written), (Words{w[1], w[2]}));
    EXPECT_EQ(write(DsaKey_ToDer, key.get(), written), ERR_BAD_KEY_TYPE);
    out = {w[1], w[3], w[6], w[7], w[8], power};
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
        // The largest take seconds each; the others are refused each allocation.
        const auto unrefused = der.size() > 2000 ? std::make_unique<testheap::OwnWork>() : nullptr;
        const Status status = read(reader, der, key.get());
        const RSAKey* const rsa = asymKeyRsa(key.get());
        EXPECT_EQ(key.get()->type == kKeyEmpty, isError(status));
        EXPECT_EQ(key.get()->key == nullptr, isError(status));
        out = isError(status)        ? Words()
              : rsa == nullptr       ? Words{"dsa"}
              : rsa->privateKey != 0 ? Words{"private"}
                                     : Words{"public"};
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
    RETURN_IF_ERROR(setDsa(key.get(), out, out[3], "")); // the public part alone, into the same container
    for (const std::size_t count : {5U, 2U}) {           // then as far as the values go
        RETURN_IF_ERROR(write(DsaKey_ToDer, key.get(), written));
        values.resize(count);
        EXPECT_EQ(integersOf(written), values);
        (void)VLONG_free(&dsa.q, nullptr);
    }
    return OK;
}

Status block(const Words& in, Words& out) {
    FilledKey key;
    Number signature;
    Bytes bytes(128), opened(128);
    RETURN_IF_ERROR(Rsa_PrivateCrt(key.rsa(), Number(toHex(bytesOf(in[0]))), signature.out(), nullptr));
    EXPECT_EQ(VLONG_toBytesFixed(signature, bytes.data(), 128), OK);
    std::uint32_t length = 1;
    const Status status = Rsa_OpenPkcs1Signature(key.rsa(), bytes.data(), opened.data(), &length, nullptr);
    EXPECT_TRUE(status == OK || length == 0);
    opened.resize(length);
    out = isError(status) ? Words() : Words{textOf(opened)};
    return status;
}

// An exponent, a modulus: neither is opened.
Status refused(const Words& in, Words&) {
    FilledKey key(derOf("30(02(00" + toHex(bytesOf(in[1])) + "),E)", named));
    (void)VLONG_free(&key->e, nullptr);
    key->e = Number(in[0]).release();
    const Bytes signature(600, 0x11);
    Bytes opened(600);
    std::uint32_t length = 1;
    const Status status = Rsa_OpenPkcs1Signature(key.rsa(), signature.data(), opened.data(), &length, nullptr);
    EXPECT_EQ(length, 0U);
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
    status = in[4] == "signed" ? sign(key.rsa(), input, hex) : privatePower(key.rsa(), input, hex);
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
                                               {"refused", refused},
                                               {"strange", strange}});
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
    EXPECT_EQ(source.draws[0], 128 - sizeof(Unit));
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

// A bit of any derived value wrong: no signature.
TEST(Rsa, SignaturesAreChecked) {
    FilledKey key;
    const Number input(firstKey().input);
    std::string hex;
    for (vlong* const value : {key->dP, key->dQ, key->qInv, key->contextP->modulus, key->contextQ->radixSquared}) {
        for (const unsigned bit : {0U, 77U, 400U}) {
            value->units[bit / 64] ^= Unit{1} << bit % 64;
            EXPECT_EQ(sign(key.rsa(), input, hex), ERR_RSA_BAD_SIGNATURE) << bit;
            value->units[bit / 64] ^= Unit{1} << bit % 64;
        }
    }
    refuseEach([&] { return sign(key.rsa(), input, hex); });
    EXPECT_EQ(sign(key.rsa(), input, hex), OK);
    EXPECT_EQ(hex, firstKey().power);
}

// Each pair serves 33 operations, in whichever thread.
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
}

// A key whose record lacks one of its values. Of DSA: dsa_test.cpp.
TEST(AsymKey, AbsentValues) {
    FilledKey key;
    const Number one("1");
    ByteSource source(1);
    std::string hex;
    Bytes written;
    const auto expect = [](Status status, const auto& use, auto&... parts) {
        const auto check = [&](auto& part) {
            auto* const kept = std::exchange(part, nullptr);
            EXPECT_EQ(use(), status);
            part = kept;
        };
        (check(parts), ...);
    };
    const auto power = [&] {
        return privatePower(key.rsa(), one, hex);
    };
    expect(ERR_RSA_KEY_NOT_READY, power, key->p, key->q, key->dP, key->dQ, key->qInv, key->contextP, key->contextQ);
    expect(
        ERR_RSA_KEY_NOT_READY, [&] { return privatePower(key.rsa(), one, hex, &source); }, key->e, key->n);
    expect(
        ERR_RSA_KEY_NOT_READY, [&] { return write(RsaKey_ToDer, key.get(), written); }, key->qInv);
    expect(
        ERR_NULL_POINTER, [&] { return Rsa_PrepareKey(key.rsa(), nullptr); }, key->e, key->p, key->q);
}

TEST(AsymKey, Arguments) {
    expectNullsRefusedByEach(AsymKey_Init, AsymKey_Uninit, AsymKey_MakeRsa, AsymKey_MakeDsa, RsaKey_FromPublicDer,
                             AsymKey_FromPkcs8Der, asymKeyReadSigner, RsaKey_ToDer, DsaKey_ToDer, Rsa_PrepareKey,
                             Rsa_ModulusLength, Rsa_VlongToFixedBytes, Rsa_PublicOp, Rsa_PrivateCrt, Rsa_PrivateOp,
                             inverseOfExponent, Dsa_CreateKey, Dsa_FreeKey, Dsa_SetPublicKey, Dsa_SetPrivateKey,
                             Dsa_Sign, Dsa_Verify);
    expectNullsRefusedByEach<ERR_RSA_INVALID_KEY>(RsaKey_SetPublic, RsaKey_SetPrivate, Rsa_OpenPkcs1Signature);
    ScopedKey holder;
    AsymmetricKey none{};
    RSAKey empty{};
    DSAKey* dsa = nullptr;
    const Number one("1");
    Number out;
    ByteSource source(1);
    std::uint8_t byte = 3, *bytes = nullptr;
    std::uint32_t length = 0;
    vlong** const o = out.out();
    expectNullsRefused({Rsa_BytesToVlong}, &byte, 1, o);
    const auto setParts = +[](AsymmetricKey* key, std::uint8_t* p, std::uint8_t* q, std::uint8_t* g) {
        return AsymKey_SetDsaParameters(key, p, 1, q, 1, g, 1, named("ONE").data(), 1, nullptr, 0, nullptr);
    };
    expectNullsRefused({setParts}, holder.get(), &byte, &byte, &byte); // that of p is found late
    EXPECT_EQ(Dsa_FreeKey(&dsa, nullptr), ERR_NULL_POINTER);
    EXPECT_EQ(Rsa_PrepareKey(&empty, nullptr), OK); // a public key
    EXPECT_EQ(Rsa_ModulusLength(&empty, &length), ERR_NULL_POINTER);
    EXPECT_EQ(Rsa_PublicOp(&empty, one, o, nullptr), ERR_NULL_POINTER);
    EXPECT_EQ(Rsa_PrivateOp(&empty, one, ByteSource::fill, &source, o, nullptr), ERR_RSA_KEY_NOT_READY);
    EXPECT_EQ(Rsa_OpenPkcs1Signature(&empty, &byte, &byte, &length, nullptr), ERR_NULL_POINTER);
    EXPECT_EQ(RsaKey_FromPublicDer(&byte, 0x80000000, &none), ERR_EOF);
    EXPECT_EQ(Rsa_BytesToVlong(&byte, 65536, o), ERR_BAD_LENGTH);
    EXPECT_EQ(RsaKey_ToDer(&none, &bytes, &length), ERR_BAD_KEY_TYPE);
    EXPECT_EQ(RsaKey_SetPublic(&empty, 1, nullptr, 0, nullptr), ERR_BAD_EXPONENT);
    EXPECT_EQ(RsaKey_SetPublic(&empty, 2, &byte, 0x80000000, nullptr), ERR_BAD_LENGTH);
    EXPECT_EQ(RsaKey_SetPrivate(&empty, 1, nullptr, 1, &byte, 1, &byte, 1, nullptr), ERR_BAD_EXPONENT);
    EXPECT_EQ(setDsa(holder.get(), {"", "03", "03"}, "03", ""), ERR_INVALID_ARG);
    EXPECT_EQ(setDsa(holder.get(), {"03", "03", "03"}, "", ""), ERR_INVALID_ARG);
    EXPECT_EQ(setDsa(holder.get(), {"00", "03", "03"}, "", "03"), ERR_BAD_MODULO);
    EXPECT_EQ(setDsa(holder.get(), {"03", "03", "03"}, "03", ""), OK);
}

} // namespace
