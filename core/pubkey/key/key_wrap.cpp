// Writing keys with their algorithm: PrivateKeyInfo of PKCS#8 (RFC 5208 section 5) and SubjectPublicKeyInfo of X.509 (RFC 5280
// section 4.1), with the parameters of RFC 3279 sections 2.3.1 and 2.3.2.
#include "core/asn1/asn1_check.h"
#include "core/asn1/der.h"
#include "core/pubkey/key/internal/key_read.h"
#include "core/pubkey/key/internal/key_write.h"
#include "core/pubkey/key/key_der.h"
#include "core/pubkey/key/key_encoding.h"
#include "core/pubkey/key/scoped_key.h"

#include <algorithm>

namespace {

Status takeDer(DerNode* root, SecretBuffer* der) {
    std::uint8_t* bytes = nullptr;
    std::uint32_t length = 0;
    const Status status = Der_SerializeToBuffer(root, &bytes, &length);
    der->adopt(bytes, length);
    return status;
}

Status integerDer(const vlong* value, SecretBuffer* der) {
    SecretBuffer bytes;
    ScopedTree<DerNode> integer;
    RETURN_IF_ERROR(paddedBytes(value, &bytes));
    RETURN_IF_ERROR(
        Der_AddUnsignedInteger(nullptr, static_cast<std::uint32_t>(bytes.size()), bytes.data(), integer.out()));
    return takeDer(integer.get(), der);
}

Status sequenceDer(KeyValues values, SecretBuffer* der) {
    std::uint8_t* bytes = nullptr;
    std::uint32_t length = 0;
    const Status status = writeSequence(values, false, &bytes, &length);
    der->adopt(bytes, length);
    return status;
}

Status addOctets(DerNode* parent, std::uint32_t tag, const SecretBuffer& octets) {
    return Der_AddItem(parent, static_cast<std::uint8_t>(tag), static_cast<std::uint32_t>(octets.size()), octets.data(),
                       nullptr);
}

// SEQUENCE { 0 if it is private, { identifier, parameters or NULL }, key as OCTET STRING or BIT STRING }
Status wrap(bool isPrivate, Asn1Oid identifier, const SecretBuffer& parameters, const SecretBuffer& key,
            SecretBuffer* der) {
    constexpr std::uint8_t kVersion[] = {0x00};
    ScopedTree<DerNode> info;
    DerNode *algorithm = nullptr, *item = nullptr;
    RETURN_IF_ERROR(Der_AddItem(nullptr, kDerTypeSequence, 0, nullptr, info.out()));
    if (isPrivate) {
        RETURN_IF_ERROR(Der_AddUnsignedInteger(info.get(), sizeof kVersion, kVersion, nullptr));
    }
    RETURN_IF_ERROR(Der_AddItem(info.get(), kDerTypeSequence, 0, nullptr, &algorithm));
    RETURN_IF_ERROR(Der_AddItem(algorithm, kAsn1ObjectIdentifier, identifier[0], identifier + 1, nullptr));
    RETURN_IF_ERROR(
        Der_AddItem(algorithm, kAsn1Null, static_cast<std::uint32_t>(parameters.size()), parameters.data(), &item));
    if (parameters.size() != 0) {
        item->kind = kDerOpaque;
    }
    if (isPrivate) {
        RETURN_IF_ERROR(addOctets(info.get(), kAsn1OctetString, key));
        return takeDer(info.get(), der);
    }
    SecretBuffer bits; // none of which are unused
    RETURN_IF_ERROR(bits.alloc(1 + key.size()));
    std::copy_n(key.data(), key.size(), bits.data() + 1);
    RETURN_IF_ERROR(addOctets(info.get(), kAsn1BitString, bits));
    return takeDer(info.get(), der);
}

Status wrapDsa(bool isPrivate, const DSAKey& dsaKey, SecretBuffer* der) {
    SecretBuffer parameters, inner;
    const vlong* const group[] = {dsaKey.p, dsaKey.q, dsaKey.g};
    RETURN_IF_ERROR(sequenceDer(group, &parameters));
    RETURN_IF_ERROR(integerDer(isPrivate ? dsaKey.x : dsaKey.y, &inner));
    return wrap(isPrivate, kIdDsa, parameters, inner, der);
}

Status wrapRsa(bool isPrivate, const AsymmetricKey* key, SecretBuffer* der) {
    SecretBuffer none, inner;
    if (!isPrivate) {
        const RSAKey& rsaKey = *asymKeyRsa(key);
        const vlong* const values[] = {rsaKey.n, rsaKey.e};
        RETURN_IF_ERROR(sequenceDer(values, &inner));
    } else {
        std::uint8_t* bytes = nullptr;
        std::uint32_t length = 0;
        const Status status = RsaKey_ToDer(key, &bytes, &length);
        inner.adopt(bytes, length);
        RETURN_IF_ERROR(status);
    }
    return wrap(isPrivate, kRsaEncryption, none, inner, der);
}

Status wrapKey(bool isPrivate, const AsymmetricKey* key, SecretBuffer* der) {
    if (key == nullptr || der == nullptr) {
        return ERR_NULL_POINTER;
    }
    der->reset();
    if (const DSAKey* const dsaKey = asymKeyDsa(key); dsaKey != nullptr) {
        return isPrivate && dsaKey->x == nullptr ? ERR_BAD_KEY_TYPE : wrapDsa(isPrivate, *dsaKey, der);
    }
    const RSAKey* const rsaKey = asymKeyRsa(key);
    return rsaKey == nullptr || (isPrivate && rsaKey->privateKey == 0) ? ERR_BAD_KEY_TYPE
                                                                       : wrapRsa(isPrivate, key, der);
}

} // namespace

Status asymKeyToPkcs8(const AsymmetricKey* key, SecretBuffer* der) {
    return wrapKey(true, key, der);
}

Status asymKeyToX509(const AsymmetricKey* key, SecretBuffer* der) {
    return wrapKey(false, key, der);
}
