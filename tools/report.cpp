// fectl report: one HTML page that shows the faults of servers over time.
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <sstream>

#include <nlohmann/json.hpp>

#include "tools/cli.h"
#include "tools/fectl.h"
#include "tools/published_table.h"
#include "tools/replay_run.h"
#include "tools/report/page.h"
#include "tools/story_json.h"
#include "tools/summary.h"
#include "tools/whole_file.h"
#ifdef FECTL_BMC
#include "tools/bmc/fetch.h"
#include "tools/bmc/talk.h"
#endif

namespace {

struct ReportOptions {
    ReplayOptions replay;
    std::string table; // folder of table files
    std::string output = "report.html";
#ifdef FECTL_BMC
    bmc::BmcOptions bmc;
#endif
};

struct CloseFile {
    void operator()(FILE *file) const { fclose(file); }
};
using File = std::unique_ptr<FILE, CloseFile>;

// A file without a name, gone with the process.
File temporary_file(const std::string &content = "") {
    File file(tmpfile());
    if (!file || fwrite(content.data(), 1, content.size(), file.get()) != content.size() || fflush(file.get()) != 0) {
        throw Failure(std::string("cannot make a temporary file: ") + strerror(errno));
    }
    return file;
}

// What is in the file, without what fectl puts before each line of its own.
std::vector<std::string> complaint_lines(FILE *file) {
    std::vector<std::string> lines;
    char *line = nullptr;
    size_t room = 0;
    rewind(file);
    for (ssize_t length; (length = getline(&line, &room, file)) > 0;) {
        std::string text(line, static_cast<size_t>(length) - (line[length - 1] == '\n' ? 1 : 0));
        for (const std::string_view prefix : {"fectl: ", "warning: "}) {
            text.erase(0, text.starts_with(prefix) ? prefix.size() : 0);
        }
        lines.push_back(std::move(text));
    }
    free(line);
    return lines;
}

struct ReplayedLog {
    report::ServerLog log;
    int code; // of the replay
};

int complain(const ReplayedLog &replayed) {
    fprintf(stderr, "fectl: %s\n", replayed.log.failure.c_str());
    return replayed.code;
}

// The page is made of what the replay prints as JSON.
ReplayedLog replayed_log(const CaptureFiles &files, const ReplayOptions &options, report::Words &words) {
    const File complaints = temporary_file();
    ReplayApart replay(files, options, fileno(complaints.get()));
    std::istringstream lines(replay.take());
    report::LogReader reader(words, files.name);
    for (std::string line; replay.exit_code() == exit_ok && std::getline(lines, line);) {
        reader.take(nlohmann::json::parse(line));
    }
    report::ServerLog log = reader.finish();
    log.warnings = complaint_lines(complaints.get());
    if (replay.exit_code() != exit_ok) {
        log.failure = log.warnings.empty() ? "the replay stopped" : log.warnings.back();
        log.warnings.clear();
    }
    return {std::move(log), replay.exit_code()};
}

ReplayedLog published_log(const std::string &folder, report::Words &words) {
    report::LogReader reader(words, folder);
    story::JsonLines lines;
    for (const story::Fault &fault : read_published_table(folder)) {
        reader.take(nlohmann::json::parse(lines.fault(fault)));
    }
    return {reader.finish(), exit_ok};
}

#ifdef FECTL_BMC
// A file of a capture that has no name in any folder: `name` is what people are shown.
struct OpenFile {
    OpenFile(std::string name_of_it, const std::string &content)
        : name(std::move(name_of_it)), file(temporary_file(content)),
          path("/proc/self/fd/" + std::to_string(fileno(file.get()))) {}

    void name_in(std::string &text) const {
        for (size_t at = 0; (at = text.find(path, at)) != std::string::npos; at += name.size()) {
            text.replace(at, path.size(), name);
        }
    }

