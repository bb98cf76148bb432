// The C functions' answers, as a program in C has them.
#include "tests/capi/handles.h"

namespace {

ZelHash hashOf(const std::string& name) {
    const std::string names[] = {"sha1", "sha224", "sha256", "sha384", "sha512"};
    return static_cast<ZelHash>(std::find(std::begin(names), std::end(names), name) - std::begin(names) + 1);
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

} // namespace
