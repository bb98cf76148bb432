// DSA key generation: parameters, generator, key pair.
#include "core/bignum/branch_free.h"
#include "core/memory/secret.h"
#include "core/pubkey/dsa/internal/dsa_group.h"
#include "core/pubkey/dsa/internal/dsa_params.h"
#include "core/pubkey/key/internal/key_load.h"

#include <algorithm>

namespace {

constexpr std::uint32_t kPrivateKeyBytes = 40; // so many that the remainder by q is as good as uniform

Status makeKeyPair(const RandomBytes& random, DSAKey& key, vlong** queue) {
    SecretArray<std::uint8_t, kPrivateKeyBytes> bytes;
    RETURN_IF_ERROR(random.fill(bytes.data(), kPrivateKeyBytes));
    Residues q;
    RETURN_IF_ERROR(q.start(key.q, 1));
    Unit* const x = q.take();
    RETURN_IF_ERROR(q.reduceOctets(x, {bytes.data(), kPrivateKeyBytes})); // 0 is not ruled out: on purpose
    RETURN_IF_ERROR(q.record(x, &key.x, queue));
    key.x->length = publicly(significantUnits(x, q.units()));
    return dsaMakeY(key, queue);
}

} // namespace

Status Dsa_GenerateKey(const RandomBytes& random, DSAKey* dsaKey, std::uint32_t L, std::uint32_t* counter,
                       std::uint8_t* seed, vlong** h, vlong** queue) {
    // Only one size goes with 160 bits, so every other L is refused: on purpose.
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
