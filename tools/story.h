// What happened to a server's faults, as values. engine_watch makes them; text, JSON, CSV and whatever else is printed
// are views of them.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "fault_engine/fault_record.h"
#include "fault_engine/sel.h"
#include "platform/ipmi_access/event_text.h"

namespace story {

// A SEL record as it was read.
struct Record {
    uint16_t id;
    uint8_t type;
    std::optional<uint32_t> time; // seconds since 1970, or since start below 0x20000000; none in records without one
    uint16_t generator_id;
    uint8_t sensor_number;
    ipmi_access::Event event;
    uint8_t data[3];
};
Record read_record(const sel_record &bytes);

// False for OEM records, which have neither sensor nor generator.
bool has_sensor(const Record &record);

// Why a record became no fault.
enum class Reason { no_sensor, other_owner, sensor_type_differs, no_severity, no_fault_number, oem, other };
constexpr size_t reasons = 7;

struct Refused {
    Record record;
    Reason reason;
    int32_t result; // of the engine
    bool serious;   // by the event's own meaning
};

// A fault with its history. Counts and times are of what this process has seen; of a fault that was read from table
// files, they are what is stored there.
struct Fault {
    std::string sensor; // as the sensor data record has it; of requests, as the request has it
    uint32_t sensor_number;
    uint8_t sensor_type;
    uint8_t event_type;
    uint8_t entity_id;
    int32_t entity_instance; // as the sensor data record has it
    int32_t table_instance;  // as the engine counts it, from 1
    int32_t severity;        // enum fe_severity
    int32_t fault_number;
    int32_t table_code; // as the table has it
    int32_t cause;
    std::string own_name;                        // what the entity filter calls it
    std::optional<ipmi_access::Event> event;     // the last one; none for requests and faults out of table files
    std::optional<ipmi_access::Event> raised_by; // the first one
    uint64_t count;
    std::optional<uint32_t> first_time;
    std::optional<uint32_t> last_time;
};

// A fault out of the table or its files, without a history.
Fault read_fault(const fe_write_buf &record);

enum class ChangeKind { created, repeated, cleared, evicted };
enum class Origin { record, request, stale_pass, duplicate_pass };

// `before` is empty for a created fault. Of a cleared one `after` has severity 0 and the event that cleared it, of an
// evicted one it is what was evicted.
struct Change {
    ChangeKind kind;
    Origin origin; // of an evicted fault: what made its place scarce
    bool live;     // of a request, or after the start-up walk
    std::optional<Record> record;
    const Fault *before; // null for none; both are valid during the call only
    const Fault *after;
};

// An event cleared the fault that is not the other side of the one that raised it.
bool cleared_by_another_event(const Change &change);

struct Totals {
    size_t records = 0;
    size_t processed = 0; // dispatched: a change of a fault, nothing_to_clear or not_stored
    size_t ignored = 0;
    std::array<size_t, reasons> refused{};
    size_t refused_serious = 0;
    size_t left_out = 0; // because of a stop; counted nowhere else
    size_t requests = 0;
    size_t requests_processed = 0;
    size_t nothing_to_clear = 0; // records and requests
    size_t not_stored = 0;
    size_t created = 0; // faults, clean-up passes included
    size_t repeated = 0;
    size_t cleared = 0;
    size_t recovered = 0; // of the cleared ones: by the stale pass
    size_t evicted = 0;

    size_t refused_in_all() const;
};

// Is told what happens, as it happens, by one thread at a time.
class Listener {
public:
    virtual ~Listener() = default;
    virtual void change(const Change &) {}
    virtual void refused(const Refused &) {}
    virtual void record_done() {} // not for one that a stop has left out
};

// What is left when all is over.
struct Ending {
    std::vector<Fault> active; // newest first
    Totals totals;
};

} // namespace story
