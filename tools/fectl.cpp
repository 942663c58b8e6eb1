#include "tools/fectl.h"

#include <cstdio>
#include <string_view>

namespace {

constexpr char usage[] =
    R"(usage: fectl replay --sdr FILE --sel FILE [options]         what the engine makes of a captured SEL
       fectl serve --sdr FILE [options]                     the engine, running, until SIGINT or SIGTERM
       fectl request --socket PATH --entity N --instance N --severity WORD [options]
                                                            sends it a fault request
       fectl event --fifo PATH FILE...                      writes SEL records into its FIFO
       fectl table [options]                                the fault table that an engine published
       fectl COMMAND --help
       fectl --help | --version
)";

struct Command {
    std::string_view name;
    int (*run)(int argc, char **argv);
};
constexpr Command commands[] = {
    {"replay", run_replay}, {"serve", run_serve}, {"request", run_request}, {"event", run_event}, {"table", run_table}};

int print(const char *text) {
    fputs(text, stdout);
    return exit_ok;
}

int run(int argc, char **argv) {
    const std::string_view word = argc > 1 ? argv[1] : "";
    for (const Command &command : commands)
        if (word == command.name)
            return command.run(argc - 1, argv + 1);
    if (word == "--help" || word == "-h")
        return print(usage);
    if (word == "--version")
        return print("fectl " FECTL_VERSION "\n");
    throw Refusal(word.empty() ? "a command is missing; see fectl --help"
                               : "unknown command or option '" + std::string(word) + "'; see fectl --help");
}

} // namespace

int main(int argc, char **argv) {
    int code;
    try {
        code = run(argc, argv);
    } catch (const std::exception &refusal) {
        fflush(stdout);
        fprintf(stderr, "fectl: %s\n", refusal.what());
        return exit_refused;
    }
    if (fflush(stdout) != 0 || ferror(stdout)) {
        fprintf(stderr, "fectl: cannot write the output\n");
        return exit_failed;
    }
    return code;
}
