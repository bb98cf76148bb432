// Reading PrivateKeyInfo of PKCS#8 (RFC 5208 section 5) with an RSA key (RFC 8017) or a DSA key (RFC 3279 section
// 2.3.2).
#include "core/asn1/asn1_walk.h"
#include "core/pubkey/dsa/dsa.h"
#include "core/pubkey/key/internal/key_read.h"
#include "core/pubkey/key/key_der.h"
#include "core/pubkey/key/key_encoding.h"
#include "core/pubkey/key/scoped_key.h"

#include <algorithm>

namespace {

// From the root to the object identifier of the algorithm. What follows the key is not looked at.
constexpr Asn1WalkStep kToAlgorithm[] = {
    {kWalkFirstChild, 0, nullptr},  {kWalkCheckUniversalTag, kAsn1Sequence, nullptr},
    {kWalkFirstChild, 0, nullptr},  {kWalkCheckSmallInteger, 0, nullptr},
    {kWalkNextSibling, 0, nullptr}, {kWalkCheckUniversalTag, kAsn1Sequence, nullptr},
    {kWalkFirstChild, 0, nullptr},  {kWalkEnd, 0, nullptr}};

// From there to the key, which the parser has found inside the OCTET STRING.
constexpr Asn1WalkStep kToKey[] = {{kWalkParent, 0, nullptr},
                                   {kWalkNextSibling, 0, nullptr},
                                   {kWalkCheckUniversalTag, kAsn1OctetString, nullptr},
                                   {kWalkFirstChild, 0, nullptr},
                                   {kWalkEnd, 0, nullptr}};
constexpr Asn1WalkStep kIsInteger[] = {{kWalkCheckUniversalTag, kAsn1Integer, nullptr}, {kWalkEnd, 0, nullptr}};

// The parameters p, q, g of a DSA key.
constexpr std::uint32_t kParameterCount = 3;

Status parametersOf(const Asn1Node* sequence, const Asn1Node* (&parameters)[kParameterCount]) {
    if (!isUniversal(sequence, kAsn1Sequence)) {
        return ERR_CERT_INVALID_STRUCT;
    }
    const Asn1Node* item = asn1FirstChild(sequence);
    for (const Asn1Node*& parameter : parameters) {
        if (!isUniversal(item, kAsn1Integer)) {
            return ERR_CERT_INVALID_STRUCT;
        }
        parameter = item;
        item = asn1NextSibling(item);
    }
    return item == nullptr ? OK : ERR_CERT_INVALID_STRUCT;
}

Status readDsaKey(const ParsedDer& input, const Asn1Node& algorithm, Asn1Node* x, KeyUse use, AsymmetricKey* key) {
    const Asn1Node* parameters[kParameterCount] = {};
    RETURN_IF_ERROR(parametersOf(asn1NextSibling(&algorithm), parameters));
    Asn1Node* integer = nullptr;
    RETURN_IF_ERROR(Asn1_WalkPath(x, input.stream(), kIsInteger, &integer));
    ByteView p, q, g, secret;
    RETURN_IF_ERROR(input.content(*parameters[0], &p));
    RETURN_IF_ERROR(input.content(*parameters[1], &q));
    RETURN_IF_ERROR(input.content(*parameters[2], &g));
    RETURN_IF_ERROR(input.content(*integer, &secret));
    if (bigEndianBits(p) > kDsaMaxPBits || std::max(bigEndianBits(q), bigEndianBits(secret)) > kDsaMaxQBits) {
        return ERR_DSA_INVALID_KEYLENGTH; // y is computed from them
    }
    if (p.empty() || q.empty() || g.empty() || secret.empty()) {
        return ERR_INVALID_ARG; // as AsymKey_SetDsaParameters has it
    }
    RETURN_IF_ERROR(AsymKey_MakeDsa(key, nullptr));
    return dsaKeyLoadPrivate(asymKeyDsa(key), p, q, g, secret, use == KeyUse::kOneSignature, nullptr);
}

Status readInput(const std::uint8_t* der, std::uint32_t derLength, KeyUse use, AsymmetricKey* key) {
    ParsedDer input;
    RETURN_IF_ERROR(input.parse({der, derLength}));
    return readPrivateKeyInfo(input, use, key);
}

Status read(const std::uint8_t* der, std::uint32_t derLength, KeyUse use, AsymmetricKey* key) {
    if (der == nullptr || key == nullptr) {
        return ERR_NULL_POINTER;
    }
    RETURN_IF_ERROR(AsymKey_Uninit(key, nullptr));
    return keyOrNothing(key, readInput(der, derLength, use, key));
}

} // namespace

Status readPrivateKeyInfo(const ParsedDer& input, KeyUse use, AsymmetricKey* key) {
    Asn1Node *algorithm = nullptr, *privateKey = nullptr;
    if (isError(Asn1_WalkPath(input.root(), input.stream(), kToAlgorithm, &algorithm)) ||
        isError(Asn1_WalkPath(algorithm, input.stream(), kToKey, &privateKey))) {
        return ERR_RSA_INVALID_PKCS8; // of a DSA key, too: nobody has looked at the algorithm yet
    }
    if (!isError(Asn1_CheckOid(algorithm, input.stream(), kRsaEncryption))) {
        return isUniversal(privateKey, kAsn1Sequence) ? readRsaKey(input, privateKey, use, key) : ERR_RSA_INVALID_PKCS8;
    }
    if (!isError(Asn1_CheckOid(algorithm, input.stream(), kIdDsa))) {
        return readDsaKey(input, *algorithm, privateKey, use, key);
    }
    return ERR_RSA_UNKNOWN_PKCS8_ALGOID;
}

Status AsymKey_FromPkcs8Der(const std::uint8_t* der, std::uint32_t derLength, AsymmetricKey* key) {
    return read(der, derLength, KeyUse::kAny, key);
}

Status asymKeyReadSigner(const std::uint8_t* der, std::uint32_t derLength, AsymmetricKey* key) {
    return read(der, derLength, KeyUse::kOneSignature, key);
}
