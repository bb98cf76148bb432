// Reading RSA keys: RSAPublicKey and RSAPrivateKey of PKCS#1 (RFC 8017 appendix A.1).
#include "core/asn1/asn1_check.h"
#include "core/asn1/asn1_parse.h"
#include "core/pubkey/key_der.h"
#include "core/pubkey/key_read.h"
#include "core/pubkey/rsa.h"

namespace {

constexpr std::uint32_t kMaxVersion = 1; // 1 is for keys of several primes; such a key loads with its first two: meant
constexpr std::uint32_t kMaxExponentOctets = kAsn1MaxValueOctets; // longer exponents are refused: meant

// The content of an item as a big-endian number. The tag is the caller's to check.
struct Magnitude {
    const std::uint8_t* octets = nullptr;
    std::uint32_t length = 0;
};

Status magnitudeOf(const KeyInput& input, const Asn1Node& item, Magnitude* magnitude) {
    magnitude->length = item.length;
    return input.content(item, &magnitude->octets);
}

Status readPublic(const KeyInput& input, const Asn1Node& n, const Asn1Node& e, RSAKey* rsaKey) {
    if (!isUniversal(&n, kAsn1Integer) || !isUniversal(&e, kAsn1Integer) || e.length > kMaxExponentOctets) {
        return ERR_RSA_INVALID_PKCS1;
    }
    Magnitude modulus;
    RETURN_IF_ERROR(magnitudeOf(input, n, &modulus));
    return RsaKey_SetPublic(rsaKey, e.value, modulus.octets, modulus.length, nullptr);
}

// The items behind n: e, d, p, q, ... Only n is looked at as an INTEGER; d and what follows q are not read at all: the
// key is computed from n, e, p and q, whatever else it says. All meant.
Status readPrivate(const KeyInput& input, const Asn1Node& version, const Asn1Node& n, RSAKey* rsaKey) {
    if (!isUniversal(&version, kAsn1Integer) || !isUniversal(&n, kAsn1Integer)) {
        return ERR_RSA_INVALID_PKCS1;
    }
    if (version.length > kAsn1MaxValueOctets || version.value > kMaxVersion) {
        return ERR_RSA_INVALID_PKCS1_VERSION;
    }
    const Asn1Node* const e = asn1NextSibling(&n);
    const Asn1Node* const d = asn1NextSibling(e);
    const Asn1Node* const p = d == nullptr ? nullptr : asn1NextSibling(d);
    const Asn1Node* const q = p == nullptr ? nullptr : asn1NextSibling(p);
    if (q == nullptr || e->length > kMaxExponentOctets) {
        return ERR_RSA_INVALID_PKCS1;
    }
    Magnitude modulus, first, second;
    RETURN_IF_ERROR(magnitudeOf(input, n, &modulus));
    RETURN_IF_ERROR(magnitudeOf(input, *p, &first));
    RETURN_IF_ERROR(magnitudeOf(input, *q, &second));
    return RsaKey_SetPrivate(rsaKey, e->value, modulus.octets, modulus.length, first.octets, first.length,
                             second.octets, second.length, nullptr);
}

Status readTopLevel(const std::uint8_t* der, std::uint32_t derLength, AsymmetricKey* key) {
    KeyInput input;
    RETURN_IF_ERROR(input.parse(der, derLength));
    return readRsaKey(input, asn1FirstChild(input.root()), key);
}

} // namespace

Status KeyInput::parse(const std::uint8_t* der, std::uint32_t derLength) {
    // A length beyond 31 bits is negative for the stream, which then counts as empty.
    RETURN_IF_ERROR(MemStream_Init(&memory_, static_cast<std::int32_t>(derLength), der));
    RETURN_IF_ERROR(ByteStream_Bind(&stream_, &memory_));
    return Asn1_ParseStream(stream_, root_.out());
}

Status KeyInput::content(const Asn1Node& item, const std::uint8_t** octets) const {
    *octets = ByteStream_MemAccess(stream_, item.dataOffset, item.length);
    return *octets == nullptr ? ERR_MEM_ALLOC_FAIL : OK;
}

bool isUniversal(const Asn1Node* item, std::uint32_t tag) {
    return !isError(Asn1_CheckUniversalTag(item, tag));
}

Status readRsaKey(const KeyInput& input, const Asn1Node* sequence, AsymmetricKey* key) {
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
                                              : readPrivate(input, *first, *second, asymKeyRsa(key));
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
