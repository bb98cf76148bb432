// ZelSha1MessageDigest: the SHA-1 engine.
#ifndef ZELSPI_BRIDGE_ZEL_SHA1_MESSAGE_DIGEST_H
#define ZELSPI_BRIDGE_ZEL_SHA1_MESSAGE_DIGEST_H

#include "bridge/sha_digest_engine.h"
#include "core/hash/sha1.h"

struct ZEL_EXPORT_NAME Sha1DigestHash {
    using Context = Sha1Context;
    static constexpr int kDigestBytes = kSha1DigestBytes;
    static constexpr auto alloc = sha1AllocContext;
    static constexpr auto release = sha1FreeContext;
    static constexpr auto init = sha1Init;
    static constexpr auto update = sha1Update;
    static constexpr auto finish = sha1Final;
};

extern template class ShaDigestEngine<Sha1DigestHash>;

class ZEL_EXPORT ZelSha1MessageDigest : public ShaDigestEngine<Sha1DigestHash> {
public:
    ~ZelSha1MessageDigest() override;
};

#endif
