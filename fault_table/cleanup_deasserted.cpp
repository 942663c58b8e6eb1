// Clears the faults whose sensors no longer report them.
#include "fault_engine/sel.h"
#include "fault_table/clearing_record.h"
#include "fault_table/staleness.h"
#include "fault_table/table.h"
#include "fault_table/text_field.h"
#include "fault_table/write_buffer.h"
#include "platform/fe_core/fe_core.h"
#include "platform/ipmi_access/ipmi_access.h"

sensor_data_record sensor_data_rec;
uint32_t record_type;

namespace {

// Guards sensor_data_rec and record_type, the output areas of the sensor calls: one pass at a time. Taken before
// fe_table_mutex.
pthread_mutex_t stale_pass_mutex = PTHREAD_MUTEX_INITIALIZER;

enum class outcome { not_examined, unreadable, kept, cleared };

// Storage entities, all above them, and sensors that have no 8-bit number are left alone.
bool is_examined(const fe_write_buf &record) {
    return record.entity_id <= 207 && static_cast<int32_t>(record.sens_num) <= 255;
}

// Asks the sensor of a copied record and clears the fault when it is stale. The record becomes the clearing one.
outcome examine(fe_write_buf_struct *copy) {
    fe_write_buf &record = *copy->fe_write_buf;
    const auto sensor_number = static_cast<int32_t>(record.sens_num);
    uint32_t unused_1 = 0;
    uint32_t unused_2 = 0;
    uint32_t state = 0;
    text_scratch scratch;
    if (IPMI_SensorGetSensorData(sensor_number, &record_type, &sensor_data_rec) != 0) {
        return outcome::unreadable;
    }
    const uint32_t type_code = sensor_data_rec.event_type;
    if (IPMI_SensorGetSensorReading(sensor_number, &unused_1, &unused_2, &state) != 0) {
        return outcome::unreadable;
    }
    const uint32_t sensor_type = sensor_data_rec.sensor_type;
    fe_logger("sensr_name: %s iCurrentstatus:%d type_code: %u iSensorType: %d\n", as_text(record.sensor_name, scratch),
              static_cast<int>(state), type_code, static_cast<int>(sensor_type));
    if (!is_stale(type_code, sensor_type, state)) {
        return outcome::kept;
    }
    fe_logger("Clearing stale fault - %s (severity: %u)\n", as_text(record.FaultDescription, scratch),
              static_cast<unsigned>(record.vemoFaultSeverity));
    make_clearing(record);
    return update_fe_database(copy) == -1 ? outcome::kept : outcome::cleared;
}

// Whether the walk starts again at the head rather than going on behind `entry`; fe_table_mutex is held again. `start`
// is the head at which it started last, `freed` the number of entries freed before the lock was given up.
bool starts_again(const fe_table_entry *entry, const fe_table_entry *start, uint32_t freed, outcome last) {
    if (last != outcome::unreadable && (fe_table_head_ptr != start || last == outcome::cleared)) {
        return true;
    }
    // Meanwhile another thread may have taken the entry away; as a rule none has gone and nothing is looked for.
    return entries_freed != freed && *find_entry(&fe_table_head_ptr, entry) == nullptr;
}

void walk_chain(fe_write_buf_struct *copy) {
    pthread_mutex_lock(&fe_table_mutex);
    const fe_table_entry *start = fe_table_head_ptr;
    for (fe_table_entry *entry = fe_table_head_ptr; entry != nullptr;) {
        const uint32_t freed = entries_freed;
        outcome last = outcome::not_examined;
        if (is_examined(entry->record)) {
            *copy->fe_write_buf = entry->record;
            pthread_mutex_unlock(&fe_table_mutex);
            last = examine(copy);
            pthread_mutex_lock(&fe_table_mutex);
        }
        if (starts_again(entry, start, freed, last)) {
            start = entry = fe_table_head_ptr;
        } else {
            entry = entry->next;
        }
    }
    pthread_mutex_unlock(&fe_table_mutex);
}

} // namespace

void cleanup_deasserted_events(void) {
    fe_logger("Inside cleanup_deasserted_events...\n");
    fe_write_buf_struct *copy = allocate_write_buffer();
    if (copy == nullptr) {
        return;
    }
    pthread_mutex_lock(&stale_pass_mutex);
    walk_chain(copy);
    pthread_mutex_unlock(&stale_pass_mutex);
    free_write_buffer(copy);
}
