// The kernel table: how a primitive offers several implementations of one contract.
//
// Each primitive keeps one immutable table of kernels, best first, the portable one last. All kernels of a table
// give the same bits. The choice is made once, through a static const local:
//
//     static const Sha256Kernel& kernel = chooseKernel(sha256Kernels());
//
// Tests and benchmarks walk over the whole table and leave out what this CPU does not support.
#ifndef ZELSPI_CORE_CPU_KERNEL_H
#define ZELSPI_CORE_CPU_KERNEL_H

#include <span>

// Kernel: one implementation. Run is the function pointer type (or record of function pointers) of the contract.
template <typename Run> struct Kernel {
    const char* name;
    bool (*isSupported)();
    Run run;
};

// alwaysSupported: isSupported of a portable kernel.
inline bool alwaysSupported() {
    return true;
}

// chooseKernel: the first kernel of the table that this CPU supports; the last one is always supported.
template <typename Run> const Kernel<Run>& chooseKernel(std::span<const Kernel<Run>> table) {
    for (const Kernel<Run>& kernel : table) {
        if (kernel.isSupported()) {
            return kernel;
        }
    }
    return table.back();
}

#endif
