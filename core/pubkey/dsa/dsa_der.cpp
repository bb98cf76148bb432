#include "core/pubkey/dsa/dsa_der.h"

#include "core/asn1/asn1_walk.h"
#include "core/asn1/der.h"
#include "core/asn1/parsed_der.h"
#include "core/bignum/scoped_vlong.h"
#include "core/pubkey/dsa/dsa.h"
#include "core/pubkey/key/internal/key_load.h"
#include "core/pubkey/key/internal/key_write.h"
#include "core/pubkey/key/scoped_key.h"

#include <climits>

namespace {

constexpr Asn1WalkStep kFirstChild = {kWalkFirstChild, 0, nullptr};
constexpr Asn1WalkStep kNextSibling = {kWalkNextSibling, 0, nullptr};
constexpr Asn1WalkStep kParent = {kWalkParent, 0, nullptr};
constexpr Asn1WalkStep kEnd = {kWalkEnd, 0, nullptr};

constexpr Asn1WalkStep isOf(std::uint32_t tag) {
    return {kWalkCheckUniversalTag, tag, nullptr};
}

// From the root of a SubjectPublicKeyInfo to p, on to the integer behind it, and from g to the key itself.
constexpr Asn1WalkStep kToP[] = {kFirstChild, isOf(kAsn1Sequence),         kFirstChild,  isOf(kAsn1Sequence),
                                 kFirstChild, isOf(kAsn1ObjectIdentifier), kNextSibling, isOf(kAsn1Sequence),
                                 kFirstChild, isOf(kAsn1Integer),          kEnd};
constexpr Asn1WalkStep kToNextInteger[] = {kNextSibling, isOf(kAsn1Integer), kEnd};
constexpr Asn1WalkStep kFromGToKey[] = {kParent, kParent, isOf(kAsn1Sequence), kNextSibling, isOf(kAsn1BitString),
                                        kEnd};

// From the root to an INTEGER, and to the first one in a SEQUENCE.
constexpr Asn1WalkStep kToInteger[] = {kFirstChild, isOf(kAsn1Integer), kEnd};
constexpr Asn1WalkStep kToR[] = {kFirstChild, isOf(kAsn1Sequence), kFirstChild, isOf(kAsn1Integer), kEnd};

Status parse(const std::uint8_t* der, std::uint32_t length, ParsedDer* parsed) {
    if (der == nullptr) {
        return ERR_NULL_POINTER;
    }
    return length > INT_MAX ? ERR_INVALID_ARG : parsed->parse({der, length});
}

// Path: follows steps from item to item, and remembers where it stands. mismatch: the status of steps that lead nowhere.
class Path {
public:
    Path(const ParsedDer& der, Status mismatch) : der_(der), mismatch_(mismatch), at_(der.root()) {
    }

    // follow: goes on to the item that the steps lead to, which has this content.
    Status follow(const Asn1WalkStep* steps, ByteView* content) {
        Asn1Node* item = nullptr;
        if (isError(Asn1_WalkPath(at_, der_.stream(), steps, &item))) {
            return mismatch_;
        }
        at_ = item;
        return der_.content(*item, content);
    }

private:
    const ParsedDer& der_;
    Status mismatch_;
    Asn1Node* at_;
};

Status loadPublicKey(const std::uint8_t* der, std::uint32_t length, AsymmetricKey* key) {
    ParsedDer info;
    RETURN_IF_ERROR(parse(der, length, &info));
    Path path(info, ERR_CERT_INVALID_STRUCT);
    ByteView p, q, g, encodedY;
    RETURN_IF_ERROR(path.follow(kToP, &p)); // whatever the OBJECT IDENTIFIER: on purpose
    RETURN_IF_ERROR(path.follow(kToNextInteger, &q));
    RETURN_IF_ERROR(path.follow(kToNextInteger, &g));
    RETURN_IF_ERROR(path.follow(kFromGToKey, &encodedY));
    const std::uint8_t* y = nullptr;
    std::uint32_t yLength = 0;
    RETURN_IF_ERROR(parseDERInteger(encodedY.data(), lengthOf(encodedY), &y, &yLength));
    if (bigEndianBits(p) > kDsaMaxPBits || bigEndianBits(q) > kDsaMaxQBits) {
        return ERR_DSA_INVALID_KEYLENGTH;
    }
    RETURN_IF_ERROR(AsymKey_MakeDsa(key, nullptr));
    return Dsa_SetPublicKey(asymKeyDsa(key), p.data(), lengthOf(p), q.data(), lengthOf(q), g.data(), lengthOf(g), y,
                            yLength, nullptr);
}

} // namespace

Status parseDSAPublicKey(const std::uint8_t* der, std::uint32_t length, AsymmetricKey* key) {
    if (der == nullptr || key == nullptr) {
        return ERR_NULL_POINTER;
    }
    const Status status = loadPublicKey(der, length, key);
    if (isError(status)) {
        (void)AsymKey_Uninit(key, nullptr); // null is skipped
    }
    return status;
}

Status parseDERInteger(const std::uint8_t* der, std::uint32_t length, const std::uint8_t** content,
                       std::uint32_t* contentLength) {
    if (content == nullptr || contentLength == nullptr) {
        return ERR_NULL_POINTER;
    }
    ParsedDer parsed;
    RETURN_IF_ERROR(parse(der, length, &parsed));
    ByteView integer;
    RETURN_IF_ERROR(Path(parsed, ERR_CERT_INVALID_STRUCT).follow(kToInteger, &integer));
    *content = integer.data();
    *contentLength = lengthOf(integer);
    return OK;
}

Status parseDSASignature(const std::uint8_t* der, std::uint32_t length, vlong** r, vlong** s) {
    if (r == nullptr || s == nullptr) {
        return ERR_NULL_POINTER;
    }
    *r = nullptr;
    *s = nullptr;
    ParsedDer signature;
    RETURN_IF_ERROR(parse(der, length, &signature));
    Path path(signature, ERR_PKCS7_INVALID_STRUCT);
    ByteView content;
    ScopedVlong first(nullptr);
    ScopedVlong second(nullptr);
    RETURN_IF_ERROR(path.follow(kToR, &content));
    RETURN_IF_ERROR(readNumber(content, first.out(), nullptr));
    RETURN_IF_ERROR(path.follow(kToNextInteger, &content));
    RETURN_IF_ERROR(readNumber(content, second.out(), nullptr));
    *r = first.release();
    *s = second.release();
    return OK;
}

Status createDSASignature(const vlong* r, const vlong* s, std::uint8_t** der, std::uint32_t* length) {
    SecretBuffer rBytes;
    SecretBuffer sBytes;
    ScopedTree<DerNode> sequence;
    RETURN_IF_ERROR(paddedBytes(r, &rBytes));
    RETURN_IF_ERROR(paddedBytes(s, &sBytes));
    RETURN_IF_ERROR(Der_AddItem(nullptr, kDerTypeSequence, 0, nullptr, sequence.out()));
    for (const SecretBuffer* const bytes : {&rBytes, &sBytes}) {
        RETURN_IF_ERROR(
            Der_AddUnsignedInteger(sequence.get(), static_cast<std::uint32_t>(bytes->size()), bytes->data(), nullptr));
    }
    return Der_SerializeToBuffer(sequence.get(), der, length);
}
