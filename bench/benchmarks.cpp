// What the engine costs, beside its lower bounds. The neighbours are the stand-ins, the events those of a captured server.
// Takes Google Benchmark's options and adds the seconds of one operation, "time" and "bound", to each of its results.
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <random>
#include <unistd.h>
#include <utility>

#include "bench/compare.h"
#include "fault_engine/classify.h"
#include "fault_engine/engine.h"
#include "fault_engine/fault_table.h"
#include "platform/entity_filter/entity_filter_host.h"
#include "platform/fe_core/fe_core.h"
#include "platform/fe_core/fe_core_host.h"
#include "platform/ipmi_access/capture_file.h"
#include "platform/ipmi_access/ipmi_access_host.h"
#include "platform/ipmi_access/sdr_dump.h"
#include "platform/ipmi_access/sel_dump.h"
#include "tools/engine_files.h"

namespace {

// The write buffer and its record, published in the place of the fault processor's.
fe_write_buf record;
fe_write_buf_struct write_buffer = {&record, PTHREAD_MUTEX_INITIALIZER, PTHREAD_COND_INITIALIZER};

constexpr auto update_table = [] { update_fe_database(&write_buffer); };

void empty_table() {
    fe_set_flag(&sel_init_complete, 0);
    while (remove_last_fe_table_entry(&fe_table_head_ptr, &entity_id_list_head_ptr) == 0) {
        --fe_fault_count;
    }
}

// ---- the captured server

struct Event {
    const uint8_t *sel;
    sensor_data_record sensor;
    fe_read_buf request;
};

std::vector<Event> server_log, repeats; // all; those that make a fault

// What the entity filter made of the last of them, as the table holds it. It makes that of all, with the request's identity:
// nothing is formatted or searched in what is measured. All sensors read as faulty.
fe_write_buf sample;

void answer_from_memory(const fe_write_buf &answer) {
    sample = answer;
    entity_filter::hooks.fill = [](auto, auto, fe_read_buf *request, fe_write_buf_struct *wbuf) {
        *wbuf->fe_write_buf = sample;
        memcpy(static_cast<void *>(wbuf->fe_write_buf), request, sizeof *request);
        return 0;
    };
    ipmi_access::hooks.event_text = [](auto, auto, sel_text_rec *text) {
        strcpy(text->event, "P1_TEMP_SENS: Temperature Lower Non-critical going low");
        return 0;
    };
    ipmi_access::hooks.sensor_reading = [](auto, auto, auto, uint32_t *state) {
        *state = 0x3F;
        return 0;
    };
}

// The stand-in's SEL is the server's over and over, as long as the start-up walk can count.
void load_server() {
    ipmi_access::Capture server;
    ipmi_access::Warnings warnings;
    server.sensors = ipmi_access::parse_sdr_dump(ipmi_access::read_capture(CAPTURE ".sdr"), CAPTURE ".sdr", warnings);
    server.records = ipmi_access::parse_sel_dump(ipmi_access::read_capture(CAPTURE ".sel"), CAPTURE ".sel", warnings);
    const size_t records = server.records.size();
    while (server.records.size() < ipmi_access::max_walk_records) {
        server.records.push_back(server.records[server.records.size() - records]);
    }
    ipmi_access::serve(std::move(server));
    init_sdr_lookup();
    for (size_t i = 0; i < records; ++i) {
        Event event = {reinterpret_cast<const uint8_t *>(&ipmi_access::served().records[i]), {}, {}};
        uint32_t type = 0;
        IPMI_SensorGetSensorData(event.sel[offsetof(sel_record, sensor_number)], &type, &event.sensor);
        empty_table();
        process_sel_data(event.sel);
        if (fe_fault_count == 1) {
            answer_from_memory(fe_table_head_ptr->record);
            memcpy(&event.request, &fe_table_head_ptr->record, sizeof event.request);
            repeats.push_back(event);
        }
        server_log.push_back(event);
    }
}

// ---- tables

// Makes the record fault number `n`, under one of the first `side` instances of one of as many entities. Its code is
// unique, and no fault has its related codes.
void make_fault(uint32_t side, uint32_t n) {
    record = sample;
    record.entity_id = static_cast<uint8_t>(1 + n % side);
    record.entity_instance = static_cast<int32_t>(1 + n / side % side);
    record.vemoFaultCode = static_cast<int32_t>(100000 + n);
    record.related_FaultCode = {{record.vemoFaultCode, -1, -2, -3, 0, 0, 0}};
}

// Without files. The order of the chain has nothing to do with that of the memory.
void fill_table(uint32_t side, uint32_t count) {
    empty_table();
    std::minstd_rand random(1);
    for (uint32_t i = 0; i < 4 * count; ++i) {
        make_fault(side, i < count ? i : static_cast<uint32_t>(random()) % count);
        update_table();
    }
}

template <class Node, class Condition>
Node **find(Node **link, Condition holds) {
    while (!holds(**link)) {
        link = &(*link)->next;
    }
    return link;
}

fe_table_entry *find_entry() {
    auto *entity = *find(&entity_id_list_head_ptr, [](auto &at) { return at.entity_id == record.entity_id; });
    auto *slot = *find(&entity->instance_list, [](auto &at) { return at.entity_instance == record.entity_instance; });
    return (*find(&slot->fault_list, [](auto &at) { return at.fault_code == record.vemoFaultCode; }))->entry;
}

// ---- one change of the table with its files written, against the same system calls on the same bytes

bool write_pair() {
    const int entries_fd = open("/tmp/fe_table.entry", O_RDWR | O_CREAT | O_TRUNC, 0704);
    const int count_fd = open("/tmp/fe_table.sz", O_RDWR | O_CREAT | O_TRUNC, 0704);
    bool ok = lockf(entries_fd, F_LOCK, 0) == 0 && lockf(count_fd, F_LOCK, 0) == 0;
    ok &= write(count_fd, &fe_fault_count, sizeof fe_fault_count) == sizeof fe_fault_count;
    for (const fe_table_entry *entry = fe_table_head_ptr; entry != nullptr; entry = entry->next) {
        ok &= write(entries_fd, &entry->record, sizeof entry->record) == sizeof entry->record;
    }
    ok &= fsync(entries_fd) == 0 && fsync(count_fd) == 0;
    ok &= lockf(count_fd, F_ULOCK, 0) == 0 && lockf(entries_fd, F_ULOCK, 0) == 0;
    close(entries_fd);
    close(count_fd);
    return ok;
}

void change(State &state, uint32_t count, const std::string &folder) {
    redirect_engine_files(folder);
    fill_table(8, count);
    fe_set_flag(&sel_init_complete, 1);
    std::minstd_rand random(3);
    const auto change_one = [&] {
        make_fault(8, static_cast<uint32_t>(random()) % count);
        update_table();
    };
    compare(state, 1, change_one, write_pair);
    const auto path = folder + "/fe_table.entry";
    check(state, write_pair() && std::filesystem::file_size(path) == count * sizeof record, "no files were written");
}

// ---- one update of a full table without files, as during the start-up walk, against the bare walk to the fault, to its
// place on the chain, and the copy of its record

void update_bare() {
    fe_table_entry *entry = find_entry();
    fe_table_entry **link = find(&fe_table_head_ptr, [=](auto &other) { return &other == entry; });
    entry->record = record;
    *link = entry->next;
    entry->next = fe_table_head_ptr;
    fe_table_head_ptr = entry;
}

// The best case is the first fault, at the head; any other one goes back to the tail before each update.
void update(State &state, uint32_t side, uint32_t n) {
    constexpr int updates = 64;
    fill_table(side, FE_TABLE_MAX_FAULTS);
    make_fault(side, n);
    update_table();
    fe_table_entry *tail = *find(&fe_table_head_ptr, [](auto &entry) { return entry.next == nullptr; });
    const auto repeat = [=](auto update_one) {
        for (int i = 0; i < updates; ++i) {
            if (n != 0) {
                fe_table_entry *head = fe_table_head_ptr;
                fe_table_head_ptr = head->next;
                tail->next = head;
                head->next = nullptr;
            }
            record.Previous_Fault_time = 0;
            update_one();
        }
    };
    compare(
        state, updates, [=] { repeat(update_table); }, [=] { repeat(update_bare); });
    check(state, fe_table_head_ptr == find_entry() && fe_fault_count == FE_TABLE_MAX_FAULTS, "not an update");
}

// ---- severity and fault number of the server's faults, against the two log lines and one look into a table

void classify(State &state) {
    std::vector<int32_t> answers(4096); // by direction, event type and offset
    const auto classify_all = [] {
        for (auto &[sel, sensor, request] : repeats) {
            fe_get_severity(&request, &sensor, sel);
        }
    };
    const auto look_up_all = [&] {
        for (auto &[sel, sensor, request] : repeats) {
            const unsigned type = sel[offsetof(sel_record, event_dir_type)];
            const unsigned offset = sel[offsetof(sel_record, event_data)] & 0x0FU;
            fe_logger("%x %x %u %x %u\n", sensor.entity_id, type & 0x7F, type >> 7, offset, sensor.sensor_type);
            request.vemoFaultSeverity = answers[type << 4 | offset];
            fe_logger("%d %d %d\n", request.vemoFaultSeverity, request.fe_fault_num, 0);
        }
    };
    compare(state, repeats.size(), classify_all, look_up_all);
}

// ---- the clean-up passes on a full table in which they find nothing to do, against a bare walk of the same lists; that
// of the stale pass also makes the sensor calls and logs the line that each of them costs

void walk_index() {
    for (const auto *entity = entity_id_list_head_ptr; entity != nullptr; entity = entity->next) {
        for (const auto *instance = entity->instance_list; instance != nullptr; instance = instance->next) {
            for (const auto *fault = instance->fault_list; fault != nullptr; fault = fault->next) {
                benchmark::DoNotOptimize(fault->fault_code);
            }
        }
    }
}

void walk_chain_and_ask() {
    for (const fe_table_entry *entry = fe_table_head_ptr; entry != nullptr; entry = entry->next) {
        const auto number = static_cast<int32_t>(entry->record.sens_num);
        uint32_t answers[3] = {};
        sensor_data_record sensor;
        IPMI_SensorGetSensorData(number, &answers[0], &sensor);
        IPMI_SensorGetSensorReading(number, &answers[0], &answers[1], &answers[2]);
        fe_logger("%s %u %u %u\n", entry->record.sensor_name, answers[2], sensor.event_type, sensor.sensor_type);
    }
}

void clean_up(State &state, uint32_t side, void (*pass)(), void (*walk)()) {
    fill_table(side, FE_TABLE_MAX_FAULTS);
    compare(state, 1, pass, walk);
    check(state, fe_fault_count == FE_TABLE_MAX_FAULTS, "the pass found something to clear");
}

// ---- SEL records, which have no bound: next to all that they need is the neighbours' calls

__attribute__((format(printf, 1, 0))) void format_line(const char *format, va_list arguments) {
    static char line[1024];
    vsnprintf(line, sizeof line, format, arguments);
}

// Live means broadcasts and files.
void sel_road(State &state, size_t records, const Work &send, decltype(&format_line) log, bool live) {
    empty_table();
    ipmi_access::limit_walk(records);
    fe_set_flag(&sel_init_complete, live);
    fe_core::hooks.log = log;
    compare(state, records, send, [] {});
    state.counters.erase("bound");
    fe_core::hooks.log = nullptr;
    check(state, fe_fault_count != 0, "the records made no faults");
}

} // namespace

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    const std::string name = "/fault-engine-bench." + std::to_string(getpid());
    const std::string disk = std::filesystem::temp_directory_path().string() + name, memory = "/dev/shm" + name;
    std::filesystem::create_directory(disk);
    std::filesystem::create_directory(memory);
    redirect_engine_files(memory);
    fe_write_buf_struct_ptr = &write_buffer;
    load_server();
    for (const uint32_t count : {1U, 64U, 256U, 512U, 768U, 1024U}) {
        const std::string faults = std::to_string(count) + (count == 1 ? " fault" : " faults");
        add("one change, files on disk, " + faults, change, count, disk);
        add("one change, files in memory, " + faults, change, count, memory);
    }
    add("one update of 1024 faults, no files, best case", update, 8, 0);
    add("the same, worst case, 64 instances", update, 8, 1023);
    add("the same, worst case, one instance", update, 1, 1023);
    add("severity and fault number of one event", classify);
    add("duplicate pass, 1024 faults, 64 instances", clean_up, 8, cleanup_duplicate_events, walk_index);
    add("duplicate pass, 1024 faults, one instance", clean_up, 1, cleanup_duplicate_events, walk_index);
    add("stale pass, 1024 faults, 64 instances", clean_up, 8, cleanup_deasserted_events, walk_chain_and_ask);
    add("stale pass, 1024 faults, one instance", clean_up, 1, cleanup_deasserted_events, walk_chain_and_ask);
    add("start-up walk of 1024 records, one record", sel_road, 1024, populate_all_sel_events, nullptr, false);
    add("start-up walk of 8192 records, one record", sel_road, 8192, populate_all_sel_events, nullptr, false);
    add("start-up walk of 65535 records, one record", sel_road, 65535, populate_all_sel_events, nullptr, false);
    const Work repeat = [] { std::ranges::for_each(repeats, process_sel_data, &Event::sel); };
    const Work replay = [] { std::ranges::for_each(server_log, process_sel_data, &Event::sel); };
    add("one SEL record, silent logger", sel_road, repeats.size(), repeat, nullptr, false);
    add("one SEL record, formatting logger", sel_road, repeats.size(), repeat, format_line, false);
    add("one SEL record of the server's log", sel_road, server_log.size(), replay, nullptr, false);
    add("one SEL record, live", sel_road, repeats.size(), repeat, nullptr, true);
    benchmark::RunSpecifiedBenchmarks();
    std::filesystem::remove_all(disk);
    std::filesystem::remove_all(memory);
}
