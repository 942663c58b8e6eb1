#include "bench/soak_schedule.h"

#include <iterator>
#include <string>

#include "bench/neighbours.h"

namespace {

constexpr uint8_t threshold = 0x01, severity_levels = 0x07, device_presence = 0x08, sensor_specific = 0x6F;
constexpr uint8_t deassertion = 0x80;
constexpr int instances = 8;

// Request road: entities with faults of several codes each, and one whose four codes are levels of one voltage.
constexpr uint8_t request_entities[] = {4, 11, 23, 25, 46, 49, 212, 215};
constexpr uint8_t levelled_entity = 7;
constexpr int32_t voltage_levels[] = {918, 919, 920, 921};
constexpr uint8_t unknown_entity = 2;
constexpr uint32_t beyond_sensors = 0x100; // such a sensor number is no sensor's

// SEL road: eight sensors of each kind, a sensor for each instance.
struct Kind {
    uint8_t entity;
    uint8_t sensor_type;
    uint8_t event_type;
    uint8_t first_instance; // in the sensor data records; the engine counts from 1
};
constexpr Kind kinds[] = {
    {3, 0x01, severity_levels, 1},          {16, 0x02, severity_levels, 1},  {29, 0x04, threshold, 0},
    {10, 0x08, sensor_specific, 1},         {208, 0x0D, severity_levels, 1}, {210, 0x0D, severity_levels, 0},
    {15, 0x0D, severity_levels, 1}, // twins
    {transient_entity, 0x02, threshold, 1},
};
constexpr unsigned plain_kinds = 6, twin_kind = 6, transient_kind = 7;
constexpr uint8_t bios_sensor = 200, unknown_sensor = 250;

// What sends a severity down the SEL road, for each kind of events.
struct Form {
    uint8_t event_type;
    int32_t severity;
    uint8_t dir_bit;
    uint8_t offset;
};
constexpr Form forms[] = {
    {severity_levels, FE_SEVERITY_CLEARED, 0, 0},
    {severity_levels, FE_SEVERITY_MINOR, 0, 1},
    {severity_levels, FE_SEVERITY_MAJOR, 0, 2},
    {severity_levels, FE_SEVERITY_CRITICAL, 0, 3},
    {severity_levels, FE_SEVERITY_WARNING, 0, 7},
    {severity_levels, FE_SEVERITY_INFO, 0, 8},
    {threshold, FE_SEVERITY_CLEARED, deassertion, 0},
    {threshold, FE_SEVERITY_MINOR, 0, 0},
    {threshold, FE_SEVERITY_MAJOR, 0, 2},
    {threshold, FE_SEVERITY_CRITICAL, 0, 4},
    {sensor_specific, FE_SEVERITY_CLEARED, deassertion, 1},
    {sensor_specific, FE_SEVERITY_CRITICAL, 0, 1},
    {sensor_specific, FE_SEVERITY_MAJOR, 0, 3},
    {device_presence, FE_SEVERITY_CLEARED, 0, 1},
};

// A form of that severity, or the next one of that event type.
const Form &form_of(uint8_t event_type, int32_t severity) {
    const Form *found = nullptr;
    for (const Form &form : forms) {
        if (form.event_type == event_type && (found == nullptr || form.severity == severity)) {
            found = &form;
        }
    }
    return *found;
}

uint8_t sensor_of(unsigned kind, int32_t instance) {
    return static_cast<uint8_t>(kind * instances + static_cast<unsigned>(instance) - 1);
}

sel_record record_of(uint8_t sensor_number, uint8_t sensor_type, const Form &form) {
    sel_record record{};
    record.record_type = 0x02;
    record.sensor_type = sensor_type;
    record.sensor_number = sensor_number;
    record.event_dir_type = static_cast<uint8_t>(form.event_type | form.dir_bit);
    record.event_data[0] = form.offset;
    return record;
}

Event sel_event(unsigned kind, int32_t instance, int32_t severity, int32_t code) {
    const Kind &of = kinds[kind];
    const Form &form = form_of(of.event_type, severity);
    Event event;
    event.entity = of.entity;
    event.instance = instance;
    event.severity = form.severity;
    event.code = code;
    event.sensor_number = sensor_of(kind, instance);
    event.record = record_of(sensor_of(kind, instance), of.sensor_type, form);
    return event;
}

// The end of the power-on self test: clears a fault that there never was, and has the engine run two stale passes.
Event bios_event() {
    Event event;
    event.entity = 34;
    event.instance = 1;
    event.severity = FE_SEVERITY_CLEARED;
    event.code = 103;
    event.sensor_number = bios_sensor;
    event.record = record_of(bios_sensor, 0x0F, form_of(device_presence, FE_SEVERITY_CLEARED));
    return event;
}

// Records that the engine turns away: OEM, without a sensor data record, of another sensor type.
Event refused_event(int why) {
    Event event;
    event.fate = Event::Fate::refused;
    event.record = record_of(why == 1 ? unknown_sensor : bios_sensor, why == 2 ? 0x01 : 0x0F, forms[0]);
    event.record.record_type = why == 0 ? 0xC0 : 0x02;
    return event;
}

} // namespace

