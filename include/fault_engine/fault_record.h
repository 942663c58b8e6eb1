/*
 * The fault record: one fault, 960 bytes, the same in memory, in the hands of the entity filter and the
 * broadcaster, and in the table file. It is a binary format: offsets, widths, padding and the stretches that this
 * library does not interpret are all part of it.
 *
 * Integers are little-endian. A text field holds a NUL-terminated string; its last byte is reserved for the NUL, so a
 * field of N bytes holds at most N - 1 characters. A record that holds no fault is 960 zero bytes.
 *
 * Ownership and locking: there is one working record. The fault processor thread allocates it, the write buffer
 * (fault_request.h) points to it, and it is touched only with fe_write_buf_mutex held. The fault table keeps copies of
 * its own (fault_table.h).
 */
#ifndef FAULT_ENGINE_FAULT_RECORD_H
#define FAULT_ENGINE_FAULT_RECORD_H

#include <assert.h>
#include <stddef.h>
#include <stdint.h>

#define FE_EXPORT __attribute__((visibility("default")))

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "fault records are little-endian");

/*
 * Severity code of a fault request or record, and its word in severity_word. A request may carry any 32-bit value; 2
 * and all that are not listed have no word, and severity_word stays as the entity filter left it.
 */
enum fe_severity {
    FE_SEVERITY_CLEARED = 0, /* "cleared": the fault is over; clears it in the fault table */
    FE_SEVERITY_INFO = 1,    /* "info" */
    FE_SEVERITY_WARNING = 3, /* "warning" */
    FE_SEVERITY_MINOR = 4,   /* "minor" */
    FE_SEVERITY_MAJOR = 5,   /* "major" */
    FE_SEVERITY_CRITICAL = 6 /* "critical" */
};

enum {
    FE_RELATED_CODES = 7,     /* entries of related_fc: the fault code itself and up to six related to it */
    FE_TIME_TEXT_SIZE = 32,   /* bytes of TimeOfEvent and PreviousTimeOfEvent */
    FE_SENSOR_NAME_SIZE = 20, /* bytes of sensor_name, in the record and in the request */
    FE_SEVERITY_WORD_SIZE = 32
};

struct fe_related_fault_code {
    int32_t related_fc[FE_RELATED_CODES]; /* 0: the fault code; 1..6: codes related to it, 0 where there is none */
};

/* The entity filter fills the record, except where a field names another writer. */
struct fe_write_buf {
    uint8_t entity_id;     /* IPMI entity id of the faulty part (IPMI v2.0, table 43-13); first key of the table */
    uint8_t entity_type;   /* second classifying byte; the SEL road puts the IPMI sensor type here */
    uint8_t reserved_2[2]; /* zero */
    int32_t entity_group_instance; /* group instance of the entity */
    int32_t entity_instance;       /* instance number of the entity, from 1 on the SEL road; second key of the table */
    int32_t vemoFaultSeverity;     /* enum fe_severity; the clean-up passes write it, too */
    int32_t fe_fault_num;          /* fault number (classify.h) */
    int32_t vemoFaultTags;         /* fault tags; 0 on the SEL road */
    char sensor_name[FE_SENSOR_NAME_SIZE];     /* name of the sensor that reported the event */
    uint8_t opaque_44[4];                      /* not interpreted here; the request has eventType at this offset */
    uint32_t sens_num;                         /* IPMI sensor number; 0..255 name a real sensor */
    uint32_t vemoFaultIndex;                   /* fault index */
    uint8_t opaque_56[8];                      /* not interpreted here */
    char severity_word[FE_SEVERITY_WORD_SIZE]; /* word of the request's severity code; written by this library */
    char entity_DN[80];                        /* distinguished name of the entity */
    char fault_DN[80];                         /* distinguished name of the fault */
    char entity_RN[32];                        /* relative name of the entity */
    char fault_RN[32];                         /* relative name of the fault */
    uint8_t opaque_320[128];                   /* not interpreted here */
    uint8_t VemoManagedObjectIdLength;         /* managed object id length */
    uint8_t reserved_449[3];                   /* zero */
    char FaultDescription[224];                /* description of the fault */
    char TimeOfEvent[FE_TIME_TEXT_SIZE];       /* time of this occurrence, as text */
    char PreviousTimeOfEvent
        [FE_TIME_TEXT_SIZE];     /* time of the previous occurrence, as text; the table update writes it, too */
    int32_t Fault_time;          /* the moment of TimeOfEvent, in the entity filter's unit */
    int32_t Previous_Fault_time; /* the moment of PreviousTimeOfEvent; the table update writes it, too */
    uint8_t PreviousSeverity;    /* severity code before this event; the clean-up passes write it, too */
    uint8_t vemoFaultOccur;     /* occurrences, counted in 8 bits (255 is followed by 0); written by the table update */
    uint8_t reserved_750[2];    /* zero */
    int32_t ProbableCause;      /* probable-cause code; get_probable_cause_string() gives its word */
    char opaque_text_756[36];   /* not interpreted here */
    char opaque_text_792[32];   /* not interpreted here */
    int32_t vemoFaultCode;      /* fault code; third key of the table; get_fault_code_string() gives its name */
    int32_t prev_vemoFaultCode; /* fault code before this event; the clean-up passes write it, too */
    struct fe_related_fault_code related_FaultCode; /* written by lookup_fill_related_threshold_fault_code() */
    char FaultName[64];                             /* name of the fault */
    uint8_t opaque_924[36];                         /* not interpreted here */
};

