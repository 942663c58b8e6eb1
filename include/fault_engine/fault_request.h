/*
 * The fault request, and the two blocks that join the threads of the fault engine. Both blocks are shared with the
 * core library: fe_init_interface() is given the read buffer, broadcast_fe_faults() the write buffer.
 *
 * Hand-over of one request through the read buffer
 *   Producer (inside fe_init_interface):
 *     1. Under fe_read_buf_mutex: write the 52 bytes, set fe_read_complete, signal fe_read_buf_cond.
 *     2. Before the next request: wait under fe_read_wait_mutex on fe_read_wait_cond until fe_read_complete is 0 or
 *        fe_not_running is set. Whoever else stops the engine (the FIFO reader does when its FIFO is gone) ends the
 *        consumer; it releases a waiting producer, and nobody takes the request any more.
 *   Consumer (the fault processor):
 *     1. Under fe_read_buf_mutex: wait on fe_read_buf_cond until fe_read_complete or fe_not_running is set; copy the
 *        request out and zero the shared one.
 *     2. Under fe_read_wait_mutex: clear fe_read_complete, signal fe_read_wait_cond.
 *
 * Both flags are int32_t of the core library. fe_read_complete is set under the first mutex and cleared under the
 * second, and fe_not_running is read without any, so all use relaxed atomic accesses (fe_flag() and fe_set_flag() of
 * the core library's header). All three conditions are under-aligned on 32-bit ARM: pass them on with fe_cond_of().
 *
 * Use of the write buffer: lock fe_write_buf_mutex, have the record filled, completed, stored and broadcast, zero it,
 * unlock. Nobody reads or writes the record without the mutex.
 *
 * Lock order: fe_write_buf_mutex, then fe_table_mutex (fault_table.h). The read buffer's two mutexes are never held
 * together, nor with any other that is exported.
 */
#ifndef FAULT_ENGINE_FAULT_REQUEST_H
#define FAULT_ENGINE_FAULT_REQUEST_H

#include <pthread.h>

#include "fault_engine/fault_record.h"

/*
 * A fault request: 52 bytes, the layout of the first 52 bytes of the fault record. Requests of the listener road are
 * written by the core library, those of the SEL road are locals of the SEL functions, zeroed before they are filled.
 */
struct fe_read_buf {
    uint8_t entity_id;             /* IPMI entity id; selects the entity filter's handler */
    uint8_t entity_type;           /* second classifying byte; the SEL road puts the IPMI sensor type here */
    uint8_t reserved_2[2];         /* zero */
    int32_t entity_group_instance; /* group instance; 1 on the SEL road unless the fault number family replaces it */
    int32_t entity_instance;       /* entity instance, from 1 on the SEL road */
    int32_t vemoFaultSeverity;     /* enum fe_severity, or any other value on the listener road */
    int32_t fe_fault_num;          /* fault number (classify.h) */
    int32_t vemoFaultTags;         /* fault tags; 0 on the SEL road */
    char sensor_name[FE_SENSOR_NAME_SIZE]; /* NUL-terminated, at most 19 characters */
    uint8_t eventType;                     /* IPMI event/reading type, 0..127 (IPMI v2.0, table 42-1) */
    uint8_t reserved_45[3];                /* zero */
    uint32_t sens_num;                     /* IPMI sensor number */
};

static_assert(sizeof(struct fe_read_buf) == 52, "fe_read_buf is 52 bytes");
FE_AT(fe_read_buf, entity_id, 0);
FE_AT(fe_read_buf, entity_type, 1);
FE_AT(fe_read_buf, reserved_2, 2);
FE_AT(fe_read_buf, entity_group_instance, 4);
FE_AT(fe_read_buf, entity_instance, 8);
FE_AT(fe_read_buf, vemoFaultSeverity, 12);
FE_AT(fe_read_buf, fe_fault_num, 16);
FE_AT(fe_read_buf, vemoFaultTags, 20);
FE_AT(fe_read_buf, sensor_name, 24);
FE_AT(fe_read_buf, eventType, 44);
FE_AT(fe_read_buf, reserved_45, 45);
FE_AT(fe_read_buf, sens_num, 48);

