#include "core/pubkey/rsa/rsa_pkcs1.h"

#include "core/hash/sha1.h"
#include "core/hash/sha256.h"
#include "core/hash/sha512.h"

#include <algorithm>

namespace {

// SHA-2's object identifiers differ in their last octet only.
constexpr DigestInfo sha2(std::uint8_t last, std::uint8_t digestBytes) {
    return {{0x30, static_cast<std::uint8_t>(0x11 + digestBytes), 0x30, 0x0D, 0x06, 0x09, 0x60, 0x86, 0x48, 0x01, 0x65,
             0x03, 0x04, 0x02, last, 0x05, 0x00, 0x04, digestBytes},
            19,
            digestBytes};
}

} // namespace

constexpr DigestInfo kSha1DigestInfo = {
    {0x30, 0x21, 0x30, 0x09, 0x06, 0x05, 0x2B, 0x0E, 0x03, 0x02, 0x1A, 0x05, 0x00, 0x04, 0x14}, 15, kSha1DigestBytes};
constexpr DigestInfo kSha224DigestInfo = sha2(0x04, kSha224DigestBytes);
constexpr DigestInfo kSha256DigestInfo = sha2(0x01, kSha256DigestBytes);
constexpr DigestInfo kSha384DigestInfo = sha2(0x02, kSha384DigestBytes);
constexpr DigestInfo kSha512DigestInfo = sha2(0x03, kSha512DigestBytes);

std::uint8_t* rsaEncodeDigestInfo(const DigestInfo& info, std::uint32_t k, std::uint8_t* encoded) {
    std::uint8_t* const begin = encoded + (k - info.bytes());
    std::fill(encoded, begin, std::uint8_t{0xFF});
    encoded[0] = 0x00;
    encoded[1] = 0x01;
    begin[-1] = 0x00;
    return std::copy_n(info.prefix, info.prefixBytes, begin);
}
