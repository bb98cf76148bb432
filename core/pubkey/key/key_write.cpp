// Writing keys: SEQUENCEs of INTEGERs.
#include "core/pubkey/key/internal/key_write.h"
#include "core/asn1/der.h"
#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong_convert.h"
#include "core/bignum/vlong_math.h"
#include "core/pubkey/key/key_der.h"
#include "core/pubkey/key/scoped_key.h"
#include "core/pubkey/rsa/internal/exponent_inverse.h"

namespace {

// Adds an INTEGER whose magnitude of `length` octets stands at *place behind a 0x00, which lets it become a sign octet.
// Moves on to the next place.
Status addInteger(DerNode* sequence, std::uint8_t** place, std::uint32_t length) {
    const std::uint8_t* const octets = *place;
    *place += length + 1;
    return Der_AddUnsignedInteger(sequence, length + 1, octets, nullptr);
}

Status decremented(const vlong* value, ScopedVlong& out, vlong** queue) {
    RETURN_IF_ERROR(VLONG_newCopy(value, out.out(), queue));
    return VLONG_decrement(out.get(), queue);
}

// *d := 1/e mod lcm(p - 1, q - 1): the smallest private exponent, not 1/e mod (p - 1)(q - 1): on purpose.
Status privateExponent(const RSAKey& key, vlong** d, vlong** queue) {
    ScopedVlong p1(queue), q1(queue), product(queue), divisor(queue), lcm(queue), remainder(queue);
    RETURN_IF_ERROR(decremented(key.p, p1, queue));
    RETURN_IF_ERROR(decremented(key.q, q1, queue));
    RETURN_IF_ERROR(VLONG_mulSigned(p1.get(), q1.get(), product.out(), queue));
    RETURN_IF_ERROR(VLONG_gcd(p1.get(), q1.get(), divisor.out(), queue));
    RETURN_IF_ERROR(lcm.alloc());
    RETURN_IF_ERROR(remainder.alloc());
    RETURN_IF_ERROR(VLONG_divide(lcm.get(), product.get(), divisor.get(), remainder.get(), queue));
    if (!VLONG_isZero(remainder.get())) {
        return ERR_INTERNAL_ERROR;
    }
    return inverseOfExponent(key.e, lcm.get(), d, queue);
}

Status writePrivateRsa(const RSAKey& key, std::uint8_t** der, std::uint32_t* derLength) {
    for (const vlong* value : {key.p, key.q, key.dP, key.dQ, key.qInv}) {
        if (value == nullptr) {
            return ERR_RSA_KEY_NOT_READY;
        }
    }
    LocalQueue local(nullptr);
    ScopedVlong d(local.get());
    RETURN_IF_ERROR(privateExponent(key, d.out(), local.get()));
    const vlong* const values[] = {key.n, key.e, d.get(), key.p, key.q, key.dP, key.dQ, key.qInv};
    return writeSequence(values, true, der, derLength);
}

// Clears the results of a writer and checks its arguments.
Status startWriting(const AsymmetricKey* key, std::uint32_t type, std::uint8_t** der, std::uint32_t* derLength) {
    if (key == nullptr || der == nullptr || derLength == nullptr) {
        return ERR_NULL_POINTER;
    }
    *der = nullptr;
    *derLength = 0;
    if (key->type != type) {
        return ERR_BAD_KEY_TYPE;
    }
    return key->key == nullptr ? ERR_NULL_POINTER : OK;
}

} // namespace

Status writeSequence(KeyValues values, bool withVersion, std::uint8_t** der, std::uint32_t* derLength) {
    std::size_t size = withVersion ? 1 : 0;
    for (const vlong* value : values) {
        std::uint32_t length = 0;
        RETURN_IF_ERROR(VLONG_toBytes(value, nullptr, &length));
        size += std::size_t{length} + 1;
    }
    SecretBuffer scratch;
    RETURN_IF_ERROR(scratch.alloc(size));
    ScopedTree<DerNode> sequence;
    RETURN_IF_ERROR(Der_AddItem(nullptr, kDerTypeSequence, 0, nullptr, sequence.out()));
    std::uint8_t* place = scratch.data();
    if (withVersion) {
        RETURN_IF_ERROR(addInteger(sequence.get(), &place, 0));
    }
    for (const vlong* value : values) {
        std::uint32_t length = 0;
        RETURN_IF_ERROR(VLONG_toBytes(value, nullptr, &length));
        RETURN_IF_ERROR(VLONG_toBytes(value, place + 1, &length));
        RETURN_IF_ERROR(addInteger(sequence.get(), &place, length));
    }
    return Der_SerializeToBuffer(sequence.get(), der, derLength);
}

Status paddedBytes(const vlong* value, SecretBuffer* bytes) {
    std::uint32_t count = 0;
    RETURN_IF_ERROR(VLONG_toBytes(value, nullptr, &count));
    RETURN_IF_ERROR(bytes->alloc(count + std::size_t{1}));
    return VLONG_toBytesFixed(value, bytes->data() + 1, count);
}

Status RsaKey_ToDer(const AsymmetricKey* key, std::uint8_t** der, std::uint32_t* derLength) {
    RETURN_IF_ERROR(startWriting(key, kKeyRsa, der, derLength));
    const RSAKey& rsaKey = *asymKeyRsa(key);
    if (rsaKey.n == nullptr || rsaKey.e == nullptr) {
        return ERR_RSA_KEY_NOT_READY;
    }
    if (rsaKey.privateKey != 0) {
        return writePrivateRsa(rsaKey, der, derLength);
    }
    const vlong* const values[] = {rsaKey.n, rsaKey.e};
    return writeSequence(values, false, der, derLength);
}

Status DsaKey_ToDer(const AsymmetricKey* key, std::uint8_t** der, std::uint32_t* derLength) {
    RETURN_IF_ERROR(startWriting(key, kKeyDsa, der, derLength));
    const DSAKey& dsaKey = *asymKeyDsa(key);
    const vlong* const values[] = {dsaKey.p, dsaKey.q, dsaKey.g, dsaKey.y, dsaKey.x};
    std::size_t count = 0;
    while (count < std::size(values) && values[count] != nullptr) {
        ++count;
    }
    return writeSequence(KeyValues(values, count), true, der, derLength);
}
