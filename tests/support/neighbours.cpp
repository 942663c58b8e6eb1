#include "support/neighbours.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>

#include "platform/entity_filter/entity_filter_host.h"
#include "platform/fe_core/fe_core_host.h"
#include "platform/ipmi_access/ipmi_access_host.h"
#include "support/interpose.h"

World &world() {
    static World the_world;
    return the_world;
}

namespace {

// One call of a neighbour: recorded, and answered under the world's lock until a function of the test's takes over.
struct Answer {
    explicit Answer(const char *call, bool failing = false) : fails(failing) { world().calls.emplace_back(call); }

    // Calls the function without the lock, since it may well call the library.
    template <typename Function, typename... Arguments>
    auto ask(const Function &function, Arguments &&...arguments) {
        const Function copy = function;
        lock.unlock();
        return copy(std::forward<Arguments>(arguments)...);
    }
    template <typename Function, typename... Arguments>
    void tell(const Function &function, Arguments &&...arguments) {
        if (function) {
            ask(function, std::forward<Arguments>(arguments)...);
            lock.lock();
        }
    }

    const bool fails;
    Disarmed disarmed;
    std::unique_lock<std::recursive_mutex> lock{world().lock};
};

int32_t handle(const char *handler, fe_read_buf *request, fe_write_buf_struct *wbuf) {
    Answer answer(handler, is_to_fail(Call::neighbour));
    if (answer.fails) {
        return -1;
    }
    if (world().dispatch) {
        return answer.ask(world().dispatch, handler, *request, *wbuf);
    }
    memcpy(wbuf->fe_write_buf, request, offsetof(fe_read_buf, eventType));
    wbuf->fe_write_buf->sens_num = request->sens_num;
    return 0;
}

// Closed libraries write whole words, or two, where less is agreed; what is behind a smaller area would be lost.
void spoil(void *output) {
    if (reinterpret_cast<uintptr_t>(output) % 4 != 0) {
        abort();
    }
    memset(output, 0xA5, 8);
}

// The text without its NUL if it has no room for that.
template <size_t Size>
void put_text(char *field, std::string text) {
    text.resize(Size);
    memcpy(field, text.data(), Size);
}

// As broken_invariant(), under the lock.
std::string broken_table() {
    std::vector<const fe_table_entry *> chain;
    for (const auto *entry = fe_table_head_ptr; entry != nullptr && chain.size() <= fe_fault_count;
         entry = entry->next) {
        chain.push_back(entry);
    }
    TableIndex index = table_index();
    std::ranges::sort(chain);
    std::ranges::sort(index.entries);
    return chain.size() != fe_fault_count ? "fe_fault_count is wrong, or the chain a ring"
           : index.entries != chain       ? "an entry without a fault node of its own"
           : !index.is_sound              ? "an empty or repeated level, or an entry under other keys than its own"
                                          : "";
}

} // namespace

void reset_world() {
    {
        const std::lock_guard guard(world().lock);
        static_cast<WorldState &>(world()) = WorldState{};
    }
    for (int32_t *const flag : {&fe_not_running, &fe_read_complete, &sel_init_complete, &syslog_filter}) {
        __atomic_store_n(flag, 0, __ATOMIC_RELAXED);
    }
    std::fill(std::begin(fe_sdr_instance_array), std::end(fe_sdr_instance_array), 1);
    pthread_mutex_lock(&fe_table_mutex);
    while (remove_last_fe_table_entry(&fe_table_head_ptr, &entity_id_list_head_ptr) == 0) {
    }
    fe_fault_count = 0;
    pthread_mutex_unlock(&fe_table_mutex);
}

sensor_data_record sensor(uint32_t number, uint32_t entity_id, uint32_t entity_instance, uint32_t sensor_type,
                          uint32_t event_type) {
    return {{}, number, entity_id, entity_instance, sensor_type, event_type, {}};
}

