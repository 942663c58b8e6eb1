// What the engine writes goes nowhere, and no call fails but those whose result the input gives.
#include <cstring>
#include <fcntl.h>

#include "support/interpose.h"

extern "C" int open(const char *path, int flags, ...) {
    const bool of_engine = strncmp(path, "/tmp/fe_table.", 14) == 0 || strcmp(path, "/var/stor_stat") == 0;
    return openat(AT_FDCWD, of_engine ? "/dev/null" : path, flags, 0600);
}

bool is_to_fail(Call) {
    return false;
}
