#include "core/cpu/cpu_features.h"

const CpuFeatures& cpuFeatures() {
    static const CpuFeatures none = {};
    return none;
}
