// fectl request: one fault request for an engine that runs.
#include <memory>
#include <string>
#include <type_traits>

#include "fault_engine/fault_request.h"
#include "tools/cli.h"
#include "tools/fectl.h"
#include "tools/request_socket.h"

namespace {

struct NumberOption {
    const char *name;
    int64_t least, most;
    void (*set)(fe_read_buf &request, int64_t value);
    const char *help;
    bool needed = false;
};
template <auto field>
constexpr auto store = [](fe_read_buf &request, int64_t value) {
    request.*field = static_cast<std::remove_reference_t<decltype(request.*field)>>(value);
};
constexpr NumberOption numbers[] = {
    {"--entity", 0, UINT8_MAX, store<&fe_read_buf::entity_id>, "IPMI entity id of the faulty part", true},
    {"--instance", INT32_MIN, INT32_MAX, store<&fe_read_buf::entity_instance>, "its instance", true},
    {"--type", 0, UINT8_MAX, store<&fe_read_buf::entity_type>, "entity type: the IPMI sensor type (default: 0)"},
    {"--sensor-number", 0, UINT32_MAX, store<&fe_read_buf::sens_num>, "number of the sensor (default: 0)"},
    {"--number", INT32_MIN, INT32_MAX, store<&fe_read_buf::fe_fault_num>, "fault number (default: 0)"},
    {"--group-instance", INT32_MIN, INT32_MAX, store<&fe_read_buf::entity_group_instance>,
     "instance of the entity's group (default: 1)"},
    {"--tags", INT32_MIN, INT32_MAX, store<&fe_read_buf::vemoFaultTags>, "fault tags (default: 0)"},
    {"--event-type", 0, INT8_MAX, store<&fe_read_buf::eventType>, "IPMI event/reading type (default: 0)"},
};

void set_name(fe_read_buf &request, const std::string &name) {
    if (name.size() >= sizeof request.sensor_name) {
        throw Refusal("--sensor: '" + name + "' is longer than " + std::to_string(sizeof request.sensor_name - 1) +
                      " bytes");
    }
    name.copy(request.sensor_name, name.size());
}

struct RequestOptions {
    std::string socket;
    fe_read_buf request{};
};

} // namespace

Run prepare_request(CLI::App &app) {
    const auto chosen = std::make_shared<RequestOptions>();
    fe_read_buf &request = chosen->request;
    request.entity_group_instance = 1;
    cli::describe(app,
                  "Sends a running engine one fault request. Numbers are decimal, or hexadecimal with 0x in front.");
    cli::add_text(app, "--socket", "PATH", chosen->socket, "the engine's socket, as fectl serve says it").required();
    cli::add_parsed(
        app, "--severity", "WORD",
        [&request](const std::string &text) { request.vemoFaultSeverity = cli::parse_severity("--severity", text); },
        "cleared, info, warning, minor, major, critical, or a number")
        .required();
    cli::add_parsed(
        app, "--sensor", "NAME", [&request](const std::string &name) { set_name(request, name); },
        "name of the sensor, at most 19 bytes");
    for (const NumberOption &number : numbers) {
        cli::add_parsed(
            app, number.name, "N",
            [&request, &number](const std::string &text) {
                number.set(request, cli::parse_number(number.name, text, number.least, number.most));
            },
            number.help)
            .required(number.needed);
    }
    return [chosen] {
        send_request(chosen->socket, chosen->request);
        return exit_ok;
    };
}
