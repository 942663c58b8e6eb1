// What the targets share.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

inline void require(bool holds, const char *what) {
    if (!holds) {
        fprintf(stderr, "not so: %s\n", what);
        abort();
    }
}
