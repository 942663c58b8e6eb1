#include "tools/process.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

struct CloseFile {
    void operator()(FILE *file) const { fclose(file); }
};
using File = std::unique_ptr<FILE, CloseFile>;

void take_lines(FILE *file, const std::function<void(const std::string &)> &take_line) {
    char *line = nullptr;
    size_t room = 0;
    for (ssize_t length; (length = getline(&line, &room, file)) > 0;)
        take_line({line, static_cast<size_t>(line[length - 1] == '\n' ? length - 1 : length)});
    free(line);
}

[[noreturn]] void run_child(const Run &run, int output, int complaints) {
    dup2(output, STDOUT_FILENO);
    dup2(complaints, STDERR_FILENO);
    close(output);
    const int code = run_guarded(run);
    _exit(fflush(stdout) == 0 ? code : exit_failed);
}

} // namespace

Finished run_apart(const Run &run, const std::function<void(const std::string &)> &take_line) {
    const File complaints(tmpfile());
    int ends[2];
    fflush(stdout);
    if (!complaints || pipe(ends) != 0)
        throw Failure(std::string("cannot start a process: ") + strerror(errno));
    const pid_t child = fork();
    if (child == 0)
        run_child(run, ends[1], fileno(complaints.get()));
    close(ends[1]);
    const File output(fdopen(ends[0], "r"));
    if (child < 0)
        throw Failure(std::string("cannot start a process: ") + strerror(errno));
    take_lines(output.get(), take_line);
    int status = 0;
    waitpid(child, &status, 0);
    Finished finished{WIFEXITED(status) ? WEXITSTATUS(status) : exit_failed, {}};
    rewind(complaints.get());
    take_lines(complaints.get(), [&finished](const std::string &line) { finished.complaints.push_back(line); });
    return finished;
}
