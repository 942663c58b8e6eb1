#include "fuzz/engine.h"

#include <cstdarg>
#include <fcntl.h>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/entity_filter/entity_filter.h"
#include "platform/ipmi_access/ipmi_access.h"
#include "sel/sel_decode_area.h"

int32_t fe_not_running;
int32_t fe_read_complete;
int32_t sel_init_complete;
int32_t syslog_filter;
int32_t fe_sdr_instance_array[256];

namespace {

Input *answers;
uint32_t sensor_type_asked; // of the record whose text was asked for last

bool is_free(pthread_mutex_t &mutex) {
    return pthread_mutex_trylock(&mutex) == 0 && pthread_mutex_unlock(&mutex) == 0;
}

template <class Things>
void sort_distinct(Things &things, const char *what) {
    std::ranges::sort(things);
    require(std::ranges::adjacent_find(things) == things.end(), what);
}

void check_table() {
    std::vector<const fe_table_entry *> chain, indexed;
    std::vector<std::pair<uint8_t, int32_t>> parts;
    for (const fe_table_entry *entry = fe_table_head_ptr; entry != nullptr; entry = entry->next) {
        require(chain.size() < FE_TABLE_MAX_FAULTS, "the chain ends");
        chain.push_back(entry);
    }
    require(chain.size() == fe_fault_count, "the count is that of the chain");
    for (const auto *entity = entity_id_list_head_ptr; entity != nullptr; entity = entity->next) {
        require(entity->instance_list != nullptr, "an entity has an instance");
        for (const auto *instance = entity->instance_list; instance != nullptr; instance = instance->next) {
            require(instance->fault_list != nullptr, "an instance has a fault");
            const auto part = parts.emplace_back(entity->entity_id, instance->entity_instance);
            for (const auto *fault = instance->fault_list; fault != nullptr; fault = fault->next) {
                const fe_write_buf &record = indexed.emplace_back(fault->entry)->record;
                require(std::pair(record.entity_id, record.entity_instance) == part, "an entry is under its part");
                require(record.vemoFaultCode == fault->fault_code, "an entry is under its code");
            }
        }
    }
    sort_distinct(parts, "an instance comes once");
    sort_distinct(chain, "the chain is no ring");
    sort_distinct(indexed, "an entry has one fault node");
    require(chain == indexed, "chain and index have the same entries");
}

} // namespace

Engine::Engine(Input &input) {
    answers = &input;
    buffer_.fe_write_buf = record_.get();
    pthread_mutex_init(&buffer_.fe_write_buf_mutex, nullptr);
    const unsigned flags = input.number();
    sel_init_complete = (flags & 1) != 0;
    fe_write_buf_struct_ptr = (flags & 2) != 0 ? nullptr : &buffer_;
    std::fill(std::begin(fe_sdr_instance_array), std::end(fe_sdr_instance_array), (flags & 4) != 0);
}

Engine::~Engine() {
    while (remove_last_fe_table_entry(&fe_table_head_ptr, &entity_id_list_head_ptr) == 0) {
    }
    fe_fault_count = 0;
    check();
    fe_write_buf_struct_ptr = nullptr;
}

void Engine::check() const {
    static const fe_write_buf zero{};
    require(is_free(fe_table_mutex), "the table is unlocked");
    require(fe_write_buf_struct_ptr == nullptr || is_free(fe_write_buf_struct_ptr->fe_write_buf_mutex),
            "the write buffer is unlocked");
    require(memcmp(record_.get(), &zero, sizeof zero) == 0, "the working record is zero");
    check_table();
}

// What the engine writes goes nowhere.
extern "C" int open(const char *path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    const std::string_view name = path;
    const bool of_engine = name == "/tmp/fe_table.entry" || name == "/tmp/fe_table.sz" || name == "/var/stor_stat";
    return openat(AT_FDCWD, of_engine ? "/dev/null" : path, flags, mode);
}

void fe_logger(const char *format, ...) {
    char line[2048];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
}

void fe_init_interface(fe_read_buf_struct *) {}
void fe_init_broadcaster() {}
void broadcast_fe_faults(fe_write_buf_struct *) {}
void FEthreadSleep(int32_t, int32_t) {}

