// Options of the subcommands. CLI11 parses them; only cli.cpp and fectl.cpp see it, as all its templates cost each file
// that includes them seconds to build.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace cli {

// An option that was added, to say more of it.
class Option {
public:
    explicit Option(CLI::Option *option) : option_(option) {}

    Option &required(bool is_required = true);
    Option &excludes(const Option &other);
    Option &needs(const Option &other);
    Option &one_of(std::vector<std::string> words); // refuses all others

private:
    CLI::Option *option_; // CLI11's
};

// Those that were added, in their order, and the one of that name.
std::vector<Option> options(CLI::App &app);
Option option(CLI::App &app, const std::string &name);

// Says in --help what the command does.
void describe(CLI::App &app, const std::string &text);

Option add_flag(CLI::App &app, const std::string &name, bool &target, const std::string &help);

// `value` is what --help calls the value. A name without a dash is an operand's, which goes without.
Option add_text(CLI::App &app, const std::string &name, const std::string &value, std::string &target,
                const std::string &help);
Option add_texts(CLI::App &app, const std::string &name, std::vector<std::string> &target, const std::string &help);

// `take` may refuse the text by throwing Refusal.
Option add_parsed(CLI::App &app, const std::string &name, const std::string &value,
                  const std::function<void(const std::string &)> &take, const std::string &help);

// A folder in which files can be opened.
Option add_directory(CLI::App &app, const std::string &name, std::string &target, const std::string &help);

// The number that the text is. Throws Refusal, naming the option.
int64_t parse_number(const std::string &name, const std::string &text, int64_t least, int64_t most);

// A number in that range, decimal or hexadecimal with 0x in front; anything else is refused.
template <class Number>
Option add_number(CLI::App &app, const std::string &name, Number &target, int64_t least, int64_t most,
                  const std::string &help) {
    const auto take = [&target, name, least, most](const std::string &text) {
        target = static_cast<Number>(parse_number(name, text, least, most));
    };
    return add_parsed(app, name, "N", take, help);
}

// "cleared", "info", "warning", "minor", "major", "critical", or a number.
int32_t parse_severity(const std::string &name, const std::string &text);

} // namespace cli
