// Options of the subcommands, by CLI11.
#pragma once

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace cli {

// A number in that range, decimal or hexadecimal with 0x in front; anything else is refused.
template <class Number>
CLI::Option *add_number(CLI::App &app, const std::string &name, Number &target, int64_t least, int64_t most,
                        const std::string &help);

// The number that the text is. Throws Refusal, naming the option.
int64_t parse_number(const std::string &name, const std::string &text, int64_t least, int64_t most);

// "cleared", "info", "warning", "minor", "major", "critical", or a number.
int32_t parse_severity(const std::string &name, const std::string &text);

// Refuses all but these words.
CLI::Validator one_of(std::vector<std::string> words);

CLI::Option *add_file(CLI::App &app, const std::string &name, std::string &target, const std::string &help);

// A folder in which files can be opened.
CLI::Option *add_directory(CLI::App &app, const std::string &name, std::string &target, const std::string &help);

template <class Number>
CLI::Option *add_number(CLI::App &app, const std::string &name, Number &target, int64_t least, int64_t most,
                        const std::string &help) {
    const auto take = [&target, name, least, most](const std::string &text) {
        target = static_cast<Number>(parse_number(name, text, least, most));
    };
    return app.add_option_function<std::string>(name, take, help)->type_name("N");
}

} // namespace cli
