#include "core/cpu/cpu_features.h"

#include <sys/auxv.h>

namespace {

ArmFeatures detect() {
    // The operating system's kernel knows them: the processor itself cannot be asked.
    const unsigned long capabilities = getauxval(AT_HWCAP);
    return {
        .aes = (capabilities & HWCAP_AES) != 0,
        .sha1 = (capabilities & HWCAP_SHA1) != 0,
        .sha256 = (capabilities & HWCAP_SHA2) != 0,
        .sha512 = (capabilities & HWCAP_SHA512) != 0,
    };
}

} // namespace

const CpuFeatures& cpuFeatures() {
    static const CpuFeatures features = {.x86 = {}, .arm = detect(), .vendor = CpuVendor::other};
    return features;
}
