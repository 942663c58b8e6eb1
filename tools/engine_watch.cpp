#include "tools/engine_watch.h"

#include <dlfcn.h>

#include <condition_variable>
#include <ctime>
#include <mutex>
#include <optional>

#include "fault_engine/classify.h"
#include "fault_engine/engine.h"
#include "fault_engine/sel.h"
#include "platform/entity_filter/entity_filter_host.h"
#include "platform/fe_core/fe_core.h"
#include "platform/ipmi_access/ipmi_access_host.h"
#include "tools/fault_history.h"
#include "tools/sel_fifo.h"

namespace {

using story::Origin;
using story::Reason;

// What the calling thread works on.
struct InHand {
    std::optional<story::Record> record; // none for a request
    bool dispatched = false;
    bool classified = false; // it got as far as its fault number
    bool in_pass = false;
};
thread_local InHand in_hand;

std::mutex history_lock; // held over each change of the table; before fe_table_mutex and totals_lock
story::FaultHistory history;

std::mutex totals_lock; // a leaf; guards the listener, too
story::Totals totals;
story::Listener *audience = nullptr;
bool record_is_in_hand = false; // of the SEL road
size_t records_ended = 0;
bool walk_left_out = false;
std::condition_variable record_has_ended; // with totals_lock

// The engine's own function behind the one of that name here.
template <class Function>
Function *behind(const char *name) {
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

bool is_live() {
    return fe_flag(&sel_init_complete) != 0;
}

uint32_t wall_clock() {
    return static_cast<uint32_t>(time(nullptr));
}

// The moment that the entity filter is told.
uint32_t time_in_hand() {
    return in_hand.record ? in_hand.record->time.value_or(UINT32_MAX) : wall_clock();
}

void tell(const story::Change &change, size_t story::Totals::*total) {
    const std::lock_guard lock(totals_lock);
    totals.*total += 1;
    if (change.origin == Origin::stale_pass) {
        ++totals.recovered;
    }
    if (audience != nullptr) {
        audience->change(change);
    }
}

void tell_update(const story::FaultHistory::Update &update) {
    constexpr size_t story::Totals::*by_kind[] = {&story::Totals::created, &story::Totals::repeated,
                                                  &story::Totals::cleared};
    const Origin origin = in_hand.record ? Origin::record : Origin::request;
    const bool live = origin == Origin::request || is_live();
    tell({update.kind, origin, live, in_hand.record, update.before ? &*update.before : nullptr, &update.after},
         by_kind[static_cast<size_t>(update.kind)]);
    if (update.evicted) {
        tell({story::ChangeKind::evicted, origin, live, {}, &*update.evicted, &*update.evicted},
             &story::Totals::evicted);
    }
}

void count(size_t story::Totals::*total) {
    const std::lock_guard lock(totals_lock);
    totals.*total += 1;
}

void run_pass(Origin origin, void (*pass)()) {
    const std::lock_guard lock(history_lock);
    in_hand.in_pass = true;
    pass();
    in_hand.in_pass = false;
    for (const story::Fault &before : history.remove_missing()) {
        story::Fault after = before;
        after.severity = FE_SEVERITY_CLEARED;
        tell({story::ChangeKind::cleared, origin, is_live(), {}, &before, &after}, &story::Totals::cleared);
    }
}

// The rest of the walk may be left out.
bool begin_record() {
    const std::lock_guard lock(totals_lock);
    if (walk_left_out && !is_live()) {
        ++totals.left_out;
        return false;
    }
    record_is_in_hand = true;
    return true;
}

Reason reason_of(int32_t result, const story::Record &record) {
    const ipmi_access::Sensor *sensor = ipmi_access::find_sensor(record.sensor_number);
    switch (result) {
    case FE_SEL_REFUSED: return in_hand.classified ? Reason::no_fault_number : Reason::no_severity;
    case FE_SEL_NO_SENSOR: return Reason::no_sensor;
    case FE_SEL_WRONG_RECORD:
        if (!story::has_sensor(record)) {
            return Reason::oem;
        }
        return sensor != nullptr && sensor->owner != (record.generator_id & 0xFF) ? Reason::other_owner
                                                                                  : Reason::sensor_type_differs;
    default: return Reason::other;
    }
}

void count_refused(int32_t result) {
    const Reason reason = reason_of(result, *in_hand.record);
    const bool serious = reason != Reason::oem && ipmi_access::is_serious(in_hand.record->event);
    ++totals.refused[static_cast<size_t>(reason)];
    totals.refused_serious += serious;
    if (audience != nullptr) {
        audience->refused({*in_hand.record, reason, result, serious});
    }
}

// False for one that was read from the FIFO in the very moment of the stop, and found no write buffer any more.
bool count_record(int32_t result) {
    if (result == FE_SEL_NO_WRITE_BUFFER && fe_flag(&fe_not_running) != 0) {
        ++totals.left_out;
        return false;
    }
    ++totals.records;
    if (result != 0) {
        count_refused(result);
    } else {
        ++(in_hand.dispatched ? totals.processed : totals.ignored);
    }
    return true;
}

void end_record(int32_t result) {
    const std::lock_guard lock(totals_lock);
    const bool counts = count_record(result);
    record_is_in_hand = false;
    ++records_ended;
    if (counts && audience != nullptr) {
        audience->record_done();
    }
    record_has_ended.notify_all();
}

} // namespace

void watch_engine(story::Listener *listener) {
    const std::lock_guard lock(totals_lock);
    audience = listener;
    entity_filter::hooks.clock = time_in_hand;
}

void finish_record_in_hand() {
    std::unique_lock lock(totals_lock);
    walk_left_out = true;
    record_has_ended.wait(lock, [before = records_ended] { return !record_is_in_hand || records_ended != before; });
}

story::Ending engine_ending() {
    const std::lock_guard history_guard(history_lock);
    std::vector<story::Fault> active = history.active();
    const std::lock_guard totals_guard(totals_lock);
    return {std::move(active), totals};
}

// From here on: in front of the engine's own.

int32_t process_sel_data(const uint8_t *record) {
    static const auto engine_function = behind<decltype(process_sel_data)>("process_sel_data");
    fifo_record_taken();
    if (!begin_record()) {
        return 0;
    }
    in_hand = {};
    in_hand.record = story::read_record(*reinterpret_cast<const sel_record *>(record));
    const int32_t result = engine_function(record);
    end_record(result);
    in_hand = {};
    return result;
}

int32_t get_fault_num(fe_read_buf *request, const sensor_data_record *sensor, const uint8_t *record) {
    static const auto engine_function = behind<decltype(get_fault_num)>("get_fault_num");
    in_hand.classified = true;
    return engine_function(request, sensor, record);
}

int32_t process_write_buf(fe_read_buf *request, fe_write_buf_struct *wbuf) {
    static const auto engine_function = behind<decltype(process_write_buf)>("process_write_buf");
    const int32_t result = engine_function(request, wbuf);
    in_hand.dispatched = true;
    if (!in_hand.record) {
        count(&story::Totals::requests);
        if (result == 0) {
            count(&story::Totals::requests_processed);
        }
    } else if (result != 0) {
        count(&story::Totals::not_stored);
    }
    return result;
}

int32_t update_fe_database(fe_write_buf_struct *wbuf) {
    static const auto engine_function = behind<decltype(update_fe_database)>("update_fe_database");
    if (in_hand.in_pass) {
        return engine_function(wbuf);
    }
    const std::lock_guard lock(history_lock);
    const fe_table_entry *oldest = story::FaultHistory::next_to_be_evicted();
    const int32_t result = engine_function(wbuf);
    const fe_write_buf &record = *wbuf->fe_write_buf;
    const bool clears = record.vemoFaultSeverity == FE_SEVERITY_CLEARED;
    if (result == FE_TABLE_UNCHANGED) {
        count(clears ? &story::Totals::nothing_to_clear : &story::Totals::not_stored);
        return result;
    }
    const auto event = in_hand.record ? std::optional(in_hand.record->event) : std::nullopt;
    const auto time = in_hand.record ? in_hand.record->time : std::optional(wall_clock());
    tell_update(history.update(record, oldest, event, time));
    return result;
}

void cleanup_deasserted_events() {
    static const auto engine_function = behind<decltype(cleanup_deasserted_events)>("cleanup_deasserted_events");
    run_pass(Origin::stale_pass, engine_function);
}

void cleanup_duplicate_events() {
    static const auto engine_function = behind<decltype(cleanup_duplicate_events)>("cleanup_duplicate_events");
    run_pass(Origin::duplicate_pass, engine_function);
}
