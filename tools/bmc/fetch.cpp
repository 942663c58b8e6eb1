// fectl fetch: a server's capture files, from its BMC.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>

#include "tools/bmc/fetch.h"
#include "tools/bmc/server_reader.h"
#include "tools/bmc/talk.h"
#include "tools/cli.h"
#include "tools/fectl.h"
#include "tools/progress.h"
#include "tools/view.h"
#include "tools/whole_file.h"

namespace {

using namespace bmc;

struct FetchOptions {
    BmcOptions bmc;
    std::string directory, name;
};

std::string bytes_of(const std::vector<sel_record> &records) {
    return {reinterpret_cast<const char *>(records.data()), records.size() * sizeof(sel_record)};
}

// A line as "ipmi-sensors --output-event-bitmask" prints it.
std::string sensor_line(const ipmi_access::Sensor &sensor, std::optional<States> states) {
    char type[8], event[8] = "N/A";
    snprintf(type, sizeof type, "0x%02x", sensor.sensor_type);
    if (states) {
        snprintf(event, sizeof event, "%04xh", *states);
    }
    return std::to_string(sensor.number) + " | " + ipmi_access::listed_name(sensor) + " | " + type + " | N/A | N/A | " +
           event + "\n";
}

std::string read_sensors(BmcClient &client, const ipmi_access::Sensors &sensors) {
    std::string lines = "ID | Name | Type | Reading | Units | Event\n";
    Progress progress;
    progress.expect(static_cast<size_t>(std::ranges::count_if(sensors, [](const auto &sensor) { return !!sensor; })));
    for (const auto &sensor : sensors) {
        if (sensor) {
            std::string why;
            lines += sensor_line(*sensor, read_states(client, *sensor, why));
            progress.step("sensors");
        }
    }
    progress.erase();
    return lines;
}

std::string file_name(const FetchOptions &chosen) {
    std::string name = chosen.name.empty() ? chosen.bmc.access.host : chosen.name;
    std::ranges::replace_if(
        name, [](char c) { return c == '/' || c == ':' || c == '[' || c == ']'; }, '_');
    return name;
}

} // namespace

FetchedCapture bmc::fetch_capture(BmcClient &client, const std::string &sdr_name) {
    SelFollower follower;
    const Server server = read_server(client, follower);
    FetchedCapture capture{{server.sdr.begin(), server.sdr.end()}, bytes_of(server.sel.records), "", {}, {}};
    capture.remarks = server.sel.remarks;
    capture.sensors = read_sensors(client, ipmi_access::parse_sdr_dump(server.sdr, sdr_name, capture.sdr_warnings));
    return capture;
}

namespace {

void write_capture(const std::string &files, const FetchedCapture &capture) {
    write_whole_file(files + ".sdr", capture.sdr);
    write_whole_file(files + ".sel", capture.sel);
    write_whole_file(files + ".sensors", capture.sensors);
    std::ranges::for_each(capture.remarks, warn);
    std::ranges::for_each(capture.sdr_warnings, warn);
}

int fetch(const FetchOptions &chosen) {
    return talk(chosen.bmc, exit_failed, [&chosen](BmcClient &client, StopThread &) {
        std::error_code error;
        std::filesystem::create_directories(chosen.directory, error);
        if (error) {
            throw Failure(chosen.directory + ": cannot make the folder: " + error.message());
        }
        const std::string files = chosen.directory + "/" + file_name(chosen);
        write_capture(files, fetch_capture(client, files + ".sdr"));
        return exit_ok;
    });
}

} // namespace

Run prepare_fetch(CLI::App &app) {
    const auto chosen = std::make_shared<FetchOptions>();
    cli::describe(
        app, "Reads from a server's BMC what replay takes, and writes it into DIR: NAME.sdr and NAME.sel as ipmitool\n"
             "would, and NAME.sensors with the present states of the sensors. It asks for the password unless -f,\n"
             "-E or -P gives it.");
    cli::add_text(app, "DIR", "", chosen->directory, "where the files go; made if it is missing").required();
    cli::add_text(app, "--name", "NAME", chosen->name, "NAME of the files (default: HOST)");
    add_bmc_options(app, chosen->bmc);
    return [chosen] { return fetch(*chosen); };
}
