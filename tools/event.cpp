// fectl event: SEL records for an engine that runs.
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include "fault_engine/sel.h"
#include "tools/capture.h"
#include "tools/cli.h"
#include "tools/fectl.h"
#include "tools/sel_fifo.h"

namespace {

struct RecordFile {
    std::string path;
    std::vector<sel_record> records;
};

// All files are read before the first record is written.
std::vector<RecordFile> read_files(const std::vector<std::string> &paths) {
    std::vector<RecordFile> files;
    files.reserve(paths.size());
    for (const std::string &path : paths) {
        files.push_back({path, load_records(path)});
    }
    return files;
}

void write_file(const SelWriter &fifo, const RecordFile &file) {
    for (size_t position = 0; position < file.records.size(); ++position) {
        if (!fifo.write_record(file.records[position])) {
            throw Refusal(file.path + ": offset " + std::to_string(position * sizeof(sel_record)) +
                          ": cannot write the record: " + strerror(errno));
        }
    }
}

int send_events(const std::string &fifo_path, const std::vector<std::string> &paths) {
    const std::vector<RecordFile> files = read_files(paths);
    const SelWriter fifo(fifo_path);
    signal(SIGPIPE, SIG_IGN); // a reader that goes away is an error of the write
    size_t written = 0;
    for (const RecordFile &file : files) {
        write_file(fifo, file);
        written += file.records.size();
    }
    printf("%zu record%s written\n", written, written == 1 ? "" : "s");
    return exit_ok;
}

struct EventOptions {
    std::string fifo;
    std::vector<std::string> files;
};

} // namespace

Run prepare_event(CLI::App &app) {
    const auto chosen = std::make_shared<EventOptions>();
    cli::add_text(app, "--fifo", "PATH", chosen->fifo, "the FIFO that the engine reads, as fectl serve says it")
        .required();
    cli::add_texts(app, "FILE", chosen->files, "SEL records, as written by \"ipmitool sel writeraw\"").required();
    return [chosen] { return send_events(chosen->fifo, chosen->files); };
}
