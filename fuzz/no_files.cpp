// What the engine writes goes nowhere.
#include <cstring>
#include <fcntl.h>

extern "C" int open(const char *path, int flags, ...) {
    const bool of_engine = strncmp(path, "/tmp/fe_table.", 14) == 0 || strcmp(path, "/var/stor_stat") == 0;
    return openat(AT_FDCWD, of_engine ? "/dev/null" : path, flags, 0600);
}
