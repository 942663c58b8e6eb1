#include "sel/sel_commit.h"

#include <cstring>

#include "engine/commit.h"
#include "fault_engine/fault_table.h"
#include "platform/fe_core/fe_core.h"

void fill_request(fe_read_buf *request, const sensor_data_record &sensor, int32_t entity_instance) {
    request->entity_id = static_cast<uint8_t>(sensor.entity_id);
    request->entity_type = static_cast<uint8_t>(sensor.sensor_type);
    request->entity_group_instance = 1;
    request->entity_instance = entity_instance;
    request->vemoFaultTags = 0;
    request->sens_num = sensor.sensor_number;
}

void clear_stale_after_self_test(const char *reporter, const fe_read_buf &request) {
    if (fe_flag(&sel_init_complete) == 0 || strcmp(reporter, "BIOS_POST_CMPLT") != 0) {
        return;
    }
    FEthreadSleep(30, 0);
    if (request.vemoFaultSeverity == FE_SEVERITY_CLEARED) {
        cleanup_deasserted_events();
        cleanup_deasserted_events();
    }
}

void log_event(const char *event_text, const fe_read_buf &request) {
    fe_logger("\n\nSEL Event: %s\n", event_text);
    fe_logger("Sensor Name: %s\n", request.sensor_name);
    fe_logger("Sensor Number: %u\n", request.sens_num);
    fe_logger("Entity Id: %u\n", unsigned{request.entity_id});
    fe_logger("Entity Instance: %u\n", static_cast<unsigned>(request.entity_instance));
    fe_logger("Entity Group Instance: %u\n", static_cast<unsigned>(request.entity_group_instance));
    fe_logger("Fault Number: %u\n", static_cast<unsigned>(request.fe_fault_num));
    fe_logger("Fault Severity: %u\n\n", static_cast<unsigned>(request.vemoFaultSeverity));
}

void commit_request(sel_road road, fe_read_buf *request, fe_write_buf_struct *wbuf, bool &duplicate_pass_done) {
    int32_t result = fill_record(request, wbuf);
    if (road == sel_road::ordinary) {
        fe_logger("Exited process_write_buf err= %d\n", result);
    } else {
        fe_logger("process_write_buf returned err = %d\n", result);
    }
    if (result == 0) {
        complete_record(wbuf->fe_write_buf);
        result = update_fe_database(wbuf);
    }
    if (fe_flag(&sel_init_complete) != 0 && !duplicate_pass_done) {
        cleanup_duplicate_events();
        duplicate_pass_done = true;
    }
    if (road == sel_road::ordinary) {
        fe_logger("Exited update_fe_database err= %d\n", result);
    }
    if (fe_flag(&sel_init_complete) != 0) {
        broadcast_record(wbuf, result);
    }
    clear_record(wbuf->fe_write_buf);
}
