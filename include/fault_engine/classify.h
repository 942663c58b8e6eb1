/*
 * Classification of an event: how grave it is, its fault number, the names and relations of fault codes, and which
 * sensors raise faults at all.
 *
 * None of these functions keeps state or takes a lock; any thread may call them on records of its own. Texts that they
 * return are constant and never freed.
 *
 * Three numberings that must not be confused: fault codes (vemoFaultCode), probable-cause codes (ProbableCause) and
 * fault numbers (fe_fault_num).
 */
#ifndef FAULT_ENGINE_CLASSIFY_H
#define FAULT_ENGINE_CLASSIFY_H

#include "fault_engine/fault_request.h"
#include "fault_engine/sel.h"

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Severity of the event in the 16 bytes of a SEL record, by its event/reading type, offset, direction and sensor
 * type, and by the entity id word of `sensor`. Writes eventType, vemoFaultSeverity and, through get_fault_num(), the
 * fault number; for some events that call also writes the instances and the severity again. Returns 0, or -1 for an
 * event that raises no fault; eventType is written all the same, except for the OEM events (type 0x7F) of a system
 * board. The pointers must be valid.
 */
FE_EXPORT int32_t fe_get_severity(struct fe_read_buf *request, const struct sensor_data_record *sensor,
                                  const uint8_t *sel_bytes);

/*
 * Fault number of the event, by the request's entity_id, written to fe_fault_num. Returns 0, also for events that are
 * known but have no number (fe_fault_num then stays), or -1 for an event without a place in the tables. The families
 * of memory and PCI also write the instances, that of memory also the severity. That of memory writes some of them before
 * it finds that the event is refused. The pointers must be valid.
 */
FE_EXPORT int32_t get_fault_num(struct fe_read_buf *request, const struct sensor_data_record *sensor,
                                const uint8_t *sel_bytes);

/* The families that get_fault_num() chooses from. */
FE_EXPORT int32_t get_fault_num_logicalentity(struct fe_read_buf *request, const struct sensor_data_record *sensor,
                                              const uint8_t *sel_bytes);
FE_EXPORT int32_t get_fault_num_mem(struct fe_read_buf *request, const struct sensor_data_record *sensor,
                                    const uint8_t *sel_bytes);
FE_EXPORT int32_t get_fault_num_ps(struct fe_read_buf *request, const struct sensor_data_record *sensor,
                                   const uint8_t *sel_bytes);
FE_EXPORT int32_t get_fault_num_add_in(struct fe_read_buf *request, const struct sensor_data_record *sensor,
                                       const uint8_t *sel_bytes);
FE_EXPORT int32_t get_fault_num_front_panel(struct fe_read_buf *request, const struct sensor_data_record *sensor,
                                            const uint8_t *sel_bytes);
FE_EXPORT int32_t get_fault_num_chassis(struct fe_read_buf *request, const struct sensor_data_record *sensor,
                                        const uint8_t *sel_bytes);
FE_EXPORT int32_t get_fault_num_fan(struct fe_read_buf *request, const struct sensor_data_record *sensor,
                                    const uint8_t *sel_bytes);
FE_EXPORT int32_t get_fault_num_fw_bios(struct fe_read_buf *request, const struct sensor_data_record *sensor,
                                        const uint8_t *sel_bytes);
FE_EXPORT int32_t get_fault_num_pci(struct fe_read_buf *request, const struct sensor_data_record *sensor,
                                    const uint8_t *sel_bytes);

/* Name of a fault code, or "Unknown". */
FE_EXPORT const char *get_fault_code_string(uint32_t fault_code);

/* Word of a probable-cause code, or "Unknown". */
FE_EXPORT const char *get_probable_cause_string(uint32_t probable_cause);

/*
 * Copies the related-code row of the record's vemoFaultCode over related_FaultCode; leaves it as it is when the code
 * has none. A null record does nothing. The caller holds the lock of the record.
 */
FE_EXPORT void lookup_fill_related_threshold_fault_code(struct fe_write_buf *record);

/* 1 if events of the sensor (low 8 bits) become faults, 0 if it is on the list of excluded sensors. */
FE_EXPORT int32_t is_fault_sensor(uint32_t sensor_number);

/* Does nothing; returns 0. */
FE_EXPORT int32_t sensor_indexing(void);

/*
 * Index of an element equal to the low 8 bits of `key` in array[low..high], which ascends; -1 if there is none. An
 * empty range (high < low) reads nothing.
 */
FE_EXPORT int32_t search(const uint8_t *array, uint32_t key, int32_t low, int32_t high);

#ifdef __cplusplus
}
#endif

#endif
