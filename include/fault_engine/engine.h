/*
 * The engine frame: what the daemon starts, and the two operations that every fault passes through.
 *
 * Order of start: init_sdr_lookup(); init_listener(), init_broadcaster(), init_fault_processor(), the listener first,
 * since the fault processor needs the read buffer; then init_database() (sel.h) in a thread of the daemon's own. Both
 * buffers are published when these calls return, so nothing has to be waited for.
 *
 * Order of stop: fe_init_interface() returns; the listener sets fe_not_running and wakes the fault processor, which
 * finishes the request in hand, waits for SEL roads that work on the write buffer, and frees it; the listener frees
 * the read buffer once the fault processor has left it. A SEL record that comes after that is refused (FE_SEL_NO_WRITE_BUFFER). The SEL
 * thread sees fe_not_running at the next activity of its FIFO: whoever stops the engine writes a record into the FIFO,
 * one that is ignored (sensor type 0x10), since it may stay there until the next start. A request still in the read
 * buffer was never taken from its producer.
 *
 * fe_init_interface() has to return for the engine to stop. A listener that is cancelled in it, or leaves it by
 * pthread_exit(), harms nothing, but stops nothing either: the read buffer stays published, and the fault processor
 * waits on it until somebody sets fe_not_running and broadcasts fe_read_buf_cond under fe_read_buf_mutex. No other
 * thread is to be cancelled inside a function or thread of this library.
 *
 * Threads are created joinable and with the default stack; the daemon joins them, the library never does. The engine
 * can be started again once all four threads have been joined and the daemon has set fe_not_running and
 * fe_read_complete back to 0. The fault table stays. The library leaves sel_init_complete at 1: set back to 0 as
 * well, the second walk is as silent as the first one; left at 1, it broadcasts, writes the files at each change, and
 * pauses for 30 seconds at each "BIOS_POST_CMPLT" record.
 *
 * Loading the library runs no code and allocates nothing. The start functions allocate what thread creation does, the
 * threads their buffers.
 */
#ifndef FAULT_ENGINE_ENGINE_H
#define FAULT_ENGINE_ENGINE_H

#include "fault_engine/fault_request.h"

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Ids of the threads and the attributes that they are created with, each pair written by its start function and by
 * nobody else. An id is valid from the return of a start function that returned 0 until the thread is joined, the
 * attributes from then on for good. The daemon may read all of them in the thread that called the start function.
 */
extern FE_EXPORT pthread_t fe_listener_thread_id;
extern FE_EXPORT pthread_t fe_broadcaster_thread_id;
extern FE_EXPORT pthread_t fe_fault_processor_thread_id;
extern FE_EXPORT pthread_attr_t fe_listener_thread_attr;
extern FE_EXPORT pthread_attr_t fe_broadcaster_thread_attr;
extern FE_EXPORT pthread_attr_t fe_fault_processor_thread_attr;

/*
 * Each of the three is called once in a life of the engine: a second call would start a second thread beside the
 * first one and overwrite its id, and its buffer pointer with another buffer's.
 */

/*
 * Starts the listener: the owner of the read buffer, on which it runs fe_init_interface(). Returns 0 once the read
 * buffer is published with its mutexes and conditions initialised, or the listener has given up for want of memory
 * (fe_read_buf_struct_ptr is null then, and the thread ends); -1 when the thread cannot be created.
 */
FE_EXPORT int32_t init_listener(void);

/* Starts the broadcaster, which runs fe_init_broadcaster(). Returns 0, or -1 when the thread cannot be created. */
FE_EXPORT int32_t init_broadcaster(void);

/*
 * Starts the fault processor: the owner of the write buffer, which takes requests from the read buffer until the
 * engine stops. Without a read buffer it ends at once. Returns 0 once the write buffer is published, or the thread
 * has given up for want of memory (fe_write_buf_struct_ptr is null then, and the thread ends); -1 when the thread
 * cannot be created.
 */
FE_EXPORT int32_t init_fault_processor(void);

/*
 * Clears the working record of `wbuf` and has the entity filter's handler for the request's entity id fill it. The
 * caller holds fe_write_buf_mutex. Returns, and leaves in the record:
 *      0  success, and always for entity ids 46 and 216: what the handler wrote
 *     -1  no write buffer, or none with a record: nothing is touched
 *     -1  no handler for the entity id: 960 zero bytes
 *   else  the handler's own result: whatever it wrote before it failed
 */
FE_EXPORT int32_t process_write_buf(struct fe_read_buf *request, struct fe_write_buf_struct *wbuf);

/*
 * Fills fe_sdr_instance_array: for each IPMI entity id the smallest entity instance in the sensor data records, at
 * most 1. Returns 0. Runs before any SEL record is processed, never beside one; takes no lock. A second call starts
 * from scratch.
 */
FE_EXPORT int32_t init_sdr_lookup(void);

#ifdef __cplusplus
}
#endif

#endif
