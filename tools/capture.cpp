#include "tools/capture.h"

#include "platform/ipmi_access/capture_file.h"
#include "platform/ipmi_access/readings.h"
#include "platform/ipmi_access/sdr_dump.h"
#include "platform/ipmi_access/sel_dump.h"
#include "tools/cli.h"

LoadedCapture load_capture(const CaptureFiles &files) {
    using namespace ipmi_access;
    LoadedCapture loaded;
    loaded.capture.sensors = parse_sdr_dump(read_capture(files.sdr), files.sdr);
    if (!files.sel.empty())
        loaded.capture.records = parse_sel_dump(read_capture(files.sel), files.sel);
    if (!files.readings.empty()) {
        const std::vector<uint8_t> bytes = read_capture(files.readings);
        loaded.capture.readings =
            parse_readings({reinterpret_cast<const char *>(bytes.data()), bytes.size()}, files.readings);
    }
    return loaded;
}

std::vector<sel_record> load_records(const std::string &path) {
    return ipmi_access::parse_sel_dump(ipmi_access::read_capture(path), path);
}

void add_capture_options(CLI::App &app, CaptureOptions &options) {
    cli::add_file(app, "--sdr", options.files.sdr, "sensor data records, as written by \"ipmitool sdr dump\"");
    cli::add_file(app, "--sel", options.files.sel, "the event log, as written by \"ipmitool sel writeraw\"");
    cli::add_file(app, "--readings", options.files.readings,
                  "present states of sensors, \"0x2e 0x0008\" a line; without one, none can be read");
}
