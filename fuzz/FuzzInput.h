// Shared pieces of the fuzz targets: a check that aborts with the failed condition (libFuzzer
// records the input), and a reader that hands out the input's bytes in order, then zeros.
#ifndef ORVIK_FUZZ_FUZZINPUT_H
#define ORVIK_FUZZ_FUZZINPUT_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#define FUZZ_CHECK(cond)                                                           \
    do {                                                                           \
        if (!(cond)) {                                                             \
            std::fprintf(stderr, "check failed: %s (line %d)\n", #cond, __LINE__); \
            std::abort();                                                          \
        }                                                                          \
    } while (0)

struct FuzzInput {
    const uint8_t *p;
    size_t n;
    uint8_t byte() {
        if (!n) return 0;
        --n;
        return *p++;
    }
    unsigned u16() { return unsigned(byte()) | unsigned(byte()) << 8; }
};

#endif