#define FE_AT(type, field, offset) static_assert(offsetof(struct type, field) == (offset), #type "." #field)

static_assert(sizeof(struct fe_write_buf) == 960, "fe_write_buf is 960 bytes");
FE_AT(fe_write_buf, entity_id, 0);
FE_AT(fe_write_buf, entity_type, 1);
FE_AT(fe_write_buf, reserved_2, 2);
FE_AT(fe_write_buf, entity_group_instance, 4);
FE_AT(fe_write_buf, entity_instance, 8);
FE_AT(fe_write_buf, vemoFaultSeverity, 12);
FE_AT(fe_write_buf, fe_fault_num, 16);
FE_AT(fe_write_buf, vemoFaultTags, 20);
FE_AT(fe_write_buf, sensor_name, 24);
FE_AT(fe_write_buf, opaque_44, 44);
FE_AT(fe_write_buf, sens_num, 48);
FE_AT(fe_write_buf, vemoFaultIndex, 52);
FE_AT(fe_write_buf, opaque_56, 56);
FE_AT(fe_write_buf, severity_word, 64);
FE_AT(fe_write_buf, entity_DN, 96);
FE_AT(fe_write_buf, fault_DN, 176);
FE_AT(fe_write_buf, entity_RN, 256);
FE_AT(fe_write_buf, fault_RN, 288);
FE_AT(fe_write_buf, opaque_320, 320);
FE_AT(fe_write_buf, VemoManagedObjectIdLength, 448);
FE_AT(fe_write_buf, reserved_449, 449);
FE_AT(fe_write_buf, FaultDescription, 452);
FE_AT(fe_write_buf, TimeOfEvent, 676);
FE_AT(fe_write_buf, PreviousTimeOfEvent, 708);
FE_AT(fe_write_buf, Fault_time, 740);
FE_AT(fe_write_buf, Previous_Fault_time, 744);
FE_AT(fe_write_buf, PreviousSeverity, 748);
FE_AT(fe_write_buf, vemoFaultOccur, 749);
FE_AT(fe_write_buf, reserved_750, 750);
FE_AT(fe_write_buf, ProbableCause, 752);
FE_AT(fe_write_buf, opaque_text_756, 756);
FE_AT(fe_write_buf, opaque_text_792, 792);
FE_AT(fe_write_buf, vemoFaultCode, 824);
FE_AT(fe_write_buf, prev_vemoFaultCode, 828);
FE_AT(fe_write_buf, related_FaultCode, 832);
FE_AT(fe_write_buf, FaultName, 860);
FE_AT(fe_write_buf, opaque_924, 924);

#endif
