#include "bench/soak_check.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <set>
#include <sstream>
#include <string>

#include "bench/soak_model.h"
#include "fault_engine/fault_table.h"
#include "platform/fe_core/fe_core.h"

namespace {

constexpr uint64_t differences_printed = 20;

SoakCounts all_counts = {.sent = {},
                         .dispatched = {},
                         .broadcasts = 0,
                         .created = 0,
                         .repeated = 0,
                         .cleared = 0,
                         .differences = 0,
                         .sweeps = 0,
                         .sweeps_before_last_dispatch = 0,
                         .stale_passes = 0,
                         .fill_from = {UINT64_MAX, UINT64_MAX}};

// Guarded by fe_write_buf_mutex until the engine has stopped.
Model model;
Schedule schedules[2] = {{Source::requests, all_counts.fill_from[0]}, {Source::sel, all_counts.fill_from[1]}};
int32_t now; // events dispatched so far
std::string storage_status_file;
struct {
    Event event;
    Outcome outcome;
    bool expected;
} broadcast;

bool is_from_sel(const fe_read_buf &request) {
    return request.sensor_name[0] != '\0'; // our requests have none
}

std::string bytes_of(const char *file) {
    std::ostringstream bytes;
    bytes << std::ifstream(file, std::ios::binary).rdbuf();
    return bytes.str();
}

void check_storage_status() {
    const std::string status = bytes_of(storage_status_file.c_str());
    if (status != std::string(1, static_cast<char>(model.storage_status()))) {
        difference("event %d left a storage status that is not %02x", now, unsigned{model.storage_status()});
    }
}

// The next event of the source that gets as far as the entity filter.
Event next_dispatched(Source source) {
    for (;;) {
        const Event event = schedules[static_cast<size_t>(source)].next();
        if (event.after_sweep) {
            model.sweep_twins(event.entity, event.instance);
        }
        if (event.fate != Event::Fate::refused) {
            return event;
        }
    }
}

void fill_record(const Event &event, fe_write_buf *record) {
    record->entity_id = event.entity;
    record->entity_instance = event.instance;
    record->vemoFaultSeverity = event.severity;
    record->sens_num = event.sensor_number;
    record->vemoFaultCode = event.code;
    record->vemoFaultIndex = static_cast<uint32_t>(now);
    record->Fault_time = now;
    snprintf(record->TimeOfEvent, sizeof record->TimeOfEvent, "event %d", now);
    snprintf(record->FaultDescription, sizeof record->FaultDescription, "fault %d of %u/%d", event.code,
             unsigned{event.entity}, event.instance);
    if (!event.catalogue_relates) {
        memcpy(record->related_FaultCode.related_fc + 1, event.related, sizeof event.related);
    }
    const uint64_t seal = seal_of(*record);
    memcpy(record->opaque_924, &seal, sizeof seal);
}

void count(Change change) {
    ++(change == Change::created    ? all_counts.created
       : change == Change::repeated ? all_counts.repeated
                                    : all_counts.cleared);
}

// What differs between a record and the model's fault, or null.
const char *differing_field(const fe_write_buf &record, const ModelFault &fault) {
    const std::string previous_text = "event " + std::to_string(fault.previous_time);
    return record.entity_id != fault.entity                    ? "entity_id"
           : record.entity_instance != fault.instance          ? "entity_instance"
           : record.vemoFaultCode != fault.code                ? "vemoFaultCode"
           : record.vemoFaultSeverity != fault.severity        ? "vemoFaultSeverity"
           : record.vemoFaultOccur != fault.occurrences        ? "vemoFaultOccur"
           : record.Fault_time != fault.time                   ? "Fault_time"
           : record.Previous_Fault_time != fault.previous_time ? "Previous_Fault_time"
           : record.PreviousTimeOfEvent != previous_text       ? "PreviousTimeOfEvent"
           : seal_of(record) != seal_in(record)                ? "what the entity filter wrote"
                                                               : nullptr;
}

void compare_chain() {
    auto expected = model.faults().begin();
    const fe_table_entry *entry = fe_table_head_ptr;
    for (size_t i = 0; entry != nullptr && expected != model.faults().end(); ++i, entry = entry->next, ++expected) {
        if (const char *field = differing_field(entry->record, *expected)) {
            difference("entry %zu of the table: %s is not %u/%d/%d's", i, field, unsigned{expected->entity},
                       expected->instance, expected->code);
        }
    }
    if (entry != nullptr || expected != model.faults().end() || fe_fault_count != model.faults().size()) {
        difference("the table counts %u faults, not %zu", fe_fault_count, model.faults().size());
    }
}

void check_index() {
    std::multiset<const fe_table_entry *> indexed;
    for (const entity_id_node *entity = entity_id_list_head_ptr; entity != nullptr; entity = entity->next) {
        for (const entity_instance_node *of = entity->instance_list; of != nullptr; of = of->next) {
            for (const fault_node *fault = of->fault_list; fault != nullptr; fault = fault->next) {
                const fe_write_buf &record = fault->entry->record;
                indexed.insert(fault->entry);
                if (record.entity_id != entity->entity_id || record.entity_instance != of->entity_instance ||
                    record.vemoFaultCode != fault->fault_code) {
                    difference("the index has fault %d in the wrong place", record.vemoFaultCode);
                }
            }
        }
    }
    std::multiset<const fe_table_entry *> chained;
    for (const fe_table_entry *entry = fe_table_head_ptr; entry != nullptr; entry = entry->next) {
        chained.insert(entry);
    }
    if (indexed != chained) {
        difference("the index has other entries than the chain");
    }
}

std::string bytes_of_table() {
    std::string bytes;
    for (const fe_table_entry *entry = fe_table_head_ptr; entry != nullptr; entry = entry->next) {
        bytes.append(reinterpret_cast<const char *>(&entry->record), sizeof entry->record);
    }
    return bytes;
}

} // namespace

