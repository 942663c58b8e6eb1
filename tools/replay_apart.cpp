#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "tools/fectl.h"
#include "tools/replay_run.h"

namespace {

// The rest of a child process.
[[noreturn]] void run_child(const CaptureFiles &files, const ReplayOptions &options) {
    int code;
    try {
        code = replay_and_print(files, options);
    } catch (const Failure &failure) {
        fprintf(stderr, "fectl: %s\n", failure.what());
        code = exit_failed;
    } catch (const std::exception &refusal) {
        fprintf(stderr, "fectl: %s\n", refusal.what());
        code = exit_refused;
    }
    if (fflush(stdout) != 0) {
        code = exit_failed;
    }
    _exit(code);
}

} // namespace

ReplayApart::ReplayApart(const CaptureFiles &files, const ReplayOptions &options, int complaints) {
    int ends[2];
    fflush(stdout);
    if (pipe(ends) != 0) {
        throw Failure(std::string("cannot make a pipe: ") + strerror(errno));
    }
    pid_ = fork();
    if (pid_ == 0) {
        close(ends[0]);
        dup2(ends[1], STDOUT_FILENO);
        dup2(complaints, STDERR_FILENO);
        close(ends[1]);
        run_child(files, options);
    }
    close(ends[1]);
    output_ = ends[0];
    if (pid_ < 0) {
        throw Failure(std::string("cannot start a process: ") + strerror(errno));
    }
}

ReplayApart::ReplayApart(ReplayApart &&other) noexcept
    : pid_(std::exchange(other.pid_, -1)), output_(std::exchange(other.output_, -1)), exit_code_(other.exit_code_) {}

ReplayApart::~ReplayApart() {
    if (output_ >= 0) {
        close(output_); // its next write ends it
    }
    if (pid_ > 0) {
        waitpid(pid_, nullptr, 0);
    }
}

std::string ReplayApart::take() {
    std::string text;
    char block[16384];
    for (ssize_t got; (got = read(output_, block, sizeof block)) > 0 || (got < 0 && errno == EINTR);) {
        text.append(block, got > 0 ? static_cast<size_t>(got) : 0);
    }
    int status = 0;
    waitpid(std::exchange(pid_, -1), &status, 0);
    exit_code_ = WIFEXITED(status) ? WEXITSTATUS(status) : exit_failed;
    return text;
}
