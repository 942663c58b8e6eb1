// fectl fetch: a server's capture files, from its BMC.
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>

#include "tools/bmc/bmc_options.h"
#include "tools/bmc/server_reader.h"
#include "tools/cli.h"
#include "tools/fectl.h"
#include "tools/view.h"

namespace {

using namespace bmc;

struct FetchOptions {
    BmcOptions bmc;
    std::string directory, name;
};

std::string bytes_of(const std::vector<sel_record> &records) {
    return {reinterpret_cast<const char *>(records.data()), records.size() * sizeof(sel_record)};
}

// A line as replay takes it, with the name for people.
std::string state_line(const ipmi_access::Sensor &sensor, std::optional<uint32_t> state, const std::string &why) {
    char numbers[32];
    if (state) {
        snprintf(numbers, sizeof numbers, "0x%02x 0x%04x", sensor.number, *state);
    } else {
        snprintf(numbers, sizeof numbers, "# 0x%02x", sensor.number);
    }
    return numbers + ("  # " + sensor.label) + (state ? "" : ": " + why) + "\n";
}

std::string read_states(BmcClient &client, const ipmi_access::Sensors &sensors) {
    std::string lines = "# present states of the sensors: number, state bits\n";
    for (const auto &sensor : sensors) {
        if (sensor) {
            std::string why;
            const std::optional<uint32_t> state = read_state(client, *sensor, why);
            lines += state_line(*sensor, state, why);
        }
    }
    return lines;
}

// Whoever looks for the file finds it whole.
void write_file(const std::string &path, const std::string &content) {
    const std::string beside = path + ".new";
    FILE *file = fopen(beside.c_str(), "wbe");
    const bool written = file != nullptr && fwrite(content.data(), 1, content.size(), file) == content.size();
    const bool closed = file != nullptr && fclose(file) == 0;
    if (!written || !closed || rename(beside.c_str(), path.c_str()) != 0) {
        const int error = errno;
        remove(beside.c_str());
        throw Failure(path + ": cannot write: " + strerror(error));
    }
}

std::string file_name(const FetchOptions &chosen) {
    std::string name = chosen.name.empty() ? chosen.bmc.access.host : chosen.name;
    std::ranges::replace_if(
        name, [](char c) { return c == '/' || c == ':' || c == '[' || c == ']'; }, '_');
    return name;
}

void fetch_server(BmcClient &client, const std::string &files) {
    SelFollower follower;
    const Server server = read_server(client, follower);
    const ipmi_access::Sensors sensors = ipmi_access::parse_sdr_dump(server.sdr, files + ".sdr");
    const std::string states = read_states(client, sensors);
    write_file(files + ".sdr", {server.sdr.begin(), server.sdr.end()});
    write_file(files + ".sel", bytes_of(server.sel.records));
    write_file(files + ".sensors", states);
    for (const std::string &remark : server.sel.remarks) {
        warn(remark);
    }
}

int fetch(const FetchOptions &chosen) {
    std::error_code error;
    std::filesystem::create_directories(chosen.directory, error);
    if (error) {
        throw Failure(chosen.directory + ": cannot make the folder: " + error.message());
    }
    BmcClient client(resolve_access(chosen.bmc));
    try {
        fetch_server(client, chosen.directory + "/" + file_name(chosen));
    } catch (const BmcError &failure) {
        fail(chosen.bmc.access.host, failure);
    }
    client.call_off();
    client.leave();
    return exit_ok;
}

} // namespace

Run prepare_fetch(CLI::App &app) {
    const auto chosen = std::make_shared<FetchOptions>();
    app.description(
        "Reads from a server's BMC what replay takes, and writes it into DIR: NAME.sdr and NAME.sel as ipmitool\n"
        "would, and NAME.sensors with the present states of the sensors. It asks for the password unless -f,\n"
        "-E or -P gives it.");
    app.add_option("DIR", chosen->directory, "where the files go; made if it is missing")->type_name("")->required();
    app.add_option("--name", chosen->name, "NAME of the files (default: HOST)")->type_name("NAME");
    add_bmc_options(app, chosen->bmc);
    return [chosen] { return fetch(*chosen); };
}
