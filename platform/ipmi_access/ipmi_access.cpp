#include "platform/ipmi_access/ipmi_access.h"

#include "platform/ipmi_access/ipmi_access_host.h"

using ipmi_access::hooks;

int32_t IPMI_SensorGetSensorData(int32_t sensor_number, uint32_t *record_type, sensor_data_record *sensor) {
    return hooks.sensor_data(sensor_number, record_type, sensor);
}

int32_t IPMI_SensorGetSensorReading(int32_t sensor_number, uint32_t *reading, uint32_t *status, uint32_t *state) {
    return hooks.sensor_reading(sensor_number, reading, status, state);
}

int32_t IPMI_SELHVDBSELAttach(sel_text_rec *text) {
    return hooks.attach(text);
}

int32_t IPMI_SELGetHVDBSELData(uint32_t record_type, const sel_entry_fields *fields, sel_text_rec *text) {
    return hooks.event_text(record_type, fields, text);
}

int32_t IPMI_SELHVDBSELDetach(void) {
    return hooks.detach();
}

int32_t SELTotalSEL(uint32_t *first, int32_t zero, uint16_t *second, uint16_t *total) {
    return hooks.sel_size(first, zero, second, total);
}

int32_t DecodeSel(sel_decode_area *area, uint32_t size, sel_chunk_request *request, uint32_t *decoded) {
    return hooks.decode(area, size, request, decoded);
}

int32_t HVLGSELEntryToStr(const uint8_t *sel_record, int32_t zero, char *timestamp, uint16_t *timestamp_length,
                          char *event, uint8_t *flag_1, uint8_t *flag_2, uint8_t *work, int32_t sensor_number) {
    return hooks.extended_text(sel_record, zero, timestamp, timestamp_length, event, flag_1, flag_2, work,
                               sensor_number);
}

int32_t HVLGSELUnixToCTime(const char *timestamp, char *date) {
    return hooks.date_text(timestamp, date);
}
