/* The fault engine's core library, as far as this library meets it. */
#ifndef PLATFORM_FE_CORE_H
#define PLATFORM_FE_CORE_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

struct fe_read_buf_struct;
struct fe_write_buf_struct;

/* Plain integers that several threads read and write without a lock, through fe_flag() and fe_set_flag(). */
extern int32_t fe_not_running;    /* non-zero once the engine is stopping */
extern int32_t fe_read_complete;  /* non-zero while a request waits in the read buffer */
extern int32_t sel_init_complete; /* non-zero once the start-up walk of the SEL is over */
extern int32_t syslog_filter;     /* set to 1 before the broadcast of a repeated storage fault */

/* By IPMI entity id: 1 where the sensor data records count its instances from 1, 0 where they count from 0. */
extern int32_t fe_sdr_instance_array[256];

/* Produces fault requests into the read buffer; returns when the listener is to stop. */
void fe_init_interface(struct fe_read_buf_struct *read_buffer);

/* Runs the broadcaster; returns when it is to stop. */
void fe_init_broadcaster(void);

/* Takes the working record of the write buffer to the world. The caller holds fe_write_buf_mutex. */
void broadcast_fe_faults(struct fe_write_buf_struct *write_buffer);

/* One diagnostic, printf-style. */
void fe_logger(const char *format, ...) __attribute__((format(printf, 1, 2)));

/* Pauses the calling thread. */
void FEthreadSleep(int32_t seconds, int32_t nanoseconds);

#ifdef __cplusplus
}
#endif

static inline int32_t fe_flag(const int32_t *flag) {
    return __atomic_load_n(flag, __ATOMIC_RELAXED);
}

static inline void fe_set_flag(int32_t *flag, int32_t value) {
    __atomic_store_n(flag, value, __ATOMIC_RELAXED);
}

#endif
