#include "tools/options.h"

#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstring>
#include <filesystem>

#include "tools/fectl.h"

namespace {

[[noreturn]] void refuse(const std::string &command, const std::string &what) {
    throw Refusal(command + ": " + what + "; see fectl " + command + " --help");
}

} // namespace

std::span<char *> parse_options_and_operands(int argc, char **argv, const option *options,
                                             const std::function<void(int, const char *)> &take) {
    opterr = 0;
    optind = 1;
    for (;;) {
        const int at = optind;
        const int found = getopt_long(argc, argv, "+:h", options, nullptr);
        if (found == -1)
            break;
        if (found == ':')
            refuse(argv[0], std::string("'") + argv[at] + "' needs an argument");
        if (found == '?')
            refuse(argv[0], std::string("unknown or ambiguous option '") + argv[at] + "'");
        take(found, optarg);
    }
    return {argv + optind, argv + argc};
}

void parse_options(int argc, char **argv, const option *options, const std::function<void(int, const char *)> &take) {
    const std::span<char *> operands = parse_options_and_operands(argc, argv, options, take);
    if (!operands.empty())
        refuse(argv[0], std::string("unexpected argument '") + operands[0] + "'");
}

int64_t parse_number(const std::string &option_name, const char *text, int64_t least, int64_t most) {
    const bool hexadecimal = strncmp(text, "0x", 2) == 0 && text[2] != '-';
    const char *digits = hexadecimal ? text + 2 : text;
    const char *end = text + strlen(text);
    int64_t value = 0;
    const auto [stopped, error] = std::from_chars(digits, end, value, hexadecimal ? 16 : 10);
    if (stopped != end || stopped == digits || error != std::errc() || value < least || value > most)
        throw Refusal(option_name + ": '" + text + "' is not a number from " + std::to_string(least) + " to " +
                      std::to_string(most));
    return value;
}

std::string checked_directory(const char *path) {
    if (!std::filesystem::is_directory(path))
        throw Refusal(std::string(path) + ": not a directory");
    if (access(path, X_OK) != 0)
        throw Refusal(std::string(path) + ": " + strerror(errno));
    return path;
}
