// RSA keys and powers: in their byte formats, as strangers make them, blinded, in many threads.
#include "core/bignum/vlong_convert.h"
#include "core/bignum/vlong_math.h"
#include "core/pubkey/exponent_inverse.h"
#include "core/random/random.h"
#include "tests/core/pubkey/key_support.h"

#include <thread>

namespace {

using namespace keytest;

const RsaNumbers& firstKey() {
    static const RsaNumbers key(vectorsOf("core/pubkey/rsa_vectors.txt", "rsakey")[0]);
    return key;
}

// The result of an operation in hexadecimal.
Status privatePower(RSAKey* key, const vlong* input, std::string& hex, ByteSource* source = nullptr) {
    ScopedVlong result(nullptr);
    const Status status =
        Rsa_PrivateOp(key, input, source == nullptr ? nullptr : ByteSource::fill, source, result.out(), nullptr);
    EXPECT_EQ(result.get() == nullptr, isError(status));
    hex = hexOf(result.get());
    return status;
}

Status publicPower(const RSAKey* key, const vlong* input, std::string& hex) {
    ScopedVlong result(nullptr);
    const Status status = Rsa_PublicOp(key, input, result.out(), nullptr);
    EXPECT_EQ(result.get() == nullptr, isError(status));
    hex = hexOf(result.get());
    return status;
}

// Written from the primes and the exponent alone: what a key says of d, dP, dQ and qInv is not read, nor the order of its primes,
// nor signs: without an octet 00 in front these numbers are negative. A qInv that is right, but too large, is none.
Status rsaKey(const Words& in, Words& out) {
    const Number p(in[1]), q(in[2]), input(in[3]);
    Number n, tooLarge;
    {
        const testheap::OwnWork own;
        EXPECT_EQ(VLONG_mulSigned(p, q, n.out(), nullptr), OK);
        EXPECT_EQ(VLONG_modInverse(q, p, tooLarge.out(), nullptr), OK);
        EXPECT_EQ(VLONG_add(tooLarge, p, nullptr), OK);
    }
    ScopedKey key;
    Bytes whole, written;
    for (const std::string& qInv : {std::string("07"), std::string("07"), tooLarge.hex()}) {
        const bool isSwapped = whole.empty();
        const Bytes der =
            derOf("30(ONE,02(" + n.hex() + "),INTEGER" + in[0] + ",ONE,02(" + (isSwapped ? in[2] : in[1]) + "),02(" +
                      (isSwapped ? in[1] : in[2]) + "),ONE,ONE,INTEGER" + qInv + ")",
                  [](const std::string& name) {
                      return name.starts_with("INTEGER") ? derInteger(name.substr(7)) : named(name);
                  });
        RETURN_IF_ERROR(read(RsaKey_FromPublicDer, der, key.get()));
        RETURN_IF_ERROR(write(RsaKey_ToDer, key.get(), written));
        EXPECT_TRUE(whole.empty() || written == whole);
        whole = written;
    }
    const Words w = integersOf(whole); // 0, n, e, d, p, q, dP, dQ, qInv
    EXPECT_EQ(w[0] + w[2] + w[4] + w[5], in[0] + in[1] + in[2]);
    RETURN_IF_ERROR(read(AsymKey_FromPkcs8Der,
                         derOf("30(ZERO,RSA,04(WHOLE))",
                               [&whole](const std::string& name) { return name == "WHOLE" ? whole : named(name); }),
                         key.get()));
    RETURN_IF_ERROR(write(RsaKey_ToDer, key.get(), written));
    EXPECT_EQ(written, whole);

    std::string power, back, hex;
    RSAKey* const rsa = asymKeyRsa(key.get());
    RETURN_IF_ERROR(privatePower(rsa, input, power));
    RETURN_IF_ERROR(publicPower(rsa, Number(power), back));
    EXPECT_EQ(back, input.hex());
    for (const auto& [value, expected] : {std::pair{"0", ""}, {"1", "01"}}) {
        RETURN_IF_ERROR(privatePower(rsa, Number(value), hex));
        EXPECT_EQ(hex, expected);
    }
    RETURN_IF_ERROR(privatePower(rsa, rsa->n, hex)); // inputs of n and above count modulo n
    EXPECT_EQ(hex, "");
    RETURN_IF_ERROR(privatePower(rsa, rsa->p, hex));
    RETURN_IF_ERROR(publicPower(rsa, Number(hex), back));
    EXPECT_EQ(back, p.hex());
    std::uint32_t length = 0;
    EXPECT_EQ(Rsa_ModulusLength(rsa, &length), OK);
    EXPECT_EQ(2 * length, w[1].size());

    const Bytes publicDer = derOf("30(02(00" + w[1] + "),02(" + in[0] + "))");
    RETURN_IF_ERROR(read(RsaKey_FromPublicDer, publicDer, key.get())); // over the old one
    EXPECT_TRUE(asymKeyRsa(key.get())->privateKey == 0 && asymKeyRsa(key.get())->p == nullptr);
    RETURN_IF_ERROR(write(RsaKey_ToDer, key.get(), written));
    EXPECT_EQ(integersOf(written), (Words{w[1], w[2]}));
    EXPECT_EQ(write(DsaKey_ToDer, key.get(), written), ERR_BAD_KEY_TYPE);
    out = {w[1], w[3], w[6], w[7], w[8], power};
    return OK;
}

Status rewrite(const Words& in, Words& out) {
    const Bytes der = derOf(in[0]);
    Bytes written;
    ScopedKey key;
    RETURN_IF_ERROR(read(RsaKey_FromPublicDer, der, key.get()));
    RETURN_IF_ERROR(write(RsaKey_ToDer, key.get(), written));
    out = {written == der ? "same" : toHex(written)};
    return OK;
}

// Each into an empty container and over a key, which is gone afterwards in any case.
VectorOperation reading(Reader reader) {
    return [reader](const Words& in, Words& out) {
        const Bytes der = derOf(in[1], named);
        Status status = OK;
        for (const bool isFilled : {false, true}) {
            ScopedKey key;
            if (isFilled) {
                const testheap::OwnWork own;
                EXPECT_EQ(AsymKey_MakeDsa(key.get(), nullptr), OK);
            }
            status = read(reader, der, key.get());
            const RSAKey* const rsa = asymKeyRsa(key.get());
            EXPECT_EQ(key.get()->type == kKeyEmpty, isError(status));
            EXPECT_EQ(key.get()->key == nullptr, isError(status));
            if (heapFaults().hasStruck()) {
                return status;
            }
            out = isError(status) ? Words()
                                  : Words{rsa == nullptr         ? "dsa"
                                          : rsa->privateKey != 0 ? "private"
                                                                 : "public"};
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
    const DSAKey& dsa = *asymKeyDsa(key.get());
    out = {hexOf(dsa.p), hexOf(dsa.q), hexOf(dsa.g), hexOf(dsa.y), hexOf(dsa.x)};
    RETURN_IF_ERROR(write(DsaKey_ToDer, key.get(), written));
    EXPECT_EQ(integersOf(written), (Words{"", out[0], out[1], out[2], out[3], out[4]}));
    EXPECT_EQ(write(RsaKey_ToDer, key.get(), written), ERR_BAD_KEY_TYPE);
    // The whole key again, then the public part alone, into the same container; then as far as the values go.
    const Bytes p = fromHex(out[0]), q = fromHex(out[1]), g = fromHex(out[2]), y = fromHex(out[3]), x = fromHex(out[4]);
    for (const bool isPrivate : {true, false}) {
        RETURN_IF_ERROR(asRefusal(AsymKey_SetDsaParameters(
            key.get(), p.data(), size(p), q.data(), size(q), g.data(), size(g), isPrivate ? nullptr : y.data(),
            isPrivate ? 0 : size(y), x.data(), isPrivate ? size(x) : 0, nullptr)));
        RETURN_IF_ERROR(write(DsaKey_ToDer, key.get(), written));
        EXPECT_EQ(integersOf(written), isPrivate ? (Words{"", out[0], out[1], out[2], out[3], out[4]})
                                                 : (Words{"", out[0], out[1], out[2], out[3]}));
    }
    EXPECT_EQ(VLONG_free(&asymKeyDsa(key.get())->q, nullptr), OK);
    RETURN_IF_ERROR(write(DsaKey_ToDer, key.get(), written));
    EXPECT_EQ(integersOf(written), (Words{"", out[0]}));
    return OK;
}

Status block(const Words& in, Words& out) {
    FilledKey key;
    const Number value(toHex(bytesOf(in[0])) + (in[0] == "." ? "0" : ""));
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
    const auto hexOrNone = [](const std::string& word) {
        return word == "." ? "" : word;
    };
    const auto parts = [&](const std::string& name) {
        return name[0] == 'V' ? derInteger(hexOrNone(in[numberOf(name.substr(1))])) : named(name);
    };
    FilledKey key(derOf("30(ZERO,V0,V1,ZERO,V2,V3)", parts));
    const Number input("5");
    std::string hex;
    Status status = publicPower(key.rsa(), input, hex);
    out.push_back(isError(status) ? statusName(status) : hex.empty() ? "." : hex);
    status = privatePower(key.rsa(), input, hex);
    if (in[4] == "any") {
        Number product;
        EXPECT_EQ(VLONG_mulSigned(key->p, key->q, product.out(), nullptr), OK);
        hex = VLONG_cmp(Number(hex.empty() ? "0" : hex), product) < 0 ? "below" : "above " + hex;
    }
    out.push_back(isError(status) ? statusName(status) : hex);
    return OK;
}

TEST(Rsa, Vectors) {
    runVectors("core/pubkey/rsa_vectors.txt", {{"rsakey", rsaKey},
                                               {"rewrite", rewrite},
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
    for (unsigned operation = 1; operation <= 101; ++operation) {
        const Number input(firstKey().p + std::to_string(100 + operation) + "0");
        std::string blinded, plain;
        ASSERT_EQ(privatePower(key.rsa(), input, blinded, &source), OK);
        ASSERT_EQ(privatePower(key.rsa(), input, plain), OK);
        ASSERT_EQ(blinded, plain);
        const unsigned pairs = operation < 34 ? 1 : operation < 67 ? 2 : operation < 100 ? 3 : 4;
        ASSERT_EQ(source.draws, std::vector<std::uint32_t>(pairs, 128 - sizeof(Unit))) << operation;
    }
}

// Whatever is refused: no half of a pair is left, none serves twice, and the key still gives what it should.
TEST(Rsa, RefusalsWhileBlinded) {
    const RsaNumbers& numbers = firstKey();
    FilledKey key;
    const Number input(numbers.input);
    ByteSource source(1), broken(1);
    std::string hex;
    broken.limit = 0;
    EXPECT_EQ(privatePower(key.rsa(), input, hex, &broken), ERR_RTOS_MUTEX_WAIT);
    {
        const Fault busy(PlatformService::mutexWait, 1);
        EXPECT_EQ(privatePower(key.rsa(), input, hex, &source), ERR_RTOS_MUTEX_WAIT);
    }
    EXPECT_TRUE(source.draws.empty());
    unsigned dropped = 0;
    refuseEach([&] { // a first use of a pair, then the refused one
        const auto fresh = [&] {
            const testheap::OwnWork own;
            EXPECT_EQ(privatePower(key.rsa(), input, hex, &source), OK);
            EXPECT_EQ(hex, numbers.power);
        };
        fresh();
        const Status status = privatePower(key.rsa(), input, hex, &source);
        if (isError(status)) {
            dropped += key->blinding.blind == nullptr && key->blinding.unblind == nullptr ? 1U : 0U;
        } else {
            EXPECT_EQ(hex, numbers.power);
        }
        fresh();
        (void)VLONG_free(&key->blinding.blind, nullptr);
        (void)VLONG_free(&key->blinding.unblind, nullptr);
        return status;
    });
    EXPECT_GE(dropped, 2U) << "each of two squarings takes a record";
    FilledKey tiny(derOf("30(ZERO,0201"
                         "23,020105,ZERO,020107,020105)",
                         named));
    EXPECT_EQ(privatePower(tiny.rsa(), Number("3"), hex, &source), ERR_RSA_INVALID_KEY);
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
    const RsaNumbers& numbers = firstKey();
    FilledKey key;
    const auto sign = [](RSAKey* rsa, const vlong* message) {
        ScopedVlong result(nullptr);
        const Status status = rsaSign(rsa, message, result.out(), nullptr);
        EXPECT_EQ(result.get() == nullptr, isError(status));
        return isError(status) ? std::string(statusName(status)) : hexOf(result.get());
    };
    const Number input(numbers.input), five("05");
    for (vlong* const value : {key->dP, key->dQ, key->qInv, key->contextP->modulus, key->contextQ->radixSquared}) {
        for (const unsigned bit : {0U, 77U, 400U}) {
            value->units[bit / 64] ^= Unit{1} << bit % 64;
            EXPECT_EQ(sign(key.rsa(), input.get()), "ERR_RSA_BAD_SIGNATURE") << bit;
            value->units[bit / 64] ^= Unit{1} << bit % 64;
        }
    }
    EXPECT_EQ(sign(key.rsa(), input.get()), numbers.power);
    // p and q: 2^127 - 1, 2^89 - 1; a composite number in place of each; e divides p - 1; q three times a prime
    constexpr const char *kP = "7fffffffffffffffffffffffffffffff", *kQ = "01ffffffffffffffffffffff";
    const struct {
        const char *p, *q, *e;
        bool isSigned;
    } rows[] = {{kP, kQ, "0b", true},
                {"7ffffffffffffffffffffffffffffffd", kQ, "0b", false},
                {kP, "01fffffffffffffffffffff9", "0b", false},
                {kP, kQ, "07", false},
                {kP, "05fffffffffffffffffffffd", "0b", false}};
    for (const auto& row : rows) {
        for (const bool isOwn : {true, false}) {
            Number n("ff0123456789abcdef");
            EXPECT_EQ(isOwn ? VLONG_mulSigned(Number(row.p), Number(row.q), n.out(), nullptr) : OK, OK);
            const std::string numbersOf[] = {"", n.hex(), row.e, "", row.p, row.q};
            Bytes content;
            for (const std::string& value : numbersOf) {
                const Bytes number = derInteger(value);
                content.insert(content.end(), number.begin(), number.end());
            }
            FilledKey strange(derItem(0x30, content));
            EXPECT_EQ(sign(strange.rsa(), five.get()) != "ERR_RSA_BAD_SIGNATURE", row.isSigned || !isOwn) << row.e;
        }
    }
    refuseEach([&] {
        ScopedVlong result(nullptr);
        return rsaSign(key.rsa(), input.get(), result.out(), nullptr);
    });
}

TEST(Rsa, OneKeyInManyThreads) {
    ASSERT_EQ(randomSetSeedingMode(kSeedWithoutThreads), OK);
    RandomContext* random = nullptr;
    ASSERT_EQ(randomAcquireContext(&random), OK);
    testheap::keep(2); // the seed pool's two locks
    FilledKey key;
    std::vector<std::thread> threads;
    for (unsigned thread = 0; thread < 16; ++thread) {
        threads.emplace_back([&] {
            const Number input(firstKey().input);
            for (unsigned i = 0; i < 5; ++i) {
                Number result;
                EXPECT_EQ(Rsa_PrivateOp(key.rsa(), input, randomGenerateCallback, random, result.out(), nullptr), OK);
                EXPECT_EQ(result.hex(), firstKey().power);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(key->blinding.blindUses, 80U - 66U - 1U);
    EXPECT_EQ(randomReleaseContext(&random), OK);
    ASSERT_EQ(randomSetSeedingMode(kSeedWithThreads), OK);
}

TEST(Rsa, ModuliAndExponentsThatAreNotOpened) {
    const Bytes signature(600, 0x11);
    Bytes opened(600);
    for (const auto& [modulus, exponent, expected] : {std::tuple{"ff*513", "3", ERR_RSA_INVALID_MODULUS},
                                                      {"ff*512", "3", ERR_RSA_DECRYPTION},
                                                      {"ff*512", "010000000000000001", ERR_RSA_INVALID_EXPONENT},
                                                      {"ff*512", "none", ERR_RSA_INVALID_EXPONENT},
                                                      {"00", "3", ERR_BAD_MODULO}}) {
        ScopedKey key;
        std::uint32_t length = 1;
        const Bytes n = bytesOf(modulus);
        EXPECT_EQ(AsymKey_MakeRsa(key.get(), nullptr), OK);
        RSAKey* const rsa = asymKeyRsa(key.get());
        EXPECT_EQ(RsaKey_SetPublic(rsa, 3, n.data(), size(n), nullptr), OK);
        EXPECT_EQ(VLONG_free(&rsa->e, nullptr), OK);
        rsa->e = Number(exponent).release();
        EXPECT_EQ(Rsa_OpenPkcs1Signature(rsa, signature.data(), opened.data(), &length, nullptr), expected);
        EXPECT_EQ(length, 0U);
    }
}

TEST(AsymKey, States) {
    AsymmetricKey key{7, &key};
    ASSERT_EQ(AsymKey_Init(&key), OK);
    EXPECT_TRUE(key.type == kKeyEmpty && key.key == nullptr);
    EXPECT_EQ(AsymKey_Uninit(&key, nullptr), OK);
    for (const auto make : {AsymKey_MakeRsa, AsymKey_MakeDsa, AsymKey_MakeRsa}) { // each over the one before
        ASSERT_EQ(make(&key, nullptr), OK);
        EXPECT_EQ(asymKeyRsa(&key) != nullptr, make == AsymKey_MakeRsa);
        EXPECT_EQ(asymKeyDsa(&key) != nullptr, make == AsymKey_MakeDsa);
        refuseEach([make] {
            ScopedKey fresh;
            const Status status = make(fresh.get(), nullptr);
            EXPECT_EQ(fresh.get()->type == kKeyEmpty, isError(status));
            return asRefusal(status);
        });
    }
    EXPECT_EQ(AsymKey_Uninit(&key, nullptr), OK);
    EXPECT_EQ(key.type, kKeyEmpty);
    for (const std::uint32_t type : {kKeyRsa, kKeyDsa, 2U, 4U}) { // without a record, and of no type
        key.type = type;
        const Status refusal = type == kKeyRsa || type == kKeyDsa ? ERR_NULL_POINTER : ERR_INTERNAL_ERROR;
        EXPECT_EQ(AsymKey_Uninit(&key, nullptr), refusal);
        EXPECT_EQ(AsymKey_MakeRsa(&key, nullptr), refusal);
        EXPECT_EQ(AsymKey_MakeDsa(&key, nullptr), refusal);
        EXPECT_EQ(read(RsaKey_FromPublicDer, derOf("PUBLIC", named), &key), refusal);
        EXPECT_EQ(key.type, type);
    }
    ScopedKey container; // unfinished keys are not written
    Bytes written;
    EXPECT_EQ(write(RsaKey_ToDer, container.get(), written), ERR_BAD_KEY_TYPE);
    ASSERT_EQ(AsymKey_MakeRsa(container.get(), nullptr), OK);
    EXPECT_EQ(write(RsaKey_ToDer, container.get(), written), ERR_RSA_KEY_NOT_READY);
}

// A key whose record lacks one of its values is refused by each operation that needs it.
TEST(AsymKey, LackingAPart) {
    const Number one("1");
    ByteSource source(1);
    vlong *out = nullptr, *other = nullptr;
    bool valid = false;
    Bytes written;
    std::string hex;
    const auto without = [](auto& part, const auto& use, Status status) {
        auto* const kept = std::exchange(part, nullptr);
        EXPECT_EQ(use(), status);
        part = kept;
    };
    FilledKey rsa;
    const auto crt = [&] {
        return privatePower(rsa.rsa(), one, hex);
    };
    const auto prepare = [&] {
        return Rsa_PrepareKey(rsa.rsa(), nullptr);
    };
    for (vlong** const part : {&rsa->p, &rsa->q, &rsa->dP, &rsa->dQ, &rsa->qInv}) {
        without(*part, crt, ERR_RSA_KEY_NOT_READY);
    }
    without(rsa->contextP, crt, ERR_RSA_KEY_NOT_READY);
    without(rsa->contextQ, crt, ERR_RSA_KEY_NOT_READY);
    without(
        rsa->qInv, [&] { return write(RsaKey_ToDer, rsa.get(), written); }, ERR_RSA_KEY_NOT_READY);
    for (vlong** const part : {&rsa->e, &rsa->n}) {
        without(
            *part, [&] { return privatePower(rsa.rsa(), one, hex, &source); }, ERR_RSA_KEY_NOT_READY);
    }
    for (vlong** const part : {&rsa->e, &rsa->p, &rsa->q}) {
        without(*part, prepare, ERR_NULL_POINTER);
    }
    ScopedKey holder;
    const std::uint8_t p = 23, q = 11, g = 4, x = 3;
    ASSERT_EQ(AsymKey_SetDsaParameters(holder.get(), &p, 1, &q, 1, &g, 1, nullptr, 0, &x, 1, nullptr), OK);
    DSAKey& dsa = *asymKeyDsa(holder.get());
    for (vlong** const part : {&dsa.p, &dsa.q, &dsa.g, &dsa.x}) {
        without(
            *part, [&] { return Dsa_Sign(source.bytes(), &dsa, one, nullptr, &out, &other, nullptr); },
            ERR_NULL_POINTER);
    }
    for (vlong** const part : {&dsa.p, &dsa.q, &dsa.g, &dsa.y}) {
        without(
            *part, [&] { return Dsa_Verify(&dsa, one, one, one, &valid, nullptr); }, ERR_NULL_POINTER);
    }
}

TEST(AsymKey, Arguments) {
    ScopedKey holder;
    AsymmetricKey none{};
    RSAKey empty{};
    DSAKey bare{}, *dsa = nullptr;
    const Number one("1");
    Number out, other;
    ByteSource source(1);
    const std::uint8_t byte = 3, zero = 0;
    std::uint8_t buffer[1], *bytes = nullptr;
    std::uint32_t length = 0;
    bool valid = false;
    expectNullsRefused({AsymKey_Init}, &none);
    expectNullsRefused({AsymKey_Uninit, AsymKey_MakeRsa, AsymKey_MakeDsa}, holder.get(), nullptr);
    expectNullsRefused({RsaKey_FromPublicDer, AsymKey_FromPkcs8Der, asymKeyReadSigner}, &byte, 1, &none);
    expectNullsRefused({RsaKey_ToDer, DsaKey_ToDer}, &none, &bytes, &length);
    expectNullsRefused({Rsa_PrepareKey}, &empty, nullptr);
    expectNullsRefused({Rsa_ModulusLength}, &empty, &length);
    expectNullsRefused({Rsa_BytesToVlong}, &byte, 1, out.out());
    expectNullsRefused({Rsa_VlongToFixedBytes}, one, 1, &bytes);
    expectNullsRefused({Rsa_PublicOp}, &empty, one, out.out(), nullptr);
    expectNullsRefused({Rsa_PrivateCrt}, &empty, one, out.out(), nullptr);
    expectNullsRefused({Rsa_PrivateOp}, &empty, one, nullptr, nullptr, out.out(), nullptr);
    expectNullsRefused({inverseOfExponent}, one, one, out.out(), nullptr);
    expectNullsRefused({Dsa_SetPublicKey, Dsa_SetPrivateKey}, &bare, &byte, 1, &byte, 1, &byte, 1, &byte, 1, nullptr);
    expectNullsRefused({Dsa_Sign}, source.bytes(), &bare, one, nullptr, out.out(), other.out(), nullptr);
    expectNullsRefused({Dsa_Verify}, &bare, one, one, one, &valid, nullptr);
    expectNullsRefused({Dsa_FreeKey}, &dsa, nullptr);
    for (const unsigned missing : {0U, 1U, 2U}) { // p is found late
        EXPECT_EQ(AsymKey_SetDsaParameters(missing == 0 ? nullptr : holder.get(), &byte, 1,
                                           missing == 1 ? nullptr : &byte, 1, missing == 2 ? nullptr : &byte, 1, &byte,
                                           1, nullptr, 0, nullptr),
                  ERR_NULL_POINTER);
    }
    EXPECT_EQ(Dsa_CreateKey(nullptr), ERR_NULL_POINTER);
    EXPECT_EQ(Dsa_FreeKey(&dsa, nullptr), ERR_NULL_POINTER);
    EXPECT_EQ(Rsa_PrepareKey(&empty, nullptr), OK); // a public key
    EXPECT_EQ(Rsa_ModulusLength(&empty, &length), ERR_NULL_POINTER);
    EXPECT_EQ(Rsa_PublicOp(&empty, one, out.out(), nullptr), ERR_NULL_POINTER);
    EXPECT_EQ(Rsa_PrivateOp(&empty, one, randomGenerateCallback, nullptr, out.out(), nullptr), ERR_RSA_KEY_NOT_READY);
    EXPECT_EQ(Rsa_PrivateOp(&empty, one, nullptr, nullptr, out.out(), nullptr), ERR_RSA_KEY_NOT_READY);
    EXPECT_EQ(RsaKey_FromPublicDer(&byte, 0x80000000, &none), ERR_EOF);
    EXPECT_EQ(Rsa_BytesToVlong(&byte, 65536, out.out()), ERR_BAD_LENGTH);
    EXPECT_EQ(RsaKey_SetPublic(nullptr, 1, nullptr, 0, nullptr), ERR_RSA_INVALID_KEY);
    EXPECT_EQ(RsaKey_SetPublic(&empty, 1, nullptr, 0, nullptr), ERR_BAD_EXPONENT);
    EXPECT_EQ(RsaKey_SetPublic(&empty, 2, nullptr, 0, nullptr), ERR_NULL_POINTER);
    EXPECT_EQ(RsaKey_SetPublic(&empty, 2, &byte, 0x80000000, nullptr), ERR_BAD_LENGTH);
    EXPECT_EQ(RsaKey_SetPrivate(nullptr, 1, &byte, 1, &byte, 1, &byte, 1, nullptr), ERR_RSA_INVALID_KEY);
    EXPECT_EQ(RsaKey_SetPrivate(&empty, 1, &byte, 1, &byte, 1, &byte, 1, nullptr), ERR_BAD_EXPONENT);
    for (const unsigned missing : {0U, 1U, 2U}) {
        const std::uint8_t* const part[] = {missing == 0 ? nullptr : &byte, missing == 1 ? nullptr : &byte,
                                            missing == 2 ? nullptr : &byte};
        EXPECT_EQ(RsaKey_SetPrivate(&empty, 2, part[0], 1, part[1], 1, part[2], 1, nullptr), ERR_NULL_POINTER);
        EXPECT_EQ(Rsa_OpenPkcs1Signature(&empty, part[0], missing == 1 ? nullptr : buffer,
                                         missing == 2 ? nullptr : &length, nullptr),
                  ERR_NULL_POINTER);
    }
    EXPECT_EQ(Rsa_OpenPkcs1Signature(nullptr, nullptr, nullptr, nullptr, nullptr), ERR_RSA_INVALID_KEY);
    EXPECT_EQ(Rsa_OpenPkcs1Signature(&empty, &byte, buffer, &length, nullptr), ERR_NULL_POINTER);
    const auto setDsa = [&](const std::uint8_t* modulus, std::uint32_t pLength, const std::uint8_t* y,
                            std::uint32_t yLength, std::uint32_t xLength) {
        return AsymKey_SetDsaParameters(holder.get(), modulus, pLength, &byte, 1, &byte, 1, y, yLength, &byte, xLength,
                                        nullptr);
    };
    EXPECT_EQ(setDsa(&byte, 0, &byte, 1, 0), ERR_INVALID_ARG);
    EXPECT_EQ(setDsa(&byte, 1, &byte, 0, 0), ERR_INVALID_ARG);
    EXPECT_EQ(AsymKey_SetDsaParameters(holder.get(), &byte, 1, &byte, 1, &byte, 1, nullptr, 1, nullptr, 1, nullptr),
              ERR_INVALID_ARG);
    EXPECT_EQ(setDsa(nullptr, 1, &byte, 1, 0), ERR_NULL_POINTER); // found late
    EXPECT_EQ(setDsa(&byte, 1, &byte, 1, 0), OK);
    EXPECT_EQ(setDsa(&byte, 1, nullptr, 0, 1), OK);
    EXPECT_EQ(setDsa(&zero, 1, nullptr, 0, 1), ERR_BAD_MODULO);
}

} // namespace
