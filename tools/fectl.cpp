#include "tools/fectl.h"

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include "platform/ipmi_access/ipmi_access_host.h"

namespace {

struct Command {
    const char *name;
    const char *what;
    Run (*prepare)(CLI::App &app);
};
constexpr Command commands[] = {
    {"replay", "What the engine makes of captured event logs: every fault, every change, and what became no fault",
     prepare_replay},
    {"explain", "How faults came about: each record that made, repeated, changed or cleared them", prepare_explain},
    {"diff", "What is new, gone, worse or better between two captures or table folders", prepare_diff},
    {"report", "One HTML page that shows the faults of servers over time", prepare_report},
    {"table", "The fault table that an engine has published", prepare_table},
    {"serve", "The engine, running, until SIGINT, SIGTERM or SIGHUP", prepare_serve},
    {"request", "Sends a running engine one fault request", prepare_request},
#ifdef FECTL_BMC
    {"fetch", "Reads a server's sensor data records, event log and sensor states from its BMC, for replay",
     prepare_fetch},
    {"watch", "The engine, running, on the event log and the sensors of a server's BMC", prepare_watch},
#endif
    {"event", "Writes SEL records into the FIFO of a running engine", prepare_event},
};

// Else the first files that are opened would take their numbers, and be written to as standard output.
void open_standard_descriptors() {
    int fd;
    do {
        fd = open("/dev/null", O_RDWR);
    } while (fd >= 0 && fd <= STDERR_FILENO);
    if (fd > STDERR_FILENO) {
        close(fd);
    }
}

// In reverse order, as CLI11 wants them. The password behind -P is overwritten where ps would show it.
std::vector<std::string> take_arguments(int argc, char **argv) {
    std::vector<std::string> arguments(std::reverse_iterator(argv + argc), std::reverse_iterator(argv + 1));
    for (char **argument = argv + 1; argument < argv + argc; ++argument) {
        if (strncmp(*argument, "-P", 2) != 0) {
            continue;
        }
        char *password = (*argument)[2] != '\0' || argument + 1 == argv + argc ? *argument + 2 : *++argument;
        memset(password, 'x', strlen(password));
    }
    return arguments;
}

int print(const std::string &text) {
    fputs(text.c_str(), stdout);
    return exit_ok;
}

// The options come after the command, so a single one of them is parsed.
class Parser {
public:
    Parser() {
        app_.name("fectl");
        app_.set_version_flag("-V,--version", "fectl " FECTL_VERSION, "the version");
        app_.set_help_flag("-h,--help", "this text");
        app_.footer("fectl help COMMAND, or fectl COMMAND --help, tells its options."
#ifndef FECTL_BMC
                    "\nThis fectl is built without libfreeipmi, and so without fetch, watch and report -H."
#endif
        );
        app_.require_subcommand(0, 1);
        for (const Command &command : commands) {
            add(command);
        }
        CLI::App *help = app_.add_subcommand("help", "The options of a command");
        help->add_option("COMMAND", help_for_, "the command")->type_name("");
        runs_[help] = [this] { return print(text_for(help_for_)); };
    }

    int run(int argc, char **argv) {
        try {
            app_.parse(take_arguments(argc, argv));
        } catch (const CLI::CallForHelp &) {
            return print(chosen() == nullptr ? app_.help() : chosen()->help("fectl"));
        } catch (const CLI::CallForVersion &) {
            return print("fectl " FECTL_VERSION "\n");
        } catch (const CLI::ParseError &error) {
            throw Refusal((chosen() == nullptr ? "" : chosen()->get_name() + ": ") + one_line(error.what()) +
                          "; see fectl " + (chosen() == nullptr ? "--help" : "help " + chosen()->get_name()));
        }
        if (chosen() == nullptr) {
            throw Refusal("a command is missing; see fectl --help");
        }
        return runs_.at(chosen())();
    }

private:
    void add(const Command &command) {
        CLI::App *app = app_.add_subcommand(command.name, command.what);
        app->set_help_flag("-h,--help", "this text");
        app->get_formatter()->column_width(26);
        runs_[app] = command.prepare(*app);
    }

    CLI::App *chosen() const {
        const auto parsed = app_.get_subcommands();
        return parsed.empty() ? nullptr : parsed.front();
    }

    std::string text_for(const std::string &command) {
        if (command.empty()) {
            return app_.help();
        }
        for (const auto &[app, run] : runs_) {
            if (app->get_name() == command) {
                return app->help("fectl");
            }
        }
        throw Refusal("help: there is no command '" + command + "'; see fectl --help");
    }

    static std::string one_line(std::string text) {
        std::ranges::replace(text, '\n', ' ');
        return text;
    }

    CLI::App app_{"Replays servers' event logs through the fault engine, runs the engine, and reads its fault table."};
    std::map<const CLI::App *, Run> runs_;
    std::string help_for_;
};

} // namespace

int run_and_report(const std::function<int()> &work) {
    int code = exit_failed;
    std::string why;
    try {
        return work();
    } catch (const Refusal &refusal) {
        code = exit_refused;
        why = refusal.what();
    } catch (const ipmi_access::CaptureError &refusal) {
        code = exit_refused;
        why = refusal.what();
    } catch (const std::filesystem::filesystem_error &refusal) {
        code = exit_refused;
        why = refusal.what();
    } catch (const Unreachable &failure) {
        code = exit_unreachable;
        why = failure.what();
    } catch (const std::exception &failure) {
        why = failure.what();
    }
    fflush(stdout);
    fprintf(stderr, "fectl: %s\n", why.c_str());
    return code;
}

int main(int argc, char **argv) {
    open_standard_descriptors();
    const int code = run_and_report([=] { return Parser().run(argc, argv); });
    if (fflush(stdout) != 0 || ferror(stdout)) {
        fprintf(stderr, "fectl: cannot write the output\n");
        return exit_failed;
    }
    return code;
}
