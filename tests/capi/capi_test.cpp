// The C functions' answers, as a program in C has them; wrong arguments, keys that do not serve, and files of all kinds.
#include "capi/zel.h"
#include "core/random/random.h"
#include "tests/support/faults.h"
#include "tests/support/in_threads.h"
#include "tests/support/vectors.h"

#include <climits>
#include <fstream>
#include <iterator>
#include <memory>

namespace {

// Handles in holders that free them.
template <auto release> struct Free {
    template <typename Handle> void operator()(Handle* handle) const {
        EXPECT_EQ(release(handle), ZEL_OK);
    }
};
using Digest = std::unique_ptr<ZelDigest, Free<zelDigestFree>>;
using Aes = std::unique_ptr<ZelAes, Free<zelAesFree>>;
using Key = std::unique_ptr<ZelKey, Free<zelKeyFree>>;

// make(..., &handle) into a holder.
template <typename Holder, typename Make, typename... Arguments>
Status into(Holder& holder, Make make, Arguments... arguments) {
    typename Holder::pointer handle = nullptr;
    const Status status = static_cast<Status>(make(arguments..., &handle));
    EXPECT_EQ(isError(status), handle == nullptr);
    holder.reset(handle);
    return status == ERR_RTOS_MUTEX_CREATE ? ERR_MEM_ALLOC_FAIL : status; // its record was refused
}

// A result "output[*length]": asks for the room, is refused less than it needs, and gets it.
template <typename Call> Status resultOf(Bytes& result, Call call) {
    std::size_t length = 0;
    RETURN_IF_ERROR(static_cast<Status>(call(nullptr, &length)));
    result.resize(length + 1);
    std::size_t needed = length;
    RETURN_IF_ERROR(static_cast<Status>(call(result.data(), &needed)));
    EXPECT_LE(needed, length);
    if (std::size_t less = 0; needed > 0) {
        RETURN_IF_ERROR(call(result.data(), &less) == ZEL_ERR_BUFFER_OVERFLOW ? OK : ERR_MEM_ALLOC_FAIL);
        EXPECT_GE(less, needed);
    }
    result.resize(needed);
    return OK;
}

Bytes fileOf(const std::string& name) {
    std::ifstream stream(ZEL_TESTS "capi/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

Status readKey(const std::string& name, bool isPrivate, Key& key) {
    const Bytes bytes = fileOf(name);
    return into(key, isPrivate ? zelKeyReadPrivate : zelKeyReadPublic, bytes.data(), bytes.size());
}

// The process's context, without six seconds of seeding.
void makeRandom() {
    ASSERT_EQ(randomSetSeedingMode(kSeedWithoutThreads), OK);
    ASSERT_EQ(zelRandomWait(), ZEL_OK);
    EXPECT_EQ(zelRandomIsReady(), 1);
    testheap::keep(4); // the context, its mutex and those of the seed pool
}

ZelHash hashOf(const std::string& name) {
    const std::string names[] = {"sha1", "sha224", "sha256", "sha384", "sha512"};
    return static_cast<ZelHash>(std::find(std::begin(names), std::end(names), name) - std::begin(names) + 1);
}

// In one call, and in parts by a handle and its copy, and by the former for a second message.
Status digest(const Words& in, Words& out) {
    const ZelHash hash = hashOf(in[0]);
    const std::string start = in[1].substr(0, in[1].size() / 3), rest = in[1].substr(start.size());
    Bytes once(zelDigestSize(hash)), parts(once.size());
    EXPECT_EQ(zelDigestOnce(hash, in[1].data(), in[1].size(), once.data(), once.size()), ZEL_OK);
    Digest first, second;
    RETURN_IF_ERROR(into(first, zelDigestNew, hash));
    EXPECT_EQ(zelDigestUpdate(first.get(), start.data(), start.size()), ZEL_OK);
    RETURN_IF_ERROR(into(second, zelDigestCopy, first.get()));
    EXPECT_EQ(zelDigestFinish(first.get(), parts.data(), parts.size() - 1), ZEL_ERR_BUFFER_OVERFLOW);
    for (ZelDigest* const handle : {first.get(), second.get(), first.get()}) {
        EXPECT_EQ(zelDigestUpdate(handle, rest.data(), rest.size()), ZEL_OK);
        EXPECT_EQ(zelDigestFinish(handle, parts.data(), parts.size()), ZEL_OK);
        EXPECT_EQ(parts, once);
        EXPECT_EQ(zelDigestUpdate(handle, start.data(), start.size()), ZEL_OK); // of a new message
    }
    EXPECT_EQ(zelDigestReset(first.get()), ZEL_OK);
    EXPECT_EQ(zelDigestUpdate(first.get(), in[1].data(), in[1].size()), ZEL_OK);
    EXPECT_EQ(zelDigestFinish(first.get(), parts.data(), parts.size()), ZEL_OK);
    EXPECT_EQ(parts, once);
    out = {textOf(once)};
    return OK;
}

Status padded(const Words& in, Words& out) {
    const Bytes key = bytesOf(in[0]), iv = bytesOf(in[1]), plaintext = bytesOf(in[2]);
    const auto inOne = [&](auto function, const Bytes& from, Bytes& to) {
        return resultOf(to, [&](void* output, std::size_t* length) {
            return function(key.data(), key.size(), iv.data(), from.data(), from.size(), output, length);
        });
    };
    Bytes ciphertext, back;
    EXPECT_EQ(inOne(zelAesCbcEncrypt, plaintext, ciphertext), OK);
    EXPECT_EQ(inOne(zelAesCbcDecrypt, ciphertext, back), OK);
    EXPECT_EQ(back, plaintext);

    // Two messages by a handle, in place: whole blocks first, then the rest.
    const std::size_t whole = plaintext.size() / 32 * 16;
    for (const auto& [direction, from, to] : {std::tuple(ZelDirection{ZEL_ENCRYPT}, plaintext, ciphertext),
                                              std::tuple(ZelDirection{ZEL_DECRYPT}, ciphertext, plaintext)}) {
        Aes aes;
        RETURN_IF_ERROR(into(aes, zelAesNew, ZEL_AES_CBC, direction, key.data(), key.size(), iv.data()));
        for (int message = 0; message < 2; ++message) {
            Bytes inPlace = from;
            inPlace.resize(ciphertext.size());
            std::size_t length = ciphertext.size();
            std::uint8_t* const rest = inPlace.data() + whole;
            EXPECT_EQ(zelAesUpdate(aes.get(), inPlace.data(), whole, inPlace.data()), ZEL_OK);
            EXPECT_EQ(zelAesFinish(aes.get(), rest, from.size() - whole, rest, &length), ZEL_OK);
            EXPECT_EQ(zelAesUpdate(aes.get(), rest, 0, rest), ZEL_ERR_MISSING_STATE_CHANGE);
            inPlace.resize(whole + length);
            EXPECT_EQ(inPlace, to);
            EXPECT_EQ(zelAesFinish(aes.get(), rest, 16, rest, &length), ZEL_ERR_MISSING_STATE_CHANGE);
            EXPECT_EQ(zelAesSetIv(aes.get(), iv.data()), ZEL_OK);
        }
    }
    out = {textOf(ciphertext)};
    return OK;
}

// What OpenSSL has signed is valid, and of nothing else; our own signature is the same (RSA) or another one (DSA).
VectorOperation signature(const std::string& name) {
    return [name](const Words& in, Words& out) {
        const ZelHash hash = hashOf(in[0]);
        const std::string& message = in[1];
        const Bytes theirs =
            bytesOf(vectorsOf("capi/capi_vectors.txt", name).at(static_cast<std::size_t>(hash - 1)).at(2));
        Bytes ours, ofDigest, longer = theirs, changed = theirs, digest(zelDigestSize(hash));
        longer.push_back(0);
        changed.back() ^= 1;
        EXPECT_EQ(zelDigestOnce(hash, message.data(), message.size(), digest.data(), digest.size()), ZEL_OK);
        Key privateKey, publicKey;
        RETURN_IF_ERROR(readKey(name + ".pkcs8", true, privateKey));
        RETURN_IF_ERROR(readKey(name + ".x509", false, publicKey));
        RETURN_IF_ERROR(resultOf(ours, [&](void* output, std::size_t* length) {
            return zelSign(privateKey.get(), hash, message.data(), message.size(), output, length);
        }));
        RETURN_IF_ERROR(resultOf(ofDigest, [&](void* output, std::size_t* length) {
            return zelSignDigest(privateKey.get(), hash, digest.data(), digest.size(), output, length);
        }));
        for (const Bytes& bytes : {theirs, ours, ofDigest, longer, changed, Bytes()}) {
            const bool isRight = bytes == theirs || bytes == ours || bytes == ofDigest;
            for (const ZelStatus status :
                 {zelVerify(publicKey.get(), hash, message.data(), message.size(), bytes.data(), bytes.size()),
                  zelVerifyDigest(privateKey.get(), hash, digest.data(), digest.size(), bytes.data(), bytes.size())}) {
                if (status != (isRight ? ZEL_OK : ZEL_ERR_BAD_SIGNATURE)) {
                    return isError(Status(status)) ? Status(status) : ERR_FALSE;
                }
            }
        }
        const auto ofLess = static_cast<Status>(
            zelVerify(publicKey.get(), hash, message.data(), message.size() - 1, theirs.data(), theirs.size()));
        RETURN_IF_ERROR(ofLess == ERR_RSA_BAD_SIGNATURE ? OK : isError(ofLess) ? ofLess : ERR_FALSE);
        out = {textOf(name == "rsa" ? ours : theirs)};
        return OK;
    };
}

TEST(CFunctions, knownAnswers) {
    makeRandom();
    runVectors("capi/capi_vectors.txt",
               {{"digest", digest}, {"padded", padded}, {"rsa", signature("rsa")}, {"dsa", signature("dsa")}});
}

TEST(CFunctions, blockModes) {
    for (const auto& [name, mode] : std::map<std::string, ZelAesMode>{
             {"ecb", ZEL_AES_ECB}, {"cbc", ZEL_AES_CBC}, {"cfb", ZEL_AES_CFB128}, {"ofb", ZEL_AES_OFB}}) {
        for (const Words& line : vectorsOf("core/aes/aes_vectors.txt", name)) {
            const Bytes key = bytesOf(line[0]), iv = bytesOf(line[1]);
            Bytes bytes = bytesOf(line[2]);
            for (const ZelDirection direction : {ZEL_ENCRYPT, ZEL_DECRYPT}) {
                Aes aes;
                ASSERT_EQ(into(aes, zelAesNew, mode, direction, key.data(), key.size(),
                               mode == ZEL_AES_ECB ? nullptr : iv.data()),
                          OK);
                for (std::size_t at = 0; at < bytes.size(); at += 16) {
                    EXPECT_EQ(zelAesUpdate(aes.get(), &bytes[at], 16, &bytes[at]), ZEL_OK);
                }
                EXPECT_EQ(bytes, bytesOf(line[direction == ZEL_ENCRYPT ? 3 : 2]));
                std::size_t length = 16;
                const ZelStatus status = zelAesFinish(aes.get(), bytes.data(), 16, bytes.data(), &length);
                EXPECT_EQ(status != ZEL_ERR_AES_BAD_CIPHER_MODE, mode == ZEL_AES_CBC);
            }
        }
    }
}

// Every value of the last byte, with padding that is right and with each of the other bytes wrong.
TEST(CFunctions, paddingIsLookedAtAsAWhole) {
    const Bytes key(32, 7), iv(16);
    Aes aes;
    ASSERT_EQ(into(aes, zelAesNew, ZEL_AES_CBC, ZEL_ENCRYPT, key.data(), key.size(), iv.data()), OK);
    for (std::size_t padding = 0; padding < 256; ++padding) {
        for (std::size_t wrong = 0; wrong < 16; ++wrong) {
            Bytes block(16, static_cast<std::uint8_t>(padding)), out(16, 0xEE);
            block[wrong] ^= wrong < 15 ? 0x80 : 0; // the last byte stays
            const bool isRight = padding >= 1 && padding <= 16 && (wrong < 16 - padding || wrong == 15);
            std::size_t length = 16;
            EXPECT_EQ(zelAesSetIv(aes.get(), iv.data()), ZEL_OK);
            EXPECT_EQ(zelAesUpdate(aes.get(), block.data(), 16, block.data()), ZEL_OK);
            EXPECT_EQ(zelAesCbcDecrypt(key.data(), key.size(), iv.data(), block.data(), 16, out.data(), &length),
                      isRight ? ZEL_OK : ZEL_ERR_AES_BAD_PAD_LENGTH)
                << padding << ", " << wrong;
            EXPECT_TRUE(isRight ? length == 16 - padding : (length == 0 && out == Bytes(16, 0xEE)));
        }
    }
}

// What OpenSSL has written in every form is read from each and written as it was.
TEST(CFunctions, keysInEveryForm) {
    for (const std::string name : {"rsa.pkcs8", "rsa.pkcs1", "rsa.x509", "rsa.public", "dsa.pkcs8", "dsa.x509"}) {
        SCOPED_TRACE(name);
        const std::string type = name.substr(0, 3);
        const bool isRsa = type == "rsa", isPrivate = name.find("pkcs") == 4;
        const auto reader = isPrivate ? zelKeyReadPrivate : zelKeyReadPublic;
        const std::string rsaForm = isPrivate ? "rsa.pkcs1" : "rsa.public", privateForm = type + ".pkcs8";
        const std::pair<ZelKeyFormat, std::string> forms[] = {
            {ZEL_PKCS1, isRsa ? rsaForm : ""}, {ZEL_PKCS8, isPrivate ? privateForm : ""}, {ZEL_X509, type + ".x509"}};
        refuseEach([&] {
            Key key, fromDer;
            RETURN_IF_ERROR(readKey(name, isPrivate, key));
            EXPECT_EQ(zelKeyType(key.get()), isRsa ? ZEL_KEY_RSA : ZEL_KEY_DSA);
            EXPECT_EQ(zelKeyIsPrivate(key.get()), isPrivate ? 1 : 0);
            EXPECT_EQ(zelKeyBits(key.get()), isRsa ? 2048U : 1024U);
            EXPECT_EQ(zelKeySignatureSize(key.get()), isRsa ? 256U : 64U);
            for (const auto& [format, file] : forms) {
                Bytes pem, der;
                const auto write = [&, to = format](ZelEncoding encoding, Bytes& form) {
                    return resultOf(form, [&](void* output, std::size_t* length) {
                        return zelKeyWrite(key.get(), to, encoding, output, length);
                    });
                };
                const Status status = write(ZEL_PEM, pem);
                if (file.empty()) {
                    EXPECT_EQ(status, ERR_BAD_KEY_TYPE);
                    continue;
                }
                RETURN_IF_ERROR(status);
                EXPECT_EQ(pem, fileOf(file));
                RETURN_IF_ERROR(write(ZEL_DER, der));
                RETURN_IF_ERROR(into(fromDer, format == ZEL_X509 ? zelKeyReadPublic : reader, der.data(), der.size()));
                EXPECT_EQ(zelKeyType(fromDer.get()), zelKeyType(key.get()));
            }
            return OK;
        });
        Key key;
        EXPECT_EQ(readKey(name, !isPrivate, key), ERR_BAD_KEY_TYPE);
        const Bytes bytes = fileOf(name);
        for (std::size_t length = 0; length < bytes.size() - 1; ++length) { // the last line feed does not count
            EXPECT_NE(into(key, reader, bytes.data(), length), OK) << length;
        }
    }
}

TEST(CFunctions, generatedKeysSign) {
    makeRandom();
    Key key;
    for (const bool isRsa : {true, false}) {
        ASSERT_EQ(isRsa ? into(key, zelKeyGenerateRsa, 1024U) : into(key, zelKeyGenerateDsa, 1024U, 160U), OK);
        const std::size_t size = zelKeySignatureSize(key.get());
        EXPECT_EQ(zelKeyIsPrivate(key.get()), 1);
        EXPECT_EQ(zelKeyBits(key.get()), 1024U);
        inThreads(8, [&](unsigned) {
            Bytes signature(size);
            std::size_t length = size;
            EXPECT_EQ(zelSign(key.get(), ZEL_SHA512, "m", 1, signature.data(), &length), ZEL_OK);
            EXPECT_EQ(zelVerify(key.get(), ZEL_SHA512, "m", 1, signature.data(), length), ZEL_OK);
        });
    }
    for (const std::size_t bits : {0U, 512U, 1023U, 1025U, 2000U, 16512U}) {
        EXPECT_EQ(into(key, zelKeyGenerateRsa, bits), ERR_BAD_LENGTH);
        EXPECT_EQ(into(key, zelKeyGenerateDsa, bits, std::size_t{160}), ERR_DSA_INVALID_KEYLENGTH);
    }
    EXPECT_EQ(into(key, zelKeyGenerateRsa, SIZE_MAX / 128 * 128), ERR_BAD_LENGTH);
    Bytes bytes(100'000);
    EXPECT_EQ(zelRandomBytes(bytes.data(), bytes.size()), ZEL_OK);
    EXPECT_LT(std::count(bytes.end() - 1000, bytes.end(), 0), 50);
}

// Each call with one argument that is wrong, or that is unusual and right.
TEST(CFunctions, hostileArguments) {
    makeRandom();
    Digest digest;
    Aes aes;
    Key key, publicKey, shortKey; // which lacks one byte for SHA-1
    const Bytes more = bytesOf("301c0201000202009102010702010102010b02010d020101020101020101"); // n is not p q
    const Bytes der = bytesOf("3033022e00+ff*45+020103");
    Bytes b((1 << 20) + 1); // a byte more than is read of a key
    std::size_t length = 64;
    ASSERT_EQ(into(digest, zelDigestNew, ZEL_SHA256), OK);
    ASSERT_EQ(into(aes, zelAesNew, ZEL_AES_CBC, ZEL_ENCRYPT, b.data(), 16U, b.data()), OK);
    ASSERT_EQ(readKey("rsa.pkcs8", true, key), OK);
    ASSERT_EQ(readKey("dsa.x509", false, publicKey), OK);
    ASSERT_EQ(into(shortKey, zelKeyReadPublic, der.data(), der.size()), OK);
    constexpr std::size_t kHuge = SIZE_MAX, kHuge16 = SIZE_MAX / 16 * 16;
    ZelDigest* const d = digest.get();
    ZelAes* const a = aes.get();
    ZelKey *const k = key.get(), *const p = publicKey.get();
    ZelDigest* newDigest = nullptr;
    ZelAes* newAes = nullptr;
    ZelKey* newKey = nullptr;
    std::uint8_t *const in = b.data(), *const none = nullptr;
    auto* const wrongDigest = reinterpret_cast<ZelDigest*>(k);
    auto* const wrongAes = reinterpret_cast<ZelAes*>(d);
    auto* const wrongKey = reinterpret_cast<ZelKey*>(a);
    const std::pair<ZelStatus, ZelStatus> rows[] = {
        // what the call says, and what it is to say
        {zelDigestOnce(ZEL_SHA256, none, 0, in, 64), ZEL_OK},
        {zelDigestOnce(ZEL_SHA256, in, kHuge, in, 64), ZEL_ERR_BAD_LENGTH},
        {zelDigestOnce(ZEL_SHA256, in, 1, in, 31), ZEL_ERR_BUFFER_OVERFLOW},
        {zelDigestOnce(0, in, 1, in, 64), ZEL_ERR_INVALID_ARG},
        {zelDigestOnce(6, in, 1, in, 64), ZEL_ERR_INVALID_ARG},
        {zelDigestNew(INT_MIN, &newDigest), ZEL_ERR_INVALID_ARG},
        {zelDigestCopy(wrongDigest, &newDigest), ZEL_ERR_INVALID_ARG},
        {zelDigestUpdate(wrongDigest, in, 1), ZEL_ERR_INVALID_ARG},
        {zelDigestUpdate(d, none, 0), ZEL_OK},
        {zelDigestUpdate(d, in, kHuge), ZEL_ERR_BAD_LENGTH},
        {zelDigestFinish(wrongDigest, in, 64), ZEL_ERR_INVALID_ARG},
        {zelDigestFree(nullptr), ZEL_OK},
        {zelDigestFree(wrongDigest), ZEL_ERR_INVALID_ARG},
        {zelAesNew(ZEL_AES_CBC, ZEL_ENCRYPT, in, 17, in, &newAes), ZEL_ERR_AES_BAD_KEY_LENGTH},
        {zelAesNew(ZEL_AES_CBC, ZEL_ENCRYPT, in, kHuge / 2 + 17, in, &newAes), ZEL_ERR_AES_BAD_KEY_LENGTH},
        {zelAesNew(3, ZEL_ENCRYPT, in, 16, in, &newAes), ZEL_ERR_INVALID_ARG},
        {zelAesNew(ZEL_AES_CBC, 2, in, 16, in, &newAes), ZEL_ERR_INVALID_ARG},
        {zelAesSetIv(wrongAes, in), ZEL_ERR_INVALID_ARG},
        {zelAesUpdate(a, none, 0, none), ZEL_OK},
        {zelAesUpdate(a, in, 15, in), ZEL_ERR_AES_BAD_LENGTH},
        {zelAesUpdate(a, in, kHuge16, in), ZEL_ERR_BAD_LENGTH},
        {zelAesUpdate(a, in, 32, in + 1), ZEL_ERR_INVALID_ARG},
        {zelAesUpdate(a, in + 31, 32, in), ZEL_ERR_INVALID_ARG},
        {zelAesUpdate(a, in + 32, 32, in), ZEL_OK},
        {zelAesUpdate(wrongAes, in, 16, in), ZEL_ERR_INVALID_ARG},
        {zelAesFinish(a, in, kHuge, in, &length), ZEL_ERR_BAD_LENGTH},
        {zelAesFinish(a, in, 16, in + 8, &(length = 64)), ZEL_ERR_INVALID_ARG},
        {zelAesFinish(a, none, 0, in, &(length = 15)), ZEL_ERR_BUFFER_OVERFLOW},
        {zelAesCbcDecrypt(in, 16, in, in, 0, in, &(length = 64)), ZEL_ERR_AES_BAD_LENGTH},
        {zelAesCbcDecrypt(in, 16, in, in, 17, in, &(length = 64)), ZEL_ERR_AES_BAD_LENGTH},
        {zelRandomBytes(none, 0), ZEL_OK},
        {zelRandomBytes(in, kHuge), ZEL_ERR_BAD_LENGTH},
        {zelKeyReadPrivate(more.data(), more.size(), &newKey), ZEL_ERR_RSA_INVALID_MODULUS},
        {zelKeyReadPublic(in, kHuge, &newKey), ZEL_ERR_BAD_LENGTH},
        {zelKeyReadPublic(in, b.size(), &newKey), ZEL_ERR_BAD_LENGTH},
        {zelKeyReadPublic("-----BEGIN ", 11, &newKey), ZEL_ERR_PEM},
        {zelKeyWrite(k, 4, ZEL_PEM, in, &length), ZEL_ERR_INVALID_ARG},
        {zelKeyWrite(k, ZEL_PKCS8, 0, in, &length), ZEL_ERR_INVALID_ARG},
        {zelKeyWrite(wrongKey, ZEL_PKCS8, ZEL_PEM, in, &length), ZEL_ERR_INVALID_ARG},
        {zelKeyType(wrongKey), 0},
        {zelKeyIsPrivate(nullptr), 0},
        {static_cast<ZelStatus>(zelKeyBits(wrongKey) + zelKeySignatureSize(nullptr)), 0},
        {zelKeyFree(wrongKey), ZEL_ERR_INVALID_ARG},
        {zelSign(wrongKey, ZEL_SHA256, in, 1, in, &length), ZEL_ERR_INVALID_ARG},
        {zelSign(p, ZEL_SHA256, in, 1, in, &length), ZEL_ERR_BAD_KEY_TYPE},
        {zelSign(k, 9, in, 1, in, &length), ZEL_ERR_INVALID_ARG},
        {zelSign(k, ZEL_SHA256, none, 1, in, &(length = 64)), ZEL_ERR_NULL_POINTER},
        {zelSignDigest(k, ZEL_SHA256, in, 31, in, &(length = 64)), ZEL_ERR_BAD_LENGTH},
        {zelVerify(k, ZEL_SHA256, in, kHuge, in, 1), ZEL_ERR_BAD_LENGTH},
        {zelVerify(k, ZEL_SHA256, none, 0, none, 0), ZEL_ERR_BAD_SIGNATURE},
        {zelVerify(shortKey.get(), ZEL_SHA1, in, 1, in, 45), ZEL_ERR_RSA_KEY_LENGTH_TOO_SMALL},
        {zelVerify(p, ZEL_SHA256, in, 1, in, 48), ZEL_ERR_BAD_SIGNATURE},
        {zelVerify(p, 0, in, 1, in, 48), ZEL_ERR_INVALID_ARG},
        {zelCheckFile(wrongKey, ZEL_SHA256, "", ""), ZEL_ERR_INVALID_ARG},
        {zelCheckFile(k, 7, "", ""), ZEL_ERR_INVALID_ARG},
        {zelCheckFile(k, ZEL_SHA256, "", ""), ZEL_ERR_FILE_OPEN_FAILED},
    };
    for (const auto& [status, expected] : rows) {
        EXPECT_EQ(status, expected) << "row " << &status - &rows[0].first;
    }
    expectNullsRefused({zelDigestOnce}, ZEL_SHA256, in, 1, in, 64);
    expectNullsRefused({zelDigestNew}, ZEL_SHA1, &newDigest);
    expectNullsRefused({zelDigestCopy}, d, &newDigest);
    expectNullsRefused({zelDigestUpdate}, d, in, 64);
    expectNullsRefused({zelDigestFinish}, d, in, 64);
    expectNullsRefused({zelDigestReset}, d);
    expectNullsRefused({zelAesNew}, ZEL_AES_CBC, ZEL_ENCRYPT, in, 16, in, &newAes);
    expectNullsRefused({zelAesSetIv}, a, in);
    expectNullsRefused({zelAesUpdate}, a, in, 16, in);
    expectNullsRefused({zelAesFinish}, a, in, 16, nullptr, &(length = 64));
    expectNullsRefused({zelAesCbcEncrypt, zelAesCbcDecrypt}, in, 16, in, nullptr, 0, nullptr, &length);
    expectNullsRefused({zelRandomBytes}, in, 1);
    expectNullsRefused({zelKeyReadPrivate, zelKeyReadPublic}, in, 64, &newKey);
    expectNullsRefused({zelKeyGenerateRsa}, 1024, &newKey);
    expectNullsRefused({zelKeyWrite}, k, ZEL_PKCS8, ZEL_PEM, nullptr, &length);
    expectNullsRefused({zelSign, zelSignDigest}, k, ZEL_SHA256, nullptr, 32, nullptr, &length);
    expectNullsRefused({zelVerify, zelVerifyDigest}, k, ZEL_SHA256, in, 32, in, 1);
    expectNullsRefused({zelCheckFile}, k, ZEL_SHA256, "", nullptr);
    EXPECT_TRUE(newDigest == nullptr && newAes == nullptr && newKey == nullptr);
    EXPECT_STREQ(zelStatusName(ZEL_ERR_BAD_SIGNATURE), "ERR_RSA_BAD_SIGNATURE");
    EXPECT_EQ(zelStatusName(1), nullptr);
}

TEST(CFunctions, files) {
    const char *const file = "zel_capi", *const other = "zel_capi.other";
    const auto write = [](const char* path, const Bytes& bytes) {
        std::ofstream(path, std::ios::binary) << std::string(bytes.begin(), bytes.end());
    };
    Key key;
    ASSERT_EQ(readKey("rsa.pkcs8", true, key), OK);
    for (const std::size_t size : {0U, 1U, 65536U, 200'001U}) {
        Bytes signature(256);
        std::size_t length = 256;
        write(file, Bytes(size, 0x5A));
        ASSERT_EQ(zelSign(key.get(), ZEL_SHA384, Bytes(size + 1, 0x5A).data(), size, signature.data(), &length), OK);
        write("zel_capi.sig", signature);
        refuseEach([&] { return static_cast<Status>(zelCheckFile(key.get(), ZEL_SHA384, file, nullptr)); });
        EXPECT_EQ(zelCheckFile(key.get(), ZEL_SHA256, file, nullptr), ZEL_ERR_BAD_SIGNATURE);
        for (const std::size_t count : {5000U, 257U, 255U, 0U}) { // behind the signature, or short of it
            signature.resize(count);
            write(other, signature);
            EXPECT_EQ(zelCheckFile(key.get(), ZEL_SHA384, file, other), ZEL_ERR_BAD_SIGNATURE);
        }
    }
    EXPECT_EQ(zelCheckFile(key.get(), ZEL_SHA384, file, "zel_capi.none"), ZEL_ERR_FILE_OPEN_FAILED);
    EXPECT_EQ(zelCheckFile(key.get(), ZEL_SHA1, ".", nullptr), ZEL_ERR_FILE_OPEN_FAILED);
}

} // namespace
