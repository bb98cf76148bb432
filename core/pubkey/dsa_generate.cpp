// DSA key generation: parameters, generator, key pair.
#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong_convert.h"
#include "core/bignum/vlong_math.h"
#include "core/memory/secret.h"
#include "core/pubkey/dsa_params.h"

#include <algorithm>

namespace {

constexpr std::uint32_t kPrivateKeyBytes = 40; // so many that the remainder by q is as good as uniform

Status makeKeyPair(const RandomBytes& random, DSAKey& key, vlong** queue) {
    SecretArray<std::uint8_t, kPrivateKeyBytes> bytes;
    RETURN_IF_ERROR(random.fill(bytes.data(), kPrivateKeyBytes));
    ScopedVlong wide(queue);
    RETURN_IF_ERROR(VLONG_fromBytes(bytes.data(), kPrivateKeyBytes, wide.out(), queue));
    RETURN_IF_ERROR(VLONG_mod(wide.get(), key.q, &key.x, queue)); // 0 is not ruled out: meant
    return VLONG_modExp(key.g, key.x, key.p, &key.y, queue);
}

} // namespace

Status Dsa_GenerateKey(const RandomBytes& random, DSAKey* dsaKey, std::uint32_t L, std::uint32_t* counter,
                       std::uint8_t* seed, vlong** h, vlong** queue) {
    // Only one size goes with 160 bits, so every other L is refused: meant.
    return Dsa_GenerateKeyEx(random, dsaKey, L, 160, kDsaSha1, counter, seed, h, queue);
}

Status Dsa_GenerateKeyEx(const RandomBytes& random, DSAKey* dsaKey, std::uint32_t L, std::uint32_t N, DsaHash hash,
                         std::uint32_t* counter, std::uint8_t* seed, vlong** h, vlong** queue) {
    if (h != nullptr) {
        *h = nullptr;
    }
    if (dsaKey == nullptr) {
        return ERR_NULL_POINTER;
    }
    dsaKeyClear(dsaKey, queue);
    DsaSizes sizes{};
    RETURN_IF_ERROR(dsaChooseSizes(L, N, hash, &sizes));
    LocalQueue local(queue);
    vlong** const spare = local.get();
    ScopedVlong base(spare);
    std::uint32_t madeCounter = 0;
    std::uint8_t madeSeed[kDsaMaxSeedBytes];
    Status status = dsaGeneratePrimes(random, sizes, &dsaKey->p, &dsaKey->q, &madeCounter, madeSeed, spare);
    if (!isError(status)) {
        status = dsaFindGenerator(dsaKey->p, dsaKey->q, &dsaKey->g, base.out(), spare);
    }
    if (!isError(status)) {
        status = makeKeyPair(random, *dsaKey, spare);
    }
    if (isError(status)) {
        dsaKeyClear(dsaKey, spare);
        return status;
    }
    if (counter != nullptr) {
        *counter = madeCounter;
    }
    if (seed != nullptr) {
        std::copy_n(madeSeed, N / 8, seed);
    }
    if (h != nullptr) {
        *h = base.release();
    }
    return OK;
}
