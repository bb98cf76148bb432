// The C functions with wrong arguments, keys that do not serve, files of all kinds, and several threads.
#include "tests/capi/handles.h"

#include <atomic>
#include <climits>
#include <filesystem>
#include <thread>

namespace {

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
