/*
 * The engine frame: what the daemon starts, and the two operations that every fault passes through.
 *
 * Order of start: init_sdr_lookup(); init_listener(), init_broadcaster(), init_fault_processor(), the listener first,
 * since the fault processor needs the read buffer; once fe_write_buf_struct_ptr is set, init_database() (sel.h) in a
 * thread of the daemon's own. SEL records that come before the write buffer are refused.
 *
 * Order of stop: fe_init_interface() returns; the listener withdraws the read buffer, sets fe_not_running and wakes the
 * fault processor, which finishes the request in hand, waits for SEL roads that work on the write buffer, and frees it;
 * the listener frees the read buffer once the fault processor has left it. The SEL thread sees fe_not_running at
 * the next activity of its FIFO. A request still in the read buffer was never taken from its producer. The engine can
 * be started again when fe_not_running and fe_read_complete are 0 again.
 *
 * Threads are created joinable; the library never joins them. It allocates nothing before the first thread starts.
 */
#ifndef FAULT_ENGINE_ENGINE_H
#define FAULT_ENGINE_ENGINE_H

#include "fault_engine/fault_request.h"

#ifdef __cplusplus
extern "C" {
#endif

extern FE_EXPORT pthread_t fe_listener_thread_id;
extern FE_EXPORT pthread_t fe_broadcaster_thread_id;
extern FE_EXPORT pthread_t fe_fault_processor_thread_id;
extern FE_EXPORT pthread_attr_t fe_listener_thread_attr;
extern FE_EXPORT pthread_attr_t fe_broadcaster_thread_attr;
extern FE_EXPORT pthread_attr_t fe_fault_processor_thread_attr;

/*
 * Starts the listener: the owner of the read buffer, on which it runs fe_init_interface(). Returns 0 once the read
 * buffer is published with its mutexes and conditions initialised, or the listener has given up for want of memory; -1
 * when the thread cannot be created.
 */
FE_EXPORT int32_t init_listener(void);

/* Starts the broadcaster, which runs fe_init_broadcaster(). Returns 0, or -1 when the thread cannot be created. */
FE_EXPORT int32_t init_broadcaster(void);

/*
 * Starts the fault processor: the owner of the write buffer, which takes requests from the read buffer until the engine
 * stops. Without a read buffer it ends at once. Returns 0, or -1 when the thread cannot be created.
 */
FE_EXPORT int32_t init_fault_processor(void);

/*
 * Clears the working record of `wbuf` and has the entity filter's handler for the request's entity id fill it. Returns
 * the handler's result (always 0 for entity ids 46 and 216), or -1 without a record or a handler. The caller holds
 * fe_write_buf_mutex.
 */
FE_EXPORT int32_t process_write_buf(struct fe_read_buf *request, struct fe_write_buf_struct *wbuf);

/*
 * Fills fe_sdr_instance_array: for each IPMI entity id the smallest entity instance in the sensor data records, at
 * most 1. Returns 0. Runs once, before any SEL record is processed; takes no lock.
 */
FE_EXPORT int32_t init_sdr_lookup(void);

#ifdef __cplusplus
}
#endif

#endif
