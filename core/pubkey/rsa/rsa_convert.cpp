// RSA values from and to bytes.
#include "core/bignum/vlong_convert.h"
#include "core/memory/secret.h"
#include "core/pubkey/rsa/rsa.h"

Status Rsa_BytesToVlong(const std::uint8_t* bytes, std::uint32_t length, vlong** out) {
    return VLONG_fromBytes(bytes, static_cast<std::int32_t>(length), out, nullptr); // beyond 31 bits it is negative
}

Status Rsa_VlongToFixedBytes(const vlong* value, std::uint32_t size, std::uint8_t** out) {
    if (out != nullptr) {
        *out = nullptr;
    }
    if (value == nullptr || out == nullptr) {
        return ERR_NULL_POINTER;
    }
    SecretBuffer buffer;
    RETURN_IF_ERROR(buffer.alloc(size));
    RETURN_IF_ERROR(VLONG_toBytesFixed(value, buffer.data(), size));
    *out = buffer.release();
    return OK;
}

Status Rsa_ModulusLength(const RSAKey* rsaKey, std::uint32_t* length) {
    if (rsaKey == nullptr || length == nullptr || rsaKey->n == nullptr) {
        return ERR_NULL_POINTER;
    }
    *length = VLONG_bitLength(rsaKey->n) / 8 + (VLONG_bitLength(rsaKey->n) % 8 != 0 ? 1 : 0);
    return OK;
}
