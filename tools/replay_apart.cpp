#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <utility>

#include "tools/fectl.h"
#include "tools/replay_run.h"

namespace {

// The rest of a child process.
[[noreturn]] void run_child(const CaptureFiles &files, const ReplayOptions &options) {
    sigset_t none; // who waits for a BMC has signals blocked
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    int code = run_and_report([&] { return replay_and_print(files, options); });
    if (fflush(stdout) != 0 || ferror(stdout)) {
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
        const int error = errno;
        close(output_);
        throw Failure(std::string("cannot start a process: ") + strerror(error));
    }
}

ReplayApart::ReplayApart(ReplayApart &&other) noexcept
    : pid_(std::exchange(other.pid_, -1)), output_(std::exchange(other.output_, -1)), exit_code_(other.exit_code_) {}

ReplayApart::~ReplayApart() {
    if (pid_ > 0) {
        kill(pid_, SIGTERM);
        waitpid(pid_, nullptr, 0);
    }
    if (output_ >= 0) {
        close(output_);
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
    if (WIFSIGNALED(status)) {
        fprintf(stderr, "fectl: the replay was ended by signal %d\n", WTERMSIG(status));
    }
    return text;
}
