// The public operation, and the block of a PKCS#1 v1.5 signature that it opens.
#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong_convert.h"
#include "core/memory/memory.h"
#include "core/pubkey/rsa/rsa.h"

#include <algorithm>

namespace {

constexpr std::uint32_t kFirstPadding =
    2; // index 1 is padding in a block without its leading zero: passed over, on purpose
constexpr std::uint32_t kFirstSeparator = 10; // one octet of padding more than the standard asks for: on purpose

// Strips the padding off block[length] and moves what stands behind it to the front. A block in its minimal form has
// lost the 00 in front of its type.
Status strip(std::uint8_t* block, std::uint32_t length, std::uint32_t* contentLength) {
    if (length == 0 || block[0] != 0x01) {
        return ERR_RSA_DECRYPTION;
    }
    std::uint32_t separator = kFirstPadding;
    while (separator < length && block[separator] == 0xFF) {
        ++separator;
    }
    if (separator >= length) {
        return OK; // padding to the end opens to nothing: on purpose
    }
    if (block[separator] != 0x00 || separator < kFirstSeparator) {
        return ERR_RSA_DECRYPTION;
    }
    std::copy(block + separator + 1, block + length, block);
    *contentLength = length - separator - 1;
    return OK;
}

} // namespace

Status Rsa_PublicOp(const RSAKey* rsaKey, const vlong* input, vlong** out, vlong** queue) {
    if (rsaKey == nullptr || input == nullptr || out == nullptr) {
        return ERR_NULL_POINTER;
    }
    *out = nullptr;
    return VLONG_modExp(input, rsaKey->e, rsaKey->n, out, queue);
}

Status Rsa_OpenPkcs1Signature(const RSAKey* rsaKey, const std::uint8_t* signature, std::uint8_t* block,
                              std::uint32_t* blockLength, vlong** queue) {
    if (rsaKey == nullptr) {
        return ERR_RSA_INVALID_KEY;
    }
    if (signature == nullptr || block == nullptr || blockLength == nullptr) {
        return ERR_NULL_POINTER;
    }
    *blockLength = 0;
    std::uint32_t k = 0;
    RETURN_IF_ERROR(Rsa_ModulusLength(rsaKey, &k));
    if (k > kRsaMaxBlockBytes) {
        return ERR_RSA_INVALID_MODULUS;
    }
    if (rsaKey->e == nullptr || rsaKey->e->length > 1) {
        return ERR_RSA_INVALID_EXPONENT;
    }
    LocalQueue local(queue);
    ScopedVlong s(local.get()), m(local.get());
    RETURN_IF_ERROR(VLONG_fromBytes(signature, static_cast<std::int32_t>(k), s.out(), local.get()));
    RETURN_IF_ERROR(Rsa_PublicOp(rsaKey, s.get(), m.out(), local.get()));
    std::uint32_t length = 0;
    RETURN_IF_ERROR(VLONG_toBytes(m.get(), nullptr, &length));
    if (length == 0) {
        return ERR_RSA_DECRYPTION;
    }
    RETURN_IF_ERROR(VLONG_toBytes(m.get(), block, &length));
    return strip(block, length, blockLength);
}
