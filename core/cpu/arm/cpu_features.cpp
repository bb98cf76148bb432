#include "core/cpu/cpu_features.h"

#include <sys/auxv.h>

namespace {

ArmFeatures detect() {
    const unsigned long told =
        getauxval(AT_HWCAP); // by the operating system's kernel: the processor itself cannot be asked
    return {
        .aes = (told & HWCAP_AES) != 0,
        .sha1 = (told & HWCAP_SHA1) != 0,
        .sha256 = (told & HWCAP_SHA2) != 0,
        .sha512 = (told & HWCAP_SHA512) != 0,
    };
}

} // namespace

const CpuFeatures& cpuFeatures() {
    static const CpuFeatures features = {.x86 = {}, .arm = detect(), .vendor = CpuVendor::other};
    return features;
}
