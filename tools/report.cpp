// fectl report: one HTML page that shows the faults of servers over time.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>

#include <nlohmann/json.hpp>

#include "tools/cli.h"
#include "tools/fectl.h"
#include "tools/process.h"
#include "tools/published_table.h"
#include "tools/replay.h"
#include "tools/report/page.h"
#include "tools/story_json.h"

namespace {

struct ReportOptions {
    CaptureOptions capture;
    std::string table; // folder of table files
    std::string output = "report.html";
};

// A line without what fectl puts before each of its own.
std::string bare_line(std::string line) {
    for (const std::string_view prefix : {"fectl: ", "warning: "})
        if (line.starts_with(prefix))
            line.erase(0, prefix.size());
    return line;
}

// Nothing takes an engine's table back but the end of its process, so each log has one of its own. What it prints is what
// the page is made of.
report::ServerLog replayed_log(const CaptureFiles &files, report::Words &words) {
    report::LogReader reader(words, files.name);
    const Finished replay = run_apart([&files] { return replay_capture(files, {}, std::nullopt, *make_json_view({})); },
                                      [&reader](const std::string &line) { reader.take(nlohmann::json::parse(line)); });
    report::ServerLog log = reader.finish();
    for (const std::string &line : replay.complaints)
        log.warnings.push_back(bare_line(line));
    if (replay.code != exit_ok) {
        log.failure = log.warnings.empty() ? "the replay stopped" : log.warnings.back();
        log.warnings.clear();
    }
    return log;
}

report::ServerLog published_log(const std::string &folder, report::Words &words) {
    report::LogReader reader(words, folder);
    for (const story::Fault &fault : read_published_table(folder))
        reader.take(nlohmann::json::parse(story::to_json(fault).dump()));
    return reader.finish();
}

void write_page(const std::string &path, const std::string &page) {
    FILE *file = path == "-" ? stdout : fopen(path.c_str(), "w");
    const bool written =
        file != nullptr && fwrite(page.data(), 1, page.size(), file) == page.size() && fflush(file) == 0;
    const int reason = errno;
    if (file != nullptr && file != stdout)
        fclose(file);
    if (!written)
        throw Failure(path + ": cannot write: " + strerror(reason));
}

void refuse_overwriting(const ReportOptions &chosen) {
    const CaptureFiles &files = chosen.capture.files;
    std::error_code ignored;
    for (const std::string &input : {files.sdr, files.sel, files.readings})
        if (!input.empty() && std::filesystem::equivalent(input, chosen.output, ignored))
            throw Refusal("report: " + chosen.output + " is one of the inputs");
}

std::vector<report::ServerLog> read_logs(const ReportOptions &chosen, report::Words &words) {
    CaptureFiles files = chosen.capture.files;
    if (!chosen.table.empty())
        return {published_log(chosen.table, words)};
    if (files.sdr.empty() || files.sel.empty())
        throw Refusal("report: both --sdr FILE and --sel FILE are needed; see fectl help report");
    files.name = std::filesystem::path(files.sel).stem();
    return {replayed_log(files, words)};
}

int report_faults(const ReportOptions &chosen) {
    refuse_overwriting(chosen);
    report::Words words;
    const std::vector<report::ServerLog> logs = read_logs(chosen, words);
    if (logs.size() == 1 && !logs.front().failure.empty())
        throw Refusal(logs.front().failure);
    write_page(chosen.output, report::make_page(logs, words));
    for (const report::ServerLog &log : logs)
        if (!log.failure.empty())
            fprintf(stderr, "fectl: %s: %s\n", log.name.c_str(), log.failure.c_str());
    if (chosen.output != "-")
        printf("%s: %zu %s\n", chosen.output.c_str(), logs.size(), logs.size() == 1 ? "server" : "servers");
    return std::ranges::all_of(logs, [](const auto &log) { return log.failure.empty(); }) ? exit_ok : exit_refused;
}

} // namespace

Run prepare_report(CLI::App &app) {
    const auto chosen = std::make_shared<ReportOptions>();
    app.description(
        "Replays captured event logs, or reads a published table, and writes one HTML page that shows the faults "
        "over time. The page needs no network.");
    add_capture_options(app, chosen->capture);
    cli::add_directory(app, "--file-dir", chosen->table, "show the table files of that folder instead of a log");
    cli::add_file(app, "-o,--output", chosen->output, "the page; - is standard output (default: report.html)");
    return [chosen] { return report_faults(*chosen); };
}
