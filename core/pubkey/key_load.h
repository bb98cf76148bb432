// Loading private keys as the readers need it. For use inside this folder.
#ifndef ZELSPI_CORE_PUBKEY_KEY_LOAD_H
#define ZELSPI_CORE_PUBKEY_KEY_LOAD_H

#include "core/bignum/vlong_convert.h"
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

// readNumber: VLONG_fromBytes; a length beyond 31 bits is negative there.
inline Status readNumber(BigEndian bytes, vlong** out, vlong** queue) {
    return VLONG_fromBytes(bytes.bytes, static_cast<std::int32_t>(bytes.length), out, queue);
}

// releaseNumber: VLONG_free; an absent one is skipped.
inline void releaseNumber(vlong** value, vlong** queue) {
    (void)VLONG_free(value, queue);
}

// wholeOrCleared: what loading leaves behind and gives: the whole key, or nothing of it. clear is rsaKeyClear or dsaKeyClear.
template <typename Key> Status wholeOrCleared(Key* key, Status status, void (*clear)(Key*, vlong**), vlong** queue) {
    if (isError(status)) {
        clear(key, queue);
    }
    return status;
}

// rsaKeyLoadPrivate: RsaKey_SetPrivate with a hint at 1/q mod p. The hint may be anything: it is taken only when it proves
// right, which costs a fraction of finding the inverse, and so makes no difference to the key.
Status rsaKeyLoadPrivate(RSAKey* rsaKey, std::uint32_t e, BigEndian n, BigEndian p, BigEndian q, BigEndian qInvHint,
                         vlong** queue);

// dsaKeyLoadPrivate: Dsa_SetPrivateKey. With leavesY the key stays without its y where that can fail for want of memory
// only, for dsaSignMakingY.
Status dsaKeyLoadPrivate(DSAKey* dsaKey, BigEndian p, BigEndian q, BigEndian g, BigEndian x, bool leavesY,
                         vlong** queue);

#endif
