// What the writers of key_der.h share. For use inside core/pubkey.
#ifndef ZELSPI_CORE_PUBKEY_KEY_INTERNAL_KEY_WRITE_H
#define ZELSPI_CORE_PUBKEY_KEY_INTERNAL_KEY_WRITE_H

#include "core/bignum/vlong.h"
#include "core/memory/secret.h"

#include <span>

using KeyValues = std::span<const vlong* const>;

// writeSequence: *der[*derLength] := SEQUENCE { 0 if withVersion, values ... } of INTEGERs; the caller wipes and frees it.
// Errors:  ERR_NULL_POINTER a value null; growth.
Status writeSequence(KeyValues values, bool withVersion, std::uint8_t** der, std::uint32_t* derLength);

// paddedBytes: *bytes := one 0x00 and the magnitude of value, as Der_AddUnsignedInteger takes it. Errors as above.
Status paddedBytes(const vlong* value, SecretBuffer* bytes);

#endif