void describe_soak_sensors() {
    for (unsigned kind = 0; kind < std::size(kinds); ++kind) {
        const Kind &of = kinds[kind];
        for (int instance = 1; instance <= instances; ++instance) {
            const uint8_t number = sensor_of(kind, instance);
            const auto sdr_instance = static_cast<uint8_t>(instance - 1 + of.first_instance);
            const std::string name = "SENSOR_" + std::to_string(number);
            neighbours::describe(number, of.entity, sdr_instance, of.sensor_type, of.event_type, 0,
                                 (of.entity == 10 ? "PSU " : "") + name + ": state changed");
            if (of.entity == transient_entity) {
                neighbours::sensors()[number].state = 0; // within its thresholds
            }
        }
    }
    neighbours::describe(bios_sensor, 34, 1, 0x0F, device_presence, 0, "BIOS_POST_CMPLT: asserted");
}

Schedule::Schedule(Source source, const std::atomic<uint64_t> &fill_from)
    : source_(source), fill_from_(fill_from), random_(source == Source::requests ? 11 : 12) {}

Event Schedule::next() {
    const bool fills = sent_ >= fill_from_.load(std::memory_order_acquire);
    const Event event = fills ? fill_event() : source_ == Source::requests ? next_request() : next_sel();
    ++sent_;
    return event;
}

int Schedule::below(int limit) {
    return static_cast<int>(random_() >> 4) % limit;
}

int32_t Schedule::random_severity() {
    static constexpr int32_t severities[] = {0, 0, 0, 0, 1, 3, 4, 5, 6};
    return severities[below(std::size(severities))];
}

// Storage faults are few, stay in their bands and are mostly cleared: so the bands run empty now and then, which is all
// that the storage status shows.
int32_t Schedule::random_storage_severity(int32_t code) {
    static constexpr int32_t bands[3][2] = {{1, 1}, {3, 4}, {5, 6}};
    return below(4) != 0 ? 0 : bands[code % 3][below(2)];
}

Event Schedule::next_request() {
    Event event;
    event.instance = 1 + below(instances);
    event.severity = below(20) == 0 ? 2 : random_severity(); // 2 has no word, but is a severity
    event.sensor_number = below(2) == 0 ? sensor_of(0, event.instance) : beyond_sensors;
    const int kind = below(std::size(request_entities) + 2);
    if (kind == std::size(request_entities)) {
        event.entity = levelled_entity;
        const int level = below(std::size(voltage_levels));
        event.code = voltage_levels[level];
        for (int i = 1; i < 4; ++i) {
            event.related[i - 1] = voltage_levels[(level + i) % 4];
        }
        event.catalogue_relates = true;
    } else if (kind > static_cast<int>(std::size(request_entities)) && below(4) == 0) {
        event.entity = unknown_entity;
        event.fate = Event::Fate::refused;
    } else {
        event.entity = request_entities[kind % static_cast<int>(std::size(request_entities))];
        event.code = 20000 + below(6);
        if (is_storage(event.entity)) {
            event.instance = 1;
            event.severity = random_storage_severity(event.code);
        }
    }
    return event;
}

Event Schedule::next_sel() {
    if (twin_step_ > 0) {
        return next_of_twins();
    }
    const int choice = sent_ < walk_records ? 100 : below(1000); // sweeps and stale passes come after the walk
    if (choice < 2) {
        return bios_event();
    }
    if (choice < 12) {
        twin_instance_ = 1 + below(instances);
        return next_of_twins();
    }
    if (choice < 30) {
        return refused_event(below(3));
    }
    if (choice < 60) {
        Event event = sel_event(transient_kind, 1 + below(instances), FE_SEVERITY_MINOR, 30000 + below(2));
        event.fate = Event::Fate::transient;
        return event;
    }
    const auto kind = static_cast<unsigned>(below(plain_kinds));
    const int32_t code = 40000 + below(4);
    if (is_storage(kinds[kind].entity)) {
        return sel_event(kind, 1, random_storage_severity(code), code);
    }
    return sel_event(kind, 1 + below(instances), random_severity(), code);
}

// Two faults, then an event that gives the first the code of the second. The duplicate pass clears the first; the last
// event clears what is left.
Event Schedule::next_of_twins() {
    static constexpr struct {
        int32_t severity;
        int32_t code;
        int32_t related;
    } steps[] = {{FE_SEVERITY_MINOR, 50000, 0},
                 {FE_SEVERITY_MAJOR, 50001, 0},
                 {FE_SEVERITY_CRITICAL, 50001, 50000},
                 {FE_SEVERITY_CLEARED, 50001, 0}};
    const auto &step = steps[twin_step_];
    Event event = sel_event(twin_kind, twin_instance_, step.severity, step.code);
    event.related[0] = step.related;
    event.after_sweep = step.severity == FE_SEVERITY_CLEARED;
    twin_step_ = (twin_step_ + 1) % static_cast<int>(std::size(steps));
    return event;
}

Event Schedule::fill_event() {
    const auto n = static_cast<int32_t>(sent_ - fill_from_.load(std::memory_order_acquire));
    if (source_ == Source::sel) {
        const auto kind = static_cast<unsigned>(n) % plain_kinds;
        return sel_event(kind, 1 + n % instances, FE_SEVERITY_MAJOR, 70000 + n);
    }
    Event event;
    event.entity = request_entities[static_cast<unsigned>(n) % std::size(request_entities)];
    event.instance = 1 + n % 3;
    event.severity = FE_SEVERITY_MAJOR;
    event.code = 60000 + n;
    event.sensor_number = beyond_sensors;
    return event;
}

fe_read_buf request_of(const Event &event) {
    fe_read_buf request{};
    request.entity_id = event.entity;
    request.entity_group_instance = 1;
    request.entity_instance = event.instance;
    request.vemoFaultSeverity = event.severity;
    request.sens_num = event.sensor_number;
    return request;
}
