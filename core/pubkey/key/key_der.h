// The byte formats in which keys enter and leave the core: all of them DER, all integers unsigned.
//
//   PKCS#1 RSAPublicKey      SEQUENCE { n, e }                                      read and written
//   PKCS#1 RSAPrivateKey     SEQUENCE { 0, n, e, d, p, q, dP, dQ, qInv }            read and written
//   PKCS#8 PrivateKeyInfo    SEQUENCE { 0, { algorithm, parameters }, OCTET STRING { key } }   both, RSA and DSA
//   X.509 SubjectPublicKeyInfo   SEQUENCE { { algorithm, parameters }, BIT STRING { key } }    both, RSA and DSA
//   flat DSA key             SEQUENCE { 0, p, q, g, y, x }                          written
//
// A reader releases what the container held and leaves it empty on failure. A writer leaves the container as it is.
// Foreign bytes: a reader never crashes, leaks or hangs, but only the readers for signing bound the size of an RSA key: loading
// one of 16,384 bits takes milliseconds if its qInv is right and p > q, otherwise the time of a power modulo p; one of half
// a million bits takes seconds. Callers that take keys from strangers cap them.
#ifndef ZELSPI_CORE_PUBKEY_KEY_KEY_DER_H
#define ZELSPI_CORE_PUBKEY_KEY_KEY_DER_H

#include "core/pubkey/key/asym_key.h"

// RsaKey_FromPublicDer: reads der[derLength], an RSAPublicKey, or by the same path an RSAPrivateKey.
// In/out:  of a private key only n, e, p and q count, the rest is computed, or, for qInv, found to be right; versions 0
//          and 1. e has at most four content octets, read as an unsigned number.
// Errors:  ERR_NULL_POINTER; those of the parser; ERR_RSA_INVALID_PKCS1; ERR_RSA_INVALID_PKCS1_VERSION;
//          ERR_BAD_EXPONENT e below 2; those of RsaKey_SetPrivate.
Status RsaKey_FromPublicDer(const std::uint8_t* der, std::uint32_t derLength, AsymmetricKey* key);

// AsymKey_FromPkcs8Der: reads der[derLength], a PrivateKeyInfo of an RSA or a DSA key: look at the container's type
// afterwards. An RSAPublicKey in place of the RSA private key is accepted and gives a public key.
// Errors:  ERR_NULL_POINTER; those of the parser; ERR_RSA_INVALID_PKCS8; ERR_RSA_UNKNOWN_PKCS8_ALGOID; for RSA as
//          RsaKey_FromPublicDer; for DSA ERR_CERT_INVALID_STRUCT, ERR_WALKER_VERIFY_FAILED,
//          ERR_DSA_INVALID_KEYLENGTH p above 16384 bits, q or x above 4096, those of AsymKey_SetDsaParameters.
Status AsymKey_FromPkcs8Der(const std::uint8_t* der, std::uint32_t derLength, AsymmetricKey* key);

// RsaKey_ToDer: *der[*derLength] := the key, public or private as its record says; the caller wipes and frees it
// (memWipeAndFree). d is 1/e mod lcm(p - 1, q - 1).
// Errors:  ERR_NULL_POINTER; ERR_BAD_KEY_TYPE; ERR_RSA_KEY_NOT_READY a value is absent; ERR_INTERNAL_ERROR; growth.
Status RsaKey_ToDer(const AsymmetricKey* key, std::uint8_t** der, std::uint32_t* derLength);

// DsaKey_ToDer: the same for a DSA key; the values stop at the first absent one.
// Errors:  ERR_NULL_POINTER; ERR_BAD_KEY_TYPE; growth.
Status DsaKey_ToDer(const AsymmetricKey* key, std::uint8_t** der, std::uint32_t* derLength);

#endif
