// DSA on integers: keys, domain parameters, signatures. Hashing and DER are the caller's.
//
// New values in out-pointers belong to the caller; they are null on failure. "Errors: growth" as in vlong.h. Foreign
// values of any kind give a status or a meaningless result, never an endless loop.
// Secrets: k, x and everything derived from them is wiped. The time of signing, of loading and of making a key pair from
// given parameters shows the lengths of p and q and the whole octets of x, which decide how much is drawn for k. For the
// values of strangers that are no key (p or q not prime, g zero) it may show more.
#ifndef ZELSPI_CORE_PUBKEY_DSA_DSA_H
#define ZELSPI_CORE_PUBKEY_DSA_DSA_H

#include "core/pubkey/key/asym_key.h"
#include "core/random/random_bytes.h"

// DsaHash: the hash of parameter generation.
using DsaHash = std::uint32_t;
inline constexpr DsaHash kDsaSha1 = 0;
inline constexpr DsaHash kDsaSha224 = 1;
inline constexpr DsaHash kDsaSha256 = 2;
inline constexpr DsaHash kDsaSha384 = 3;
inline constexpr DsaHash kDsaSha512 = 4;

// The longest values of a stranger's key. The work on a key grows with the length of q or x times the square of that of p:
// without a limit it could be days.
inline constexpr std::uint32_t kDsaMaxPBits = 16384;
inline constexpr std::uint32_t kDsaMaxQBits = 4096; // also of x

// Dsa_CreateKey: a new empty record. Dsa_FreeKey: wipes and frees a record and its values; *dsaKey becomes null.
// Errors:  ERR_NULL_POINTER dsaKey (or, for freeing, *dsaKey) null; ERR_MEM_ALLOC_FAIL.
Status Dsa_CreateKey(DSAKey** dsaKey);
Status Dsa_FreeKey(DSAKey** dsaKey, vlong** queue);

// Dsa_SetPublicKey: releases the record's values and loads p, q, g, y from big-endian bytes.
// Dsa_SetPrivateKey: the same with p, q, g, x; y := g^x mod p.
// Errors:  ERR_NULL_POINTER; growth; as VLONG_modExp. The record's values are absent then.
Status Dsa_SetPublicKey(DSAKey* dsaKey, const std::uint8_t* p, std::uint32_t pLength, const std::uint8_t* q,
                        std::uint32_t qLength, const std::uint8_t* g, std::uint32_t gLength, const std::uint8_t* y,
                        std::uint32_t yLength, vlong** queue);
Status Dsa_SetPrivateKey(DSAKey* dsaKey, const std::uint8_t* p, std::uint32_t pLength, const std::uint8_t* q,
                         std::uint32_t qLength, const std::uint8_t* g, std::uint32_t gLength, const std::uint8_t* x,
                         std::uint32_t xLength, vlong** queue);

// Dsa_GenerateKeyEx: fresh parameters of L and N bits and a key pair. Dsa_GenerateKey: the same with N = 160 and SHA-1,
// so for L = 1024 only.
// Shapes:  *counter, seed[N / 8], *h (a new record): what reproduces p, q and g; each may be null.
// Errors:  ERR_NULL_POINTER dsaKey null; ERR_DSA_INVALID_KEYLENGTH; ERR_CRYPTO_SHA_ALGORITHM_DISABLED an unknown hash;
//          ERR_DSA_HASH_TOO_SMALL; those of random; growth. The record's values are absent then.
// Source:  FIPS 186-3 A.1.1.2, with one candidate fewer a seed; the generator counts down from p - 2.
Status Dsa_GenerateKey(const RandomBytes& random, DSAKey* dsaKey, std::uint32_t L, std::uint32_t* counter,
                       std::uint8_t* seed, vlong** h, vlong** queue);
Status Dsa_GenerateKeyEx(const RandomBytes& random, DSAKey* dsaKey, std::uint32_t L, std::uint32_t N, DsaHash hash,
                         std::uint32_t* counter, std::uint8_t* seed, vlong** h, vlong** queue);

// Dsa_Sign: *r, *s := the signature of the integer m. verified, which may be null, tells whether Dsa_Verify took it.
// In/out:  r or s can be 0; there is no second try: look at *verified.
// Errors:  ERR_NULL_POINTER; ERR_BAD_MODULO, ERR_DIVIDE_BY_ZERO for parameters of 0; those of random; growth.
Status Dsa_Sign(const RandomBytes& random, const DSAKey* dsaKey, const vlong* m, bool* verified, vlong** r, vlong** s,
                vlong** queue);

// Dsa_Verify: *valid := whether (r, s) is a signature of m.
// Errors:  ERR_NULL_POINTER; ERR_CRYPTO_DSA_SIGN_VERIFY_RS_TEST r or s not between 0 and q; as Dsa_Sign; growth.
Status Dsa_Verify(const DSAKey* dsaKey, const vlong* m, const vlong* r, const vlong* s, bool* valid, vlong** queue);

#endif