/*
 * A condition inside a shared block. On 32-bit ARM pthread_cond_t is 48 bytes aligned to 8, but the blocks lay it
 * at the next 4-byte boundary. On 64-bit machines this is the type's own alignment.
 */
typedef pthread_cond_t fe_shared_cond __attribute__((aligned(__SIZEOF_POINTER__)));

/*
 * The condition as pthread_cond_wait() and the like take it: pthread_cond_signal(fe_cond_of(&rbuf->fe_read_buf_cond)).
 * A plain address is right as well, since glibc touches words of 4 bytes only; it is just that Clang warns about it.
 */
static inline pthread_cond_t *fe_cond_of(fe_shared_cond *cond) {
    void *address = cond;
#ifdef __cplusplus
    return static_cast<pthread_cond_t *>(address);
#else
    return address;
#endif
}

/* The read buffer: 148 bytes on the target. It exists from the start of the listener until the listener stops. */
struct fe_read_buf_struct {
    struct fe_read_buf *fe_read_buf;    /* the one request in transit, allocated on its own; zero between requests */
    pthread_mutex_t fe_read_buf_mutex;  /* guards the request, and the setting and testing of fe_read_complete */
    fe_shared_cond fe_read_buf_cond;    /* tells the consumer that a request is present */
    pthread_mutex_t fe_read_wait_mutex; /* guards the clearing of fe_read_complete */
    fe_shared_cond fe_read_wait_cond;   /* tells the producer that the request was taken */
};

/* The write buffer: 76 bytes on the target. It exists from the start of the fault processor until that one stops. */
struct fe_write_buf_struct {
    struct fe_write_buf *fe_write_buf;  /* the working fault record, allocated on its own */
    pthread_mutex_t fe_write_buf_mutex; /* held from before the dispatch until the record has been zeroed */
    fe_shared_cond fe_write_buf_cond;   /* broadcast once, when the fault processor stops */
};

#if defined(__arm__) && defined(__GLIBC__)
static_assert(sizeof(struct fe_read_buf_struct) == 148, "fe_read_buf_struct is 148 bytes");
FE_AT(fe_read_buf_struct, fe_read_buf, 0);
FE_AT(fe_read_buf_struct, fe_read_buf_mutex, 4);
FE_AT(fe_read_buf_struct, fe_read_buf_cond, 28);
FE_AT(fe_read_buf_struct, fe_read_wait_mutex, 76);
FE_AT(fe_read_buf_struct, fe_read_wait_cond, 100);
static_assert(sizeof(struct fe_write_buf_struct) == 76, "fe_write_buf_struct is 76 bytes");
FE_AT(fe_write_buf_struct, fe_write_buf, 0);
FE_AT(fe_write_buf_struct, fe_write_buf_mutex, 4);
FE_AT(fe_write_buf_struct, fe_write_buf_cond, 28);
#endif

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Null while there is no such buffer: set by the thread that owns the buffer once the buffer is complete, null again
 * when that thread has released it (engine.h). Whoever holds a buffer finds its pointer here for as long. Others read
 * the pointers with __atomic_load_n(&..., __ATOMIC_ACQUIRE), may compare them with null, and must not follow them:
 * the owner may release the buffer at any moment. Only fe_init_interface() and broadcast_fe_faults() are lent one.
 */
extern FE_EXPORT struct fe_read_buf_struct *fe_read_buf_struct_ptr;
extern FE_EXPORT struct fe_write_buf_struct *fe_write_buf_struct_ptr;

/* One attribute object for each mutex and condition above; they keep the default attributes. */
extern FE_EXPORT pthread_mutexattr_t fe_read_buf_mutex_attr;
extern FE_EXPORT pthread_mutexattr_t fe_read_wait_mutex_attr;
extern FE_EXPORT pthread_mutexattr_t fe_write_buf_mutex_attr;
extern FE_EXPORT pthread_condattr_t fe_read_buf_cond_attr;
extern FE_EXPORT pthread_condattr_t fe_read_wait_cond_attr;
extern FE_EXPORT pthread_condattr_t fe_write_buf_cond_attr;

#ifdef __cplusplus
}
#endif

#endif
