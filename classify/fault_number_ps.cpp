// Fault numbers of the power entities: power supply (10), power system board (14), power module (20), power management (21).
#include "classify/event.h"
#include "classify/fault_number.h"
#include "fault_engine/classify.h"

using namespace fault_number;

namespace {

// Threshold events, columns by sensor type.
constexpr number_row temperature = pairs({none, none, 58, 56, 57, 58});
constexpr number_row voltage = pairs({none, none, none, none, 45, 46});
constexpr number_row current = pairs({none, none, none, 48, 49, 50});
constexpr number_row fan = pairs({3, 4, 5, none, none, none});
constexpr number_row power = pairs({none, none, none, 52, 53, 54});
constexpr number_row other_threshold = pairs({none, none, none, none, none, none});

constexpr number_row digital_or_predictive = offsets_0_and_1(883);
constexpr number_row entity_presence = offsets_0_and_1(112);
constexpr number_row presence = offsets_0_and_1(30);
constexpr number_row redundancy = from_zero({60, 61, 62, 61, 61, 61, 61, 62});

constexpr uint8_t configuration_error = 6;
constexpr number_row supply_events = from_zero({30, 883, 883, 32, 33, 34});

// What a configuration error is about, by the low four bits of event data 3 (IPMI v2.0, table 42-3, power supply).
constexpr number_row configuration_errors = {35, 36, 37, 38, 39, 40, 40, 40, 40, 40, 40, 40, 40, 40, 40, 40};

const number_row &threshold_row(uint8_t sensor_type_code) {
    switch (sensor_type_code) {
    case sensor_type::temperature: return temperature;
    case sensor_type::voltage: return voltage;
    case sensor_type::current: return current;
    case sensor_type::fan: return fan;
    case sensor_type::power_supply: return power;
    default: return other_threshold;
    }
}

int32_t supply_event(fe_read_buf *request, const ipmi_event &event) {
    if (event.sensor_type != sensor_type::power_supply) {
        return -1;
    }
    if (event.offset == configuration_error) {
        return give_number(request, configuration_errors, event.data_3 & 0x0F);
    }
    return give_number(request, supply_events, event.offset);
}

} // namespace

int32_t get_fault_num_ps(fe_read_buf *request, const sensor_data_record *, const uint8_t *sel_bytes) {
    const ipmi_event event = event_of(sel_bytes);
    switch (event.type) {
    case event_type::threshold: return give_number(request, threshold_row(event.sensor_type), event.offset);
    case event_type::digital:
    case event_type::predictive_failure: return give_number(request, digital_or_predictive, event.offset);
    case event_type::device_presence:
        return give_number(request, event.sensor_type == sensor_type::entity_presence ? entity_presence : presence,
                           event.offset);
    case event_type::redundancy: return give_number(request, redundancy, event.offset);
    case event_type::sensor_specific: return supply_event(request, event);
    default: return -1;
    }
}
