// Reading RSA keys: RSAPublicKey and RSAPrivateKey of PKCS#1 (RFC 8017 appendix A.1).
#include "core/asn1/asn1_check.h"
#include "core/pubkey/key/internal/key_read.h"
#include "core/pubkey/key/key_der.h"
#include "core/pubkey/key/scoped_key.h"
#include "core/pubkey/rsa/rsa.h"

#include <algorithm>

namespace {

constexpr std::uint32_t kMaxVersion =
    1; // 1 is for keys of several primes; such a key loads with its first two: on purpose
constexpr std::uint32_t kMaxExponentOctets = kAsn1MaxValueOctets; // longer exponents are refused: on purpose

Status readPublic(const ParsedDer& input, const Asn1Node& n, const Asn1Node& e, RSAKey* rsaKey) {
    if (!isUniversal(&n, kAsn1Integer) || !isUniversal(&e, kAsn1Integer) || e.length > kMaxExponentOctets) {
        return ERR_RSA_INVALID_PKCS1;
    }
    ByteView modulus;
    RETURN_IF_ERROR(input.content(n, &modulus));
    return RsaKey_SetPublic(rsaKey, e.value, modulus.data(), lengthOf(modulus), nullptr);
}

// The item that many places behind another one, or null.
const Asn1Node* behind(const Asn1Node* item, int places) {
    for (; item != nullptr && places > 0; --places) {
        item = asn1NextSibling(item);
    }
    return item;
}

// The items behind n: e, d, p, q, dP, dQ, qInv. The key is computed from n, e, p and q, whatever else it says; of the
// others none is checked for its tag, and but for qInv, which may be a hint, none is looked at. All of this is on purpose.
Status readPrivate(const ParsedDer& input, const Asn1Node& version, const Asn1Node& n, KeyUse use, RSAKey* rsaKey) {
    if (!isUniversal(&version, kAsn1Integer) || !isUniversal(&n, kAsn1Integer)) {
        return ERR_RSA_INVALID_PKCS1;
    }
    if (version.length > kAsn1MaxValueOctets || version.value > kMaxVersion) {
        return ERR_RSA_INVALID_PKCS1_VERSION;
    }
    const Asn1Node* const e = behind(&n, 1);
    const Asn1Node* const p = behind(e, 2);
    const Asn1Node* const q = behind(p, 1);
    const Asn1Node* const qInv = behind(q, 3);
    if (q == nullptr || e->length > kMaxExponentOctets) {
        return ERR_RSA_INVALID_PKCS1;
    }
    ByteView modulus, first, second, hint;
    RETURN_IF_ERROR(input.content(n, &modulus));
    RETURN_IF_ERROR(input.content(*p, &first));
    RETURN_IF_ERROR(input.content(*q, &second));
    // Nobody says that n is p q: each is looked at.
    if (use != KeyUse::kAny &&
        std::max({bigEndianBits(modulus), bigEndianBits(first), bigEndianBits(second)}) > kRsaMaxSignerBits) {
        return ERR_RSA_INVALID_MODULUS;
    }
    if (qInv != nullptr) {
        (void)input.content(*qInv, &hint); // without its content it is no hint
    }
    return rsaKeyLoadPrivate(rsaKey, e->value, modulus, first, second, hint, nullptr);
}

Status readTopLevel(const std::uint8_t* der, std::uint32_t derLength, AsymmetricKey* key) {
    ParsedDer input;
    RETURN_IF_ERROR(input.parse({der, derLength}));
    return readRsaKey(input, asn1FirstChild(input.root()), KeyUse::kAny, key);
}

} // namespace

bool isUniversal(const Asn1Node* item, std::uint32_t tag) {
    return !isError(Asn1_CheckUniversalTag(item, tag));
}

Status readRsaKey(const ParsedDer& input, const Asn1Node* sequence, KeyUse use, AsymmetricKey* key) {
    if (!isUniversal(sequence, kAsn1Sequence)) {
        return ERR_RSA_INVALID_PKCS1;
    }
    const Asn1Node* const first = asn1FirstChild(sequence);
    const Asn1Node* const second = first == nullptr ? nullptr : asn1NextSibling(first);
    if (second == nullptr) {
        return ERR_RSA_INVALID_PKCS1;
    }
    RETURN_IF_ERROR(AsymKey_MakeRsa(key, nullptr));
    return asn1NextSibling(second) == nullptr ? readPublic(input, *first, *second, asymKeyRsa(key))
                                              : readPrivate(input, *first, *second, use, asymKeyRsa(key));
}

Status keyOrNothing(AsymmetricKey* key, Status status) {
    if (isError(status)) {
        (void)AsymKey_Uninit(key, nullptr); // the container is empty or whole
    }
    return status;
}

Status RsaKey_FromPublicDer(const std::uint8_t* der, std::uint32_t derLength, AsymmetricKey* key) {
    if (der == nullptr || key == nullptr) {
        return ERR_NULL_POINTER;
    }
    RETURN_IF_ERROR(AsymKey_Uninit(key, nullptr));
    return keyOrNothing(key, readTopLevel(der, derLength, key));
}
