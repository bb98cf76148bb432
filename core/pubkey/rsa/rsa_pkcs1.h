// The encoded message of RSASSA-PKCS1-v1_5.
#ifndef ZELSPI_CORE_PUBKEY_RSA_RSA_PKCS1_H
#define ZELSPI_CORE_PUBKEY_RSA_RSA_PKCS1_H

#include <cstdint>

// DigestInfo: what stands in front of a digest in its DigestInfo.
// Source:  RFC 8017 section 9.2, note 1.
struct DigestInfo {
    std::uint8_t prefix[19];
    std::uint32_t prefixBytes;
    std::uint32_t digestBytes;

    constexpr std::uint32_t bytes() const {
        return prefixBytes + digestBytes;
    }
};
extern const DigestInfo kSha1DigestInfo, kSha224DigestInfo, kSha256DigestInfo, kSha384DigestInfo, kSha512DigestInfo;

// What an encoded message has in front of the DigestInfo at least: 00 01, eight times FF, 00.
inline constexpr std::uint32_t kPkcs1Overhead = 11;

// rsaEncodeDigestInfo: encoded[k] := 00 01 FF ... FF 00 and the prefix of info; returns where the digest belongs.
// Shapes:  k is at least info.bytes() + 3; the caller checks that the padding is as long as the standard asks for.
// Source:  EMSA-PKCS1-v1_5, RFC 8017 section 9.2.
std::uint8_t* rsaEncodeDigestInfo(const DigestInfo& info, std::uint32_t k, std::uint8_t* encoded);

#endif
