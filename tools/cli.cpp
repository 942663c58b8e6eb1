#include "tools/cli.h"

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <filesystem>
#include <string_view>

#include "fault_engine/fault_record.h"
#include "tools/fectl.h"

namespace cli {
namespace {

struct SeverityWord {
    std::string_view word;
    fe_severity severity;
};
constexpr SeverityWord severity_words[] = {
    {"cleared", FE_SEVERITY_CLEARED}, {"info", FE_SEVERITY_INFO},   {"warning", FE_SEVERITY_WARNING},
    {"minor", FE_SEVERITY_MINOR},     {"major", FE_SEVERITY_MAJOR}, {"critical", FE_SEVERITY_CRITICAL},
};

std::string check_directory(const std::string &path) {
    if (!std::filesystem::is_directory(path)) {
        throw Refusal(path + ": not a directory");
    }
    if (access(path.c_str(), X_OK) != 0) {
        throw Refusal(path + ": " + strerror(errno));
    }
    return path;
}

} // namespace

int64_t parse_number(const std::string &name, const std::string &text, int64_t least, int64_t most) {
    const bool hexadecimal = text.starts_with("0x") && !text.starts_with("0x-");
    const char *digits = text.c_str() + (hexadecimal ? 2 : 0);
    const char *end = text.c_str() + text.size();
    int64_t value = 0;
    const auto [stopped, error] = std::from_chars(digits, end, value, hexadecimal ? 16 : 10);
    if (stopped != end || stopped == digits || error != std::errc() || value < least || value > most) {
        throw Refusal(name + ": '" + text + "' is not a number from " + std::to_string(least) + " to " +
                      std::to_string(most));
    }
    return value;
}

int32_t parse_severity(const std::string &name, const std::string &text) {
    const auto *known = std::ranges::find(severity_words, text, &SeverityWord::word);
    if (known != std::end(severity_words)) {
        return known->severity;
    }
    if (text.empty() || isalpha(static_cast<unsigned char>(text[0])) != 0) {
        throw Refusal(name + ": '" + text +
                      "' is no severity; there are cleared, info, warning, minor, major and critical");
    }
    return static_cast<int32_t>(parse_number(name, text, INT32_MIN, INT32_MAX));
}

Option &Option::required(bool is_required) {
    option_->required(is_required);
    return *this;
}

Option &Option::excludes(const Option &other) {
    option_->excludes(other.option_);
    return *this;
}

Option &Option::needs(const Option &other) {
    option_->needs(other.option_);
    return *this;
}

Option &Option::one_of(std::vector<std::string> words) {
    const auto check = [words = std::move(words)](const std::string &text) {
        std::string known;
        for (const std::string &word : words) {
            known += (known.empty() ? "" : word == words.back() ? " or " : ", ") + word;
        }
        return std::ranges::find(words, text) != words.end() ? "" : "'" + text + "' is not one of " + known;
    };
    option_->check(CLI::Validator(check, ""));
    return *this;
}

std::vector<Option> options(CLI::App &app) {
    const std::vector<CLI::Option *> added = app.get_options();
    return {added.begin(), added.end()};
}

Option option(CLI::App &app, const std::string &name) {
    return Option(app.get_option(name));
}

void describe(CLI::App &app, const std::string &text) {
    app.description(text);
}

Option add_flag(CLI::App &app, const std::string &name, bool &target, const std::string &help) {
    return Option(app.add_flag(name, target, help));
}

Option add_text(CLI::App &app, const std::string &name, const std::string &value, std::string &target,
                const std::string &help) {
    return Option(app.add_option(name, target, help)->type_name(value));
}

Option add_texts(CLI::App &app, const std::string &name, std::vector<std::string> &target, const std::string &help) {
    return Option(app.add_option(name, target, help)->type_name(""));
}

Option add_parsed(CLI::App &app, const std::string &name, const std::string &value,
                  const std::function<void(const std::string &)> &take, const std::string &help) {
    return Option(app.add_option_function<std::string>(name, take, help)->type_name(value));
}

Option add_directory(CLI::App &app, const std::string &name, std::string &target, const std::string &help) {
    return add_parsed(
        app, name, "DIR", [&target](const std::string &text) { target = check_directory(text); }, help);
}

} // namespace cli
