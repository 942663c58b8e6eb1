// Clears the faults whose sensors no longer report them.
#include <cstring>

#include "base/buffer_block.h"
#include "base/ipmi.h"
#include "base/output_area.h"
#include "base/text_field.h"
#include "fault_engine/sel.h"
#include "fault_table/table.h"
#include "fault_table/update.h"
#include "platform/fe_core/fe_core.h"
#include "platform/ipmi_access/ipmi_access.h"

// record_type is the first word of an output area: the sensor call may write more than it. Its size is the area's, so that a
// copy relocation keeps all of it. The compiler does not know, since AddressSanitizer would guard the word's end.
static output_area<uint32_t> record_type_area __asm__("record_type_area") __attribute__((used));
__asm__(".globl record_type\n"
        ".set record_type, record_type_area\n"
        ".type record_type, %object\n"
        ".size record_type, 8\n");

namespace {

// One pass at a time, since sensor_data_rec and record_type are its output areas. Taken before fe_table_mutex.
constinit private_lock one_stale_pass;

} // namespace

sensor_data_record sensor_data_rec FE_GUARDED_BY(one_stale_pass);

namespace {

// Storage entities, all ids above them, and sensors numbered above 255 are left alone.
bool is_examined(const fe_write_buf &record) {
    return record.entity_id < entity_id::storage_0 && static_cast<int32_t>(record.sens_num) <= 255;
}

enum class verdict { unreadable, reported, stale };

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
    return is_stale(type_code, sensor_type, state.value) ? verdict::stale : verdict::reported;
}

// Makes the copy a clearing record and applies it. As with an event, the first fault of the entity instance goes that has the
// record's code or one related to it. False when there is none.
bool clear_stale(fe_write_buf &record) FE_REQUIRES(table_lock) {
    text_scratch scratch;
    fe_logger("Clearing stale fault - %s (severity: %u)\n", as_text(record.FaultDescription, scratch),
              static_cast<unsigned>(record.vemoFaultSeverity));
    make_clearing(record);
    return change_fault_table(record) != FE_TABLE_UNCHANGED;
}

enum class next_step { go_on, go_on_if_head_stays, start_again };

// Examines one entry. The table's lock is given up while the sensor is asked: what has become of the entry meanwhile is
// looked at before anything is cleared.
next_step examine(const fe_table_entry *entry, fe_write_buf &copy) FE_REQUIRES(table_lock) FE_REQUIRES(one_stale_pass) {
    if (!is_examined(entry->record)) {
        return next_step::go_on_if_head_stays;
    }
    copy = entry->record;
    stale_walk.asked = entry;
    unlock_table();
    const verdict said = ask_sensor(copy);
    lock_table();

    if (stale_walk.asked == nullptr) {
        return next_step::start_again;
    }
    if (said == verdict::unreadable) {
        return next_step::go_on;
    }
    if (said == verdict::reported) {
        return next_step::go_on_if_head_stays;
    }
    const bool is_unchanged = memcmp(&entry->record, &copy, sizeof copy) == 0;
    return !is_unchanged || clear_stale(copy) ? next_step::start_again : next_step::go_on_if_head_stays;
}

void walk_chain(fe_write_buf &copy) FE_REQUIRES(one_stale_pass) {
    lock_table();
    const fe_table_entry *entry = fe_table_head_ptr;
    stale_walk.start = entry;
    while (entry != nullptr) {
        const next_step next = examine(entry, copy);
        const bool head_moved = fe_table_head_ptr != stale_walk.start;
        if (next == next_step::start_again || (next == next_step::go_on_if_head_stays && head_moved)) {
            stale_walk.start = entry = fe_table_head_ptr;
        } else {
            entry = entry->next;
        }
    }
    stale_walk = {};
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
