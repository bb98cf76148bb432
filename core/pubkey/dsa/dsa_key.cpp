// DSA key records: making, freeing, loading.
#include "core/bignum/scoped_vlong.h"
#include "core/memory/memory.h"
#include "core/pubkey/dsa/internal/dsa_group.h"
#include "core/pubkey/key/internal/key_load.h"

#include <utility>

namespace {

// Loads p, q and g, and into *own y or x.
Status load(DSAKey& key, ByteView p, ByteView q, ByteView g, ByteView value, vlong** own, vlong** queue) {
    const std::pair<ByteView, vlong**> values[] = {{p, &key.p}, {q, &key.q}, {g, &key.g}, {value, own}};
    for (const auto& [bytes, place] : values) {
        RETURN_IF_ERROR(readNumber(bytes, place, queue));
    }
    return OK;
}

// Whether nothing but a lack of memory can make g^x mod p fail, so that it may wait until it is needed.
bool mayWait(const DSAKey& key) {
    constexpr std::uint32_t kUsualUnits = 64; // far from any limit
    return VLONG_testBit(key.p, 0) && key.p->length >= 2 && key.p->length <= kUsualUnits &&
           key.g->length <= kUsualUnits;
}

} // namespace

Status Dsa_CreateKey(DSAKey** dsaKey) {
    return memAllocRecord(dsaKey);
}

void dsaKeyClear(DSAKey* dsaKey, vlong** queue) {
    for (vlong** value : {&dsaKey->p, &dsaKey->q, &dsaKey->g, &dsaKey->y, &dsaKey->x}) {
        releaseNumber(value, queue);
    }
}

Status Dsa_FreeKey(DSAKey** dsaKey, vlong** queue) {
    if (dsaKey == nullptr || *dsaKey == nullptr) {
        return ERR_NULL_POINTER;
    }
    dsaKeyClear(*dsaKey, queue);
    return memFreeRecord(dsaKey);
}

Status Dsa_SetPublicKey(DSAKey* dsaKey, const std::uint8_t* p, std::uint32_t pLength, const std::uint8_t* q,
                        std::uint32_t qLength, const std::uint8_t* g, std::uint32_t gLength, const std::uint8_t* y,
                        std::uint32_t yLength, vlong** queue) {
    if (dsaKey == nullptr || p == nullptr || q == nullptr || g == nullptr || y == nullptr) {
        return ERR_NULL_POINTER;
    }
    dsaKeyClear(dsaKey, queue);
    const Status status = load(*dsaKey, {p, pLength}, {q, qLength}, {g, gLength}, {y, yLength}, &dsaKey->y, queue);
    return wholeOrCleared(dsaKey, status, dsaKeyClear, queue);
}

Status Dsa_SetPrivateKey(DSAKey* dsaKey, const std::uint8_t* p, std::uint32_t pLength, const std::uint8_t* q,
                         std::uint32_t qLength, const std::uint8_t* g, std::uint32_t gLength, const std::uint8_t* x,
                         std::uint32_t xLength, vlong** queue) {
    return dsaKeyLoadPrivate(dsaKey, {p, pLength}, {q, qLength}, {g, gLength}, {x, xLength}, false, queue);
}

Status dsaKeyLoadPrivate(DSAKey* dsaKey, ByteView p, ByteView q, ByteView g, ByteView x, bool leavesY, vlong** queue) {
    if (dsaKey == nullptr || p.data() == nullptr || q.data() == nullptr || g.data() == nullptr || x.data() == nullptr) {
        return ERR_NULL_POINTER;
    }
    dsaKeyClear(dsaKey, queue);
    Status status = load(*dsaKey, p, q, g, x, &dsaKey->x, queue);
    if (!isError(status) && !(leavesY && mayWait(*dsaKey))) {
        status = dsaMakeY(*dsaKey, queue);
    }
    return wholeOrCleared(dsaKey, status, dsaKeyClear, queue);
}
