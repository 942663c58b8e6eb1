#include "tools/report/page.h"

#include <algorithm>
#include <array>
#include <functional>
#include <stdexcept>

#include "tools/report/files.h"
#include "tools/report/view.h"

namespace report {

namespace {

// The base64 form of a SHA-256 sum given in hexadecimal, as a Content-Security-Policy wants it: 12 bits are three
// hexadecimal digits and two of base64; the last bits make one more.
std::string base64_of_sum(std::string_view hex) {
    constexpr char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (size_t at = 0; at < hex.size(); at += 3) {
        const std::string three = (std::string(hex.substr(at, 3)) + "00").substr(0, 3);
        const unsigned long bits = std::stoul(three, nullptr, 16);
        text += {digits[bits >> 6], digits[bits & 63]};
    }
    return text.substr(0, 43) + '=';
}

// The critical ones first.
using Counts = std::array<size_t, severities>;

Counts active_counts(const ServerLog &log) {
    Counts counts{};
    for (const ActiveFault &fault : log.faults) {
        ++counts[severities - 1 - static_cast<size_t>(fault.severity)];
    }
    return counts;
}

size_t serious_events(const ServerLog &log) {
    size_t events = 0;
    for (const RefusedGroup &group : log.refused) {
        events += group.serious ? group.entries.size() : 0;
    }
    return events;
}

// One that could not be read may be anything: it stands before the healthy ones.
std::pair<Counts, bool> badness(const ServerLog &log) {
    return {active_counts(log), !log.failure.empty()};
}

data overview_line(const ServerLog &log, size_t number) {
    const bool healthy = log.faults.empty();
    const bool failed = !log.failure.empty();
    std::string worst = failed ? "could not be read: " + log.failure : "none";
    if (!healthy) {
        worst = log.faults.front().part + ": " + log.faults.front().name + " (" + log.faults.front().sensor + ")";
    }
    return object({{"number", std::to_string(number)},
                   {"name", log.name},
                   {"counts", counts_view(log)},
                   {"serious_refused", failed ? "" : std::to_string(serious_events(log))},
                   {"failed", failed},
                   {"worst", worst},
                   {"since", healthy ? "" : time_text(log.faults.front().first)}});
}

data overview(const std::vector<ServerLog> &logs) {
    if (logs.size() == 1) {
        return false;
    }
    size_t number = 0;
    return object({{"lines", list(logs, [&number](const ServerLog &log) { return overview_line(log, number++); })}});
}

} // namespace

const char *word_of(Severity severity) {
    return severity_words[static_cast<size_t>(severity)];
}

const char *letter_of(Severity severity) {
    return severity_letters[static_cast<size_t>(severity)];
}

data object(std::initializer_list<std::pair<const char *, data>> members) {
    data shown = data::type::object;
    for (const auto &[name, value] : members) {
        shown.set(name, value);
    }
    return shown;
}

data counts_view(const ServerLog &log) {
    const Counts counts = active_counts(log);
    data shown = data::type::list;
    for (size_t level = severities - 1; level > 0; --level) {
        shown.push_back(object({{"severity", severity_words[level]},
                                {"letter", severity_letters[level]},
                                {"count", log.failure.empty() ? std::to_string(counts[severities - 1 - level]) : ""}}));
    }
    return shown;
}

std::string make_page(std::vector<ServerLog> logs, const Words &words) {
    std::ranges::stable_sort(logs, std::greater(), badness);
    size_t number = 0;
    kainjow::mustache::mustache page(html_file);
    if (!page.is_valid()) {
        throw std::logic_error("report.html: " + page.error_message());
    }
    return page.render(
        object({{"title", logs.size() == 1 ? logs.front().name : std::to_string(logs.size()) + " servers"},
                {"version", FECTL_VERSION},
                {"style", style_file},
                {"style_hash", base64_of_sum(style_sha256)},
                {"script", script_file},
                {"script_hash", base64_of_sum(script_sha256)},
                {"overview", overview(logs)},
                {"servers", list(logs, [&](const ServerLog &log) { return server_view(log, words, number++); })},
                {"data", page_data(logs, words)}}));
}

} // namespace report
