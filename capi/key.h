// The key behind a ZelKey.
#ifndef ZELSPI_CAPI_KEY_H
#define ZELSPI_CAPI_KEY_H

#include "capi/handle.h"
#include "core/pubkey/key/asym_key.h"

// ZelKey: whole from the moment its owner sees it, of RSA or DSA, and only read from then on.
struct ZelKey {
    static constexpr std::uint64_t kTag = kKeyTag;
    std::uint64_t tag;
    AsymmetricKey key;
};

// isPrivateKey: whether the key can sign.
bool isPrivateKey(const ZelKey& key);

#endif
