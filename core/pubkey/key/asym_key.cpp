// The key container.
#include "core/pubkey/key/asym_key.h"

#include "core/memory/memory.h"
#include "core/pubkey/dsa/dsa.h"
#include "core/pubkey/key/internal/key_load.h"
#include "core/pubkey/key/scoped_key.h"
#include "core/pubkey/rsa/rsa.h"

namespace {

Status freeRsaKey(RSAKey** rsaKey, vlong** queue) {
    if (*rsaKey == nullptr) {
        return ERR_NULL_POINTER;
    }
    rsaKeyClear(*rsaKey, queue);
    (void)rtosMutexFree(&(*rsaKey)->blinding.mutex); // nobody uses a key that is being freed
    return memFreeRecord(rsaKey);
}

Status createRsaKey(RSAKey** rsaKey) {
    RETURN_IF_ERROR(memAllocRecord(rsaKey));
    const Status status = rtosMutexCreate(&(*rsaKey)->blinding.mutex, 0, 0);
    if (isError(status)) {
        (void)memFreeRecord(rsaKey); // not null
    }
    return status;
}

} // namespace

RSAKey* asymKeyRsa(const AsymmetricKey* key) {
    return key != nullptr && key->type == kKeyRsa ? static_cast<RSAKey*>(key->key) : nullptr;
}

DSAKey* asymKeyDsa(const AsymmetricKey* key) {
    return key != nullptr && key->type == kKeyDsa ? static_cast<DSAKey*>(key->key) : nullptr;
}

Status AsymKey_Init(AsymmetricKey* key) {
    if (key == nullptr) {
        return ERR_NULL_POINTER;
    }
    *key = {kKeyEmpty, nullptr};
    return OK;
}

Status AsymKey_Uninit(AsymmetricKey* key, vlong** queue) {
    if (key == nullptr) {
        return ERR_NULL_POINTER;
    }
    if (key->type == kKeyRsa) {
        RSAKey* rsaKey = asymKeyRsa(key);
        RETURN_IF_ERROR(freeRsaKey(&rsaKey, queue));
    } else if (key->type == kKeyDsa) {
        DSAKey* dsaKey = asymKeyDsa(key);
        RETURN_IF_ERROR(Dsa_FreeKey(&dsaKey, queue));
    } else if (key->type != kKeyEmpty) {
        return ERR_INTERNAL_ERROR;
    }
    return AsymKey_Init(key);
}

Status AsymKey_MakeRsa(AsymmetricKey* key, vlong** queue) {
    RETURN_IF_ERROR(AsymKey_Uninit(key, queue));
    RSAKey* rsaKey = nullptr;
    RETURN_IF_ERROR(createRsaKey(&rsaKey));
    *key = {kKeyRsa, rsaKey};
    return OK;
}

Status AsymKey_MakeDsa(AsymmetricKey* key, vlong** queue) {
    RETURN_IF_ERROR(AsymKey_Uninit(key, queue));
    DSAKey* dsaKey = nullptr;
    RETURN_IF_ERROR(Dsa_CreateKey(&dsaKey));
    *key = {kKeyDsa, dsaKey};
    return OK;
}

Status AsymKey_SetDsaParameters(AsymmetricKey* key, const std::uint8_t* p, std::uint32_t pLength, const std::uint8_t* q,
                                std::uint32_t qLength, const std::uint8_t* g, std::uint32_t gLength,
                                const std::uint8_t* y, std::uint32_t yLength, const std::uint8_t* x,
                                std::uint32_t xLength, vlong** queue) {
    if (key == nullptr || q == nullptr || g == nullptr) { // p is not looked at here: on purpose
        return ERR_NULL_POINTER;
    }
    if (pLength == 0 || qLength == 0 || gLength == 0) {
        return ERR_INVALID_ARG;
    }
    if (key->type != kKeyDsa) {
        RETURN_IF_ERROR(AsymKey_MakeDsa(key, queue));
    }
    if (x != nullptr && xLength != 0) {
        return Dsa_SetPrivateKey(asymKeyDsa(key), p, pLength, q, qLength, g, gLength, x, xLength, queue);
    }
    if (y == nullptr || yLength == 0) {
        return ERR_INVALID_ARG;
    }
    return Dsa_SetPublicKey(asymKeyDsa(key), p, pLength, q, qLength, g, gLength, y, yLength, queue);
}
