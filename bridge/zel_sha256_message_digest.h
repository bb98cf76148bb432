// ZelSha256MessageDigest: the SHA-256 engine.
#ifndef ZELSPI_BRIDGE_ZEL_SHA256_MESSAGE_DIGEST_H
#define ZELSPI_BRIDGE_ZEL_SHA256_MESSAGE_DIGEST_H

#include "bridge/sha_digest_engine.h"
#include "core/hash/sha256.h"

struct ZEL_EXPORT_NAME Sha256DigestHash {
    using Context = Sha256Context;
    static constexpr int kDigestBytes = kSha256DigestBytes;
    static constexpr auto alloc = sha256AllocContext;
    static constexpr auto release = sha256FreeContext;
    static constexpr auto init = sha256Init;
    static constexpr auto update = sha256Update;
    static constexpr auto finish = sha256Final;
};

extern template class ShaDigestEngine<Sha256DigestHash>;

class ZEL_EXPORT ZelSha256MessageDigest : public ShaDigestEngine<Sha256DigestHash> {
public:
    ~ZelSha256MessageDigest() override;
};

#endif
