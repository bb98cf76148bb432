// FUZZ_CHECK: ends the process when a fuzz target's oracle is contradicted, in every kind of build.
#ifndef ZELSPI_FUZZ_FUZZ_CHECK_H
#define ZELSPI_FUZZ_FUZZ_CHECK_H

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

using Bytes = std::vector<std::uint8_t>;

inline void fuzzCheck(bool holds, const char* file, int line, const char* condition) {
    if (!holds) {
        std::fprintf(stderr, "%s:%d: not so: %s\n", file, line, condition);
        std::abort();
    }
}

#define FUZZ_CHECK(condition) fuzzCheck(condition, __FILE__, __LINE__, #condition)

#endif
