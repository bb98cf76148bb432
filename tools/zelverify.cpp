// zelverify KEY FILE: whether FILE.sig is a signature of FILE with SHA256withRSA, by zelCheckFile. See kUsage.
#include "bridge/zel_util.h"
#include "capi/zel.h"
#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong.h"
#include "core/pubkey/key/key_der.h"
#include "core/pubkey/key/scoped_key.h"
#include "core/pubkey/rsa/rsa.h"
#include "platform/open_file.h"
#include "tools/public_key_file.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr char kUsage[] = R"(usage: zelverify KEY FILE

Tells whether FILE.sig is a signature of FILE: RSA with SHA-256, PKCS#1 v1.5, as "openssl dgst -sha256 -sign" makes it.
KEY is a file with the RSA public key in PEM or DER: what "openssl pkey -pubout" writes (X.509) or what
"openssl rsa -RSAPublicKey_out" writes (PKCS#1).

  --help     prints this
  --version  prints the version

With the environment variable zel_debug set, the progress of the check is printed, too.
Exits with 0 if the signature is good, with 1 if it is bad, with 2 if that could not be found out.
)";

constexpr int kGood = 0, kBad = 1, kUnknown = 2;
constexpr std::size_t kMaxKeyFileBytes = 1 << 16; // room for the words that some programs put in front of PEM
constexpr std::size_t kMaxSignatureBytes = 500;   // what is counted of a signature that is too long for its key

using Bytes = std::vector<std::uint8_t>;

struct CloseFile {
    void operator()(std::FILE* file) const {
        (void)std::fclose(file); // nothing was written
    }
};
using OpenFile = std::unique_ptr<std::FILE, CloseFile>;

int fail(int code, const std::string& name, const std::string& reason) {
    std::fprintf(stderr, "zelverify: %s: %s\n", name.c_str(), reason.c_str());
    return code;
}

std::string textOf(int status) {
    const char* const name = statusName(status);
    return name != nullptr ? name : std::to_string(status);
}

// What cannot be read, and why.
struct Unreadable {
    std::string name, reason;
};

// Hands the pieces of a file to take, which may ask for an end.
template <typename Take> void readFile(const std::string& path, Take take) {
    bool isOther = false;
    const OpenFile file(openRegularFileToRead(path.c_str(), &isOther));
    if (isOther) {
        throw Unreadable{path, "is no regular file"};
    }
    Bytes piece(1 << 16);
    std::size_t count = piece.size();
    while (file != nullptr && count == piece.size()) {
        count = std::fread(piece.data(), 1, piece.size(), file.get());
        if (!take(piece.data(), count)) {
            break;
        }
    }
    if (file == nullptr || std::ferror(file.get()) != 0) {
        throw Unreadable{path, "cannot be read"};
    }
}

// A small file, or its first maxBytes + 1 bytes.
Bytes smallFile(const std::string& path, std::size_t maxBytes) {
    Bytes bytes;
    readFile(path, [&](const std::uint8_t* piece, std::size_t count) {
        bytes.insert(bytes.end(), piece, piece + std::min(count, maxBytes + 1 - bytes.size()));
        return bytes.size() <= maxBytes;
    });
    return bytes;
}

struct FreeKey {
    void operator()(ZelKey* key) const {
        (void)zelKeyFree(key);
    }
};
using Key = std::unique_ptr<ZelKey, FreeKey>;

// The public key in a file, or why there is none.
Key readKey(const std::string& path) {
    const Bytes content = smallFile(path, kMaxKeyFileBytes);
    if (content.empty() || content.size() > kMaxKeyFileBytes) {
        throw Unreadable{path, content.empty() ? "is empty" : "is too large to be a key"};
    }
    ZelKey* read = nullptr;
    const ZelStatus status = zelKeyReadPublic(content.data(), content.size(), &read);
    Key key(read);
    if (zelKeyType(key.get()) != ZEL_KEY_RSA) {
        throw Unreadable{path, whyNoPublicKey(content, path, status)};
    }
    return key;
}

// Whether a signature of the key's length is a number above its modulus.
bool isAboveModulus(const ZelKey* key, const Bytes& signature) {
    std::size_t length = 0;
    Bytes der;
    ScopedKey parsed;
    ScopedVlong s(nullptr);
    if (zelKeyWrite(key, ZEL_PKCS1, ZEL_DER, nullptr, &length) != ZEL_OK) {
        return false;
    }
    der.resize(length);
    return zelKeyWrite(key, ZEL_PKCS1, ZEL_DER, der.data(), &length) == ZEL_OK &&
           !isError(RsaKey_FromPublicDer(der.data(), static_cast<std::uint32_t>(length), parsed.get())) &&
           !isError(Rsa_BytesToVlong(signature.data(), static_cast<std::uint32_t>(signature.size()), s.out())) &&
           VLONG_cmp(s.get(), asymKeyRsa(parsed.get())->n) >= 0;
}

// What is wrong with a signature that is not valid.
std::string faultOf(const ZelKey* key, const std::string& path) {
    const std::size_t k = zelKeySignatureSize(key), limit = std::max(k, kMaxSignatureBytes);
    const Bytes signature = smallFile(path + ".sig", limit);
    if (signature.size() != k) {
        return "the signature has " +
               (signature.size() > limit ? "more than " + std::to_string(limit) : std::to_string(signature.size())) +
               " bytes, the key's have " + std::to_string(k);
    }
    return isAboveModulus(key, signature) ? "the signature is above the key's modulus"
                                          : "the signature is of another file or by another key";
}

void say(const std::string& line) {
    if (ZelUtil::isDebugEnabled() != 0) {
        std::printf("INFO [zelverify] %s\n", line.c_str());
    }
}

int run(const std::string& keyPath, const std::string& path) {
    const Key key = readKey(keyPath);
    say("key of " + std::to_string(zelKeyBits(key.get())) + " bits, reading " + path + " and its signature");
    const ZelStatus status = zelCheckFile(key.get(), ZEL_SHA256, path.c_str(), nullptr);
    say("the check says " + textOf(status));
    switch (status) {
    case ZEL_OK:
        std::printf("%s: valid\n", path.c_str());
        return std::fflush(stdout) == 0 ? kGood : kUnknown;
    case ZEL_ERR_BAD_SIGNATURE:
        return fail(kBad, path, "bad signature: " + faultOf(key.get(), path));
    case ZEL_ERR_RSA_KEY_LENGTH_TOO_SMALL:
        return fail(kUnknown, path, "the key is too small for SHA-256");
    case ZEL_ERR_FILE_OPEN_FAILED:
    case ZEL_ERR_FILE_READ_FAILED:
        for (const std::string& name : {path, path + ".sig"}) { // which of them, and why
            readFile(name, [](const std::uint8_t*, std::size_t) { return true; });
        }
        break;
    default:
        break;
    }
    return fail(kUnknown, path, "the check says " + textOf(status));
}

} // namespace

int main(int argc, char** argv) {
    const std::string_view first = argc > 1 ? argv[1] : "";
    if (argc == 2 && first == "--help") {
        return std::fputs(kUsage, stdout) >= 0 ? kGood : kUnknown;
    }
    if (argc == 2 && first == "--version") {
        return std::puts("zelverify " ZEL_VERSION) >= 0 ? kGood : kUnknown;
    }
    if (argc != 3) {
        std::fputs(kUsage, stderr);
        return kUnknown;
    }
    try {
        return run(argv[1], argv[2]);
    } catch (const Unreadable& file) {
        return fail(kUnknown, file.name, file.reason);
    } catch (const std::bad_alloc&) {
        return fail(kUnknown, argv[2], "memory has run out");
    }
}
