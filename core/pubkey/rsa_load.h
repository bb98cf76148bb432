// Loading a private key that comes with its qInv. For use inside this folder.
#ifndef ZELSPI_CORE_PUBKEY_RSA_LOAD_H
#define ZELSPI_CORE_PUBKEY_RSA_LOAD_H

#include "core/pubkey/asym_key.h"

// BigEndian: an unsigned number in bytes; null for none.
struct BigEndian {
    const std::uint8_t* bytes = nullptr;
    std::uint32_t length = 0;
};

// rsaKeyLoadPrivate: RsaKey_SetPrivate with a hint at 1/q mod p. The hint may be anything: it is taken only when it proves
// right, which costs a fraction of finding the inverse, and so makes no difference to the key.
Status rsaKeyLoadPrivate(RSAKey* rsaKey, std::uint32_t e, BigEndian n, BigEndian p, BigEndian q, BigEndian qInvHint,
                         vlong** queue);

#endif
