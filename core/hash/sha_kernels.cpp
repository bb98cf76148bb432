#include "core/hash/sha_kernels.h"

namespace {

constexpr Kernel<Sha1Compress> kSha1Kernels[] = {{"portable", alwaysSupported, sha1CompressPortable}};
constexpr Kernel<Sha256Compress> kSha256Kernels[] = {{"portable", alwaysSupported, sha256CompressPortable}};
constexpr Kernel<Sha512Compress> kSha512Kernels[] = {{"portable", alwaysSupported, sha512CompressPortable}};

} // namespace

std::span<const Kernel<Sha1Compress>> sha1Kernels() {
    return kSha1Kernels;
}

std::span<const Kernel<Sha256Compress>> sha256Kernels() {
    return kSha256Kernels;
}

std::span<const Kernel<Sha512Compress>> sha512Kernels() {
    return kSha512Kernels;
}
