// ZelUtil::checkFileSignature: verdicts, statuses and their order.
#include "tests/bridge/file_signature/signed_file.h"
#include "tests/support/faults.h"

#include <filesystem>

namespace {

using namespace filetest;

constexpr int kBadPath = -6103, kBadKey = -7701, kNotOpened = -7201, kBadSignature = -7711, kNoSignature = -7702;
constexpr SignedFile kEndsInZero = {
#define ENDS_IN_ZERO(...) __VA_ARGS__
#include "tests/bridge/file_signature/vectors.inc"
#undef ENDS_IN_ZERO
};
constexpr SignedFile kForged = {
#define FORGED(...) __VA_ARGS__
#include "tests/bridge/file_signature/vectors.inc"
#undef FORGED
};
struct KeyedFile {
    const char* key;
    unsigned size;
    const char* signature;
};
constexpr KeyedFile kLargestKey = {
#define LARGEST_KEY(...) __VA_ARGS__
#include "tests/bridge/file_signature/vectors.inc"
#undef LARGEST_KEY
};
constexpr KeyedFile kForgedWithoutKey = {
#define FORGED_WITHOUT_KEY(...) __VA_ARGS__
#include "tests/bridge/file_signature/vectors.inc"
#undef FORGED_WITHOUT_KEY
};

class FileSignature : public testing::Test {
protected:
    void SetUp() override {
        std::filesystem::create_directory(folder_);
    }
    void TearDown() override {
        std::filesystem::remove_all(folder_);
    }
    // Writes data and data.sig and checks them.
    int verdict(const Octets& key, const Octets& data, const Octets& signature) const {
        EXPECT_TRUE(writeFile(path_, data) && writeFile(path_ + ".sig", signature));
        return check(key, path_);
    }
    int verdict(const SignedFile& file) const {
        return verdict(kPublicKey, content(file.size), fromHex(file.signature));
    }

