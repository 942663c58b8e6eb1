// Clears the faults whose sensors no longer report them.
#include <cstring>

#include "base/buffer_block.h"
#include "base/output_area.h"
#include "base/text_field.h"
#include "fault_engine/sel.h"
#include "fault_table/staleness.h"
#include "fault_table/table.h"
#include "fault_table/update.h"
#include "platform/fe_core/fe_core.h"
#include "platform/ipmi_access/ipmi_access.h"

sensor_data_record sensor_data_rec;
// The exported word is the first of an area of the size that is safe to hand out. The compiler is not told that they are
// the same, since AddressSanitizer would guard the word's end.
static output_area<uint32_t> record_type_area __asm__("record_type_area") __attribute__((used));
__asm__(".globl record_type\n"
        ".set record_type, record_type_area\n"
        ".type record_type, %object\n"
        ".size record_type, 8\n");

namespace {

// One pass at a time, since sensor_data_rec and record_type are its output areas. Taken before fe_table_mutex.
constinit private_lock one_stale_pass;

// Storage entities, all above them, and sensors that have no 8-bit number are left alone.
bool is_examined(const fe_write_buf &record) {
    return record.entity_id <= 207 && static_cast<int32_t>(record.sens_num) <= 255;
}

enum class verdict { unreadable, holds, stale };

// Asks the sensor of a copied record, with fe_table_mutex free.
verdict ask_sensor(const fe_write_buf &record) FE_REQUIRES(one_stale_pass) {
    const auto sensor_number = static_cast<int32_t>(record.sens_num);
    output_area<uint32_t> unused_1{};
    output_area<uint32_t> unused_2{};
    output_area<uint32_t> state{};
    if (IPMI_SensorGetSensorData(sensor_number, &record_type, &sensor_data_rec) != 0) {
        return verdict::unreadable;
    }
    const uint32_t type_code = sensor_data_rec.event_type;
    if (IPMI_SensorGetSensorReading(sensor_number, &unused_1.value, &unused_2.value, &state.value) != 0) {
        return verdict::unreadable;
    }
    const uint32_t sensor_type = sensor_data_rec.sensor_type;
    text_scratch scratch;
    fe_logger("sensr_name: %s iCurrentstatus:%d type_code: %u iSensorType: %d\n", as_text(record.sensor_name, scratch),
              static_cast<int>(state.value), type_code, static_cast<int>(sensor_type));
    return is_stale(type_code, sensor_type, state.value) ? verdict::stale : verdict::holds;
}

// Clears the fault of a copied record, which becomes the clearing one. False when there is none.
bool clear_stale(fe_write_buf &record) FE_REQUIRES(table_lock) {
    text_scratch scratch;
    fe_logger("Clearing stale fault - %s (severity: %u)\n", as_text(record.FaultDescription, scratch),
              static_cast<unsigned>(record.vemoFaultSeverity));
    make_clearing(record);
    return change_fault_table(record) != FE_TABLE_UNCHANGED;
}

enum class next_step { go_on, go_on_if_head_stays, start_again };

// Examines one entry. The table's lock is given up while the sensor is asked: what has become of the table meanwhile is
// looked at before anything is cleared.
next_step examine(fe_table_entry *&entry, fe_write_buf &copy) FE_REQUIRES(table_lock) FE_REQUIRES(one_stale_pass) {
    if (!is_examined(entry->record)) {
        return next_step::go_on_if_head_stays;
    }
    copy = entry->record;
    const uint32_t freed = entries_freed;
    unlock_table();
    const verdict said = ask_sensor(copy);
    lock_table();

    const bool some_freed = entries_freed != freed;
    if (some_freed) {
        entry = *find_entry(&fe_table_head_ptr, entry); // taken from the chain, if it is still there
    }
    if (entry == nullptr) {
        return next_step::start_again;
    }
    if (said == verdict::unreadable) {
        return next_step::go_on;
    }
    if (said == verdict::holds) {
        return next_step::go_on_if_head_stays;
    }
    // An entry at the same place with the same bytes may still be another fault than the judged one, raised since.
    const bool is_judged = !some_freed && memcmp(&entry->record, &copy, sizeof copy) == 0;
    return !is_judged || clear_stale(copy) ? next_step::start_again : next_step::go_on_if_head_stays;
}

void walk_chain(fe_write_buf &copy) FE_REQUIRES(one_stale_pass) {
    lock_table();
    fe_table_entry *entry = fe_table_head_ptr;
    const fe_table_entry *start = entry;
    while (entry != nullptr) {
        const next_step next = examine(entry, copy);
        const bool head_moved = fe_table_head_ptr != start;
        if (next == next_step::start_again || (next == next_step::go_on_if_head_stays && head_moved)) {
            start = entry = fe_table_head_ptr;
        } else {
            entry = entry->next;
        }
    }
    unlock_table();
}

} // namespace

void cleanup_deasserted_events(void) {
    fe_logger("Inside cleanup_deasserted_events...\n");
    auto *copy = allocate_block<fe_write_buf_struct>();
    if (copy == nullptr) {
        return;
    }
    lock(one_stale_pass);
    walk_chain(*copy->fe_write_buf);
    unlock(one_stale_pass);
    free_block(copy);
}
