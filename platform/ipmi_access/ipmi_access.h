/* The IPMI sensor and SEL access library, as far as this library meets it. All calls return 0 on success. */
#ifndef PLATFORM_IPMI_ACCESS_H
#define PLATFORM_IPMI_ACCESS_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

struct sel_entry_fields;
struct sel_text_rec;
struct sensor_data_record;

/* The sensor data record of a sensor; fails when no record describes it. */
int32_t IPMI_SensorGetSensorData(int32_t sensor_number, uint32_t *record_type, struct sensor_data_record *sensor);

/* The present state of a sensor; this library uses the third output only, the state bits. */
int32_t IPMI_SensorGetSensorReading(int32_t sensor_number, uint32_t *reading, uint32_t *status, uint32_t *state);

/* Text of a SEL record: attach, read, detach. The event text may lack its NUL. */
int32_t IPMI_SELHVDBSELAttach(struct sel_text_rec *text);
int32_t IPMI_SELGetHVDBSELData(uint32_t record_type, const struct sel_entry_fields *fields, struct sel_text_rec *text);
int32_t IPMI_SELHVDBSELDetach(void);

/* Size of the SEL: `total` receives the number of entries; the second argument is 0. */
int32_t SELTotalSEL(uint32_t *first, int32_t zero, uint16_t *second, uint16_t *total);

/*
 * Decodes a chunk of the SEL into a decode area of `size` bytes (its layout is in sel/sel_decode_area.h); `request` is
 * the 16-bit first record id and the 16-bit number of entries asked for, `decoded` receives the number decoded.
 */
int32_t DecodeSel(void *area, uint32_t size, const void *request, uint32_t *decoded);

/* Text of a SEL record whose sensor has a 32-bit number. The texts may lack their NUL. */
int32_t HVLGSELEntryToStr(const uint8_t *sel_record, int32_t zero, char *timestamp, uint16_t *timestamp_length,
                          char *event, uint8_t *flag_1, uint8_t *flag_2, uint8_t *work, int32_t sensor_number);

/* Date text of such a time-stamp text. */
int32_t HVLGSELUnixToCTime(const char *timestamp, char *date);

#ifdef __cplusplus
}
#endif

#endif
