// require: what a benchmark does before it times anything: ends the program unless the answer is right.
#ifndef ZELSPI_BENCH_BENCH_CHECK_H
#define ZELSPI_BENCH_BENCH_CHECK_H

#include <cstdio>
#include <cstdlib>

inline void require(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "%s: failed or wrong\n", what);
        std::exit(1);
    }
}

#endif
