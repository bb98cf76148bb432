// Loading private keys as the readers need it. For use inside this folder.
#ifndef ZELSPI_CORE_PUBKEY_KEY_LOAD_H
#define ZELSPI_CORE_PUBKEY_KEY_LOAD_H

#include "core/memory/endian.h"
#include "core/pubkey/asym_key.h"

// BigEndian: an unsigned number in bytes; null for none.
struct BigEndian {
    const std::uint8_t* bytes = nullptr;
    std::uint32_t length = 0;

    std::uint64_t bits() const {
        return bigEndianBits(bytes, length);
    }
};

// rsaKeyLoadPrivate: RsaKey_SetPrivate with a hint at 1/q mod p. The hint may be anything: it is taken only when it proves
// right, which costs a fraction of finding the inverse, and so makes no difference to the key.
Status rsaKeyLoadPrivate(RSAKey* rsaKey, std::uint32_t e, BigEndian n, BigEndian p, BigEndian q, BigEndian qInvHint,
                         vlong** queue);

// dsaKeyLoadPrivate: Dsa_SetPrivateKey. With leavesY the key stays without its y where that can fail for want of memory
// only, for dsaSignMakingY.
Status dsaKeyLoadPrivate(DSAKey* dsaKey, BigEndian p, BigEndian q, BigEndian g, BigEndian x, bool leavesY,
                         vlong** queue);

#endif
