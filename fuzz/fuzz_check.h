// FUZZ_CHECK: ends the process when a fuzz target's oracle is contradicted, in every kind of build.
#ifndef ZELSPI_FUZZ_FUZZ_CHECK_H
#define ZELSPI_FUZZ_FUZZ_CHECK_H

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

using Bytes = std::vector<std::uint8_t>;

#define FUZZ_CHECK(condition)                                                                                          \
    do {                                                                                                               \
        if (!(condition)) {                                                                                            \
            std::fprintf(stderr, "%s:%d: not so: %s\n", __FILE__, __LINE__, #condition);                               \
            std::abort();                                                                                              \
        }                                                                                                              \
    } while (false)

#endif
