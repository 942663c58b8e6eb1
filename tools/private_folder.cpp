#include "tools/private_folder.h"

#include <unistd.h>

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "tools/fectl.h"

namespace {

// The engine syncs the table files after each change, which costs nothing in memory.
std::string parent() {
    const char *chosen = getenv("TMPDIR");
    if (chosen != nullptr && *chosen != '\0') {
        return chosen;
    }
    return access("/dev/shm", W_OK | X_OK) == 0 ? "/dev/shm" : "/tmp";
}

// What the signal handler removes: what the engine and a watch make in the folder, then the folder. Set before the
// handler is.
constexpr const char *names[] = {"fe_table.entry", "fe_table.sz", "SA_vSEL_FIFO", "requests"};
char files[std::size(names)][PATH_MAX];
char folder[PATH_MAX];
constexpr int signals[] = {SIGHUP, SIGINT, SIGPIPE, SIGTERM};

void remove_and_end(int signal_number) {
    for (const char *file : files) {
        unlink(file);
    }
    rmdir(folder);
    signal(signal_number, SIG_DFL);
    raise(signal_number);
}

// Signals that are ignored stay so.
void handle_signals(void (*handler)(int)) {
    for (const int signal_number : signals) {
        if (signal(signal_number, handler) == SIG_IGN) {
            signal(signal_number, SIG_IGN);
        }
    }
}

} // namespace

PrivateFolder::PrivateFolder() : path_(parent() + "/fectl-XXXXXX") {
    if (mkdtemp(path_.data()) == nullptr) {
        throw Failure(path_ + ": cannot make a folder for the engine's files: " + strerror(errno));
    }
    snprintf(folder, sizeof folder, "%s", path_.c_str());
    for (size_t i = 0; i < std::size(names); ++i) {
        snprintf(files[i], sizeof files[i], "%s/%s", path_.c_str(), names[i]);
    }
    handle_signals(remove_and_end);
}

PrivateFolder::~PrivateFolder() {
    handle_signals(SIG_DFL);
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}
