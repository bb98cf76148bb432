// The five hashes as values, so that one test can run over all of them.
#ifndef ZELSPI_TESTS_CORE_HASH_SHA_ALGORITHMS_H
#define ZELSPI_TESTS_CORE_HASH_SHA_ALGORITHMS_H

#include "core/hash/sha1.h"
#include "core/hash/sha256.h"
#include "core/hash/sha512.h"
#include "core/hash/sha_kernels.h"

#include <string_view>

inline constexpr std::string_view kShaNames[] = {"sha1", "sha224", "sha256", "sha384", "sha512"};

template <typename C, typename Run> struct ShaFunctions {
    using Context = C;
    std::size_t digestBytes;
    Status (*alloc)(Context**);
    Status (*release)(Context**);
    Status (*init)(Context*);
    Status (*update)(Context*, const std::uint8_t*, std::uint32_t);
    Status (*final)(Context*, std::uint8_t*);
    Status (*digest)(const std::uint8_t*, std::uint32_t, std::uint8_t*);
    std::span<const Kernel<Run>> kernels;
};

// withSha: use(functions) for the hash of this name.
template <typename Use> auto withSha(std::string_view name, Use use) {
    using Sha1 = ShaFunctions<Sha1Context, Sha1Compress>;
    using Sha256 = ShaFunctions<Sha256Context, Sha256Compress>;
    using Sha512 = ShaFunctions<Sha512Context, Sha512Compress>;
    if (name == "sha1") {
        return use(
            Sha1{20, sha1AllocContext, sha1FreeContext, sha1Init, sha1Update, sha1Final, sha1Digest, sha1Kernels()});
    }
    if (name == "sha224" || name == "sha256") {
        const bool cut = name == "sha224";
        return use(Sha256{cut ? 28U : 32U, sha256AllocContext, sha256FreeContext, cut ? sha224Init : sha256Init,
                          sha256Update, cut ? sha224Final : sha256Final, cut ? sha224Digest : sha256Digest,
                          sha256Kernels()});
    }
    const bool cut = name == "sha384";
    return use(Sha512{cut ? 48U : 64U, sha512AllocContext, sha512FreeContext, cut ? sha384Init : sha512Init,
                      sha512Update, cut ? sha384Final : sha512Final, cut ? sha384Digest : sha512Digest,
                      sha512Kernels()});
}

#endif
