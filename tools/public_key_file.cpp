#include "tools/public_key_file.h"

#include "core/status/status.h"

#include <string_view>

namespace {

// What people hold in place of a public key: how its PEM label ends, and the command that makes a public key of it.
struct OtherKey {
    std::string_view label, what, command, target;
};
constexpr OtherKey kOpenSsh = {"OPENSSH PRIVATE KEY", "an OpenSSH key", "ssh-keygen -e -m PEM -f ", " > public.pem"};
constexpr OtherKey kPrivate = {"PRIVATE KEY", "a private key", "openssl pkey -in ", " -pubout -out public.pem"};
constexpr OtherKey kCertificate = {"CERTIFICATE", "a certificate", "openssl x509 -in ",
                                   " -noout -pubkey -out public.pem"};

std::string refusal(const OtherKey& other, const std::string& name) {
    std::string reason = "holds ";
    return reason.append(other.what)
        .append("; make a public key with: ")
        .append(other.command)
        .append(name)
        .append(other.target);
}

// Whether bytes that are no public key are in one of the forms of a private one, of whatever algorithm.
bool isPrivate(const std::vector<std::uint8_t>& content, ZelStatus status) {
    ZelKey* key = nullptr;
    const bool is = status == ZEL_ERR_BAD_KEY_TYPE &&
                    zelKeyReadPrivate(content.data(), content.size(), &key) != ZEL_ERR_BAD_KEY_TYPE;
    (void)zelKeyFree(key);
    return is;
}

} // namespace

std::string whyNoPublicKey(const std::vector<std::uint8_t>& content, const std::string& name, ZelStatus status) {
    constexpr std::string_view kBegin = "-----BEGIN ", kDashes = "-----";
    const std::string_view text(reinterpret_cast<const char*>(content.data()), content.size());
    if (text.starts_with("ssh-")) {
        return refusal(kOpenSsh, name);
    }
    if (const std::size_t begin = text.find(kBegin); begin != std::string_view::npos) {
        const std::string_view behind = text.substr(begin + kBegin.size());
        const std::string_view label = behind.substr(0, behind.find(kDashes));
        for (const OtherKey& other : {kOpenSsh, kPrivate, kCertificate}) {
            if (label.ends_with(other.label)) {
                return refusal(other, name);
            }
        }
    }
    if (isPrivate(content, status)) {
        return refusal(kPrivate, name);
    }
    switch (status) {
    case ZEL_ERR_PEM:
        return "is damaged PEM";
    case ERR_BAD_EXPONENT:
    case ERR_BAD_LENGTH:
        return std::string("holds a damaged RSA public key: ") + zelStatusName(status);
    default:
        return "holds no RSA public key; make one with: openssl pkey -in PRIVATE.KEY -pubout -out public.pem";
    }
}
