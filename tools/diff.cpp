// fectl diff: what has changed between two captures or published tables of a server.
#include <nlohmann/json.hpp>

#include <filesystem>
#include <map>
#include <memory>
#include <sstream>

#include "tools/cli.h"
#include "tools/csv.h"
#include "tools/fectl.h"
#include "tools/published_table.h"
#include "tools/replay_run.h"
#include "tools/story_json.h"
#include "tools/story_words.h"
#include "tools/text_table.h"

namespace {

using Json = nlohmann::ordered_json;

struct DiffOptions {
    std::string before, after, sdr;
    ViewOptions view;
};

// A fault as two sides know it: levels of a measurement are one.
using Key = std::tuple<int, int, unsigned, int>;
using Faults = std::map<Key, Json>;

void add_fault(Faults &faults, const std::string &line) {
    Json fault = Json::parse(line);
    const Key key{fault["entity_id"], fault["table_instance"], fault["sensor_number"],
                  story::measurement_code(fault["table_code"])};
    faults.insert_or_assign(key, std::move(fault));
}

Faults faults_of_table(const std::string &folder) {
    Faults faults;
    story::JsonLines lines;
    for (const story::Fault &fault : read_published_table(folder)) {
        add_fault(faults, lines.fault(fault));
    }
    return faults;
}

Faults faults_of_capture(const std::string &path, const DiffOptions &options) {
    ReplayOptions replay;
    replay.capture.operands = {path};
    replay.view.format = "json";
    replay.view.ending_only = true;
    std::vector<CaptureFiles> captures;
    if (options.sdr.empty()) {
        captures = replay.capture.captures();
    } else {
        captures.push_back({});
        captures[0].sdr = options.sdr;
        captures[0].sel = path;
    }
    if (captures.size() != 1) {
        throw Refusal(path + ": one capture is compared with one, and there are " + std::to_string(captures.size()));
    }
    ReplayApart apart(captures[0], replay);
    std::istringstream lines(apart.take());
    if (apart.exit_code() == exit_failed) {
        throw Failure(path + ": cannot be replayed");
    }
    if (apart.exit_code() != exit_ok) {
        throw Refusal(path + ": cannot be replayed");
    }
    Faults faults;
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("{\"type\":\"fault\"")) {
            add_fault(faults, line);
        }
    }
    return faults;
}

Faults faults_of(const std::string &path, const DiffOptions &options) {
    const bool is_table = std::filesystem::exists(path + "/fe_table.entry");
    return is_table ? faults_of_table(path) : faults_of_capture(path, options);
}

int32_t severity_of(const Json &fault) {
    return cli::parse_severity("severity", fault["severity"]);
}

// A difference is the fault with what has become of it in front. The worst come first.
std::vector<Json> differences(const Faults &before, const Faults &after) {
    std::vector<Json> found;
    const auto add = [&found](const char *word, const Json &fault, const Json &severity_before) {
        Json difference = {{"type", "difference"}, {"difference", word}, {"severity_before", severity_before}};
        for (const auto &[key, value] : fault.items()) {
            if (key != "type") {
                difference[key] = value;
            }
        }
        found.push_back(std::move(difference));
    };
    for (const auto &[key, fault] : after) {
        const auto old = before.find(key);
        if (old == before.end()) {
            add("new", fault, nullptr);
        } else if (const int32_t was = severity_of(old->second); was != severity_of(fault)) {
            add(severity_of(fault) > was ? "worse" : "better", fault, old->second["severity"]);
        }
    }
    for (const auto &[key, fault] : before) {
        if (!after.contains(key)) {
            add("gone", fault, fault["severity"]);
        }
    }
    constexpr std::string_view order[] = {"new", "worse", "better", "gone"};
    std::ranges::stable_sort(found, {}, [&order](const Json &difference) {
        const auto *word = std::ranges::find(order, difference["difference"].get<std::string>());
        return std::pair(word - order, -severity_of(difference));
    });
    return found;
}

void print_text(const std::vector<Json> &found, size_t unchanged, size_t line_width) {
    TextTable table({{"CHANGE", 6},
                     {"BEFORE", 8},
                     {"SEVERITY", 8},
                     {"SENSOR", 6},
                     {"ENTITY", 6},
                     {"FAULT", 5, false, 1},
                     {"EVENT", 5}},
                    line_width);
    std::vector<Cells> lines;
    for (const Json &one : found) {
        const bool gone = one["difference"] == "gone";
        const Json &before = one["severity_before"];
        lines.push_back({one["difference"], before.is_null() ? "-" : before.get<std::string>(),
                         gone ? "-" : one["severity"].get<std::string>(), one["sensor"], one["entity"], one["name"],
                         one["event"]});
        table.fit(lines.back());
    }
    if (!lines.empty()) {
        table.print_head(stdout);
    }
    for (const Cells &line : lines) {
        table.print(stdout, line, line.size(), "");
    }
    printf("%s%zu new, gone, worse or better; %zu as before\n", lines.empty() ? "" : "\n", found.size(), unchanged);
}

void print_csv(const std::vector<Json> &found) {
    const std::vector<std::string> keys = {"difference", "severity_before", "severity", "sensor",
                                           "entity",     "event",           "name"};
    puts(csv_line(keys).c_str());
    for (const Json &one : found) {
        std::vector<std::string> values;
        for (const std::string &key : keys) {
            values.push_back(one[key].is_null() ? "" : one[key].get<std::string>());
        }
        puts(csv_line(values).c_str());
    }
}

int diff(const DiffOptions &chosen) {
    if ((chosen.before == "-") + (chosen.after == "-") + (chosen.sdr == "-") > 1) {
        throw Refusal("diff: standard input can be read only once");
    }
    const Faults before = faults_of(chosen.before, chosen);
    const Faults after = faults_of(chosen.after, chosen);
    const std::vector<Json> found = differences(before, after);
    const auto gone = std::ranges::count(found, "gone", [](const Json &one) { return one["difference"]; });
    if (chosen.view.format == "csv") {
        print_csv(found);
    } else if (chosen.view.format == "json") {
        for (const Json &one : found) {
            puts(one.dump().c_str());
        }
    } else {
        print_text(found, after.size() - (found.size() - static_cast<size_t>(gone)), chosen.view.line_width());
    }
    const bool bad = chosen.view.fail_on && std::ranges::any_of(found, [&](const Json &one) {
                         const bool grew = one["difference"] == "new" || one["difference"] == "worse";
                         return grew && severity_of(one) >= *chosen.view.fail_on;
                     });
    return bad ? exit_fault_found : exit_ok;
}

} // namespace

Run prepare_diff(CLI::App &app) {
    const auto chosen = std::make_shared<DiffOptions>();
    cli::add_text(app, "BEFORE", "", chosen->before,
                  "a capture (its folder, NAME.sdr or NAME.sel), or a folder of table files")
        .required();
    cli::add_text(app, "AFTER", "", chosen->after, "the same, later").required();
    cli::add_text(app, "--sdr", "FILE", chosen->sdr, "sensor data records of both, which are then SELs");
    add_format_options(app, chosen->view);
    cli::add_parsed(
        app, "--fail-on", "SEVERITY",
        [chosen](const std::string &text) { chosen->view.fail_on = cli::parse_severity("--fail-on", text); },
        "exit with 3 if a fault of that severity or above is new or worse");
    return [chosen] { return diff(*chosen); };
}
