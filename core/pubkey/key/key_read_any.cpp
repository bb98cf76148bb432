// Reading keys in any of their forms. The tags of the first items tell which form it is.
#include "core/asn1/asn1_check.h"
#include "core/pubkey/dsa/dsa_der.h"
#include "core/pubkey/key/internal/key_read.h"
#include "core/pubkey/key/key_der.h"
#include "core/pubkey/key/key_encoding.h"
#include "core/pubkey/key/scoped_key.h"
#include "core/pubkey/rsa/rsa.h"
#include "core/pubkey/rsa/rsa_sign.h"

namespace {

// The first three items of the SEQUENCE that the input is; null where there are none.
struct Shape {
    explicit Shape(const ParsedDer& input) : sequence(asn1FirstChild(input.root())) {
        if (isUniversal(sequence, kAsn1Sequence)) {
            first = asn1FirstChild(sequence);
            second = first == nullptr ? nullptr : asn1NextSibling(first);
            third = second == nullptr ? nullptr : asn1NextSibling(second);
        }
    }
    bool isPublicInfo() const {
        return first != nullptr && isUniversal(first, kAsn1Sequence);
    }
    bool isPrivateInfo() const {
        return isUniversal(second, kAsn1Sequence);
    }

    Asn1Node* sequence;
    Asn1Node *first = nullptr, *second = nullptr, *third = nullptr;
};

Status readPrivate(const ParsedDer& input, AsymmetricKey* key) {
    const Shape shape(input);
    if (shape.isPublicInfo() || (shape.second != nullptr && shape.third == nullptr)) {
        return ERR_BAD_KEY_TYPE;
    }
    RETURN_IF_ERROR(shape.isPrivateInfo() ? readPrivateKeyInfo(input, KeyUse::kSignatures, key)
                                          : readRsaKey(input, shape.sequence, KeyUse::kSignatures, key));
    const RSAKey* const rsaKey = asymKeyRsa(key);
    if (rsaKey == nullptr) {
        return OK;
    }
    if (rsaKey->privateKey == 0) {
        return ERR_BAD_KEY_TYPE;
    }
    bool isWhole = false; // not for a key of more than two primes
    RETURN_IF_ERROR(rsaIsProduct(*rsaKey, &isWhole));
    return isWhole ? OK : ERR_RSA_INVALID_MODULUS;
}

Status readPublic(const ParsedDer& input, const std::uint8_t* der, std::uint32_t derLength, AsymmetricKey* key) {
    const Shape shape(input);
    if (!shape.isPublicInfo()) {
        return shape.third != nullptr ? ERR_BAD_KEY_TYPE : readRsaKey(input, shape.sequence, KeyUse::kAny, key);
    }
    const Asn1Node* const algorithm = asn1FirstChild(shape.first);
    if (!isError(Asn1_CheckOid(algorithm, input.stream(), kIdDsa))) {
        return parseDSAPublicKey(der, derLength, key);
    }
    if (isError(Asn1_CheckOid(algorithm, input.stream(), kRsaEncryption))) {
        return ERR_BAD_KEY_TYPE;
    }
    ByteView inner;
    if (shape.second == nullptr || !isUniversal(shape.second, kAsn1BitString) || shape.second->value != 0) {
        return ERR_RSA_INVALID_PKCS1;
    }
    RETURN_IF_ERROR(input.content(*shape.second, &inner));
    ParsedDer innerInput;
    RETURN_IF_ERROR(innerInput.parse(inner));
    const Shape innerShape(innerInput);
    return innerShape.third != nullptr ? ERR_BAD_KEY_TYPE
                                       : readRsaKey(innerInput, innerShape.sequence, KeyUse::kAny, key);
}

// Parses and reads; the container is empty after a failure.
template <typename Read>
Status readAny(const std::uint8_t* der, std::uint32_t derLength, AsymmetricKey* key, Read read) {
    if (der == nullptr || key == nullptr) {
        return ERR_NULL_POINTER;
    }
    RETURN_IF_ERROR(AsymKey_Uninit(key, nullptr));
    ParsedDer input;
    RETURN_IF_ERROR(input.parse({der, derLength}));
    return keyOrNothing(key, read(input));
}

} // namespace

Status asymKeyReadPrivate(const std::uint8_t* der, std::uint32_t derLength, AsymmetricKey* key) {
    return readAny(der, derLength, key, [&](const ParsedDer& input) { return readPrivate(input, key); });
}

Status asymKeyReadPublic(const std::uint8_t* der, std::uint32_t derLength, AsymmetricKey* key) {
    return readAny(der, derLength, key, [&](const ParsedDer& input) { return readPublic(input, der, derLength, key); });
}
