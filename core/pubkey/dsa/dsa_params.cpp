#include "core/pubkey/dsa/internal/dsa_params.h"

#include "core/bignum/prime/prime.h"
#include "core/bignum/scoped_vlong.h"
#include "core/bignum/vlong_convert.h"
#include "core/bignum/vlong_math.h"
#include "core/hash/sha1.h"
#include "core/hash/sha256.h"
#include "core/hash/sha512.h"
#include "core/memory/endian.h"
#include "core/memory/secret.h"
#include "core/random/big_endian_add.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace {

constexpr std::pair<std::uint32_t, std::uint32_t> kAllowedSizes[] = {
    {1024, 160}, {2048, 224}, {2048, 256}, {3072, 256}};

constexpr struct {
    std::uint32_t bytes;
    Status (*digest)(const std::uint8_t* data, std::uint32_t length, std::uint8_t* out);
} kHashes[] = {{kSha1DigestBytes, sha1Digest},
               {kSha224DigestBytes, sha224Digest},
               {kSha256DigestBytes, sha256Digest},
               {kSha384DigestBytes, sha384Digest},
               {kSha512DigestBytes, sha512Digest}};

constexpr std::uint32_t kMaxLBytes = 3072 / 8;

// The hashes of one seed, side by side, are a little longer than p.
constexpr std::uint32_t kMaxStreamBytes = kMaxLBytes + kDsaMaxHashBytes;

// q := hash(seed) with its top and its lowest bit set, in N bits.
Status candidateQ(const DsaSizes& sizes, const std::uint8_t* seed, vlong** q, vlong** queue) {
    SecretArray<std::uint8_t, kDsaMaxHashBytes> hash;
    const std::uint32_t seedBytes = sizes.N / 8;
    RETURN_IF_ERROR(sizes.hash(seed, seedBytes, hash.data()));
    std::uint8_t* const low = hash.data() + sizes.hashBytes - seedBytes;
    low[0] |= 0x80;
    low[seedBytes - 1] |= 1;
    return VLONG_fromBytes(low, static_cast<std::int32_t>(seedBytes), q, queue);
}

// x := the hashes of seed + offset, seed + offset + 1 ..., the first one lowest, in L bits with the top one set.
Status candidateX(const DsaSizes& sizes, const std::uint8_t* seed, std::uint32_t offset, ScopedVlong& x,
                  vlong** queue) {
    SecretArray<std::uint8_t, kMaxStreamBytes> stream;
    SecretArray<std::uint8_t, kDsaMaxSeedBytes> input;
    const std::uint32_t count = (sizes.L - 1) / (8 * sizes.hashBytes) + 1, seedBytes = sizes.N / 8;
    for (std::uint32_t j = 0; j < count; ++j) {
        std::uint8_t distance[4];
        storeBigEndian(distance, offset + j);
        std::copy_n(seed, seedBytes, input.data());
        bigEndianAdd(input.data(), seedBytes, distance, sizeof distance, 0);
        RETURN_IF_ERROR(
            sizes.hash(input.data(), seedBytes, stream.data() + std::size_t{count - 1 - j} * sizes.hashBytes));
    }
    std::uint8_t* const low = stream.data() + std::size_t{count} * sizes.hashBytes - sizes.L / 8;
    low[0] |= 0x80;
    return VLONG_fromBytes(low, static_cast<std::int32_t>(sizes.L / 8), x.out(), queue);
}

// p := the number from x down that is 1 modulo 2 q.
Status candidateP(const vlong* x, const vlong* twiceQ, ScopedVlong& p, vlong** queue) {
    ScopedVlong excess(queue);
    RETURN_IF_ERROR(VLONG_mod(x, twiceQ, excess.out(), queue));
    RETURN_IF_ERROR(VLONG_decrement(excess.get(), queue));
    RETURN_IF_ERROR(VLONG_newCopy(x, p.out(), queue));
    return VLONG_sub(p.get(), excess.get(), queue);
}

