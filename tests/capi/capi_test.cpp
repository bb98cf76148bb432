// The C functions, as a program in C has them.
#include "capi/zel.h"
#include "core/random/random.h"
#include "tests/support/faults.h"
#include "tests/support/vectors.h"

#include <atomic>
#include <climits>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <thread>

namespace {

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

ZelHash hashOf(const std::string& name) {
    const std::string names[] = {"sha1", "sha224", "sha256", "sha384", "sha512"};
    return static_cast<ZelHash>(std::find(std::begin(names), std::end(names), name) - std::begin(names) + 1);
}

// The process's context, without six seconds of seeding.
void makeRandom() {
    ASSERT_EQ(randomSetSeedingMode(kSeedWithoutThreads), OK);
    ASSERT_EQ(zelRandomWait(), ZEL_OK);
    EXPECT_EQ(zelRandomIsReady(), 1);
    testheap::keep(4); // the context, its mutex and those of the seed pool
}

// In one call, and in parts by two handles that were one.
Status digest(const Words& in, Words& out) {
    const ZelHash hash = hashOf(in[0]);
    const std::size_t size = zelDigestSize(hash), half = in[1].size() / 3;
    Bytes once(size), parts(size);
    EXPECT_EQ(zelDigestOnce(hash, in[1].data(), in[1].size(), once.data(), size), ZEL_OK);
    Digest first, second;
    RETURN_IF_ERROR(into(first, zelDigestNew, hash));
    EXPECT_EQ(zelDigestUpdate(first.get(), in[1].data(), half), ZEL_OK);
    RETURN_IF_ERROR(into(second, zelDigestCopy, first.get()));
    EXPECT_EQ(zelDigestFinish(first.get(), parts.data(), size - 1), ZEL_ERR_BUFFER_OVERFLOW);
    for (const Digest* handle : {&first, &second, &first}) {
        if (handle == &first && parts == once) { // finished: a new message
            EXPECT_EQ(zelDigestUpdate(handle->get(), "?", 1), ZEL_OK);
            EXPECT_EQ(zelDigestReset(handle->get()), ZEL_OK);
            EXPECT_EQ(zelDigestUpdate(handle->get(), in[1].data(), half), ZEL_OK);
        }
        EXPECT_EQ(zelDigestUpdate(handle->get(), in[1].data() + half, in[1].size() - half), ZEL_OK);
        EXPECT_EQ(zelDigestFinish(handle->get(), parts.data(), size), ZEL_OK);
        EXPECT_EQ(parts, once);
    }
    out = {textOf(once)};
    return OK;
}

Status padded(const Words& in, Words& out) {
    const Bytes key = bytesOf(in[0]), iv = bytesOf(in[1]), plaintext = bytesOf(in[2]);
    Bytes ciphertext, back, inPlace = plaintext;
    EXPECT_EQ(resultOf(ciphertext,
                       [&](void* output, std::size_t* length) {
                           return zelAesCbcEncrypt(key.data(), key.size(), iv.data(), plaintext.data(),
                                                   plaintext.size(), output, length);
                       }),
              OK);
    EXPECT_EQ(resultOf(back,
                       [&](void* output, std::size_t* length) {
                           return zelAesCbcDecrypt(key.data(), key.size(), iv.data(), ciphertext.data(),
                                                   ciphertext.size(), output, length);
                       }),
              OK);
    EXPECT_EQ(back, plaintext);

    // By handles, in place: whole blocks first, then the rest; then anew, and back.
    const std::size_t whole = plaintext.size() / 32 * 16;
    inPlace.resize(ciphertext.size());
    Aes encrypting, decrypting;
    RETURN_IF_ERROR(into(encrypting, zelAesNew, ZEL_AES_CBC, ZEL_ENCRYPT, key.data(), key.size(), iv.data()));
    RETURN_IF_ERROR(into(decrypting, zelAesNew, ZEL_AES_CBC, ZEL_DECRYPT, key.data(), key.size(), iv.data()));
    for (int message = 0; message < 2; ++message) {
        for (const auto& [aes, from, to] : {std::tuple(encrypting.get(), plaintext, ciphertext),
                                            std::tuple(decrypting.get(), ciphertext, plaintext)}) {
            std::size_t length = ciphertext.size();
            std::copy(from.begin(), from.end(), inPlace.begin());
            EXPECT_EQ(zelAesUpdate(aes, inPlace.data(), whole, inPlace.data()), ZEL_OK);
            std::uint8_t* const rest = inPlace.data() + whole;
            EXPECT_EQ(zelAesFinish(aes, rest, from.size() - whole, rest, &length), ZEL_OK);
            EXPECT_EQ(Bytes(inPlace.begin(), inPlace.begin() + static_cast<std::ptrdiff_t>(whole + length)), to);
            EXPECT_EQ(zelAesUpdate(aes, rest, 0, rest), ZEL_ERR_MISSING_STATE_CHANGE);
            EXPECT_EQ(zelAesFinish(aes, rest, 16, rest, &length), ZEL_ERR_MISSING_STATE_CHANGE);
            EXPECT_EQ(zelAesSetIv(aes, iv.data()), ZEL_OK);
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
        Bytes ours, changed = theirs, digest(zelDigestSize(hash));
        EXPECT_EQ(zelDigestOnce(hash, message.data(), message.size(), digest.data(), digest.size()), ZEL_OK);
        Key privateKey, publicKey;
        RETURN_IF_ERROR(readKey(name + ".pkcs8", true, privateKey));
        RETURN_IF_ERROR(readKey(name + ".x509", false, publicKey));
        RETURN_IF_ERROR(resultOf(ours, [&](void* output, std::size_t* length) {
            return zelSign(privateKey.get(), hash, message.data(), message.size(), output, length);
        }));
        for (const Bytes& good : {theirs, ours}) {
            const auto status = static_cast<Status>(
                zelVerify(publicKey.get(), hash, message.data(), message.size(), good.data(), good.size()));
            RETURN_IF_ERROR(status);
        }
        RETURN_IF_ERROR(resultOf(changed, [&](void* output, std::size_t* length) {
            return zelSignDigest(privateKey.get(), hash, digest.data(), digest.size(), output, length);
        }));
        const auto verify = [&](const Bytes& bytes) {
            return static_cast<Status>(
                zelVerifyDigest(privateKey.get(), hash, digest.data(), digest.size(), bytes.data(), bytes.size()));
        };
        RETURN_IF_ERROR(verify(changed));
        changed = theirs;
        changed.push_back(0);
        EXPECT_EQ(verify(changed), ERR_RSA_BAD_SIGNATURE);
        changed.pop_back();
        changed.back() ^= 1;
        digest[0] ^= 1;
        for (const Bytes& bad : {changed, theirs, Bytes()}) {
            if (const Status status = verify(bad); status != ERR_RSA_BAD_SIGNATURE) {
                return isError(status) ? status : ERR_FALSE;
            }
        }
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
    constexpr std::pair<const char*, ZelAesMode> kModes[] = {
        {"ecb", ZEL_AES_ECB}, {"cbc", ZEL_AES_CBC}, {"cfb", ZEL_AES_CFB128}, {"ofb", ZEL_AES_OFB}};
    for (const auto& [name, mode] : kModes) {
        const auto lines = vectorsOf("core/aes/aes_vectors.txt", name);
        EXPECT_GE(lines.size(), 3U);
        for (const Words& line : lines) {
            const Bytes key = bytesOf(line[0]), iv = bytesOf(line[1]), plaintext = bytesOf(line[2]);
            Bytes bytes = plaintext;
            for (const ZelDirection direction : {ZEL_ENCRYPT, ZEL_DECRYPT}) {
                Aes aes;
                ASSERT_EQ(into(aes, zelAesNew, mode, direction, key.data(), key.size(),
                               mode == ZEL_AES_ECB ? nullptr : iv.data()),
                          OK);
                for (std::size_t at = 0; at < bytes.size(); at += 16) {
                    EXPECT_EQ(zelAesUpdate(aes.get(), &bytes[at], 16, &bytes[at]), ZEL_OK);
                }
                EXPECT_EQ(textOf(bytes), direction == ZEL_ENCRYPT ? line[3] : textOf(plaintext));
                std::size_t length = 16;
                EXPECT_EQ(zelAesFinish(aes.get(), bytes.data(), 16, bytes.data(), &length),
                          mode == ZEL_AES_CBC
                              ? (direction == ZEL_ENCRYPT ? ZEL_ERR_BUFFER_OVERFLOW : ZEL_ERR_AES_BAD_PAD_LENGTH)
                              : ZEL_ERR_AES_BAD_CIPHER_MODE);
            }
        }
    }
}

// Every length of padding, right and with each of its bytes wrong, and lengths that there are not.
TEST(CFunctions, paddingIsLookedAtAsAWhole) {
    const Bytes key = bytesOf("1:0:32"), iv(16);
    const auto decrypts = [&](const Bytes& block) {
        Bytes out(32, 0xEE);
        Bytes ciphertext(32);
        std::size_t length = out.size();
        Aes aes;
        EXPECT_EQ(into(aes, zelAesNew, ZEL_AES_CBC, ZEL_ENCRYPT, key.data(), key.size(), iv.data()), OK);
        EXPECT_EQ(zelAesUpdate(aes.get(), iv.data(), 16, ciphertext.data()), ZEL_OK);
        EXPECT_EQ(zelAesUpdate(aes.get(), block.data(), 16, ciphertext.data() + 16), ZEL_OK);
        const ZelStatus status =
            zelAesCbcDecrypt(key.data(), key.size(), iv.data(), ciphertext.data(), 32, out.data(), &length);
        EXPECT_TRUE(status == ZEL_OK ? length == 32U - block.back() : (length == 0 && out == Bytes(32, 0xEE)));
        return status;
    };
    for (std::uint8_t padding = 1; padding <= 16; ++padding) {
        Bytes block(16, padding);
        EXPECT_EQ(decrypts(block), ZEL_OK);
        for (std::size_t i = 0; i < 15; ++i) {
            block[i] ^= 0x80;
            EXPECT_EQ(decrypts(block), i < 16U - padding ? ZEL_OK : ZEL_ERR_AES_BAD_PAD_LENGTH) << int{padding} << i;
            block[i] ^= 0x80;
        }
    }
    for (const char padding : {'\x00', '\x11', '\x20', '\x80', '\xFF'}) {
        EXPECT_EQ(decrypts(Bytes(16, static_cast<std::uint8_t>(padding))), ZEL_ERR_AES_BAD_PAD_LENGTH);
    }
}

// What OpenSSL has written in every form is read from each and written as it was.
TEST(CFunctions, keysInEveryForm) {
    constexpr struct {
        const char* name;
        ZelKeyType type;
        bool isPrivate;
        std::size_t signatureSize;
        const char *pkcs1, *pkcs8, *x509; // what each format gives, or null
    } kRows[] = {{"rsa.pkcs8", ZEL_KEY_RSA, true, 256, "rsa.pkcs1", "rsa.pkcs8", "rsa.x509"},
                 {"rsa.pkcs1", ZEL_KEY_RSA, true, 256, "rsa.pkcs1", "rsa.pkcs8", "rsa.x509"},
                 {"rsa.x509", ZEL_KEY_RSA, false, 256, "rsa.public", nullptr, "rsa.x509"},
                 {"rsa.public", ZEL_KEY_RSA, false, 256, "rsa.public", nullptr, "rsa.x509"},
                 {"dsa.pkcs8", ZEL_KEY_DSA, true, 64, nullptr, "dsa.pkcs8", "dsa.x509"},
                 {"dsa.x509", ZEL_KEY_DSA, false, 64, nullptr, nullptr, "dsa.x509"}};
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.name);
        refuseEach([&] {
            Key key, fromDer;
            RETURN_IF_ERROR(readKey(row.name, row.isPrivate, key));
            EXPECT_EQ(zelKeyType(key.get()), row.type);
            EXPECT_EQ(zelKeyIsPrivate(key.get()), row.isPrivate ? 1 : 0);
            EXPECT_EQ(zelKeyBits(key.get()), row.type == ZEL_KEY_RSA ? 2048U : 1024U);
            EXPECT_EQ(zelKeySignatureSize(key.get()), row.signatureSize);
            const char* const files[] = {row.pkcs1, row.pkcs8, row.x509};
            for (const ZelKeyFormat format : {ZEL_PKCS1, ZEL_PKCS8, ZEL_X509}) {
                const char* const file = files[format - ZEL_PKCS1];
                Bytes pem, der;
                const auto write = [&](ZelEncoding encoding) {
                    return [&, encoding](void* output, std::size_t* length) {
                        return zelKeyWrite(key.get(), format, encoding, output, length);
                    };
                };
                const Status status = resultOf(pem, write(ZEL_PEM));
                if (file == nullptr) {
                    EXPECT_EQ(status, ERR_BAD_KEY_TYPE);
                    continue;
                }
                RETURN_IF_ERROR(status);
                EXPECT_EQ(pem, fileOf(file));
                RETURN_IF_ERROR(resultOf(der, write(ZEL_DER)));
                const bool isPublic = format == ZEL_X509 || !row.isPrivate;
                RETURN_IF_ERROR(into(fromDer, isPublic ? zelKeyReadPublic : zelKeyReadPrivate, der.data(), der.size()));
                EXPECT_EQ(zelKeyType(fromDer.get()), row.type);
            }
            return OK;
        });
        Key key;
        EXPECT_EQ(readKey(row.name, !row.isPrivate, key), ERR_BAD_KEY_TYPE);
        const Bytes bytes = fileOf(row.name);
        const auto reader = row.isPrivate ? zelKeyReadPrivate : zelKeyReadPublic;
        for (std::size_t length = 0; length < bytes.size() - 1; ++length) { // the last line feed does not count
            EXPECT_NE(into(key, reader, bytes.data(), length), OK) << length;
        }
    }
}

TEST(CFunctions, generatedKeysSign) {
    makeRandom();
    const auto check = [](auto make) {
        Key key;
        ASSERT_EQ(make(key), OK);
        Bytes signature(zelKeySignatureSize(key.get()));
        std::size_t length = signature.size();
        EXPECT_EQ(zelKeyIsPrivate(key.get()), 1);
        EXPECT_EQ(zelKeyBits(key.get()), 1024U);
        EXPECT_EQ(zelSign(key.get(), ZEL_SHA512, "m", 1, signature.data(), &length), ZEL_OK);
        EXPECT_EQ(zelVerify(key.get(), ZEL_SHA512, "m", 1, signature.data(), length), ZEL_OK);
    };
    check([](Key& key) { return into(key, zelKeyGenerateRsa, 1024U); });
    check([](Key& key) { return into(key, zelKeyGenerateDsa, 1024U, 160U); });
    Key key;
    for (const std::size_t bits : {0U, 512U, 1023U, 1025U, 2000U, 16512U}) {
        EXPECT_EQ(into(key, zelKeyGenerateRsa, bits), ERR_BAD_LENGTH);
        EXPECT_EQ(into(key, zelKeyGenerateDsa, bits, std::size_t{160}), ERR_DSA_INVALID_KEYLENGTH);
    }
    EXPECT_EQ(into(key, zelKeyGenerateRsa, SIZE_MAX / 128 * 128), ERR_BAD_LENGTH);
    Bytes once(100'000), again(once.size());
    EXPECT_EQ(zelRandomBytes(once.data(), once.size()), ZEL_OK);
    EXPECT_EQ(zelRandomBytes(again.data(), again.size()), ZEL_OK);
    EXPECT_NE(once, again);
    EXPECT_TRUE(std::any_of(again.end() - 16, again.end(), [](std::uint8_t byte) { return byte != 0; }));
}

// Each call with one argument that is wrong, or that is unusual and right.
TEST(CFunctions, hostileArguments) {
    makeRandom();
    Digest digest;
    Aes aes;
    Key key, publicKey;
    Bytes b(64);
    std::size_t length = 64;
    ASSERT_EQ(into(digest, zelDigestNew, ZEL_SHA256), OK);
    ASSERT_EQ(into(aes, zelAesNew, ZEL_AES_CBC, ZEL_ENCRYPT, b.data(), 16U, b.data()), OK);
    ASSERT_EQ(readKey("rsa.pkcs8", true, key), OK);
    ASSERT_EQ(readKey("dsa.x509", false, publicKey), OK);
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
        {zelDigestOnce(ZEL_SHA256, none, 1, in, 64), ZEL_ERR_NULL_POINTER},
        {zelDigestOnce(ZEL_SHA256, in, kHuge, in, 64), ZEL_ERR_BAD_LENGTH},
        {zelDigestOnce(ZEL_SHA256, in, 1, none, 64), ZEL_ERR_NULL_POINTER},
        {zelDigestOnce(ZEL_SHA256, in, 1, in, 31), ZEL_ERR_BUFFER_OVERFLOW},
        {zelDigestOnce(0, in, 1, in, 64), ZEL_ERR_INVALID_ARG},
        {zelDigestOnce(6, in, 1, in, 64), ZEL_ERR_INVALID_ARG},
        {zelDigestNew(INT_MIN, &newDigest), ZEL_ERR_INVALID_ARG},
        {zelDigestNew(ZEL_SHA1, nullptr), ZEL_ERR_NULL_POINTER},
        {zelDigestCopy(nullptr, &newDigest), ZEL_ERR_NULL_POINTER},
        {zelDigestCopy(d, nullptr), ZEL_ERR_NULL_POINTER},
        {zelDigestCopy(wrongDigest, &newDigest), ZEL_ERR_INVALID_ARG},
        {zelDigestUpdate(nullptr, in, 1), ZEL_ERR_NULL_POINTER},
        {zelDigestUpdate(wrongDigest, in, 1), ZEL_ERR_INVALID_ARG},
        {zelDigestUpdate(d, none, 0), ZEL_OK},
        {zelDigestUpdate(d, none, 1), ZEL_ERR_NULL_POINTER},
        {zelDigestUpdate(d, in, kHuge), ZEL_ERR_BAD_LENGTH},
        {zelDigestFinish(d, none, 64), ZEL_ERR_NULL_POINTER},
        {zelDigestFinish(wrongDigest, in, 64), ZEL_ERR_INVALID_ARG},
        {zelDigestReset(nullptr), ZEL_ERR_NULL_POINTER},
        {zelDigestFree(nullptr), ZEL_OK},
        {zelDigestFree(wrongDigest), ZEL_ERR_INVALID_ARG},
        {zelAesNew(ZEL_AES_CBC, ZEL_ENCRYPT, in, 16, in, nullptr), ZEL_ERR_NULL_POINTER},
        {zelAesNew(ZEL_AES_CBC, ZEL_ENCRYPT, none, 16, in, &newAes), ZEL_ERR_NULL_POINTER},
        {zelAesNew(ZEL_AES_CBC, ZEL_ENCRYPT, in, 16, none, &newAes), ZEL_ERR_NULL_POINTER},
        {zelAesNew(ZEL_AES_CBC, ZEL_ENCRYPT, in, 17, in, &newAes), ZEL_ERR_AES_BAD_KEY_LENGTH},
        {zelAesNew(ZEL_AES_CBC, ZEL_ENCRYPT, in, kHuge / 2 + 17, in, &newAes), ZEL_ERR_AES_BAD_KEY_LENGTH},
        {zelAesNew(3, ZEL_ENCRYPT, in, 16, in, &newAes), ZEL_ERR_INVALID_ARG},
        {zelAesNew(ZEL_AES_CBC, 2, in, 16, in, &newAes), ZEL_ERR_INVALID_ARG},
        {zelAesSetIv(a, none), ZEL_ERR_NULL_POINTER},
        {zelAesSetIv(wrongAes, in), ZEL_ERR_INVALID_ARG},
        {zelAesUpdate(a, none, 0, none), ZEL_OK},
        {zelAesUpdate(a, none, 16, in), ZEL_ERR_NULL_POINTER},
        {zelAesUpdate(a, in, 16, none), ZEL_ERR_NULL_POINTER},
        {zelAesUpdate(a, in, 15, in), ZEL_ERR_AES_BAD_LENGTH},
        {zelAesUpdate(a, in, kHuge16, in), ZEL_ERR_BAD_LENGTH},
        {zelAesUpdate(a, in, 32, in + 1), ZEL_ERR_INVALID_ARG},
        {zelAesUpdate(a, in + 31, 32, in), ZEL_ERR_INVALID_ARG},
        {zelAesUpdate(a, in + 32, 32, in), ZEL_OK},
        {zelAesUpdate(wrongAes, in, 16, in), ZEL_ERR_INVALID_ARG},
        {zelAesFinish(a, in, 16, in, nullptr), ZEL_ERR_NULL_POINTER},
        {zelAesFinish(a, none, 1, in, &length), ZEL_ERR_NULL_POINTER},
        {zelAesFinish(a, in, kHuge, in, &length), ZEL_ERR_BAD_LENGTH},
        {zelAesFinish(a, in, 16, in + 8, &(length = 64)), ZEL_ERR_INVALID_ARG},
        {zelAesFinish(a, none, 0, in, &(length = 15)), ZEL_ERR_BUFFER_OVERFLOW},
        {zelAesCbcDecrypt(in, 16, in, in, 0, in, &(length = 64)), ZEL_ERR_AES_BAD_LENGTH},
        {zelAesCbcDecrypt(in, 16, in, in, 17, in, &(length = 64)), ZEL_ERR_AES_BAD_LENGTH},
        {zelRandomBytes(none, 0), ZEL_OK},
        {zelRandomBytes(none, 1), ZEL_ERR_NULL_POINTER},
        {zelRandomBytes(in, kHuge), ZEL_ERR_BAD_LENGTH},
        {zelKeyReadPrivate(none, 1, &newKey), ZEL_ERR_NULL_POINTER},
        {zelKeyReadPublic(in, 64, nullptr), ZEL_ERR_NULL_POINTER},
        {zelKeyReadPublic(in, kHuge, &newKey), ZEL_ERR_BAD_LENGTH},
        {zelKeyReadPublic("-----BEGIN ", 11, &newKey), ZEL_ERR_PEM},
        {zelKeyWrite(nullptr, ZEL_PKCS8, ZEL_PEM, in, &length), ZEL_ERR_NULL_POINTER},
        {zelKeyWrite(k, ZEL_PKCS8, ZEL_PEM, in, nullptr), ZEL_ERR_NULL_POINTER},
        {zelKeyWrite(k, 4, ZEL_PEM, in, &length), ZEL_ERR_INVALID_ARG},
        {zelKeyWrite(k, ZEL_PKCS8, 0, in, &length), ZEL_ERR_INVALID_ARG},
        {zelKeyWrite(wrongKey, ZEL_PKCS8, ZEL_PEM, in, &length), ZEL_ERR_INVALID_ARG},
        {zelKeyType(wrongKey), 0},
        {zelKeyIsPrivate(nullptr), 0},
        {static_cast<ZelStatus>(zelKeyBits(wrongKey) + zelKeySignatureSize(nullptr)), 0},
        {zelKeyFree(wrongKey), ZEL_ERR_INVALID_ARG},
        {zelSign(nullptr, ZEL_SHA256, in, 1, in, &length), ZEL_ERR_NULL_POINTER},
        {zelSign(wrongKey, ZEL_SHA256, in, 1, in, &length), ZEL_ERR_INVALID_ARG},
        {zelSign(p, ZEL_SHA256, in, 1, in, &length), ZEL_ERR_BAD_KEY_TYPE},
        {zelSign(k, 9, in, 1, in, &length), ZEL_ERR_INVALID_ARG},
        {zelSign(k, ZEL_SHA256, none, 1, in, &(length = 64)), ZEL_ERR_NULL_POINTER},
        {zelSign(k, ZEL_SHA256, in, 1, in, nullptr), ZEL_ERR_NULL_POINTER},
        {zelSignDigest(k, ZEL_SHA256, in, 31, in, &(length = 64)), ZEL_ERR_BAD_LENGTH},
        {zelVerify(k, ZEL_SHA256, in, kHuge, in, 1), ZEL_ERR_BAD_LENGTH},
        {zelVerify(k, ZEL_SHA256, in, 1, none, 1), ZEL_ERR_NULL_POINTER},
        {zelVerify(k, ZEL_SHA256, none, 0, none, 0), ZEL_ERR_BAD_SIGNATURE},
        {zelVerify(p, ZEL_SHA256, in, 1, in, 48), ZEL_ERR_BAD_SIGNATURE},
        {zelVerify(p, 0, in, 1, in, 48), ZEL_ERR_INVALID_ARG},
        {zelCheckFile(k, ZEL_SHA256, nullptr, nullptr), ZEL_ERR_NULL_POINTER},
        {zelCheckFile(wrongKey, ZEL_SHA256, "", ""), ZEL_ERR_INVALID_ARG},
        {zelCheckFile(k, 7, "", ""), ZEL_ERR_INVALID_ARG},
        {zelCheckFile(k, ZEL_SHA256, "", ""), ZEL_ERR_FILE_OPEN_FAILED},
    };
    for (const auto& [status, expected] : rows) {
        EXPECT_EQ(status, expected) << "row " << &status - &rows[0].first;
    }
    EXPECT_TRUE(newDigest == nullptr && newAes == nullptr && newKey == nullptr);
    EXPECT_STREQ(zelStatusName(ZEL_ERR_BAD_SIGNATURE), "ERR_RSA_BAD_SIGNATURE");
    EXPECT_EQ(zelStatusName(1), nullptr);
}

TEST(CFunctions, keysThatDoNotServe) {
    Key key;
    const Bytes more = bytesOf("301c0201000202009102010702010102010b02010d020101020101020101"); // n is not p q
    EXPECT_EQ(into(key, zelKeyReadPrivate, more.data(), more.size()), ERR_RSA_INVALID_MODULUS);
    const Bytes der = bytesOf("300e020900ffffffffffffffff020103"), signature(8);
    ASSERT_EQ(into(key, zelKeyReadPublic, der.data(), der.size()), OK);
    EXPECT_EQ(zelVerify(key.get(), ZEL_SHA1, "", 0, signature.data(), 8), ZEL_ERR_RSA_KEY_LENGTH_TOO_SMALL);
}

TEST(CFunctions, files) {
    const std::filesystem::path folder = std::filesystem::temp_directory_path() / "zel_capi_files";
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder);
    const std::string file = (folder / "data").string(), other = (folder / "elsewhere").string();
    const auto write = [](const std::string& path, const Bytes& bytes) {
        std::ofstream(path, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    };
    Key key;
    ASSERT_EQ(readKey("rsa.pkcs8", true, key), OK);
    for (const std::size_t size : {0U, 1U, 65536U, 200'001U}) {
        const Bytes data(size, 0x5A);
        Bytes signature(256);
        std::size_t length = 256;
        ASSERT_EQ(zelSign(key.get(), ZEL_SHA384, data.data(), size, signature.data(), &length), ZEL_OK);
        write(file, data);
        write(file + ".sig", signature);
        refuseEach([&] { return static_cast<Status>(zelCheckFile(key.get(), ZEL_SHA384, file.c_str(), nullptr)); });
        EXPECT_EQ(zelCheckFile(key.get(), ZEL_SHA384, file.c_str(), other.c_str()), ZEL_ERR_FILE_OPEN_FAILED);
        EXPECT_EQ(zelCheckFile(key.get(), ZEL_SHA256, file.c_str(), nullptr), ZEL_ERR_BAD_SIGNATURE);
        for (const std::size_t count : {0U, 255U, 257U, 5000U}) {
            signature.resize(count);
            write(other, signature);
            EXPECT_EQ(zelCheckFile(key.get(), ZEL_SHA384, file.c_str(), other.c_str()), ZEL_ERR_BAD_SIGNATURE);
        }
        std::filesystem::remove(other);
    }
    EXPECT_EQ(zelCheckFile(key.get(), ZEL_SHA1, folder.string().c_str(), nullptr), ZEL_ERR_FILE_OPEN_FAILED);
    std::filesystem::remove_all(folder);
}

// One key in many threads, each with handles of its own.
TEST(CFunctions, threadsShareKeys) {
    makeRandom();
    Key rsa, dsa;
    ASSERT_EQ(readKey("rsa.pkcs8", true, rsa), OK);
    ASSERT_EQ(readKey("dsa.pkcs8", true, dsa), OK);
    std::atomic<int> wrong{0};
    const auto work = [&] {
        for (int i = 0; i < 10; ++i) {
            for (const ZelKey* key : {rsa.get(), dsa.get()}) {
                std::uint8_t signature[256];
                std::size_t length = sizeof signature;
                const bool isGood = zelSign(key, ZEL_SHA256, "m", 1, signature, &length) == ZEL_OK &&
                                    zelVerify(key, ZEL_SHA256, "m", 1, signature, length) == ZEL_OK;
                wrong += isGood ? 0 : 1;
            }
        }
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back(work);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
}

} // namespace
