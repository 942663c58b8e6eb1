#include "tools/engine_watch.h"

#include <dlfcn.h>

#include <condition_variable>
#include <cstring>
#include <ctime>
#include <mutex>
#include <optional>
#include <string_view>

#include "fault_engine/sel.h"
#include "platform/entity_filter/entity_filter_host.h"
#include "platform/fe_core/fe_core.h"
#include "platform/fe_core/fe_core_host.h"

namespace {

struct ChangeLine {
    std::string_view start;
    Change change;
    size_t Totals::*total;
};
constexpr ChangeLine change_lines[] = {
    {"Fault node hierarchy created", Change::created, &Totals::created},
    {"Fault node created", Change::created, &Totals::created},
    {"Update the fault found", Change::repeated, &Totals::repeated},
    {"Clear the fault found", Change::cleared, &Totals::cleared},
};
constexpr std::string_view dispatched_line = "Exited process_write_buf";
constexpr std::string_view request_dispatched_line = "\nExited the process_write_buf";
constexpr std::string_view request_stored_line = "\nExited the update_fe_database";
constexpr int32_t no_write_buffer = -1; // among other things
constexpr std::string_view not_found_line_end = "NOT found (";
constexpr std::string_view list_empty_line = "List NULL";

struct InHand {
    bool dispatched = false;
    bool searched_in_vain = false;
    Change change = Change::none; // the first after the dispatch; clean-up passes come later
};

std::mutex totals_lock;      // a leaf
Totals totals;               // protected by totals_lock, as the next three
bool record_in_hand = false; // of the SEL road
size_t records_ended = 0;
bool walk_left_out = false;
std::condition_variable record_has_ended; // with totals_lock
void (*record_done)() = nullptr;
thread_local InHand in_hand;
thread_local std::optional<uint32_t> record_time; // of the SEL road's thread

void note_change(const ChangeLine &line) {
    const std::lock_guard lock(totals_lock);
    totals.*line.total += 1;
    if (in_hand.dispatched && in_hand.change == Change::none)
        in_hand.change = line.change;
}

void begin_request() {
    in_hand = {.dispatched = true};
    const std::lock_guard lock(totals_lock);
    totals.requests++;
}

void count_if_unchanged() {
    if (in_hand.change == Change::none)
        (in_hand.searched_in_vain ? totals.nothing_to_clear : totals.not_stored)++;
}

void end_request() {
    const std::lock_guard lock(totals_lock);
    totals.requests_dispatched++;
    count_if_unchanged();
}

void count_record(int32_t result) {
    // Read from the FIFO in the very moment of the stop, it found no write buffer any more.
    if (result == no_write_buffer && fe_flag(&fe_not_running) != 0) {
        totals.left_out++;
        return;
    }
    totals.records++;
    if (result != 0) {
        totals.refused[result]++;
    } else if (!in_hand.dispatched) {
        totals.ignored++;
    } else {
        totals.dispatched++;
        count_if_unchanged();
    }
}

void end_record(int32_t result) {
    const std::lock_guard lock(totals_lock);
    count_record(result);
    record_in_hand = false;
    records_ended++;
    record_has_ended.notify_all();
}

void observe(const char *format) {
    const std::string_view line(format);
    if (line.starts_with(dispatched_line))
        in_hand.dispatched = true;
    else if (line.starts_with(request_dispatched_line))
        begin_request();
    else if (line.starts_with(request_stored_line))
        end_request();
    else if (line.find(not_found_line_end) != line.npos || line.starts_with(list_empty_line))
        in_hand.searched_in_vain = true;
    for (const ChangeLine &known : change_lines)
        if (line.starts_with(known.start))
            note_change(known);
}

uint32_t time_in_hand() {
    return record_time ? *record_time : static_cast<uint32_t>(time(nullptr));
}

bool begin_record() {
    const std::lock_guard lock(totals_lock);
    if (walk_left_out && fe_flag(&sel_init_complete) == 0) {
        totals.left_out++;
        return false;
    }
    record_in_hand = true;
    return true;
}

} // namespace

void watch_engine(void (*after_record)()) {
    record_done = after_record;
    fe_core::observe_log(observe);
    entity_filter::hooks.clock = time_in_hand;
}

Change change_in_hand() {
    return in_hand.change;
}

void finish_record_in_hand() {
    std::unique_lock lock(totals_lock);
    walk_left_out = true;
    record_has_ended.wait(lock, [before = records_ended] { return !record_in_hand || records_ended != before; });
}

Totals engine_totals() {
    const std::lock_guard lock(totals_lock);
    return totals;
}

// Stands in front of the engine's own, for the start-up walk as well.
int32_t process_sel_data(const uint8_t *record) {
    static const auto engine_function =
        reinterpret_cast<decltype(&process_sel_data)>(dlsym(RTLD_NEXT, "process_sel_data"));
    if (!begin_record())
        return 0;
    in_hand = {};
    uint32_t time_of_record;
    memcpy(&time_of_record, record + offsetof(sel_record, timestamp), sizeof time_of_record);
    record_time = time_of_record;
    const int32_t result = engine_function(record);
    end_record(result);
    if (record_done != nullptr)
        record_done();
    return result;
}
