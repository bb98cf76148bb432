// AsymmetricKey: the one handle through which the rest of the system holds an RSA or a DSA key, and the two key records
// that it can own. The byte formats of keys stand in key_der.h, the operations in rsa.h and dsa.h.
//
// All records have an all-zero state that is safe to release. Whatever holds key material is wiped when it is freed.
// The last argument, where there is one, is the spare-record queue of vlong.h or null. A container belongs to one
// owner; only the blinding record of an RSAKey may be shared by threads (rsa.h).
#ifndef ZELSPI_CORE_PUBKEY_KEY_ASYM_KEY_H
#define ZELSPI_CORE_PUBKEY_KEY_ASYM_KEY_H

#include "core/bignum/modexp.h"
#include "platform/rtos_mutex.h"

// RsaBlinding: the blinding pair of an RSA key, under its own lock.
struct RsaBlinding {
    RtosMutex mutex;         // made with the record
    vlong* blind;            // r^e mod n; null when there is no pair
    vlong* unblind;          // 1/r mod n; null when there is no pair
    std::uint32_t blindUses; // how often the pair was used again
};

// RSAKey: every value is an owned record, null when absent. d is not stored; key_der.h computes it.
struct RSAKey {
    std::uint32_t privateKey; // 1 for a private key
    vlong* e;
    vlong* n;
    vlong* p; // above q in a private key
    vlong* q;
    vlong* dP;   // 1/e mod (p - 1)
    vlong* dQ;   // 1/e mod (q - 1)
    vlong* qInv; // 1/q mod p
    MontgomeryCtx* contextP;
    MontgomeryCtx* contextQ;
    RsaBlinding blinding;
};

// DSAKey: every value is an owned record, null when absent.
struct DSAKey {
    vlong* p;
    vlong* q;
    vlong* g;
    vlong* y; // g^x mod p
    vlong* x; // null in a public key
};

// The values of AsymmetricKey::type. 2 is not used.
inline constexpr std::uint32_t kKeyEmpty = 0;
inline constexpr std::uint32_t kKeyRsa = 1;
inline constexpr std::uint32_t kKeyDsa = 3;

// AsymmetricKey: owns the record that key points at.
struct AsymmetricKey {
    std::uint32_t type;
    void* key; // an RSAKey for kKeyRsa, a DSAKey for kKeyDsa, null for kKeyEmpty
};

// AsymKey_Init: makes the storage an empty container; what it held is not released.
// Errors:  ERR_NULL_POINTER.
Status AsymKey_Init(AsymmetricKey* key);

// AsymKey_Uninit: wipes and frees the record; the container is then empty. An empty one stays so.
// Errors:  ERR_NULL_POINTER key null, or a container of RSA or DSA without its record; ERR_INTERNAL_ERROR another type:
//          the container stays as it was.
Status AsymKey_Uninit(AsymmetricKey* key, vlong** queue);

// AsymKey_MakeRsa, AsymKey_MakeDsa: releases what the container held and gives it an empty record.
// Errors:  those of AsymKey_Uninit, unchanged; ERR_MEM_ALLOC_FAIL; RSA also ERR_RTOS_MUTEX_CREATE. The container is
//          then empty, unless the release failed.
Status AsymKey_MakeRsa(AsymmetricKey* key, vlong** queue);
Status AsymKey_MakeDsa(AsymmetricKey* key, vlong** queue);

// AsymKey_SetDsaParameters: loads a DSA key from big-endian unsigned bytes; makes the container a DSA key if it is none.
// In/out:  x[xLength] given (not null, not empty): a private key, whose y is computed. Otherwise y[yLength]: a public
//          key. p is left to Dsa_SetPublicKey and Dsa_SetPrivateKey to check.
// Errors:  ERR_NULL_POINTER key, q or g null, or p null (found later); ERR_INVALID_ARG a length 0, or neither x nor y;
//          as dsa.h.
Status AsymKey_SetDsaParameters(AsymmetricKey* key, const std::uint8_t* p, std::uint32_t pLength, const std::uint8_t* q,
                                std::uint32_t qLength, const std::uint8_t* g, std::uint32_t gLength,
                                const std::uint8_t* y, std::uint32_t yLength, const std::uint8_t* x,
                                std::uint32_t xLength, vlong** queue);

#endif
