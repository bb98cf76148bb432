// A container that releases itself, and the record inside a container.
#ifndef ZELSPI_CORE_PUBKEY_KEY_SCOPED_KEY_H
#define ZELSPI_CORE_PUBKEY_KEY_SCOPED_KEY_H

#include "core/pubkey/key/asym_key.h"

// asymKeyRsa, asymKeyDsa: the record of a container of that type; null for any other container.
RSAKey* asymKeyRsa(const AsymmetricKey* key);
DSAKey* asymKeyDsa(const AsymmetricKey* key);

// ScopedKey: an empty container that is released when it leaves its scope.
class ScopedKey {
public:
    ScopedKey() = default;
    ScopedKey(const ScopedKey&) = delete;
    ScopedKey& operator=(const ScopedKey&) = delete;
    ~ScopedKey() {
        (void)AsymKey_Uninit(&key_, nullptr); // the type is always one of the three
    }
    AsymmetricKey* get() {
        return &key_;
    }

private:
    AsymmetricKey key_ = {kKeyEmpty, nullptr};
};

#endif
