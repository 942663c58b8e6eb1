#include "bench/sel_road_floor.h"

#include "platform/entity_filter/entity_filter.h"
#include "platform/fe_core/fe_core.h"
#include "platform/ipmi_access/ipmi_access.h"

namespace {

void read_text(const sel_record &record, sel_text_rec &text) {
    const auto *bytes = reinterpret_cast<const uint8_t *>(&record);
    sel_entry_fields fields;
    fields.sensor_number = record.sensor_number;
    IPMI_SELHVDBSELAttach(&text);
    fe_logger("decode_sel_entry: %x %x %x %x %x %x %x %x %x %x %x %x %x %x %x %x \n", unsigned{bytes[0]},
              unsigned{bytes[1]}, unsigned{bytes[2]}, unsigned{bytes[3]}, unsigned{bytes[4]}, unsigned{bytes[5]},
              unsigned{bytes[6]}, unsigned{bytes[7]}, unsigned{bytes[8]}, unsigned{bytes[9]}, unsigned{bytes[10]},
              unsigned{bytes[11]}, unsigned{bytes[12]}, unsigned{bytes[13]}, unsigned{bytes[14]}, unsigned{bytes[15]});
    IPMI_SELGetHVDBSELData(record.record_type, &fields, &text);
    IPMI_SELHVDBSELDetach();
}

void log_classification(const sel_record &record, const fe_read_buf &request) {
    fe_logger("\nEntered convert_sel_to_fe_read_buf\n");
    fe_logger("entity_id = %x eventType = %x, eventDir = %d, offset1 = %x sens_num=%d sens_type= %x\n",
              unsigned{request.entity_id}, unsigned{record.event_dir_type}, 0, unsigned{record.event_data[0]},
              static_cast<int>(request.sens_num), unsigned{record.sensor_type});
    fe_logger("Out of fe_get_severity switch case severity = %d fault_code = %u err: %d\n", request.vemoFaultSeverity,
              static_cast<unsigned>(request.fe_fault_num), 0);
}

void log_event(const sel_text_rec &text, const fe_read_buf &request) {
    fe_logger("\n\nSEL Event: %s\n", text.event);
    fe_logger("Sensor Name: %s\n", request.sensor_name);
    fe_logger("Sensor Number: %u\n", request.sens_num);
    fe_logger("Entity Id: %u\n", unsigned{request.entity_id});
    fe_logger("Entity Instance: %u\n", static_cast<unsigned>(request.entity_instance));
    fe_logger("Entity Group Instance: %u\n", static_cast<unsigned>(request.entity_group_instance));
    fe_logger("Fault Number: %u\n", static_cast<unsigned>(request.fe_fault_num));
    fe_logger("Fault Severity: %u\n\n", static_cast<unsigned>(request.vemoFaultSeverity));
}

void log_record(const fe_write_buf &record) {
    fe_logger("\nWRITE BUF DUMP:\n");
    fe_logger("fe_write_buf->sensor_name = %s\n", record.sensor_name);
    fe_logger("fe_write_buf->entity_id = %d\n", int{record.entity_id});
    fe_logger("fe_write_buf->entity_type = %d\n", int{record.entity_type});
    fe_logger("fe_write_buf->entity_group_instance = %d\n", record.entity_group_instance);
    fe_logger("fe_write_buf->entity_instance = %d\n", record.entity_instance);
    fe_logger("fe_write_buf->vemoFaultSeverity = %d\n", record.vemoFaultSeverity);
    fe_logger("fe_write_buf->PreviousSeverity = %d\n", int{record.PreviousSeverity});
    fe_logger("fe_write_buf->fe_fault_num = %d\n", record.fe_fault_num);
    fe_logger("fe_write_buf->vemoFaultTags = %d\n", record.vemoFaultTags);
    fe_logger("fe_write_buf->vemoFaultIndex = %u\n", record.vemoFaultIndex);
    fe_logger("fe_write_buf->entity_DN = %s\n", record.entity_DN);
    fe_logger("fe_write_buf->fault_DN = %s\n", record.fault_DN);
    fe_logger("fe_write_buf->TimeOfEvent = %s\n", record.TimeOfEvent);
    fe_logger("fe_write_buf->Fault_time = %d\n", record.Fault_time);
    fe_logger("fe_write_buf->PreviousTimeOfEvent = %s\n", record.PreviousTimeOfEvent);
    fe_logger("fe_write_buf->Previous_Fault_time = %d\n", record.Previous_Fault_time);
    fe_logger("fe_write_buf->vemoFaultOccur = %d\n", int{record.vemoFaultOccur});
    fe_logger("fe_write_buf->entity_RN = %s\n", record.entity_RN);
    fe_logger("fe_write_buf->fault_RN = %s\n", record.fault_RN);
    fe_logger("fe_write_buf->VemoManagedObjectIdLength = %d\n", int{record.VemoManagedObjectIdLength});
    fe_logger("fe_write_buf->FaultDescription = %s\n", record.FaultDescription);
    fe_logger("fe_write_buf->ProbableCause = %d\n", record.ProbableCause);
    fe_logger("fe_write_buf->vemoFaultCode = %d\n", record.vemoFaultCode);
    fe_logger("fe_write_buf->prev_vemoFaultCode = %d\n", record.prev_vemoFaultCode);
    fe_logger("fe_write_buf->related_FaultCode.related_fc[1] = %d\n", record.related_FaultCode.related_fc[1]);
    fe_logger("fe_write_buf->related_FaultCode.related_fc[2] = %d\n", record.related_FaultCode.related_fc[2]);
    fe_logger("fe_write_buf->related_FaultCode.related_fc[3] = %d\n", record.related_FaultCode.related_fc[3]);
    fe_logger("fe_write_buf->related_FaultCode.related_fc[4] = %d\n", record.related_FaultCode.related_fc[4]);
    fe_logger("fe_write_buf->related_FaultCode.related_fc[5] = %d\n", record.related_FaultCode.related_fc[5]);
    fe_logger("fe_write_buf->related_FaultCode.related_fc[6] = %d\n", record.related_FaultCode.related_fc[6]);
    fe_logger("fe_write_buf->FaultName = %s\n", record.FaultName);
}

#define LOG_CHANGE(text, record)                                                                              \
    fe_logger(text " (%u/%u/curr:%u-prev:%u) - sev: %u\n", unsigned{(record).entity_id},                      \
              static_cast<unsigned>((record).entity_instance), static_cast<unsigned>((record).vemoFaultCode), \
              static_cast<unsigned>((record).prev_vemoFaultCode), static_cast<unsigned>((record).vemoFaultSeverity))

void log_update(const fe_write_buf &record) {
    LOG_CHANGE("Entity id found", record);
    LOG_CHANGE("Entity instance found", record);
    LOG_CHANGE("Fault node found", record);
    LOG_CHANGE("Update the fault found", record);
}

} // namespace

void call_neighbours(const sel_record &record, fe_write_buf_struct *wbuf) {
    sel_text_rec text;
    read_text(record, text);

    fe_read_buf request{};
    uint32_t type = 0;
    sensor_data_record sensor;
    IPMI_SensorGetSensorData(record.sensor_number, &type, &sensor);
    request.entity_id = static_cast<uint8_t>(sensor.entity_id);
    request.entity_instance = static_cast<int32_t>(sensor.entity_instance);
    request.vemoFaultSeverity = FE_SEVERITY_MAJOR;
    request.sens_num = sensor.sensor_number;
    log_classification(record, request);
    log_event(text, request);

    process_cpu_fault(&request, wbuf);
    fe_logger("Exited process_write_buf err= %d\n", 0);
    log_record(*wbuf->fe_write_buf);
    log_update(*wbuf->fe_write_buf);
    fe_logger("Exited update_fe_database err= %d\n", 0);
}
