#include "tools/public_key_file.h"

#include "core/asn1/asn1_parse.h"
#include "core/asn1/asn1_walk.h"

#include <optional>
#include <string_view>

namespace {

using Bytes = std::vector<std::uint8_t>;

// rsaEncryption, 1.2.840.113549.1.1.1, behind its length.
constexpr std::uint8_t kRsaEncryption[] = {0x09, 0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x01, 0x01};

constexpr Asn1WalkStep kFirstChild = {kWalkFirstChild, 0, nullptr};
constexpr Asn1WalkStep kNextSibling = {kWalkNextSibling, 0, nullptr};
constexpr Asn1WalkStep kEnd = {kWalkEnd, 0, nullptr};

constexpr Asn1WalkStep isOf(std::uint32_t tag) {
    return {kWalkCheckUniversalTag, tag, nullptr};
}

// From the root of a SubjectPublicKeyInfo to the key; to the second number of an RSAPublicKey; to the version that every
// form of private key begins with.
constexpr Asn1WalkStep kToSubjectKey[] = {kFirstChild,
                                          isOf(kAsn1Sequence),
                                          kFirstChild,
                                          isOf(kAsn1Sequence),
                                          kFirstChild,
                                          {kWalkCheckOid, 0, kRsaEncryption},
                                          {kWalkParent, 0, nullptr},
                                          kNextSibling,
                                          isOf(kAsn1BitString),
                                          kEnd};
constexpr Asn1WalkStep kToExponent[] = {kFirstChild,  isOf(kAsn1Sequence), kFirstChild, isOf(kAsn1Integer),
                                        kNextSibling, isOf(kAsn1Integer),  kEnd};
constexpr Asn1WalkStep kToVersion[] = {
    kFirstChild, isOf(kAsn1Sequence), kFirstChild, {kWalkCheckSmallInteger, 0, nullptr}, kEnd};

// What people hold in place of a public key: how its PEM label ends, and the command that makes a public key of it.
struct OtherKey {
    std::string_view label, what, command, target;
};
constexpr OtherKey kOpenSsh = {"OPENSSH PRIVATE KEY", "an OpenSSH key", "ssh-keygen -e -m PEM -f ", " > public.pem"};
constexpr OtherKey kPrivate = {"PRIVATE KEY", "a private key", "openssl pkey -in ", " -pubout -out public.pem"};
constexpr OtherKey kCertificate = {"CERTIFICATE", "a certificate", "openssl x509 -in ",
                                   " -noout -pubkey -out public.pem"};

PublicKeyFile refusal(const OtherKey& other, const std::string& name) {
    std::string reason = "holds ";
    return {{},
            reason.append(other.what)
                .append("; make a public key with: ")
                .append(other.command)
                .append(name)
                .append(other.target)};
}

// Base64 with white space anywhere (RFC 4648 section 4); nothing for anything that no encoder writes.
std::optional<Bytes> decodeBase64(std::string_view text) {
    constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    Bytes bytes;
    std::uint32_t bits = 0, bitCount = 0, paddingBits = 0;
    for (const char c : text) {
        if (c == ' ' || c == '\t' || c == '\r' || c == '\n') {
            continue;
        }
        if (c == '=') {
            paddingBits += 2;
            continue;
        }
        const std::size_t digit = kDigits.find(c);
        if (digit == std::string_view::npos || paddingBits > 0) {
            return std::nullopt;
        }
        bits = bits << 6 | static_cast<std::uint32_t>(digit);
        bitCount += 6;
        if (bitCount >= 8) {
            bitCount -= 8;
            bytes.push_back(static_cast<std::uint8_t>(bits >> bitCount));
            bits &= (1U << bitCount) - 1;
        }
    }
    return bits == 0 && bitCount == paddingBits && bitCount < 6 ? std::optional(bytes) : std::nullopt;
}

PublicKeyFile fromDer(const Bytes& der, const std::string& name) {
    MemStream memory{};
    ByteStream stream{};
    ScopedTree<Asn1Node> root;
    Asn1Node* item = nullptr;
    const auto leads = [&](const Asn1WalkStep* steps) {
        return !isError(Asn1_WalkPath(root.get(), stream, steps, &item));
    };
    if (!isError(MemStream_Init(&memory, static_cast<std::int32_t>(der.size()), der.data())) &&
        !isError(ByteStream_Bind(&stream, &memory)) && !isError(Asn1_ParseStream(stream, root.out()))) {
        if (leads(kToVersion)) {
            return refusal(kPrivate, name);
        }
        if (leads(kToExponent)) {
            return {der, {}};
        }
        if (leads(kToSubjectKey) && item->value == 0) { // no unused bits
            const std::uint8_t* const key = ByteStream_MemAccess(stream, item->dataOffset, item->length);
            if (key != nullptr && item->length > 0) {
                return {Bytes(key, key + item->length), {}};
            }
        }
    }
    return {{}, "holds no RSA public key; make one with: openssl pkey -in PRIVATE.KEY -pubout -out public.pem"};
}

} // namespace

PublicKeyFile readPublicKeyFile(const std::vector<std::uint8_t>& content, const std::string& name) {
    constexpr std::string_view kBegin = "-----BEGIN ", kEndMark = "-----END ", kDashes = "-----";
    const std::string_view text(reinterpret_cast<const char*>(content.data()), content.size());
    if (text.starts_with("ssh-")) {
        return refusal(kOpenSsh, name);
    }
    const std::size_t begin = text.find(kBegin);
    if (begin == std::string_view::npos) {
        return fromDer(content, name);
    }
    const std::string_view behind = text.substr(begin + kBegin.size());
    const std::string_view label = behind.substr(0, behind.find(kDashes));
    for (const OtherKey& other : {kOpenSsh, kPrivate, kCertificate}) {
        if (label.ends_with(other.label)) {
            return refusal(other, name);
        }
    }
    std::string end(kEndMark);
    const std::size_t body = label.size() + kDashes.size();
    const std::size_t bodyEnd = behind.find(end.append(label).append(kDashes), body);
    const std::optional<Bytes> der =
        bodyEnd == std::string_view::npos ? std::nullopt : decodeBase64(behind.substr(body, bodyEnd - body));
    return der ? fromDer(*der, name) : PublicKeyFile{{}, "is damaged PEM"};
}