TableIndex table_index() {
    TableIndex index;
    std::set<std::pair<uint8_t, int64_t>> levels;
    const auto add_level = [&](uint8_t entity, int64_t instance, bool is_empty) {
        index.is_sound &= levels.emplace(entity, instance).second && !is_empty;
    };
    for (const auto *entity = entity_id_list_head_ptr; entity != nullptr; entity = entity->next) {
        add_level(entity->entity_id, INT64_MAX, entity->instance_list == nullptr);
        for (const auto *instance = entity->instance_list; instance != nullptr; instance = instance->next) {
            add_level(entity->entity_id, instance->entity_instance, instance->fault_list == nullptr);
            for (const auto *fault = instance->fault_list; fault != nullptr; fault = fault->next) {
                const fe_write_buf &record = index.entries.emplace_back(fault->entry)->record;
                index.is_sound &= record.entity_id == entity->entity_id &&
                                  record.entity_instance == instance->entity_instance &&
                                  record.vemoFaultCode == fault->fault_code;
            }
        }
    }
    index.levels = levels.size();
    return index;
}

std::string broken_invariant() {
    pthread_mutex_lock(&fe_table_mutex);
    const std::string wrong = broken_table();
    pthread_mutex_unlock(&fe_table_mutex);
    return wrong;
}

