/*
 * The SEL road: records of the IPMI System Event Log on their way to faults, and the records that the SEL and sensor
 * access library exchanges with this one.
 *
 * Records that come as wire bytes are structs of bytes, so they have no padding and may lie at any address.
 *
 * The SEL functions that return int32_t return a result of enum fe_sel_result or, as it stands, what a failing detach
 * of the SEL library returned.
 */
#ifndef FAULT_ENGINE_SEL_H
#define FAULT_ENGINE_SEL_H

#include "fault_engine/fault_record.h"

enum fe_sel_result {
    FE_SEL_OK = 0,       /* the record was ignored or processed; an empty SEL; no memory for the walk */
    FE_SEL_REFUSED = -1, /* severity or fault number selection refused the event; not to be told from the next */
    FE_SEL_NO_WRITE_BUFFER = -1,  /* there is no write buffer, or no record in it */
    FE_SEL_NO_SIZE = -1,          /* the size of the SEL cannot be read */
    FE_SEL_NO_EXTENDED_TEXT = -2, /* the text of an extended record could not be made */
    FE_SEL_NO_TEXT = -102,        /* the SEL library could not attach or give the record's text */
    FE_SEL_NO_RECORD = -103,      /* null record */
    FE_SEL_NO_CHUNK = -104,       /* a chunk of the SEL could not be decoded */
    FE_SEL_NO_SENSOR = -105,      /* no sensor data record describes the sensor */
    FE_SEL_WRONG_RECORD = -108 /* OEM record type (192..255), or another sensor type than the sensor data record has */
};

/* SEL record as stored in the log (IPMI v2.0, section 32.1); multi-byte fields are little-endian. */
struct sel_record {
    uint8_t record_id[2];
    uint8_t record_type; /* 0x02: system event; 192..255: OEM */
    uint8_t timestamp[4];
    uint8_t generator_id[2];
    uint8_t format_revision; /* event message format revision */
    uint8_t sensor_type;     /* IPMI v2.0, table 42-3; 0x10 (event logging disabled) is ignored */
    uint8_t sensor_number;
    uint8_t event_dir_type; /* bit 7: 1 = deassertion; bits 0-6: event/reading type (IPMI v2.0, table 42-1) */
    uint8_t event_data[3];  /* [0], low four bits: event offset */
};
static_assert(sizeof(struct sel_record) == 16, "a SEL record is 16 bytes");
FE_AT(sel_record, record_id, 0);
FE_AT(sel_record, record_type, 2);
FE_AT(sel_record, timestamp, 3);
FE_AT(sel_record, generator_id, 7);
FE_AT(sel_record, format_revision, 9);
FE_AT(sel_record, sensor_type, 10);
FE_AT(sel_record, sensor_number, 11);
FE_AT(sel_record, event_dir_type, 12);
FE_AT(sel_record, event_data, 13);

/* Extended SEL record: a SEL record with a 32-bit sensor number. */
struct super_sel_rec {
    uint8_t unused_0[3];
    uint8_t record_id[2];
    uint8_t record_type;
    uint8_t timestamp[4];
    uint8_t unused_10[2];
    uint8_t generator_id[2];
    uint8_t format_revision;
    uint8_t sensor_type;
    uint8_t sensor_number[4]; /* signed, little-endian */
    uint8_t event_dir_type;
    uint8_t event_data[3];
};
static_assert(sizeof(struct super_sel_rec) == 24, "an extended SEL record is 24 bytes");
FE_AT(super_sel_rec, record_id, 3);
FE_AT(super_sel_rec, record_type, 5);
FE_AT(super_sel_rec, timestamp, 6);
FE_AT(super_sel_rec, generator_id, 12);
FE_AT(super_sel_rec, format_revision, 14);
FE_AT(super_sel_rec, sensor_type, 15);
FE_AT(super_sel_rec, sensor_number, 16);
FE_AT(super_sel_rec, event_dir_type, 20);
FE_AT(super_sel_rec, event_data, 21);

/* One entry of the start-up list, as the SEL library decodes it. */
struct sel_list_entry {
    struct sel_record record;
    uint8_t sensor_number[4]; /* 32-bit, little-endian; logged only */
};
static_assert(sizeof(struct sel_list_entry) == 20, "a SEL list entry is 20 bytes");
FE_AT(sel_list_entry, sensor_number, 16);

/* A SEL record taken apart, one field a word, as IPMI_SELGetHVDBSELData() takes it. */
struct sel_entry_fields {
    uint32_t record_id;
    uint32_t record_type;
    uint32_t timestamp; /* seconds since 1970, or since start below 0x20000000 */
    uint32_t generator_id;
    uint32_t format_revision;
    uint32_t sensor_type;
    uint32_t sensor_number;
    uint32_t event_direction; /* 1 = deassertion */
    uint32_t event_type;      /* 0..127 */
    uint32_t event_data_1;
    uint32_t event_data_2;
    uint32_t event_data_3;
};
static_assert(sizeof(struct sel_entry_fields) == 48, "twelve words");

