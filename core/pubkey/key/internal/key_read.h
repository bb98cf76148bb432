// What the readers of key_der.h share. For use inside core/pubkey.
#ifndef ZELSPI_CORE_PUBKEY_KEY_INTERNAL_KEY_READ_H
#define ZELSPI_CORE_PUBKEY_KEY_INTERNAL_KEY_READ_H

#include "core/asn1/parsed_der.h"
#include "core/pubkey/key/internal/key_load.h"

// isUniversal: whether there is an item, of the universal class with this tag number.
bool isUniversal(const Asn1Node* item, std::uint32_t tag);

// Object identifiers behind their length: 1.2.840.113549.1.1.1 and 1.2.840.10040.4.1.
inline constexpr std::uint8_t kRsaEncryption[] = {0x09, 0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x01, 0x01};
inline constexpr std::uint8_t kIdDsa[] = {0x07, 0x2A, 0x86, 0x48, 0xCE, 0x38, 0x04, 0x01};

// KeyUse: what a key is read for. To sign it must not be too long (RSA); to sign once it may lack its y (DSA).
enum class KeyUse { kAny, kSignatures, kOneSignature };

// readRsaKey: makes key an RSA key from a SEQUENCE that is an RSAPublicKey or an RSAPrivateKey.
// In/out:  sequence may be null or any item. The caller empties the container after a failure.
// Errors:  as RsaKey_FromPublicDer; to sign as asymKeyReadSigner.
Status readRsaKey(const ParsedDer& input, const Asn1Node* sequence, KeyUse use, AsymmetricKey* key);

// readPrivateKeyInfo: makes key the key of a parsed PrivateKeyInfo. The caller empties the container after a failure.
// Errors:  as AsymKey_FromPkcs8Der; to sign as asymKeyReadSigner.
Status readPrivateKeyInfo(const ParsedDer& input, KeyUse use, AsymmetricKey* key);

// keyOrNothing: empties the container after a failure and passes the status on.
Status keyOrNothing(AsymmetricKey* key, Status status);

#endif
