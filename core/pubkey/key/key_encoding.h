// Keys for signing, and keys as programs exchange them, in the formats of key_der.h and by its rules.
#ifndef ZELSPI_CORE_PUBKEY_KEY_KEY_ENCODING_H
#define ZELSPI_CORE_PUBKEY_KEY_KEY_ENCODING_H

#include "core/memory/secret.h"
#include "core/pubkey/key/asym_key.h"

// asymKeyReadSigner: AsymKey_FromPkcs8Der for a key that is to make one signature. A DSA key may lack its y: dsaSignMakingY.
// Errors:  as AsymKey_FromPkcs8Der; ERR_RSA_INVALID_MODULUS n, p or q of a private key above kRsaMaxSignerBits.
Status asymKeyReadSigner(const std::uint8_t* der, std::uint32_t derLength, AsymmetricKey* key);

// asymKeyReadPrivate: reads der[derLength], a PrivateKeyInfo or an RSAPrivateKey, for any number of signatures.
// asymKeyReadPublic: reads der[derLength], a SubjectPublicKeyInfo or an RSAPublicKey.
// Errors:  ERR_NULL_POINTER; those of the parser; ERR_BAD_KEY_TYPE a public key for a private one or the reverse, or a key of
//          another algorithm; those of asymKeyReadSigner, RsaKey_FromPublicDer and parseDSAPublicKey;
//          ERR_RSA_INVALID_PKCS1 a BIT STRING with unused bits; ERR_RSA_INVALID_MODULUS also where n is not p q.
Status asymKeyReadPrivate(const std::uint8_t* der, std::uint32_t derLength, AsymmetricKey* key);
Status asymKeyReadPublic(const std::uint8_t* der, std::uint32_t derLength, AsymmetricKey* key);

// asymKeyToPkcs8: *der := the PrivateKeyInfo of a private key. asymKeyToX509: *der := the SubjectPublicKeyInfo of a key,
// which may be private.
// Errors:  ERR_NULL_POINTER, also for a DSA key that lacks a number; ERR_BAD_KEY_TYPE an empty container, or a public key
//          for a private one; as RsaKey_ToDer; growth. *der is then empty.
Status asymKeyToPkcs8(const AsymmetricKey* key, SecretBuffer* der);
Status asymKeyToX509(const AsymmetricKey* key, SecretBuffer* der);

#endif
