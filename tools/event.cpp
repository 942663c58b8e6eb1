// fectl event: SEL records for an engine that runs.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <vector>

#include "fault_engine/sel.h"
#include "platform/ipmi_access/ipmi_access_host.h"
#include "tools/fectl.h"
#include "tools/options.h"
#include "tools/sel_fifo.h"

namespace {

constexpr char help[] = R"(usage: fectl event --fifo PATH FILE...

Writes the SEL records of the files, as written by "ipmitool sel writeraw", into the FIFO of a running engine, 16 bytes a
write. Waits while the FIFO is full.

  --fifo PATH   the FIFO that the engine reads, as fectl serve says it
  -h, --help    this text
)";

constexpr option options[] = {
    {"fifo", required_argument, nullptr, 'f'},
    {"help", no_argument, nullptr, 'h'},
    {},
};

struct RecordFile {
    std::string path;
    std::vector<sel_record> records;
};

// All files are read before the first record is written.
std::vector<RecordFile> read_files(std::span<char *> paths) {
    std::vector<RecordFile> files;
    for (const char *path : paths) {
        ipmi_access::load_sel(path);
        RecordFile file{path, {}};
        for (size_t position = 0; position < ipmi_access::sel_size(); position++)
            file.records.push_back(*reinterpret_cast<const sel_record *>(ipmi_access::record_at(position)));
        files.push_back(std::move(file));
    }
    return files;
}

void write_file(const SelWriter &fifo, const RecordFile &file) {
    for (size_t position = 0; position < file.records.size(); position++)
        if (!fifo.write_record(file.records[position]))
            throw Refusal(file.path + ": offset " + std::to_string(position * sizeof(sel_record)) +
                          ": cannot write the record: " + strerror(errno));
}

} // namespace

int run_event(int argc, char **argv) {
    std::string fifo_path;
    bool wants_help = false;
    const std::span<char *> paths =
        parse_options_and_operands(argc, argv, options, [&](int found, const char *argument) {
            if (found == 'h')
                wants_help = true;
            else
                fifo_path = argument;
        });
    if (wants_help) {
        fputs(help, stdout);
        return exit_ok;
    }
    if (fifo_path.empty() || paths.empty())
        throw Refusal("event: --fifo PATH and at least one FILE are needed; see fectl event --help");
    const std::vector<RecordFile> files = read_files(paths);
    const SelWriter fifo(fifo_path);
    size_t written = 0;
    for (const RecordFile &file : files) {
        write_file(fifo, file);
        written += file.records.size();
    }
    printf("%zu record%s written\n", written, written == 1 ? "" : "s");
    return exit_ok;
}
