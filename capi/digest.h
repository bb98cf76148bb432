// The hashes as the C functions choose them.
#ifndef ZELSPI_CAPI_DIGEST_H
#define ZELSPI_CAPI_DIGEST_H

#include "capi/zel.h"
#include "core/hash/sha1.h"
#include "core/hash/sha256.h"
#include "core/hash/sha512.h"
#include "core/pubkey/rsa/rsa_pkcs1.h"

// HashState: the running hash of any algorithm.
union HashState {
    Sha1Context sha1;
    Sha256Context sha256;
    Sha512Context sha512;
};

// HashAlgorithm: the core's operations, with their contracts, for the member of the state that is the algorithm's own.
struct HashAlgorithm {
    std::uint32_t digestBytes;
    const DigestInfo* info;
    Status (*init)(HashState* state);
    Status (*update)(HashState* state, const std::uint8_t* data, std::uint32_t length);
    Status (*final)(HashState* state, std::uint8_t* digest);
    Status (*digest)(const std::uint8_t* data, std::uint32_t length, std::uint8_t* digest);
};

// findHash: null for an unknown hash.
const HashAlgorithm* findHash(ZelHash hash);

#endif
