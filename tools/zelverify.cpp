// zelverify KEY FILE: whether FILE.sig is a signature of FILE with SHA256withRSA. See kUsage.
//
// The library's check compares 13 bytes of the digest and nothing behind them, for the sake of what depends on it. People
// need a better answer: FILE is called valid only when the whole encoded message agrees as well.
#include "bridge/zel_util.h"
#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong_convert.h"
#include "core/hash/sha256.h"
#include "core/pubkey/key_der.h"
#include "core/pubkey/rsa.h"
#include "platform/open_file.h"
#include "tools/public_key_file.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr char kUsage[] = R"(usage: zelverify KEY FILE

Tells whether FILE.sig is a signature of FILE: RSA with SHA-256, PKCS#1 v1.5, as "openssl dgst -sha256 -sign" makes it.
KEY is a file with the RSA public key in PEM or DER: what "openssl pkey -pubout" writes (X.509) or what
"openssl rsa -RSAPublicKey_out" writes (PKCS#1). Keys above 3888 bits are refused.

  --help     prints this
  --version  prints the version

With the environment variable zel_debug set, the progress of the check is printed, too.
Exits with 0 if the signature is good, with 1 if it is bad, with 2 if that could not be found out.
)";

constexpr int kGood = 0, kBad = 1, kUnknown = 2;
constexpr std::size_t kMaxKeyFileBytes = 1 << 16; // room for the words that some programs put in front of PEM
constexpr std::size_t kMaxKeyBytes = 500;         // the library's limit of an RSAPublicKey
constexpr std::size_t kMaxSignatureBytes = 500;
constexpr int kMaxPathLength = 255; // the library tests this argument, and uses the path as it is

// The DigestInfo of SHA-256 up to the digest (RFC 8017 section 9.2, note 1).
constexpr std::uint8_t kDigestInfo[] = {0x30, 0x31, 0x30, 0x0d, 0x06, 0x09, 0x60, 0x86, 0x48, 0x01,
                                        0x65, 0x03, 0x04, 0x02, 0x01, 0x05, 0x00, 0x04, 0x20};

using Bytes = std::vector<std::uint8_t>;
using Digest = std::array<std::uint8_t, kSha256DigestBytes>;

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

Digest digestOf(const std::string& path) {
    Sha256Context context;
    Digest digest;
    bool isHashed = !isError(sha256Init(&context));
    readFile(path, [&](const std::uint8_t* piece, std::size_t count) {
        isHashed = isHashed && !isError(sha256Update(&context, piece, static_cast<std::uint32_t>(count)));
        return isHashed;
    });
    if (!isHashed || isError(sha256Final(&context, digest.data()))) {
        throw Unreadable{path, "cannot be hashed"};
    }
    return digest;
}

// The encoded message of k bytes that a good signature opens to (RFC 8017 section 9.2); nothing when k is too small.
std::optional<Bytes> encodedMessage(const Digest& digest, std::size_t k) {
    const std::size_t infoBytes = std::size(kDigestInfo) + digest.size();
    if (k < infoBytes + 11) {
        return std::nullopt;
    }
    Bytes message(k, 0xFF);
    message[0] = 0x00;
    message[1] = 0x01;
    message[k - infoBytes - 1] = 0x00;
    std::copy(std::begin(kDigestInfo), std::end(kDigestInfo), message.end() - static_cast<std::ptrdiff_t>(infoBytes));
    std::copy(digest.begin(), digest.end(), message.end() - static_cast<std::ptrdiff_t>(digest.size()));
    return message;
}

// Verifies by RFC 8017 section 8.2.2. An empty reason means a good signature.
struct Verdict {
    int code;
    std::string reason;
};

Verdict verify(const RSAKey& key, const Digest& digest, const Bytes& signature) {
    std::uint32_t k = 0;
    ScopedVlong s(nullptr), m(nullptr);
    if (isError(Rsa_ModulusLength(&key, &k)) || k == 0) {
        return {kUnknown, "the key has no modulus"};
    }
    if (signature.size() != k) {
        const bool isCut = signature.size() > kMaxSignatureBytes; // as smallFile reads it
        return {kBad,
                "the signature has " +
                    (isCut ? "more than " + std::to_string(kMaxSignatureBytes) : std::to_string(signature.size())) +
                    " bytes, the key's have " + std::to_string(k)};
    }
    if (const Status status = Rsa_BytesToVlong(signature.data(), k, s.out()); isError(status)) {
        return {kUnknown, textOf(status)};
    }
    if (VLONG_cmp(s.get(), key.n) >= 0) {
        return {kBad, "the signature is above the key's modulus"};
    }
    const std::optional<Bytes> message = encodedMessage(digest, k);
    if (!message) {
        return {kUnknown, "the key is too small for SHA-256"};
    }
    Bytes opened(k);
    Status status = Rsa_PublicOp(&key, s.get(), m.out(), nullptr);
    if (!isError(status)) {
        status = VLONG_toBytesFixed(m.get(), opened.data(), k);
    }
    if (isError(status)) {
        return {kUnknown, textOf(status)};
    }
    return opened == *message ? Verdict{kGood, {}}
                              : Verdict{kBad, "the signature is of another file or by another key"};
}

bool saysBadSignature(int status) {
    return status == ERR_RSA_BAD_SIGNATURE || status == ERR_RSA_DECRYPTION;
}

int run(const std::string& keyPath, const std::string& path) {
    const Bytes content = smallFile(keyPath, kMaxKeyFileBytes);
    if (content.empty() || content.size() > kMaxKeyFileBytes) {
        return fail(kUnknown, keyPath, content.empty() ? "is empty" : "is too large to be a key");
    }
    const auto [key, reason] = readPublicKeyFile(content, keyPath);
    if (key.empty() || key.size() > kMaxKeyBytes) {
        return fail(kUnknown, keyPath, key.empty() ? reason : "is larger than a key of 3888 bits");
    }
    ScopedKey parsed;
    const Status unreadable = RsaKey_FromPublicDer(key.data(), static_cast<std::uint32_t>(key.size()), parsed.get());
    if (isError(unreadable)) {
        return fail(kUnknown, keyPath, "holds a damaged RSA public key: " + textOf(unreadable));
    }
    const Digest digest = digestOf(path);
    const Bytes signature = smallFile(path + ".sig", kMaxSignatureBytes);
    const int status = ZelUtil::checkFileSignature(key.data(), static_cast<int>(key.size()), path.c_str(),
                                                   std::clamp(static_cast<int>(path.size()), 1, kMaxPathLength));
    const Verdict verdict = verify(*asymKeyRsa(parsed.get()), digest, signature);
    if (verdict.code != kGood) {
        return fail(verdict.code, path, verdict.code == kBad ? "bad signature: " + verdict.reason : verdict.reason);
    }
    if (status != OK) {
        return fail(saysBadSignature(status) ? kBad : kUnknown, path, "the library's check says " + textOf(status));
    }
    std::printf("%s: valid\n", path.c_str());
    return std::fflush(stdout) == 0 ? kGood : kUnknown;
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