SoakCounts &counts() {
    return all_counts;
}

void difference(const char *format, ...) {
    if (all_counts.differences++ >= differences_printed) {
        return;
    }
    char text[256];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    fprintf(stderr, "soak: %s\n", text);
}

uint64_t seal_of(const fe_write_buf &record) {
    uint64_t seal = 14695981039346656037ULL; // FNV-1a
    const auto add = [&](const void *bytes, size_t size) {
        for (const auto *byte = static_cast<const uint8_t *>(bytes); size > 0; --size) {
            seal = (seal ^ *byte++) * 1099511628211ULL;
        }
    };
    add(&record, offsetof(fe_write_buf, severity_word));
    add(record.FaultDescription, sizeof record.FaultDescription + sizeof record.TimeOfEvent);
    add(&record.vemoFaultCode, sizeof record.vemoFaultCode);
    return seal;
}

uint64_t seal_in(const fe_write_buf &record) {
    uint64_t seal = 0;
    memcpy(&seal, record.opaque_924, sizeof seal);
    return seal;
}

void check_status_in(const std::string &file) {
    storage_status_file = file;
}

int32_t check_dispatch(fe_read_buf *request, fe_write_buf *record) {
    if (broadcast.expected) {
        difference("event %d was not broadcast", now);
    }
    if (is_storage(broadcast.event.entity)) {
        check_storage_status();
    }
    const Source source = is_from_sel(*request) ? Source::sel : Source::requests;
    const Event event = next_dispatched(source);
    ++now;
    if (request->entity_id != event.entity || request->entity_instance != event.instance ||
        request->vemoFaultSeverity != event.severity || request->sens_num != event.sensor_number) {
        difference("event %d: %u/%d severity %d came, %u/%d severity %d was sent", now, unsigned{request->entity_id},
                   request->entity_instance, request->vemoFaultSeverity, unsigned{event.entity}, event.instance,
                   event.severity);
    }
    const Outcome outcome = event.fate == Event::Fate::transient ? Outcome{} : model.apply(event, now);
    const bool live = source == Source::requests || fe_flag(&sel_init_complete) != 0;
    const bool changes = outcome.change != Change::none || event.fate == Event::Fate::transient;
    broadcast = {.event = event, .outcome = outcome, .expected = live && changes};
    fill_record(event, record);
    if (source == Source::sel) {
        all_counts.sweeps_before_last_dispatch = all_counts.sweeps.load();
    }
    ++all_counts.dispatched[static_cast<size_t>(source)];
    return 0;
}

void check_broadcast(const fe_write_buf &record) {
    ++all_counts.broadcasts;
    if (!broadcast.expected) {
        difference("event %d was broadcast", now);
        return;
    }
    broadcast.expected = false;
    Change change = broadcast.outcome.change;
    if (broadcast.event.fate == Event::Fate::transient) {
        change = record.vemoFaultOccur == 1 ? Change::created : Change::repeated;
        if (record.vemoFaultCode != broadcast.event.code || record.Fault_time != now) {
            difference("event %d: another fault was broadcast", now);
        }
    } else if (const char *field = differing_field(record, broadcast.outcome.fault)) {
        difference("event %d: %s of its broadcast is wrong", now, field);
    }
    count(change);
    const bool filtered = change == Change::repeated && is_storage(record.entity_id);
    if ((fe_flag(&syslog_filter) != 0) != filtered) {
        difference("event %d: syslog_filter is wrong", now);
    }
    fe_set_flag(&syslog_filter, 0);
}

void check_end(const char *entry_file, const char *count_file) {
    if (broadcast.expected) {
        difference("the last event was not broadcast");
    }
    if (model.evicted() == 0) {
        difference("the table never overflowed");
    }
    compare_chain();
    check_index();
    if (bytes_of(entry_file) != bytes_of_table()) {
        difference("the entry file is not the table");
    }
    if (bytes_of(count_file) != std::string(reinterpret_cast<const char *>(&fe_fault_count), sizeof fe_fault_count)) {
        difference("the count file is not the table's count");
    }
    check_storage_status();
}
