#include "core/pubkey/dsa_der.h"

#include "core/asn1/asn1_parse.h"
#include "core/asn1/asn1_walk.h"
#include "core/asn1/der.h"
#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong_convert.h"
#include "core/memory/endian.h"
#include "core/pubkey/dsa.h"
#include "core/pubkey/key_write.h"

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

// Content octets inside the input.
struct Content {
    const std::uint8_t* octets = nullptr;
    std::uint32_t length = 0;
};

// ParsedDer: input with its tree. Looks up one thing after another and remembers where it stands.
class ParsedDer {
public:
    // mismatch: the status of a walk that leads nowhere.
    explicit ParsedDer(Status mismatch) : mismatch_(mismatch) {
    }

    Status parse(const std::uint8_t* der, std::uint32_t length) {
        if (der == nullptr) {
            return ERR_NULL_POINTER;
        }
        if (length > INT_MAX) {
            return ERR_INVALID_ARG;
        }
        RETURN_IF_ERROR(MemStream_Init(&memory_, static_cast<std::int32_t>(length), der));
        RETURN_IF_ERROR(ByteStream_Bind(&stream_, &memory_));
        RETURN_IF_ERROR(Asn1_ParseStream(stream_, root_.out()));
        at_ = root_.get();
        return OK;
    }

    // walk: follows the steps from where the last walk ended, to an item with this content.
    Status walk(const Asn1WalkStep* steps, Content* content) {
        Asn1Node* item = nullptr;
        if (isError(Asn1_WalkPath(at_, stream_, steps, &item))) {
            return mismatch_;
        }
        at_ = item;
        *content = {ByteStream_MemAccess(stream_, item->dataOffset, item->length), item->length};
        return content->octets == nullptr ? ERR_MEM_ALLOC_FAIL : OK;
    }

private:
    Status mismatch_;
    MemStream memory_{};
    ByteStream stream_{};
    ScopedTree<Asn1Node> root_;
    Asn1Node* at_ = nullptr;
};

Status loadPublicKey(const std::uint8_t* der, std::uint32_t length, AsymmetricKey* key) {
    ParsedDer info(ERR_CERT_INVALID_STRUCT);
    Content p;
    Content q;
    Content g;
    Content encodedY;
    Content y;
    RETURN_IF_ERROR(info.parse(der, length));
    RETURN_IF_ERROR(info.walk(kToP, &p)); // whatever the OBJECT IDENTIFIER: meant
    RETURN_IF_ERROR(info.walk(kToNextInteger, &q));
    RETURN_IF_ERROR(info.walk(kToNextInteger, &g));
    RETURN_IF_ERROR(info.walk(kFromGToKey, &encodedY));
    RETURN_IF_ERROR(parseDERInteger(encodedY.octets, encodedY.length, &y.octets, &y.length));
    if (bigEndianBits(p.octets, p.length) > kDsaMaxPBits || bigEndianBits(q.octets, q.length) > kDsaMaxQBits) {
        return ERR_DSA_INVALID_KEYLENGTH;
    }
    RETURN_IF_ERROR(AsymKey_MakeDsa(key, nullptr));
    return Dsa_SetPublicKey(asymKeyDsa(key), p.octets, p.length, q.octets, q.length, g.octets, g.length, y.octets,
                            y.length, nullptr);
}

Status toVlong(const Content& content, vlong** out) {
    // More than a vlong can take is refused there.
    return VLONG_fromBytes(content.octets, static_cast<std::int32_t>(content.length), out, nullptr);
}

} // namespace

Status parseDSAPublicKey(const std::uint8_t* der, std::uint32_t length, AsymmetricKey* key) {
    if (der == nullptr || key == nullptr) {
        return ERR_NULL_POINTER;
    }
    const Status status = loadPublicKey(der, length, key);
    if (isError(status)) {
        (void)AsymKey_Uninit(key, nullptr); // there may be none
    }
    return status;
}

Status parseDERInteger(const std::uint8_t* der, std::uint32_t length, const std::uint8_t** content,
                       std::uint32_t* contentLength) {
    if (content == nullptr || contentLength == nullptr) {
        return ERR_NULL_POINTER;
    }
    ParsedDer parsed(ERR_CERT_INVALID_STRUCT);
    Content integer;
    RETURN_IF_ERROR(parsed.parse(der, length));
    RETURN_IF_ERROR(parsed.walk(kToInteger, &integer));
    *content = integer.octets;
    *contentLength = integer.length;
    return OK;
}

Status parseDSASignature(const std::uint8_t* der, std::uint32_t length, vlong** r, vlong** s) {
    if (r == nullptr || s == nullptr) {
        return ERR_NULL_POINTER;
    }
    *r = nullptr;
    *s = nullptr;
    ParsedDer signature(ERR_PKCS7_INVALID_STRUCT);
    Content content;
    ScopedVlong first(nullptr);
    ScopedVlong second(nullptr);
    RETURN_IF_ERROR(signature.parse(der, length));
    RETURN_IF_ERROR(signature.walk(kToR, &content));
    RETURN_IF_ERROR(toVlong(content, first.out()));
    RETURN_IF_ERROR(signature.walk(kToNextInteger, &content));
    RETURN_IF_ERROR(toVlong(content, second.out()));
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
