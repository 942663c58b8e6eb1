#include "base/text_field.h"
#include "engine/commit.h"
#include "platform/fe_core/fe_core.h"

void dump_record(const fe_write_buf &record) {
    text_scratch scratch;
    const int32_t *related = record.related_FaultCode.related_fc;
    fe_logger("\nWRITE BUF DUMP:\n");
    fe_logger("fe_write_buf->sensor_name = %s\n", as_text(record.sensor_name, scratch));
    fe_logger("fe_write_buf->entity_id = %d\n", int{record.entity_id});
    fe_logger("fe_write_buf->entity_type = %d\n", int{record.entity_type});
    fe_logger("fe_write_buf->entity_group_instance = %d\n", record.entity_group_instance);
    fe_logger("fe_write_buf->entity_instance = %d\n", record.entity_instance);
    fe_logger("fe_write_buf->vemoFaultSeverity = %d\n", record.vemoFaultSeverity);
    fe_logger("fe_write_buf->PreviousSeverity = %d\n", int{record.PreviousSeverity});
    fe_logger("fe_write_buf->fe_fault_num = %d\n", record.fe_fault_num);
    fe_logger("fe_write_buf->vemoFaultTags = %d\n", record.vemoFaultTags);
    fe_logger("fe_write_buf->vemoFaultIndex = %u\n", record.vemoFaultIndex);
    fe_logger("fe_write_buf->entity_DN = %s\n", as_text(record.entity_DN, scratch));
    fe_logger("fe_write_buf->fault_DN = %s\n", as_text(record.fault_DN, scratch));
    fe_logger("fe_write_buf->TimeOfEvent = %s\n", as_text(record.TimeOfEvent, scratch));
    fe_logger("fe_write_buf->Fault_time = %d\n", record.Fault_time);
    fe_logger("fe_write_buf->PreviousTimeOfEvent = %s\n", as_text(record.PreviousTimeOfEvent, scratch));
    fe_logger("fe_write_buf->Previous_Fault_time = %d\n", record.Previous_Fault_time);
    fe_logger("fe_write_buf->vemoFaultOccur = %d\n", int{record.vemoFaultOccur});
    fe_logger("fe_write_buf->entity_RN = %s\n", as_text(record.entity_RN, scratch));
    fe_logger("fe_write_buf->fault_RN = %s\n", as_text(record.fault_RN, scratch));
    fe_logger("fe_write_buf->VemoManagedObjectIdLength = %d\n", int{record.VemoManagedObjectIdLength});
    fe_logger("fe_write_buf->FaultDescription = %s\n", as_text(record.FaultDescription, scratch));
    fe_logger("fe_write_buf->ProbableCause = %d\n", record.ProbableCause);
    fe_logger("fe_write_buf->vemoFaultCode = %d\n", record.vemoFaultCode);
    fe_logger("fe_write_buf->prev_vemoFaultCode = %d\n", record.prev_vemoFaultCode);
    fe_logger("fe_write_buf->related_FaultCode.related_fc[1] = %d\n", related[1]);
    fe_logger("fe_write_buf->related_FaultCode.related_fc[2] = %d\n", related[2]);
    fe_logger("fe_write_buf->related_FaultCode.related_fc[3] = %d\n", related[3]);
    fe_logger("fe_write_buf->related_FaultCode.related_fc[4] = %d\n", related[4]);
    fe_logger("fe_write_buf->related_FaultCode.related_fc[5] = %d\n", related[5]);
    fe_logger("fe_write_buf->related_FaultCode.related_fc[6] = %d\n", related[6]);
    fe_logger("fe_write_buf->FaultName = %s\n", as_text(record.FaultName, scratch));
}