    const std::string folder_ = testing::TempDir() + "zel_file_signature";
    const std::string path_ = folder_ + "/data";
};

TEST_F(FileSignature, GoodAndChangedFiles) {
    for (const SignedFile& file : kSignedFiles) {
        SCOPED_TRACE(file.size);
        EXPECT_EQ(verdict(file), 0);
        Octets changed = content(file.size + 1);
        EXPECT_EQ(verdict(kPublicKey, changed, fromHex(file.signature)), kBadSignature);
        changed.pop_back();
        if (!changed.empty()) {
            changed.back() ^= 1; // in the last piece
            EXPECT_EQ(verdict(kPublicKey, changed, fromHex(file.signature)), kBadSignature);
        }
    }
    EXPECT_EQ(verdict(kPublicKey, content(5), fromHex(kLargestKey.signature)), kNoSignature); // of another key
    EXPECT_EQ(verdict(fromHex(kLargestKey.key), content(5), fromHex(kLargestKey.signature)), 0);
}

// The first 13 bytes of the digest count.
TEST_F(FileSignature, TheRestOfTheDigestIsNotCompared) {
    EXPECT_EQ(verdict(kForged), 0);
    // Nor is what stands behind it: with e = 3 anybody makes a block that begins as it should.
    EXPECT_EQ(verdict(fromHex(kForgedWithoutKey.key), content(5), fromHex(kForgedWithoutKey.signature)), 0);
}

TEST_F(FileSignature, SignatureFilesOfOtherSizes) {
    const SignedFile& file = kSignedFiles[1];
    const Octets data = content(file.size), good = fromHex(file.signature);
    const auto cut = [](Octets octets, std::size_t size) {
        octets.resize(size);
        return octets;
    };
    EXPECT_EQ(verdict(kPublicKey, data, cut(good, 500)), 0); // what is behind the signature is not looked at
    EXPECT_EQ(verdict(kPublicKey, data, cut(good, 501)), kBadKey);
    EXPECT_EQ(verdict(kPublicKey, data, cut(good, 20000)), kBadKey);
    EXPECT_EQ(verdict(kPublicKey, data, {}), kNoSignature);
    EXPECT_EQ(verdict(kPublicKey, data, cut(good, 255)), kNoSignature);
    // A missing byte is a zero, whatever the data file left in the buffer.
    EXPECT_EQ(verdict(kPublicKey, content(kEndsInZero.size), cut(fromHex(kEndsInZero.signature), 255)), 0);
    Octets large = content(20480); // its first 256 bytes are a good signature, but of another file
    std::copy(good.begin(), good.end(), large.begin() + 10240);
    EXPECT_EQ(verdict(kPublicKey, large, {}), kNoSignature);
}

TEST_F(FileSignature, ArgumentsInTheirOrder) {
    const std::uint8_t* const key = kPublicKey.data();
    const int keyLength = static_cast<int>(kPublicKey.size());
    const char* const missing = "no such file";
    const auto checkPath = [&](const char* path, int length) {
        return ZelUtil::checkFileSignature(key, keyLength, path, length);
    };
    EXPECT_EQ(ZelUtil::checkFileSignature(nullptr, 501, nullptr, 5), kBadPath);
    for (const int length : {0, -1, 256, 0x7FFFFFFF}) {
        EXPECT_EQ(checkPath(missing, length), kBadPath) << length;
    }
    EXPECT_EQ(checkPath(missing, 255), kNotOpened);
    EXPECT_EQ(checkPath(missing, 1), kNotOpened);
    EXPECT_EQ(ZelUtil::checkFileSignature(nullptr, keyLength, missing, 5), kBadKey);
    Octets padded = kPublicKey;
    padded.resize(501);
    for (const int length : {501, -1, -0x7FFFFFFF}) {
        EXPECT_EQ(ZelUtil::checkFileSignature(padded.data(), length, missing, 5), kBadKey) << length;
    }
    EXPECT_EQ(ZelUtil::checkFileSignature(padded.data(), 500, missing, 5), kNotOpened);
    EXPECT_EQ(ZelUtil::checkFileSignature(key, 0, missing, 5), -6012);       // ERR_EOF of the reader
    EXPECT_EQ(ZelUtil::checkFileSignature(key + 4, 266, missing, 5), -7703); // ERR_RSA_INVALID_PKCS1
    EXPECT_EQ(check(kPublicKey, folder_), kNotOpened);                       // a directory
    ASSERT_TRUE(writeFile(path_, {}));
    EXPECT_EQ(check(kPublicKey, path_), kNotOpened); // no signature
    std::filesystem::create_directory(path_ + ".sig");
    EXPECT_EQ(check(kPublicKey, path_), kNotOpened);
}

// Narrow paths as they come: with a space, with a byte that is a letter in Windows' western code page, of 255 characters.
TEST_F(FileSignature, Names) {
    const SignedFile& file = kSignedFiles[1];
    for (const std::string& name :
         {std::string("with space"), std::string("caf\xE9"), std::string(255 - folder_.size() - 1, 'x')}) {
        const std::string path = folder_ + "/" + name;
        ASSERT_TRUE(writeFile(path, content(file.size)) && writeFile(path + ".sig", fromHex(file.signature))) << name;
        EXPECT_EQ(check(kPublicKey, path), 0) << name;
        EXPECT_EQ(std::remove(path.c_str()) + std::remove((path + ".sig").c_str()), 0) << name;
    }
}

TEST_F(FileSignature, ReadOnlyFiles) {
    using std::filesystem::perms;
    ASSERT_EQ(verdict(kSignedFiles[1]), 0);
    for (const std::string& path : {path_, path_ + ".sig"}) {
        std::filesystem::permissions(path, perms::owner_read);
        EXPECT_EQ(check(kPublicKey, path_), 0) << path;
        std::filesystem::permissions(path, perms::owner_all);
    }
}

// The path is used to its NUL, however long that is; what the system opens is its affair.
TEST_F(FileSignature, LongPaths) {
    const SignedFile& file = kSignedFiles[1];
    ASSERT_EQ(verdict(file), 0);
    std::string path = folder_ + "/";
    while (path.size() < 1500) {
        path += "./";
    }
    const int status = check(kPublicKey, path + "data");
    EXPECT_TRUE(status == 0 || status == kNotOpened) << status;
    EXPECT_EQ(check(kPublicKey, path + std::string(100000, 'x')), kNotOpened);
}

TEST_F(FileSignature, TinyModuli) {
    for (const char* modulus : {"30 06 02 01 0F 02 01 03", "30 06 02 01 01 02 01 03", "30 07 02 02 01 01 02 01 03"}) {
        const int status = verdict(fromHex(modulus), content(5), {2, 2});
        EXPECT_TRUE(status == kNoSignature || status == kBadSignature) << status;
    }
    EXPECT_EQ(verdict(fromHex("30 06 02 01 00 02 01 03"), content(5), {2}), -6004); // ERR_BAD_MODULO
}

// Whatever is refused, nothing is left behind, and no changed file passes. What is refused once the verdict has been
// reached does not change it.
TEST_F(FileSignature, RefusedAllocations) {
    const Octets signature = fromHex(kSignedFiles[1].signature);
    for (const unsigned size : {5U, 4U}) {
        const int unhindered = verdict(kPublicKey, content(size), signature);
        EXPECT_EQ(unhindered, size == 5 ? 0 : kBadSignature);
        refuseEach([&] {
            const int status = check(kPublicKey, path_);
            const bool isRefusal = status == ERR_MEM_ALLOC_FAIL || status == ERR_RTOS_MUTEX_CREATE;
            EXPECT_TRUE(status == unhindered || (isRefusal && heapFaults().hasStruck())) << status;
            return heapFaults().hasStruck() ? ERR_MEM_ALLOC_FAIL : OK;
        });
    }
}

} // namespace
