// The DER of DSA beside its private keys: public keys and signatures.
//
// Input comes from strangers: whatever its bytes, a status or a value, and nothing outside it is read. INTEGERs are read
// as unsigned. Nothing behind what is read is looked at.
#ifndef ZELSPI_CORE_PUBKEY_DSA_DSA_DER_H
#define ZELSPI_CORE_PUBKEY_DSA_DSA_DER_H

#include "core/pubkey/key/asym_key.h"

// parseDSAPublicKey: makes the container the DSA public key of der[length], an X.509 SubjectPublicKeyInfo.
// In/out:  the algorithm's OBJECT IDENTIFIER may be any: what counts is that p, q and g stand behind it. On failure the
//          container is empty.
// Errors:  ERR_NULL_POINTER; those of the parser; ERR_CERT_INVALID_STRUCT another structure; ERR_DSA_INVALID_KEYLENGTH p
//          above 16384 bits or q above 4096; ERR_MEM_ALLOC_FAIL; those of Dsa_SetPublicKey.
Status parseDSAPublicKey(const std::uint8_t* der, std::uint32_t length, AsymmetricKey* key);

// parseDERInteger: *content, *contentLength := the content octets, inside der, of the INTEGER that der[length] begins
// with.
// Errors:  ERR_NULL_POINTER; those of the parser; ERR_CERT_INVALID_STRUCT no INTEGER; ERR_MEM_ALLOC_FAIL.
Status parseDERInteger(const std::uint8_t* der, std::uint32_t length, const std::uint8_t** content,
                       std::uint32_t* contentLength);

// parseDSASignature: *r, *s := the integers of der[length], SEQUENCE { INTEGER r, INTEGER s }. The caller owns them; they
// are null on failure.
// Errors:  ERR_NULL_POINTER; those of the parser; ERR_PKCS7_INVALID_STRUCT another structure; ERR_MEM_ALLOC_FAIL.
Status parseDSASignature(const std::uint8_t* der, std::uint32_t length, vlong** r, vlong** s);

// createDSASignature: *der[*length] := SEQUENCE { INTEGER r, INTEGER s }; the caller frees it.
// Errors:  ERR_NULL_POINTER; ERR_MEM_ALLOC_FAIL.
Status createDSASignature(const vlong* r, const vlong* s, std::uint8_t** der, std::uint32_t* length);

#endif
