// What every fuzz target is made of.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

// Ends the run with a crash, which the fuzzer and the replay both report.
inline void require(bool holds, const char* what) {
    if (holds) return;
    fprintf(stderr, "does not hold: %s\n", what);
    abort();
}

// The input, taken from its front; behind its end are zeros.
struct Input {
    const uint8_t* data;
    size_t left;

    uint8_t byte() {
        if (left == 0) return 0;
        --left;
        return *data++;
    }
    uint64_t number(unsigned bytes) {
        uint64_t value = 0;
        for (; bytes > 0; --bytes) value = value << 8 | byte();
        return value;
    }
};