// The candidates for p of one seed. Null in *p: none of them is prime.
Status searchP(const RandomBytes& random, const DsaSizes& sizes, const std::uint8_t* seed, const vlong* q, vlong** p,
               std::uint32_t* counter, vlong** queue) {
    ScopedVlong twiceQ(queue), x(queue), candidate(queue);
    RETURN_IF_ERROR(VLONG_newCopy(q, twiceQ.out(), queue));
    RETURN_IF_ERROR(VLONG_shiftLeft1(twiceQ.get()));
    const std::uint32_t hashCount = (sizes.L - 1) / (8 * sizes.hashBytes) + 1;
    // One candidate fewer than the standard tries: on purpose.
    for (std::uint32_t i = 0; i < 4 * sizes.L - 1; ++i) {
        RETURN_IF_ERROR(candidateX(sizes, seed, 1 + i * hashCount, x, queue));
        RETURN_IF_ERROR(candidateP(x.get(), twiceQ.get(), candidate, queue));
        if (VLONG_bitLength(candidate.get()) < sizes.L) {
            continue; // x was in the lowest 2 q of its range
        }
        std::uint32_t isPrime = 0;
        RETURN_IF_ERROR(PRIME_isProbablePrime(random, candidate.get(), kPrimeForDsa, &isPrime, queue));
        if (isPrime != 0) {
            *p = candidate.release();
            *counter = i;
            return OK;
        }
    }
    return OK;
}

} // namespace

Status dsaChooseSizes(std::uint32_t L, std::uint32_t N, DsaHash hash, DsaSizes* sizes) {
    if (std::find(std::begin(kAllowedSizes), std::end(kAllowedSizes), std::pair{L, N}) == std::end(kAllowedSizes)) {
        return ERR_DSA_INVALID_KEYLENGTH;
    }
    if (hash >= std::size(kHashes)) {
        return ERR_CRYPTO_SHA_ALGORITHM_DISABLED;
    }
    *sizes = {L, N, kHashes[hash].bytes, kHashes[hash].digest};
    return 8 * sizes->hashBytes < N ? ERR_DSA_HASH_TOO_SMALL : OK;
}

Status dsaGeneratePrimes(const RandomBytes& random, const DsaSizes& sizes, vlong** p, vlong** q, std::uint32_t* counter,
                         std::uint8_t* seed, vlong** queue) {
    *p = nullptr;
    *q = nullptr;
    ScopedVlong divisor(queue);
    for (;;) {
        RETURN_IF_ERROR(random.fill(seed, sizes.N / 8));
        RETURN_IF_ERROR(candidateQ(sizes, seed, divisor.out(), queue));
        std::uint32_t isPrime = 0;
        RETURN_IF_ERROR(PRIME_isProbablePrime(random, divisor.get(), kPrimeForDsa, &isPrime, queue));
        if (isPrime == 0) {
            continue;
        }
        RETURN_IF_ERROR(searchP(random, sizes, seed, divisor.get(), p, counter, queue));
        if (*p != nullptr) {
            *q = divisor.release();
            return OK;
        }
    }
}

Status dsaFindGenerator(const vlong* p, const vlong* q, vlong** g, vlong** h, vlong** queue) {
    ScopedVlong base(queue), exponent(queue), power(queue);
    RETURN_IF_ERROR(VLONG_newCopy(p, base.out(), queue));
    RETURN_IF_ERROR(VLONG_decrement(base.get(), queue));
    RETURN_IF_ERROR(VLONG_div(base.get(), q, exponent.out(), queue));
    do { // from p - 2 down, where others count up from 2: on purpose
        RETURN_IF_ERROR(VLONG_decrement(base.get(), queue));
        RETURN_IF_ERROR(VLONG_modExp(base.get(), exponent.get(), p, power.out(), queue));
    } while (VLONG_bitLength(power.get()) < 2);
    *g = power.release();
    *h = base.release();
    return OK;
}
