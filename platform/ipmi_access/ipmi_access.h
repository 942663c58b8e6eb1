/* The IPMI sensor and SEL access library, as far as this library meets it. All calls return 0 on success. */
#ifndef PLATFORM_IPMI_ACCESS_H
#define PLATFORM_IPMI_ACCESS_H

#include <stdint.h>

#include "fault_engine/sel.h"

#ifdef __cplusplus
extern "C" {
#endif

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

enum {
    SEL_CHUNK_ENTRIES = 512,       /* entries of a chunk at most */
    SEL_DECODE_AREA_SIZE = 190470, /* what DecodeSel() is told, whatever the area's true size */
    SEL_DECODE_AREA_REQUEST = 4,   /* the area's request word before every call */
    SEL_END_OF_LOG = 0xFFFF        /* next_record_id when the log has no more entries */
};

/* The area into which DecodeSel() decodes a chunk of the SEL. */
struct sel_decode_area {
    uint32_t request;          /* SEL_DECODE_AREA_REQUEST */
    uint32_t decoded_total;    /* entries decoded over all chunks; the caller's */
    uint32_t total_first;      /* receives the first output of SELTotalSEL() */
    uint32_t decoded_last;     /* entries decoded by the last call */
    uint16_t next_record_id;   /* where the next chunk starts, or SEL_END_OF_LOG */
    uint8_t opaque_18[180224]; /* the library's own */
    struct sel_list_entry entries[SEL_CHUNK_ENTRIES];
};
FE_AT(sel_decode_area, decoded_total, 4);
FE_AT(sel_decode_area, total_first, 8);
FE_AT(sel_decode_area, decoded_last, 12);
FE_AT(sel_decode_area, next_record_id, 16);
FE_AT(sel_decode_area, entries, 180242);
static_assert(sizeof(struct sel_decode_area) >= 190482, "room for 512 entries");

struct sel_chunk_request {
    uint16_t first_record_id;
    uint16_t entries; /* number of entries asked for */
};
static_assert(sizeof(struct sel_chunk_request) == 4, "a chunk request is 4 bytes");

/*
 * Decodes the chunk that is asked for into the area; `size` is SEL_DECODE_AREA_SIZE, and `decoded` points to the area's
 * decoded_last. The request may be used as scratch.
 */
int32_t DecodeSel(struct sel_decode_area *area, uint32_t size, struct sel_chunk_request *request, uint32_t *decoded);

/* Text of a SEL record whose sensor has a 32-bit number. The texts may lack their NUL. */
int32_t HVLGSELEntryToStr(const uint8_t *sel_record, int32_t zero, char *timestamp, uint16_t *timestamp_length,
                          char *event, uint8_t *flag_1, uint8_t *flag_2, uint8_t *work, int32_t sensor_number);

/* Date text of such a time-stamp text. */
int32_t HVLGSELUnixToCTime(const char *timestamp, char *date);

#ifdef __cplusplus
}
#endif

#endif
