// fectl request: one fault request for an engine that runs.
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <set>
#include <string_view>
#include <vector>

#include "fault_engine/fault_request.h"
#include "tools/fectl.h"
#include "tools/options.h"
#include "tools/request_socket.h"

namespace {

constexpr char help[] = R"(usage: fectl request --socket PATH --entity N --instance N --severity WORD [options]

Sends one fault request to a running engine. Numbers are decimal, or hexadecimal with 0x in front.

  --socket PATH         the engine's socket, as fectl serve says it
  --entity N            IPMI entity id of the faulty part
  --instance N          its instance
  --severity WORD       cleared, info, warning, minor, major, critical, or a number
  --type N              entity type: the IPMI sensor type (default: 0)
  --sensor NAME         name of the sensor, at most 19 characters
  --sensor-number N     its number (default: 0)
  --number N            fault number (default: 0)
  --group-instance N    instance of the entity's group (default: 1)
  --tags N              fault tags (default: 0)
  --event-type N        IPMI event/reading type (default: 0)
  -h, --help            this text
)";

struct NumberOption {
    const char *name;
    int64_t least, most;
    void (*set)(fe_read_buf &request, int64_t value);
};
template <auto field>
constexpr auto store = [](fe_read_buf &request, int64_t value) {
    request.*field = static_cast<std::remove_reference_t<decltype(request.*field)>>(value);
};
constexpr NumberOption numbers[] = {
    {"entity", 0, UINT8_MAX, store<&fe_read_buf::entity_id>},
    {"instance", INT32_MIN, INT32_MAX, store<&fe_read_buf::entity_instance>},
    {"type", 0, UINT8_MAX, store<&fe_read_buf::entity_type>},
    {"sensor-number", 0, UINT32_MAX, store<&fe_read_buf::sens_num>},
    {"number", INT32_MIN, INT32_MAX, store<&fe_read_buf::fe_fault_num>},
    {"group-instance", INT32_MIN, INT32_MAX, store<&fe_read_buf::entity_group_instance>},
    {"tags", INT32_MIN, INT32_MAX, store<&fe_read_buf::vemoFaultTags>},
    {"event-type", 0, INT8_MAX, store<&fe_read_buf::eventType>},
};

struct SeverityWord {
    std::string_view word;
    fe_severity severity;
};
constexpr SeverityWord severity_words[] = {
    {"cleared", FE_SEVERITY_CLEARED}, {"info", FE_SEVERITY_INFO},   {"warning", FE_SEVERITY_WARNING},
    {"minor", FE_SEVERITY_MINOR},     {"major", FE_SEVERITY_MAJOR}, {"critical", FE_SEVERITY_CRITICAL},
};

enum OtherOption { socket_option = 'k', severity_option = 's', name_option = 'n', help_option = 'h' };
constexpr const char *needed[] = {"socket", "entity", "instance", "severity"};

std::vector<option> all_options() {
    std::vector<option> options = {
        {"socket", required_argument, nullptr, socket_option},
        {"severity", required_argument, nullptr, severity_option},
        {"sensor", required_argument, nullptr, name_option},
        {"help", no_argument, nullptr, help_option},
    };
    for (const NumberOption &number : numbers)
        options.push_back({number.name, required_argument, nullptr, static_cast<int>(&number - numbers)});
    options.push_back({});
    return options;
}

int32_t parse_severity(const char *text) {
    const auto *known = std::ranges::find(severity_words, text, &SeverityWord::word);
    if (known != std::end(severity_words))
        return known->severity;
    if (isalpha(static_cast<unsigned char>(*text)) != 0)
        throw Refusal(std::string("--severity: '") + text + "' is no severity; see fectl request --help");
    return static_cast<int32_t>(parse_number("--severity", text, INT32_MIN, INT32_MAX));
}

void set_name(fe_read_buf &request, const std::string &name) {
    if (name.size() >= sizeof request.sensor_name)
        throw Refusal("--sensor: '" + name + "' is longer than " + std::to_string(sizeof request.sensor_name - 1) +
                      " characters");
    name.copy(request.sensor_name, name.size());
}

struct RequestOptions {
    std::string socket;
    fe_read_buf request{};
    bool help = false;
    std::set<std::string> given;

    void take(int found, const char *argument) {
        switch (found) {
        case socket_option: socket = argument; break;
        case severity_option: request.vemoFaultSeverity = parse_severity(argument); break;
        case name_option: set_name(request, argument); break;
        case help_option: help = true; break;
        default: {
            const NumberOption &number = numbers[found];
            const std::string name = std::string("--") + number.name;
            number.set(request, parse_number(name, argument, number.least, number.most));
        }
        }
    }
};

} // namespace

int run_request(int argc, char **argv) {
    RequestOptions chosen;
    chosen.request.entity_group_instance = 1;
    const std::vector<option> options = all_options();
    parse_options(argc, argv, options.data(), [&](int found, const char *argument) {
        chosen.take(found, argument);
        const auto option_found = std::ranges::find(options, found, &option::val);
        chosen.given.insert(option_found->name);
    });
    if (chosen.help) {
        fputs(help, stdout);
        return exit_ok;
    }
    for (const char *name : needed)
        if (!chosen.given.contains(name))
            throw Refusal(std::string("request: --") + name + " is needed; see fectl request --help");
    send_request(chosen.socket, chosen.request);
    return exit_ok;
}
