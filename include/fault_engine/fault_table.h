/*
 * The fault table: one stored record per active fault, kept twice over: as a three-level index (entity id, entity
 * instance, fault code), by which a fault is found, and as one chain of stored records in order of last change, newest
 * first, which is what the table files hold.
 *
 * Ownership: the table owns its nodes and stored records; they live on the heap. It starts empty and is never freed
 * as a whole.
 *
 * Locking: fe_table_mutex guards everything that is declared here but the two output areas of the sensor calls, the
 * storage counters of the library, and the table files. Lock order: fe_write_buf_mutex (fault_request.h), then fe_table_mutex. It is not recursive.
 *
 * Invariants, whenever fe_table_mutex is free
 *   - Each entry on the chain is referenced by exactly one fault node, which lies under the entity node and the
 *     instance node of the entry's entity_id and entity_instance, and whose fault_code is the entry's vemoFaultCode.
 *   - No level is empty: an entity has an instance, an instance has a fault.
 *   - The three lists keep insertion order; new nodes go to the tail.
 *   - fe_fault_count is the number of entries on the chain.
 */
#ifndef FAULT_ENGINE_FAULT_TABLE_H
#define FAULT_ENGINE_FAULT_TABLE_H

#include "fault_engine/fault_request.h"

/* Results of update_fe_database(). */
enum fe_table_result {
    FE_TABLE_CHANGED = 0,          /* created, cleared, or updated outside the storage entities: to be broadcast */
    FE_TABLE_REPEATED_STORAGE = 2, /* updated, storage entity (208..215): to be broadcast with syslog_filter set */
    FE_TABLE_UNCHANGED = -1        /* nothing to clear, or out of memory */
};

enum { FE_TABLE_MAX_FAULTS = 1024 }; /* a new fault beyond this evicts the one changed longest ago */

struct fe_table_entry {
    struct fe_write_buf record;  /* the latest record of the fault */
    struct fe_table_entry *next; /* the entry changed before this one; null at the oldest */
};

struct fault_node {
    int32_t fault_code;           /* key: the vemoFaultCode of the entry */
    struct fe_table_entry *entry; /* never null */
    struct fault_node *next;
};

struct entity_instance_node {
    int32_t entity_instance;       /* key */
    struct fault_node *fault_list; /* never empty */
    struct entity_instance_node *next;
};

struct entity_id_node {
    uint8_t entity_id;                          /* key: IPMI entity id */
    struct entity_instance_node *instance_list; /* never empty */
    struct entity_id_node *next;
};

/* The records lie where they do on all machines; the other nodes hold pointers, and are as below on the target. */
FE_AT(fe_table_entry, record, 0);
FE_AT(fe_table_entry, next, 960);
FE_AT(fault_node, fault_code, 0);
FE_AT(entity_instance_node, entity_instance, 0);
FE_AT(entity_id_node, entity_id, 0);
#if defined(__arm__) && defined(__GLIBC__)
static_assert(sizeof(struct fe_table_entry) == 964, "fe_table_entry is 964 bytes");
FE_AT(fault_node, entry, 4);
FE_AT(fault_node, next, 8);
FE_AT(entity_instance_node, fault_list, 4);
FE_AT(entity_instance_node, next, 8);
FE_AT(entity_id_node, instance_list, 4);
FE_AT(entity_id_node, next, 8);
#endif

struct sensor_data_record; /* sel.h */

#ifdef __cplusplus
extern "C" {
#endif

extern FE_EXPORT struct entity_id_node *entity_id_list_head_ptr; /* null when the table is empty */
extern FE_EXPORT struct fe_table_entry *fe_table_head_ptr;       /* the newest entry; null when the table is empty */
extern FE_EXPORT uint32_t fe_fault_count;                        /* 0..FE_TABLE_MAX_FAULTS */
extern FE_EXPORT pthread_mutex_t fe_table_mutex;

/*
 * Output areas of the sensor calls of cleanup_deasserted_events(); valid only inside that pass, which runs in one
 * thread at a time.
 */
extern FE_EXPORT struct sensor_data_record sensor_data_rec;
extern FE_EXPORT uint32_t record_type;

/*
 * Creates, updates or (severity 0) clears the fault of wbuf's record and rewrites the table files. Only wbuf's record
 * pointer is used. The record is written too: its previous-time fields and vemoFaultOccur, for the broadcast.
 * Takes fe_table_mutex; the caller holds fe_write_buf_mutex if the record is the working one.
 * Returns an enum fe_table_result; on FE_TABLE_UNCHANGED the table and its files are as before, and of the record only
 * the previous-time fields may have been written.
 */
FE_EXPORT int32_t update_fe_database(struct fe_write_buf_struct *wbuf);

/*
 * Rewrites /tmp/fe_table.entry (the records of the chain from `first` on) and /tmp/fe_table.sz (fe_fault_count, 4
 * bytes), unless the start-up walk is still on (sel_init_complete is 0). `first` is fe_table_head_ptr; null for an
 * empty table. File errors are neither reported nor retried. The caller holds fe_table_mutex.
 */
FE_EXPORT void write_to_fe_file(struct fe_table_entry *first);

/*
 * Takes the oldest entry off the chain *head and out of the index *entity_list and frees it; fe_fault_count stays.
 * Returns 0, or -1 with nothing changed when the entry has no fault node or there is no entry. The caller holds
 * fe_table_mutex.
 */
FE_EXPORT int32_t remove_last_fe_table_entry(struct fe_table_entry **head, struct entity_id_node **entity_list);

/*
 * Clears the older of two fault nodes with the same code under one entity instance, in the critical section that found
 * them. Broadcasts nothing; does nothing when out of memory. Takes fe_table_mutex; the caller may hold
 * fe_write_buf_mutex.
 */
FE_EXPORT void cleanup_duplicate_events(void);

/*
 * Asks each reporting sensor for its present state and clears the faults whose sensors no longer report them; storage
 * entities and sensors numbered above 255 are left alone. Broadcasts nothing; does nothing when out of memory.
 * Takes fe_table_mutex, but not across the sensor calls, which are slow; the caller does not hold it. A fault that has
 * changed meanwhile is judged again before it is cleared.
 */
FE_EXPORT void cleanup_deasserted_events(void);

#ifdef __cplusplus
}
#endif

#endif