namespace {

void interface(fe_read_buf_struct *read_buffer) {
    Answer("fe_init_interface").tell(world().listen, read_buffer);
}

void broadcaster() {
    const Answer answer("fe_init_broadcaster");
}

void broadcast(fe_write_buf_struct *write_buffer) {
    Answer answer("broadcast_fe_faults");
    world().broadcasts.push_back(*write_buffer->fe_write_buf);
    answer.tell(world().on_broadcast, write_buffer);
}

__attribute__((format(printf, 1, 0))) void log(const char *format, va_list arguments) {
    const Disarmed disarmed;
    char line[4096];
    vsnprintf(line, sizeof line, format, arguments);
    if (world().on_log) {
        world().on_log(line);
    }
    const std::lock_guard guard(world().lock);
    if (world().keep_log) {
        world().log.emplace_back(line);
    }
}

void pause(int32_t seconds, int32_t) {
    Answer answer("FEthreadSleep");
    world().sleeps.push_back(seconds);
    answer.tell(world().on_sleep, seconds);
}

int32_t sensor_data(int32_t sensor_number, uint32_t *type, sensor_data_record *data) {
    const Answer answer("IPMI_SensorGetSensorData", is_to_fail(Call::neighbour));
    const auto found = world().sensors.find(sensor_number);
    if (answer.fails || found == world().sensors.end()) {
        return -1;
    }
    spoil(type);
    *data = found->second;
    return 0;
}

int32_t sensor_reading(int32_t sensor_number, uint32_t *reading, uint32_t *status, uint32_t *current) {
    Answer answer("IPMI_SensorGetSensorReading", is_to_fail(Call::neighbour));
    answer.tell(world().on_reading, sensor_number);
    const auto found = world().readings.find(sensor_number);
    if (answer.fails || found == world().readings.end()) {
        return -1;
    }
    for (uint32_t *const output : {reading, status, current}) {
        spoil(output); // nobody may take the first two for the state
    }
    *current = found->second;
    return 0;
}

int32_t attach(sel_text_rec *) {
    const Answer answer("IPMI_SELHVDBSELAttach", is_to_fail(Call::neighbour));
    return answer.fails ? -1 : world().attach_result;
}

int32_t event_text(uint32_t, const sel_entry_fields *fields, sel_text_rec *text) {
    const Answer answer("IPMI_SELGetHVDBSELData", is_to_fail(Call::neighbour));
    world().fields.push_back(*fields);
    const int32_t result = answer.fails ? -1 : world().text_result;
    if (result == 0) {
        put_text<sizeof text->event>(text->event, world().event_text);
    }
    return result;
}

int32_t detach() {
    const Answer answer("IPMI_SELHVDBSELDetach", is_to_fail(Call::neighbour));
    return answer.fails ? -1 : world().detach_result;
}

int32_t sel_size(uint32_t *first, int32_t, uint16_t *second, uint16_t *total) {
    const Answer answer("SELTotalSEL", is_to_fail(Call::neighbour));
    for (void *const output : {static_cast<void *>(first), static_cast<void *>(second), static_cast<void *>(total)}) {
        spoil(output);
    }
    *total = static_cast<uint16_t>(world().sel.size());
    return answer.fails ? -1 : world().total_result;
}

int32_t decode(void *area, uint32_t size, const void *request, uint32_t *decoded) {
    constexpr uint32_t kSize = 190470, kRequestWord = 4;
    constexpr size_t kNextRecord = 16, kEntries = 180242;
    Answer answer("DecodeSel", is_to_fail(Call::neighbour));
    uint16_t words[2];
    memcpy(words, request, sizeof words);
    memset(const_cast<void *>(request), 0xFF, sizeof words); // it may serve as scratch
    const auto [start, count] = words;
    world().chunk_requests.emplace_back(start, count);
    if (answer.fails || size != kSize || memcmp(area, &kRequestWord, sizeof kRequestWord) != 0) {
        return -1;
    }
    uint8_t *const bytes = static_cast<uint8_t *>(area);
    if (world().decode) {
        return answer.ask(world().decode, bytes, start, count, decoded);
    }
    const auto &sel = world().sel;
    const size_t first = std::min<size_t>(start - 1U, sel.size()), number = std::min<size_t>(count, sel.size() - first);
    std::copy_n(sel.begin() + static_cast<std::ptrdiff_t>(first), number,
                reinterpret_cast<sel_list_entry *>(bytes + kEntries));
    const uint16_t next = first + number == sel.size() ? 0xFFFF : static_cast<uint16_t>(start + number);
    memcpy(bytes + kNextRecord, &next, sizeof next);
    *decoded = static_cast<uint32_t>(number);
    return 0;
}

int32_t extended_text(const uint8_t *, int32_t, char *timestamp, uint16_t *timestamp_length, char *event,
                      uint8_t *flag_1, uint8_t *flag_2, uint8_t *work, int32_t sensor_number) {
    Answer answer("HVLGSELEntryToStr", is_to_fail(Call::neighbour));
    const uint16_t room = *timestamp_length;
    for (void *const output : std::initializer_list<void *>{timestamp_length, flag_1, flag_2, timestamp, event, work}) {
        spoil(output);
    }
    *timestamp_length = room;
    *flag_1 = *flag_2 = 0;
    memset(timestamp, 0, 8);
    memset(event, 0, 8);
    work[67] = 1;
    if (answer.fails) {
        return -1;
    }
    if (world().entry_to_str) {
        return answer.ask(world().entry_to_str, timestamp, timestamp_length, event, flag_1, flag_2, sensor_number);
    }
    *timestamp_length = static_cast<uint16_t>(snprintf(timestamp, 32, "1700000000") + 1);
    put_text<256>(event, world().event_text);
    return 0;
}

int32_t date_text(const char *, char *date) {
    const Answer answer("HVLGSELUnixToCTime", is_to_fail(Call::neighbour));
    if (answer.fails) {
        return -1;
    }
    put_text<32>(date, world().date_text);
    return 0;
}

const bool installed = [] {
    fe_core::hooks = {interface, broadcaster, broadcast, log, pause};
    entity_filter::hooks.fill = [](auto, const char *handler, fe_read_buf *request, fe_write_buf_struct *wbuf) {
        return handle(handler, request, wbuf);
    };
    ipmi_access::hooks = {sensor_data, sensor_reading, attach,        event_text, detach,
                          sel_size,    decode,         extended_text, date_text};
    return true;
}();

} // namespace
