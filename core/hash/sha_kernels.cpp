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

const Kernel<Sha1Compress>& sha1Kernel() {
    static const Kernel<Sha1Compress>& chosen = chooseKernel(sha1Kernels());
    return chosen;
}

const Kernel<Sha256Compress>& sha256Kernel() {
    static const Kernel<Sha256Compress>& chosen = chooseKernel(sha256Kernels());
    return chosen;
}

const Kernel<Sha512Compress>& sha512Kernel() {
    static const Kernel<Sha512Compress>& chosen = chooseKernel(sha512Kernels());
    return chosen;
}
