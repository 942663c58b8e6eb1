#include "support/world.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/entity_filter/entity_filter_host.h"
#include "platform/ipmi_access/ipmi_access_host.h"
#include "support/calls.h"
#include "support/mirror.h"

World &world() {
    static World the_world;
    return the_world;
}

void tell(std::string_view word, std::string_view rest) {
    const Disarmed disarmed;
    if (world().keeps == World::all) {
        const std::lock_guard guard(world().lock);
        auto *const wbuf = __atomic_load_n(&fe_write_buf_struct_ptr, __ATOMIC_ACQUIRE);
        const char *const record = wbuf != nullptr && !is_free(wbuf->fe_write_buf_mutex) ? "*" : "";
        const char *const table = is_free(fe_table_mutex) ? "" : "#";
        world().log.push_back("> " + std::string(word) + record + table + std::string(rest) + "\n");
    }
}

std::string story() {
    std::string words;
    for (const std::string &line : world().log) {
        words += line.starts_with("> ") ? line.substr(1, line.find_first_of(" \n", 2) - 1) : "";
    }
    return words;
}

std::string log_text() {
    std::string text;
    for (const std::string &line : world().log) {
        text += line;
    }
    return text;
}

void reset_world() {
    {
        const std::lock_guard guard(world().lock);
        static_cast<WorldState &>(world()) = WorldState{};
    }
    for (int32_t *const flag : {&fe_not_running, &fe_read_complete, &sel_init_complete, &syslog_filter}) {
        fe_set_flag(flag, 0);
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

namespace {

std::string list(std::initializer_list<int64_t> numbers) {
    std::string text;
    for (const int64_t number : numbers) {
        text += " " + std::to_string(number);
    }
    return text;
}

// One call of a neighbour: told, and answered under the world's lock until a function of the test's takes over.
struct Answer {
    explicit Answer(const char *word) : Answer(word, [] { return ""; }) {}
    template <typename Rest>
    Answer(const char *word, const Rest &rest) {
        if (world().keeps != World::nothing) {
            lock.lock();
            tell(word, rest());
        }
    }

    // Calls the function without the lock, since it may well call the library.
    template <typename Function, typename... Arguments>
    auto ask(const Function &function, Arguments &&...arguments) {
        const Function copy = function;
        if (lock.owns_lock()) {
            lock.unlock();
        }
        return copy(std::forward<Arguments>(arguments)...);
    }
    template <typename Function, typename... Arguments>
    void tell_too(const Function &function, Arguments &&...arguments) {
        if (function) {
            ask(function, std::forward<Arguments>(arguments)...);
            if (world().keeps != World::nothing) {
                lock.lock();
            }
        }
    }

    const bool fails = is_to_fail(Call::neighbour); // asked before `disarmed` begins to live
    Disarmed disarmed;
    std::unique_lock<std::recursive_mutex> lock{world().lock, std::defer_lock};
};

// The text without its NUL if it has no room for that.
void put_text(char *field, size_t size, std::string text) {
    text.resize(size);
    memcpy(field, text.data(), size);
}

std::string list_request(const fe_read_buf &request) {
    const auto &[entity, type, zero, group, instance, severity, number, tags, name, event_type, zeros, sensor] =
        request;
    char key_numbers[64];
    snprintf(key_numbers, sizeof key_numbers, "[%d,%d,%d]", instance, severity, number);
    return key_numbers + list({entity, type, zero[0], zero[1], group, tags}) + " " + name +
           list({event_type, zeros[0], zeros[1], zeros[2], sensor});
}

int32_t fill(entity_filter::EntityClass, const char *handler, fe_read_buf *request, fe_write_buf_struct *wbuf) {
    char name[32];
    snprintf(name, sizeof name, "%.*s", static_cast<int>(strlen(handler)) - 14, handler + 8); // of process_NAME_fault
    Answer answer(name, [&] { return list_request(*request); });
    if (answer.fails) {
        return -1;
    }
    if (world().dispatch) {
        return answer.ask(world().dispatch, *request, *wbuf);
    }
    memcpy(wbuf->fe_write_buf, request, offsetof(fe_read_buf, eventType));
    wbuf->fe_write_buf->sens_num = request->sens_num;
    return 0;
}

void interface(fe_read_buf_struct *read_buffer) {
    Answer("interface").tell_too(world().listen, read_buffer);
}

void broadcaster() {
    const Answer answer("broadcaster");
}

// The severity word, what stands behind it in its field, occurrences, the first related code, the filter's flag.
std::string list_broadcast(const fe_write_buf &sent) {
    const std::string word = sent.severity_word;
    return "[" + word + "," + std::to_string(sent.vemoFaultOccur) + "," + std::to_string(fe_flag(&syslog_filter)) +
           "] " + std::to_string(sent.related_FaultCode.related_fc[1]) + " " + (sent.severity_word + word.size() + 1);
}

void broadcast(fe_write_buf_struct *wbuf) {
    Answer answer("broadcast", [&] { return list_broadcast(*wbuf->fe_write_buf); });
    if (world().keeps != World::nothing) {
        world().broadcasts.push_back(*wbuf->fe_write_buf);
    }
    answer.tell_too(world().on_broadcast, wbuf);
}

__attribute__((format(printf, 1, 0))) void log(const char *format, va_list arguments) {
    const Disarmed disarmed;
    char line[4096];
    vsnprintf(line, sizeof line, format, arguments);
    mirror_line(line);
    if (world().on_log) {
        world().on_log(line);
    }
    if (world().keeps != World::nothing) {
        const std::lock_guard guard(world().lock);
        world().log.emplace_back(line);
    }
}

void pause(int32_t seconds, int32_t nanoseconds) {
    Answer("pause", [=] {
        return "=" + std::to_string(seconds) + "." + std::to_string(nanoseconds);
    }).tell_too(world().on_pause, seconds);
}

// Closed libraries write whole words, or two, where less is agreed; what is behind a smaller area would be lost.
void spoil(std::initializer_list<void *> outputs) {
    for (void *const output : outputs) {
        if (reinterpret_cast<uintptr_t>(output) % 4 != 0) {
            abort();
        }
        memset(output, 0xA5, 8);
    }
}

int32_t sensor_data(int32_t sensor_number, uint32_t *type, sensor_data_record *data) {
    const Answer answer("sensor");
    const auto found = world().sensors.find(sensor_number);
    if (answer.fails || found == world().sensors.end()) {
        return -1;
    }
    spoil({type});
    *data = found->second;
    return 0;
}

int32_t sensor_reading(int32_t sensor_number, uint32_t *reading, uint32_t *status, uint32_t *current) {
    Answer answer("reading");
    mirror_reading();
    answer.tell_too(world().on_reading, sensor_number);
    const auto found = world().readings.find(sensor_number);
    if (answer.fails || found == world().readings.end()) {
        return -1;
    }
    spoil({reading, status, current}); // nobody may take the first two for the state
    *current = found->second;
    return 0;
}

int32_t attach(sel_text_rec *) {
    return Answer("attach").fails ? -1 : world().attach_result;
}

std::string list_fields(const sel_entry_fields &fields) {
    const auto &[id, type, time, generator, revision, sensor, number, direction, event, d1, d2, d3] = fields;
    return list({id, type, time, generator, revision, sensor, number, direction, event, d1, d2, d3});
}

int32_t event_text(uint32_t, const sel_entry_fields *fields, sel_text_rec *text) {
    const Answer answer("text", [&] { return list_fields(*fields); });
    const int32_t result = answer.fails ? -1 : world().text_result;
    if (result == 0) {
        put_text(text->event, sizeof text->event, world().event_text);
    }
    return result;
}

int32_t detach() {
    return Answer("detach").fails ? -1 : world().detach_result;
}

int32_t sel_size(uint32_t *first, int32_t zero, uint16_t *second, uint16_t *total) {
    const Answer answer("size", [&] { return zero == 0 ? "" : "=otherwise"; });
    spoil({first, second, total});
    *total = static_cast<uint16_t>(world().sel.size());
    return answer.fails ? -1 : world().total_result;
}

int32_t decode(sel_decode_area *area, uint32_t size, sel_chunk_request *request, uint32_t *decoded) {
    const uint16_t start = request->first_record_id, count = request->entries;
    std::memset(request, 0xFF, sizeof *request); // it may serve as scratch
    Answer answer("chunk", [&] { return "=" + std::to_string(start) + "+" + std::to_string(count); });
    if (answer.fails || size != 190470 || area->request != 4 || decoded != &area->decoded_last) {
        return -1;
    }
    if (world().decode) {
        return answer.ask(world().decode, *area);
    }
    const auto &sel = world().sel;
    const size_t first = std::min<size_t>(start - 1U, sel.size()), number = std::min<size_t>(count, sel.size() - first);
    std::copy_n(sel.begin() + static_cast<std::ptrdiff_t>(first), number, area->entries);
    area->next_record_id = first + number == sel.size() ? 0xFFFF : static_cast<uint16_t>(start + number);
    *decoded = static_cast<uint32_t>(number);
    return 0;
}

bool is_zero(const void *bytes, size_t size) {
    return std::all_of(static_cast<const char *>(bytes), static_cast<const char *>(bytes) + size,
                       [](char byte) { return byte == 0; });
}

int32_t extended_text(const uint8_t *, int32_t, char *timestamp, uint16_t *timestamp_length, char *event,
                      uint8_t *flag_1, uint8_t *flag_2, uint8_t *work, int32_t sensor_number) {
    const bool is_fresh = is_zero(timestamp, 32) && is_zero(event, 256) && *flag_1 == 0 && *flag_2 == 0;
    const Answer answer("extended", [&] {
        return "=" + std::to_string(sensor_number) + (is_fresh && *timestamp_length == 32 ? "" : ",stale-areas");
    });
    spoil({timestamp_length, flag_1, flag_2, timestamp, event, work, work + 60});
    if (answer.fails || world().text_result != 0) {
        return answer.fails ? -1 : world().text_result;
    }
    put_text(timestamp, 32, world().time_stamp);
    *timestamp_length = static_cast<uint16_t>(world().time_stamp_length);
    put_text(event, 256, world().event_text);
    return 0;
}

int32_t date_text(const char *timestamp, char *date) {
    const Answer answer("date", [&] { return " " + std::string(timestamp); });
    if (answer.fails) {
        return -1;
    }
    put_text(date, 32, world().date_text);
    return 0;
}

[[maybe_unused]] const bool answers = [] {
    fe_core::hooks = {interface, broadcaster, broadcast, log, pause};
    entity_filter::hooks.fill = fill;
    ipmi_access::hooks = {sensor_data, sensor_reading, attach,        event_text, detach,
                          sel_size,    decode,         extended_text, date_text};
    return true;
}();

} // namespace