    std::string name;
    File file;
    std::string path;
};

// As of the files that fectl fetch would write.
ReplayedLog fetched_log(bmc::BmcClient &client, const ReportOptions &chosen, report::Words &words) {
    const std::string &host = chosen.bmc.access.host;
    const bmc::FetchedCapture capture = bmc::fetch_capture(client, host + ".sdr");
    const OpenFile sdr(host + ".sdr", capture.sdr), sel(host + ".sel", capture.sel),
        sensors(host + ".sensors", capture.sensors);
    CaptureFiles files;
    files.name = host;
    files.sdr = sdr.path;
    files.sel = sel.path;
    files.sensors = sensors.path;
    files.order_by_time = chosen.replay.capture.files.order_by_time;
    ReplayedLog replayed = replayed_log(files, chosen.replay, words);
    report::ServerLog &log = replayed.log;
    for (const OpenFile *file : {&sdr, &sel, &sensors}) {
        file->name_in(log.failure);
        std::ranges::for_each(log.warnings, [file](std::string &line) { file->name_in(line); });
    }
    log.warnings.insert(log.warnings.begin(), capture.remarks.begin(), capture.remarks.end());
    return replayed;
}
#endif

void check_output(const std::string &output, const std::vector<std::string> &inputs) {
    std::error_code ignored;
    for (const std::string &input : inputs) {
        if (std::filesystem::equivalent(input, output, ignored)) {
            throw Refusal("-o " + output + ": that is an input, too");
        }
    }
}

void check_captures(const std::vector<CaptureFiles> &captures, const std::string &output) {
    for (const CaptureFiles &files : captures) {
        if (files.sdr.empty() || files.sel.empty()) {
            throw Refusal("report: both --sdr FILE and --sel FILE are needed; see fectl help report");
        }
        check_output(output, files.paths());
    }
}

std::vector<ReplayedLog> read_logs(const ReportOptions &chosen, report::Words &words) {
    const std::vector<CaptureFiles> captures = chosen.replay.capture.captures();
    if (captures.empty() == chosen.table.empty()) {
        throw Refusal("report: captures belong here, or the folder of a table; see fectl help report");
    }
    if (!chosen.table.empty()) {
        check_output(chosen.output, {chosen.table + "/fe_table.entry", chosen.table + "/fe_table.sz"});
        return {published_log(chosen.table, words)};
    }
    check_captures(captures, chosen.output);
    std::vector<ReplayedLog> logs;
    logs.reserve(captures.size());
    for (const CaptureFiles &files : captures) {
        logs.push_back(replayed_log(files, chosen.replay, words));
    }
    return logs;
}

void write_page(const std::string &path, const std::string &page) {
    if (path == "-") {
        fwrite(page.data(), 1, page.size(), stdout); // all commands tell what becomes of it
        return;
    }
    write_whole_file(path, page);
}

int show(const std::vector<ReplayedLog> &replayed, const report::Words &words, const ReportOptions &chosen) {
    if (replayed.size() == 1 && replayed.front().code != exit_ok) {
        return complain(replayed.front());
    }
    std::vector<report::ServerLog> logs;
    std::ranges::transform(replayed, std::back_inserter(logs), &ReplayedLog::log);
    write_page(chosen.output, report::make_page(logs, words));
    int code = exit_ok;
    for (const ReplayedLog &one : replayed) {
        std::ranges::for_each(one.log.warnings, warn);
        if (one.code != exit_ok) {
            code = worse_code(code, complain(one));
        }
    }
    if (chosen.output != "-") {
        printf("%s shows %zu %s\n", chosen.output.c_str(), logs.size(), logs.size() == 1 ? "server" : "servers");
    }
    return code;
}

int make_report(const ReportOptions &chosen) {
    report::Words words;
#ifdef FECTL_BMC
    if (!chosen.bmc.access.host.empty()) {
        return bmc::talk(chosen.bmc, exit_failed, [&](bmc::BmcClient &client, bmc::StopThread &) {
            return show({fetched_log(client, chosen, words)}, words, chosen);
        });
    }
#endif
    return show(read_logs(chosen, words), words, chosen);
}

} // namespace

Run prepare_report(CLI::App &app) {
    const auto chosen = std::make_shared<ReportOptions>();
    ReplayOptions &replay = chosen->replay;
    replay.view.format = "json";
    replay.view.refused = "all";
    add_capture_operands(app, replay.capture);
    cli::add_text(app, "-o,--output", "FILE", chosen->output, "the page; - is standard output (default: report.html)");
    add_capture_options(app, replay.capture);
    cli::add_number(app, "--live", replay.live, 0, INT32_MAX,
                    "keep the last N records for after the start, as replay does (default: 0)");
    cli::Option table =
        cli::add_directory(app, "--file-dir", chosen->table, "show the table files of that folder instead of a log");
    for (const char *of_a_log : {"CAPTURE", "--sdr", "--sel", "--readings", "--sensors", "--order", "--live"}) {
        table.excludes(cli::option(app, of_a_log));
    }
#ifdef FECTL_BMC
    cli::Option host = bmc::add_optional_bmc_options(app, chosen->bmc);
    for (const char *other : {"CAPTURE", "--sdr", "--sel", "--readings", "--sensors", "--file-dir"}) {
        host.excludes(cli::option(app, other));
    }
#endif
    return [chosen] { return make_report(*chosen); };
}
