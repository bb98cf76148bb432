// The five hashes as values, so that one test can run over all of them.
#ifndef ZELSPI_TESTS_CORE_HASH_SHA_ALGORITHMS_H
#define ZELSPI_TESTS_CORE_HASH_SHA_ALGORITHMS_H

#include "core/hash/sha1.h"
#include "core/hash/sha256.h"
#include "core/hash/sha512.h"

#include <array>
#include <cstdlib>
#include <string_view>
#include <vector>

// Any context record, with the operations of one algorithm on it.
struct ShaAlgorithm {
    std::string_view name;
    std::size_t digestBytes;
    std::size_t contextBytes;
    bool finalWipes;
    Status (*init)(void* context);
    Status (*update)(void* context, const std::uint8_t* data, std::uint32_t length);
    Status (*final)(void* context, std::uint8_t* out);
    Status (*digest)(const std::uint8_t* data, std::uint32_t length, std::uint8_t* out);
};

union ShaContext {
    Sha1Context sha1;
    Sha256Context sha256;
    Sha512Context sha512;
};

template <typename Context, Status (*init)(Context*), Status (*update)(Context*, const std::uint8_t*, std::uint32_t),
          Status (*final)(Context*, std::uint8_t*)>
constexpr ShaAlgorithm shaAlgorithm(std::string_view name, std::size_t digestBytes, bool finalWipes,
                                    Status (*digest)(const std::uint8_t*, std::uint32_t, std::uint8_t*)) {
    return {name,
            digestBytes,
            sizeof(Context),
            finalWipes,
            [](void* context) { return init(static_cast<Context*>(context)); },
            [](void* context, const std::uint8_t* data, std::uint32_t length) {
                return update(static_cast<Context*>(context), data, length);
            },
            [](void* context, std::uint8_t* out) { return final(static_cast<Context*>(context), out); },
            digest};
}

inline constexpr std::array<ShaAlgorithm, 5> kShaAlgorithms{
    shaAlgorithm<Sha1Context, sha1Init, sha1Update, sha1Final>("sha1", 20, false, sha1Digest),
    shaAlgorithm<Sha256Context, sha224Init, sha256Update, sha224Final>("sha224", 28, true, sha224Digest),
    shaAlgorithm<Sha256Context, sha256Init, sha256Update, sha256Final>("sha256", 32, true, sha256Digest),
    shaAlgorithm<Sha512Context, sha384Init, sha512Update, sha384Final>("sha384", 48, true, sha384Digest),
    shaAlgorithm<Sha512Context, sha512Init, sha512Update, sha512Final>("sha512", 64, true, sha512Digest),
};

inline const ShaAlgorithm& shaNamed(std::string_view name) {
    for (const ShaAlgorithm& algorithm : kShaAlgorithms) {
        if (algorithm.name == name) {
            return algorithm;
        }
    }
    std::abort();
}

#endif
