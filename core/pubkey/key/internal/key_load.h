// Loading private keys as the readers need it. For use inside core/pubkey.
#ifndef ZELSPI_CORE_PUBKEY_KEY_INTERNAL_KEY_LOAD_H
#define ZELSPI_CORE_PUBKEY_KEY_INTERNAL_KEY_LOAD_H

#include "core/bignum/vlong_convert.h"
#include "core/memory/byte_view.h"
#include "core/memory/endian.h"
#include "core/pubkey/key/asym_key.h"

// Numbers in bytes are unsigned and big-endian.

// readNumber: VLONG_fromBytes; a length beyond 31 bits is negative there.
inline Status readNumber(ByteView bytes, vlong** out, vlong** queue) {
    return VLONG_fromBytes(bytes.data(), static_cast<std::int32_t>(bytes.size()), out, queue);
}

// releaseNumber: VLONG_free; an absent one is skipped.
inline void releaseNumber(vlong** value, vlong** queue) {
    (void)VLONG_free(value, queue);
}

// rsaKeyClear: releases all values, contexts and the blinding pair; the record and its mutex stay.
void rsaKeyClear(RSAKey* rsaKey, vlong** queue);

// dsaKeyClear: releases the record's values; the record stays.
void dsaKeyClear(DSAKey* dsaKey, vlong** queue);

// wholeOrCleared: ends loading: clears the key after a failure, and passes the status on. clear is rsaKeyClear or
// dsaKeyClear.
template <typename Key> Status wholeOrCleared(Key* key, Status status, void (*clear)(Key*, vlong**), vlong** queue) {
    if (isError(status)) {
        clear(key, queue);
    }
    return status;
}

// rsaKeyLoadPrivate: RsaKey_SetPrivate with a hint at 1/q mod p. The hint may be anything: it is taken only when it proves
// right, which costs a fraction of finding the inverse, and so makes no difference to the key.
Status rsaKeyLoadPrivate(RSAKey* rsaKey, std::uint32_t e, ByteView n, ByteView p, ByteView q, ByteView qInvHint,
                         vlong** queue);

// dsaKeyLoadPrivate: Dsa_SetPrivateKey. With leavesY the y is left to dsaSignMakingY, where nothing but a lack of memory
// can make it fail.
Status dsaKeyLoadPrivate(DSAKey* dsaKey, ByteView p, ByteView q, ByteView g, ByteView x, bool leavesY, vlong** queue);

#endif