// The record is the request's, a code, and texts that may lack their NUL.
static int32_t fill_record(fe_read_buf *request, fe_write_buf_struct *wbuf) {
    fe_write_buf &record = *wbuf->fe_write_buf;
    memset(static_cast<void *>(&record), answers->number(), sizeof record);
    memcpy(static_cast<void *>(&record), request, sizeof *request);
    record.vemoFaultCode = answers->number<uint16_t>();
    const uint8_t choice = answers->number();
    if ((choice & 0x80) != 0) {
        request->vemoFaultSeverity = choice - 0xC0;
    }
    constexpr int32_t results[] = {0, 0, 2, -1};
    return results[choice & 3];
}

// clang-format off
#define HANDLER(name) \
    int32_t name(fe_read_buf *request, fe_write_buf_struct *wbuf) { return fill_record(request, wbuf); }
HANDLER(process_cpu_fault) HANDLER(process_drive_bp_fault) HANDLER(process_sys_board_fault) HANDLER(process_mem_fault)
HANDLER(process_ps_fault) HANDLER(process_add_in_fault) HANDLER(process_front_panel_fault)
HANDLER(process_chassis_fault) HANDLER(process_fan_fault) HANDLER(process_fw_bios_post_fault)
HANDLER(process_nm_fault) HANDLER(process_pci_fault) HANDLER(process_storage_fault) HANDLER(process_plax_fault)
HANDLER(process_cmc_fault)
    // clang-format on

    // Words are small numbers but for the top bit of the choice, and the sensor type is the expected one but for the next.
    int32_t IPMI_SensorGetSensorData(int32_t, uint32_t *type, sensor_data_record *sensor) {
    const uint8_t choice = answers->number();
    *type = choice;
    *sensor = {};
    for (uint32_t *word : {&sensor->sensor_number, &sensor->entity_id, &sensor->entity_instance, &sensor->sensor_type,
                           &sensor->event_type}) {
        *word = (choice & 0x80) != 0 ? answers->number<uint32_t>() : answers->number();
    }
    if ((choice & 0x40) == 0) {
        sensor->sensor_type = sensor_type_asked;
    }
    return (choice & 0x3F) == 0x3F ? -1 : 0;
}

int32_t IPMI_SensorGetSensorReading(int32_t, uint32_t *reading, uint32_t *status, uint32_t *state) {
    *reading = *status = 0;
    *state = answers->number<uint16_t>();
    return answers->result();
}

int32_t IPMI_SELHVDBSELAttach(sel_text_rec *) {
    return answers->result();
}

int32_t IPMI_SELGetHVDBSELData(uint32_t, const sel_entry_fields *fields, sel_text_rec *text) {
    sensor_type_asked = fields->sensor_type;
    answers->fill<sizeof text->event>(text->event);
    return answers->result();
}

int32_t IPMI_SELHVDBSELDetach() {
    return answers->result();
}

int32_t SELTotalSEL(uint32_t *first, int32_t, uint16_t *second, uint16_t *total) {
    *first = *second = 0;
    *total = answers->number<uint16_t>() % 1100;
    return answers->result();
}

int32_t DecodeSel(void *decode_area, uint32_t, const void *, uint32_t *decoded) {
    auto &area = *static_cast<sel_decode_area *>(decode_area);
    const auto bytes = answers->take(sizeof area.entries[0] * (answers->number() % 4));
    std::copy(bytes.begin(), bytes.end(), reinterpret_cast<uint8_t *>(area.entries));
    *decoded = answers->number<uint32_t>();
    area.next_record_id = answers->number<uint16_t>();
    return answers->result();
}

int32_t HVLGSELEntryToStr(const uint8_t *, int32_t, char *timestamp, uint16_t *timestamp_length, char *event,
                          uint8_t *flag_1, uint8_t *flag_2, uint8_t *work, int32_t) {
    answers->fill<32>(timestamp);
    *timestamp_length = answers->number<uint16_t>();
    answers->fill<256>(event);
    *flag_1 = *flag_2 = work[67] = 1;
    return answers->result();
}

int32_t HVLGSELUnixToCTime(const char *timestamp, char *date) {
    require(strlen(timestamp) < 32, "the time stamp ends in its field");
    answers->fill<32>(date);
    return answers->result();
}