/* The text form of one SEL record. */
struct sel_text_rec {
    uint32_t kind;             /* 31 in the text of an extended record */
    char date[32];             /* NUL-terminated */
    uint32_t timestamp_length; /* length of the time-stamp text */
    char timestamp[36];
    uint8_t flag;
    uint8_t reserved_77[3];
    uint32_t event_length; /* length of the event text */
    char event[256];       /* event text; the SEL library may leave out its NUL */
};
static_assert(sizeof(struct sel_text_rec) == 340, "a SEL text record is 340 bytes");
FE_AT(sel_text_rec, date, 4);
FE_AT(sel_text_rec, timestamp_length, 36);
FE_AT(sel_text_rec, timestamp, 40);
FE_AT(sel_text_rec, flag, 76);
FE_AT(sel_text_rec, event_length, 80);
FE_AT(sel_text_rec, event, 84);

/* What IPMI_SensorGetSensorData() says of one sensor; the rest of it is opaque here. */
struct sensor_data_record {
    uint8_t opaque_0[16];
    uint32_t sensor_number;
    uint32_t entity_id; /* IPMI entity id; only 0..255 has a meaning */
    uint32_t entity_instance;
    uint32_t sensor_type;
    uint32_t event_type; /* event/reading type code */
    uint8_t opaque_36[104];
};
static_assert(sizeof(struct sensor_data_record) == 140, "a sensor data record is 140 bytes");
FE_AT(sensor_data_record, sensor_number, 16);
FE_AT(sensor_data_record, entity_id, 20);
FE_AT(sensor_data_record, entity_instance, 24);
FE_AT(sensor_data_record, sensor_type, 28);
FE_AT(sensor_data_record, event_type, 32);

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Turns one 16-byte SEL record into a fault and commits it: dispatch, related codes, fault table, broadcast (the last
 * only once the start-up walk is over). Null gives FE_SEL_NO_RECORD. Takes fe_write_buf_mutex, and fe_table_mutex inside
 * it; the caller holds none of the engine's locks. Its own working storage is on the stack. After start-up a
 * "BIOS_POST_CMPLT" record pauses for 30 seconds; one that clears also takes fe_table_mutex alone, in two stale passes.
 */
FE_EXPORT int32_t process_sel_data(const uint8_t *sel_bytes);

/*
 * The same for an extended record of 24 bytes, which must not be null. Sensors up to 255, and sensor types other than
 * 1, 12 and 18, take the road of process_sel_data() with the low byte of the sensor number.
 */
FE_EXPORT int32_t process_super_sel_data(const uint8_t *sel_bytes);

/*
 * The start of the SEL side, which init_database() makes itself: walks the whole SEL, runs the clean-up passes, sets
 * sel_init_complete and writes the table files for the first time. Returns the result of populate_all_sel_events().
 * Pauses for 5 seconds.
 */
FE_EXPORT int32_t init_event_thread(void);

/*
 * Sends every record of the SEL down process_sel_data(). Returns FE_SEL_NO_SIZE or FE_SEL_NO_CHUNK when the SEL cannot
 * be read (then no record was processed), FE_SEL_OK when it is empty or memory is out, otherwise the result of the last
 * record. Needs about 186 KiB of stack. Called by init_event_thread(); a second walk counts every
 * fault's records once more.
 */
FE_EXPORT int32_t populate_all_sel_events(void);

/*
 * The SEL thread: init_event_thread(), then the reader of the FIFO /var/SA_vSEL_FIFO, 16 bytes a record, each written
 * in one call. Runs in one thread at a time, a thread of the daemon's own with 186 KiB of stack for the walk, and
 * room for the neighbours on top; 1 MiB is plenty. Returns 0 when the engine stops or the FIFO fails.
 *
 * The FIFO is made by others and opened after the walk, for reading and writing, so what is written before that needs
 * a reader of its own to stay. A FIFO that is missing is tried again every 5 seconds, without a look at
 * fe_not_running. One that is removed is opened again; if there is none, the function sets fe_not_running itself,
 * goes on as with a missing one if the FIFO was idle, and returns otherwise. The fault processor then ends when it
 * next wakes, and fe_init_interface() is expected to return.
 *
 * fe_not_running is looked at when the FIFO has activity, and between two records. After each batch of records, and
 * every 2 seconds without any, the duplicate pass runs (cleanup_duplicate_events()).
 */
FE_EXPORT int32_t init_database(void);

/*
 * Looks up `instance` in row 1..15 of an entity table: words 1 to 32 of a row are up to 16 pairs (translated
 * instance, user instance), ended by a translated instance of 0. Returns the translated instance of the first pair
 * with that user instance, or 0. A null table stops the process.
 */
FE_EXPORT uint32_t translate_user_entity_instance(const uint32_t (*entity_tbl)[33], uint32_t row, uint32_t instance);

#ifdef __cplusplus
}
#endif

#endif
