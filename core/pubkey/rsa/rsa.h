// RSA on integers: the public and the private operation, the opening of a PKCS#1 v1.5 signature block, the preparation
// of a key, key generation. The block that is signed is rsa_pkcs1.h's.
//
// New values in out-pointers belong to the caller; they are null on failure. A failed operation leaves the key's values
// as they were, except that the blinding pair may have been replaced. "Errors: growth" as in vlong.h.
// Threads: one private key may be used from several threads at once: the blinding pair has its lock, and the rest of
// the key is only read. Preparation and generation need the key for themselves.
// Secrets: loading and preparing a key and the private operation, blinded or not, take time that shows the lengths of the
// input, of n and of the primes. For the values of strangers that are no key (p or q even, or no prime) it may show more.
#ifndef ZELSPI_CORE_PUBKEY_RSA_RSA_H
#define ZELSPI_CORE_PUBKEY_RSA_RSA_H

#include "core/pubkey/key/asym_key.h"
#include "core/random/random_bytes.h"

// The public exponent of every generated key.
inline constexpr std::uint32_t kRsaPublicExponent = 65537;

// The largest modulus of a private key that an engine takes: the time of a private operation grows with its cube.
inline constexpr std::uint32_t kRsaMaxSignerBits = 16384;

// The largest modulus whose signature blocks Rsa_OpenPkcs1Signature opens.
inline constexpr std::uint32_t kRsaMaxBlockBytes = 512;

// RsaKey_SetPublic: loads a public key from an exponent and n[nLength], big-endian; what the record held is released.
// Errors:  ERR_RSA_INVALID_KEY rsaKey null; ERR_BAD_EXPONENT e < 2; ERR_NULL_POINTER n null; growth.
Status RsaKey_SetPublic(RSAKey* rsaKey, std::uint32_t e, const std::uint8_t* n, std::uint32_t nLength, vlong** queue);

// RsaKey_SetPrivate: the same for a private key, and prepares it. Nothing checks that n = p q.
// Errors:  as RsaKey_SetPublic and Rsa_PrepareKey. The record's values are absent after those of loading.
Status RsaKey_SetPrivate(RSAKey* rsaKey, std::uint32_t e, const std::uint8_t* n, std::uint32_t nLength,
                         const std::uint8_t* p, std::uint32_t pLength, const std::uint8_t* q, std::uint32_t qLength,
                         vlong** queue);

// Rsa_BytesToVlong: *out := bytes[length], big-endian. Errors: as VLONG_fromBytes.
Status Rsa_BytesToVlong(const std::uint8_t* bytes, std::uint32_t length, vlong** out);

// Rsa_VlongToFixedBytes: *out[size] := value, big-endian, zero-padded on the left; the caller wipes and frees it
// (memWipeAndFree). Errors: ERR_NULL_POINTER; ERR_MEM_ALLOC_FAIL; as VLONG_toBytesFixed.
Status Rsa_VlongToFixedBytes(const vlong* value, std::uint32_t size, std::uint8_t** out);

// Rsa_ModulusLength: *length := the bytes of n. Errors: ERR_NULL_POINTER rsaKey, n or length null.
Status Rsa_ModulusLength(const RSAKey* rsaKey, std::uint32_t* length);

// Rsa_PublicOp: *out := input^e mod n. The input may be above n. Errors: ERR_NULL_POINTER; growth; as VLONG_modExp.
Status Rsa_PublicOp(const RSAKey* rsaKey, const vlong* input, vlong** out, vlong** queue);

// Rsa_PrivateOp: *out := input^d mod n by Rsa_PrivateCrt, blinded when random is not null. A blinding pair serves 33
// operations.
// Errors:  as Rsa_PrivateCrt; blinded also ERR_RTOS_MUTEX_WAIT, ERR_RSA_INVALID_KEY a modulus of one unit, those of
//          random.
Status Rsa_PrivateOp(RSAKey* rsaKey, const vlong* input, RandomSource random, void* randomContext, vlong** out,
                     vlong** queue);

// Rsa_PrivateCrt: *out := input^d mod n by the two primes, unblinded. The result is not checked.
// Errors:  ERR_NULL_POINTER; ERR_RSA_KEY_NOT_READY a public key or one that is not prepared; growth.
Status Rsa_PrivateCrt(const RSAKey* rsaKey, const vlong* input, vlong** out, vlong** queue);

// Rsa_OpenPkcs1Signature: block[*blockLength] := what the signature's block holds behind its padding.
// Shapes:  signature[k], block[k] at least, for a modulus of k bytes.
// In/out:  a block that is padding to its end gives an empty result. Nine octets of padding are asked for, one more than
//          the standard does, of which the first is not looked at; zero octets in front of the type are not counted, so
//          00 00 01 FF ... opens as well. A caller compares the content and its length; whoever wants the one right block
//          compares all of it, as Rsa_PublicOp makes it. On failure *blockLength is 0 and block holds nothing of use.
// Errors:  ERR_RSA_INVALID_KEY rsaKey null; ERR_NULL_POINTER; ERR_RSA_INVALID_MODULUS k above kRsaMaxBlockBytes;
//          ERR_RSA_INVALID_EXPONENT; ERR_RSA_DECRYPTION the block is malformed; growth.
Status Rsa_OpenPkcs1Signature(const RSAKey* rsaKey, const std::uint8_t* signature, std::uint8_t* block,
                              std::uint32_t* blockLength, vlong** queue);

// Rsa_PrepareKey: orders the primes of a private key (p above q) and computes what is absent of dP, dQ, qInv and the two
// contexts. A public key needs nothing.
// Errors:  ERR_NULL_POINTER rsaKey null; growth; as VLONG_modInverse.
Status Rsa_PrepareKey(RSAKey* rsaKey, vlong** queue);

// Rsa_GenerateKey: makes rsaKey a new private key whose modulus has exactly `bits` bits, with e = 65537.
// In/out:  sizes that are not a multiple of 128 are rounded up for the search and so never reached: the call does not
//          return until random fails. One less than a multiple alone is met, by a modulus that comes out a bit short, as
//          one in twenty does. Callers ask for multiples of 128 only.
// Errors:  ERR_RSA_INVALID_KEY rsaKey null; ERR_RSA_KEY_LENGTH_TOO_SMALL below 1024 when rounded; those of random;
//          growth.
// Source:  FIPS 186-4 B.3.6 and C.9.
Status Rsa_GenerateKey(const RandomBytes& random, RSAKey* rsaKey, std::uint32_t bits, vlong** queue);

#endif
