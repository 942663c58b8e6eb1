// Which files belong together.
#include <algorithm>
#include <cstring>
#include <filesystem>
#include <map>

#include "tools/capture.h"
#include "tools/cli.h"
#include "tools/fectl.h"
#include "tools/view.h"

namespace {

namespace fs = std::filesystem;

struct Kind {
    const char *suffix;
    std::string CaptureFiles::*file;
};
constexpr Kind kinds[] = {{".sdr", &CaptureFiles::sdr},
                          {".sel", &CaptureFiles::sel},
                          {".readings", &CaptureFiles::readings},
                          {".sensors", &CaptureFiles::sensors}};

// The kind by the file's name, and the name without it; null for another name.
std::pair<const Kind *, std::string> take_apart(std::string path) {
    for (const char *packed : {".gz", ".xz"}) {
        if (path.ends_with(packed)) {
            path.erase(path.size() - strlen(packed));
        }
    }
    for (const Kind &kind : kinds) {
        if (path.ends_with(kind.suffix)) {
            return {&kind, path.substr(0, path.size() - strlen(kind.suffix))};
        }
    }
    return {nullptr, path};
}

using Groups = std::map<std::string, CaptureFiles>; // by path without suffix

void add_file(Groups &groups, const std::string &path) {
    const auto [kind, name] = take_apart(path);
    if (kind == nullptr) {
        return;
    }
    CaptureFiles &files = groups[name];
    files.name = fs::path(name).filename();
    if (!(files.*kind->file).empty()) {
        throw Refusal(path + ": there is " + files.*kind->file + ", too");
    }
    files.*kind->file = path;
}

// The file of that kind beside the others of its name, if there is one.
void find_beside(const std::string &name, const Kind &kind, CaptureFiles &files) {
    for (const char *packed : {"", ".gz", ".xz"}) {
        if (const std::string path = name + kind.suffix + packed; (files.*kind.file).empty() && fs::exists(path)) {
            files.*kind.file = path;
        }
    }
}

// An SDR under one name and a SEL under another are one server's, with the states that either has.
void join_two(Groups &groups) {
    if (groups.size() != 2) {
        return;
    }
    CaptureFiles &first = groups.begin()->second, &second = groups.rbegin()->second;
    if (first.sdr.empty()) {
        std::swap(first, second);
    }
    for (auto &[name, files] : groups) {
        find_beside(name, kinds[2], files);
        find_beside(name, kinds[3], files);
    }
    const bool overlap = std::ranges::any_of(
        kinds, [&](const Kind &kind) { return !(first.*kind.file).empty() && !(second.*kind.file).empty(); });
    if (overlap || !first.sel.empty() || first.sdr.empty() || second.sel.empty()) {
        return;
    }
    for (const Kind &kind : kinds) {
        first.*kind.file += second.*kind.file; // one of them is empty
    }
    first.name = second.name;
    Groups joined = {{"", first}};
    groups = std::move(joined);
}

// Says what is missing, or nothing.
std::string complete(const std::string &name, CaptureFiles &files) {
    for (const Kind &kind : kinds) {
        if (!name.empty()) {
            find_beside(name, kind, files);
        }
    }
    for (const Kind &kind : {kinds[0], kinds[1]}) {
        if ((files.*kind.file).empty()) {
            return files.paths().front() + ": there is no " + name + kind.suffix + " beside it";
        }
    }
    return "";
}

std::vector<CaptureFiles> whole(Groups &&groups) {
    std::vector<CaptureFiles> captures;
    for (auto &[name, files] : groups) {
        if (const std::string missing = complete(name, files); !missing.empty()) {
            throw Refusal(missing);
        }
        captures.push_back(files);
    }
    return captures;
}

std::vector<CaptureFiles> in_folder(const std::string &folder) {
    Groups groups;
    for (const auto &entry : fs::directory_iterator(folder)) {
        add_file(groups, entry.path());
    }
    std::vector<CaptureFiles> captures;
    for (auto &[name, files] : groups) {
        if (const std::string missing = complete(name, files); !missing.empty()) {
            warn(missing);
        } else {
            captures.push_back(files);
        }
    }
    if (captures.empty()) {
        throw Refusal(folder + ": there are no captures (NAME.sdr and NAME.sel)");
    }
    return captures;
}

// Any two names: first the SDR, then the SEL.
bool are_a_pair(const std::vector<std::string> &paths) {
    return paths.size() == 2 &&
           std::ranges::any_of(paths, [](const std::string &path) { return take_apart(path).first == nullptr; });
}

} // namespace

std::vector<CaptureFiles> CaptureOptions::captures() const {
    std::vector<CaptureFiles> all;
    std::vector<std::string> loose;
    for (const std::string &operand : operands) {
        if (!fs::is_directory(operand)) {
            loose.push_back(operand);
            continue;
        }
        std::ranges::move(in_folder(operand), std::back_inserter(all));
    }
    CaptureFiles given = files;
    Groups groups;
    if (are_a_pair(loose)) {
        if (!files.sdr.empty() || !files.sel.empty()) {
            throw Refusal(loose[0] + ", " + loose[1] + ": --sdr and --sel say which files these are");
        }
        given.sdr = loose[0];
        given.sel = loose[1];
    } else {
        for (const std::string &path : loose) {
            if (take_apart(path).first == nullptr) {
                throw Refusal(path + ": is this an SDR or a SEL? Call it NAME.sdr or NAME.sel, or use --sdr and --sel");
            }
            add_file(groups, path);
        }
        join_two(groups);
        std::ranges::move(whole(std::move(groups)), std::back_inserter(all));
    }
    if (!given.sdr.empty() || !given.sel.empty()) {
        given.name = fs::path(take_apart(given.sel.empty() ? given.sdr : given.sel).second).filename();
        all.push_back(given);
    }
    const bool have_states = !files.readings.empty() || !files.sensors.empty();
    if (have_states && all.size() > 1) {
        throw Refusal("--readings and --sensors are one server's, and there are " + std::to_string(all.size()) +
                      " captures; NAME.sensors beside NAME.sel is found");
    }
    for (CaptureFiles &capture : all) {
        capture.order_by_time = files.order_by_time;
        if (have_states) {
            capture.readings = files.readings;
            capture.sensors = files.sensors;
        }
    }
    return all;
}

void add_capture_options(CLI::App &app, CaptureOptions &options) {
    CaptureFiles &files = options.files;
    cli::add_text(app, "--sdr", "FILE", files.sdr, "sensor data records, as written by \"ipmitool sdr dump\"");
    cli::add_text(app, "--sel", "FILE", files.sel, "the event log, as written by \"ipmitool sel writeraw\"");
    cli::add_text(app, "--readings", "FILE", files.readings,
                  "present states of sensors as the engine takes them, \"0x2e 0x0008\" a line");
    cli::add_text(
        app, "--sensors", "FILE", files.sensors,
        "present states of sensors, as \"ipmitool sensor\" or \"ipmi-sensors --output-event-bitmask\" prints them");
    cli::add_parsed(
        app, "--order", "WORD", [&files](const std::string &text) { files.order_by_time = text == "time"; },
        "take records as they stand in the log (default), or by time")
        .one_of({"log", "time"});
}

void add_capture_operands(CLI::App &app, CaptureOptions &options) {
    cli::add_texts(app, "CAPTURE", options.operands,
                   "NAME.sdr and NAME.sel, or folders of such pairs; they may end in .gz or .xz, - is standard input");
}
