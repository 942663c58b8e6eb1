#include "tools/summary.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <deque>

#include "tools/csv.h"
#include "tools/fectl.h"
#include "tools/progress.h"
#include "tools/text_table.h"

namespace {

using Json = nlohmann::json;

constexpr const char *severities[] = {"critical", "major", "minor", "warning", "info"};

// What a capture came to; null for one that could not be replayed.
Json take_summary(ReplayApart &replay) {
    const std::string text = replay.take();
    const size_t start = text.rfind("{\"type\":\"summary\"");
    return start == text.npos ? Json() : Json::parse(text.substr(start), nullptr, false);
}

// A line's cells. Totals have no name and no worst fault.
Cells cells_of(const std::string &name, const Json &summary, const std::string &worst) {
    Cells cells = {name, std::to_string(summary["records"].get<size_t>())};
    for (const char *severity : severities) {
        cells.push_back(std::to_string(summary["by_severity"][severity].get<size_t>()));
    }
    cells.push_back(std::to_string(summary["refused_serious"].get<size_t>()));
    cells.push_back(worst);
    return cells;
}

void add_to(Json &totals, const Json &summary) {
    if (totals.is_null()) {
        totals = Json::object();
    }
    for (const auto &[key, value] : summary.items()) {
        if (value.is_number()) {
            totals[key] = totals.value(key, size_t{0}) + value.get<size_t>();
        } else if (value.is_object()) {
            add_to(totals[key], value);
        }
    }
}

class SummaryPrinter {
public:
    SummaryPrinter(const std::vector<CaptureFiles> &captures, const ReplayOptions &options)
        : format_(options.view.format), table_(columns(captures), options.view.line_width()) {
        if (format_ == "text") {
            table_.print_head(stdout);
        } else if (format_ == "csv") {
            puts("server,records,critical,major,minor,warning,info,serious,worst");
        }
    }

    void print(const std::string &name, const Json &summary) {
        add_to(totals_, summary);
        ++servers_;
        print_cells(cells_of(name, summary, summary["worst"].is_string() ? summary["worst"].get<std::string>() : "-"));
        if (format_ == "json") {
            puts(summary.dump().c_str());
        }
    }

    void print_totals(size_t unreadable) {
        if (format_ != "text" || servers_ == 0) {
            return;
        }
        putchar('\n');
        print_cells(cells_of("all", totals_, std::to_string(servers_) + (servers_ == 1 ? " server" : " servers")));
        if (unreadable != 0) {
            printf("%zu could not be replayed\n", unreadable);
        }
    }

private:
    static std::vector<Column> columns(const std::vector<CaptureFiles> &captures) {
        size_t width = 6;
        for (const CaptureFiles &files : captures) {
            width = std::max(width, text_width(files.name));
        }
        return {{"SERVER", width},  {"RECORDS", 7, true},    {"CRITICAL", 8, true}, {"MAJOR", 5, true},
                {"MINOR", 5, true}, {"WARNING", 7, true, 2}, {"INFO", 5, true, 1},  {"SERIOUS REFUSED", 15, true},
                {"WORST FAULT", 11}};
    }
    void print_cells(const Cells &cells) {
        if (format_ == "text") {
            table_.print(stdout, cells, cells.size(), "");
        }
        if (format_ == "csv") {
            puts(csv_line(cells).c_str());
        }
    }

    std::string format_;
    TextTable table_;
    Json totals_ = Json::object();
    size_t servers_ = 0;
};

} // namespace

int worse_code(int one, int other) {
    constexpr std::array order = {exit_ok, exit_fault_found, exit_refused, exit_failed};
    return std::ranges::find(order, one) > std::ranges::find(order, other) ? one : other;
}

int print_summary(const std::vector<CaptureFiles> &captures, const ReplayOptions &options, size_t jobs) {
    SummaryPrinter printer(captures, options);
    Progress progress;
    progress.expect(captures.size());
    std::deque<ReplayApart> running;
    size_t started = 0, unreadable = 0;
    int code = exit_ok;
    for (const CaptureFiles &files : captures) {
        for (; running.size() < jobs && started < captures.size(); ++started) {
            ReplayOptions own = options;
            own.view.format = "json";
            own.view.ending_only = true;
            running.emplace_back(captures[started], own);
        }
        Json summary = take_summary(running.front());
        code = worse_code(code, running.front().exit_code());
        running.pop_front();
        progress.step("captures");
        progress.erase();
        if (!summary.is_object()) {
            ++unreadable;
            continue;
        }
        summary["capture"] = files.name;
        printer.print(files.name, summary);
    }
    printer.print_totals(unreadable);
    return code;
}
