// Clears the faults whose sensors no longer report them.
#include "fault_engine/sel.h"
#include "fault_table/clearing_record.h"
#include "fault_table/stale_test.h"
#include "fault_table/table.h"
#include "fault_table/text_field.h"
#include "fault_table/write_buffer.h"
#include "platform/fe_core/fe_core.h"
#include "platform/ipmi_access/ipmi_access.h"

namespace {

// Guards sensor_data_rec and record_type, the output areas of the sensor calls: one pass at a time. Taken before
// fe_table_mutex, and with no other lock held.
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
    if (IPMI_SensorGetSensorData(sensor_number, &record_type, &sensor_data_rec) != 0) {
        return outcome::unreadable;
    }
    const uint32_t type_code = sensor_data_rec.event_type;
    if (IPMI_SensorGetSensorReading(sensor_number, &unused_1, &unused_2, &state) != 0) {
        return outcome::unreadable;
    }
    const uint32_t sensor_type = sensor_data_rec.sensor_type;
    fe_logger("sensr_name: %s iCurrentstatus:%d type_code: %u iSensorType: %d\n", record.sensor_name,
              static_cast<int>(state), type_code, static_cast<int>(sensor_type));
    if (!is_stale(type_code, sensor_type, state)) {
        return outcome::kept;
    }
    fe_logger("Clearing stale fault - %s (severity: %u)\n", record.FaultDescription,
              static_cast<unsigned>(record.vemoFaultSeverity));
    make_clearing(record);
    return update_fe_database(copy) == -1 ? outcome::kept : outcome::cleared;
}

// Where to go on from `entry`, with fe_table_mutex held again. `start` is the head at which the walk started last.
fe_table_entry *go_on(fe_table_entry *entry, fe_table_entry *&start, outcome last) {
    const bool head_counts = last != outcome::unreadable;
    if (head_counts && (fe_table_head_ptr != start || last == outcome::cleared)) {
        return start = fe_table_head_ptr;
    }
    // While the lock was free, another thread may have taken the entry away.
    if (last != outcome::not_examined && *find_entry(&fe_table_head_ptr, entry) == nullptr) {
        return start = fe_table_head_ptr;
    }
    return entry->next;
}

void walk_chain(fe_write_buf_struct *copy) {
    pthread_mutex_lock(&fe_table_mutex);
    fe_table_entry *start = fe_table_head_ptr;
    for (fe_table_entry *entry = start; entry != nullptr;) {
        outcome last = outcome::not_examined;
        if (is_examined(entry->record)) {
            *copy->fe_write_buf = entry->record;
            terminate_texts(*copy->fe_write_buf);
            pthread_mutex_unlock(&fe_table_mutex);
            last = examine(copy);
            pthread_mutex_lock(&fe_table_mutex);
        }
        entry = go_on(entry, start, last);
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
