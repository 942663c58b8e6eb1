/*
 * The process of the engine: it makes the FIFO, starts the engine, has one fault request and one SEL record processed,
 * stops the engine, and does it all once more.
 */
#include "daemon.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fault_engine/engine.h>
#include <fault_engine/fault_table.h>
#include <fault_engine/platform/fe_core.h>
#include <fault_engine/sel.h>

static const char fifo_path[] = "/var/SA_vSEL_FIFO";

int request_pipe[2];
sem_t broadcasts;

static pthread_t sel_thread_id;

static int fail(const char *what, int error) {
    fprintf(stderr, "daemon: %s: %s\n", what, strerror(error));
    return -1;
}

/*
 * The FIFO is there, and held open, from before the start to after the end of the SEL thread: records that are written
 * before the reader opens it wait in it, and so does the write that wakes the reader.
 */
static int open_fifo(void) {
    if (mkfifo(fifo_path, 0600) != 0 && errno != EEXIST) {
        return fail(fifo_path, errno);
    }
    const int fifo = open(fifo_path, O_RDWR | O_NONBLOCK);
    return fifo < 0 ? fail(fifo_path, errno) : fifo;
}

/* One write for each record, so that the reader never sees a part of one. */
static int write_record(int fifo, const struct sel_record *record) {
    return write(fifo, record, sizeof *record) == (ssize_t)sizeof *record ? 0 : fail(fifo_path, errno);
}

static void *sel_thread(void *unused) {
    init_database();
    return unused;
}

/* The start-up walk takes 186 KiB of stack; the rest is for the neighbours. */
static int start_sel_thread(void) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, (size_t)1024 * 1024);
    const int error = pthread_create(&sel_thread_id, &attributes, sel_thread, NULL);
    pthread_attr_destroy(&attributes);
    return error;
}

/* In this order; each function returns when what comes next may rely on it. */
static int start_engine(void) {
    if (pipe(request_pipe) != 0) {
        return fail("pipe", errno);
    }
    fe_set_flag(&fe_not_running, 0);
    fe_set_flag(&fe_read_complete, 0);
    fe_set_flag(&sel_init_complete, 0); /* a start-up walk is silent */
    init_sdr_lookup();
    if (init_listener() != 0 || init_broadcaster() != 0 || init_fault_processor() != 0) {
        return fail("threads of the engine", EAGAIN);
    }
    if (__atomic_load_n(&fe_read_buf_struct_ptr, __ATOMIC_ACQUIRE) == NULL ||
        __atomic_load_n(&fe_write_buf_struct_ptr, __ATOMIC_ACQUIRE) == NULL) {
        return fail("buffers of the engine", ENOMEM);
    }
    const int error = start_sel_thread();
    return error == 0 ? 0 : fail("SEL thread", error);
}

/*
 * fe_init_interface() returns, and the listener stops the engine; a write wakes the reader of the FIFO, which returns. What
 * it is woken by may stay in the FIFO until the next start, so it is a whole record, of a sensor type that is ignored.
 */
static void stop_engine(int fifo) {
    close(request_pipe[1]);
    pthread_join(fe_listener_thread_id, NULL);
    pthread_join(fe_broadcaster_thread_id, NULL);
    pthread_join(fe_fault_processor_thread_id, NULL);
    const struct sel_record wake_up = {.record_type = 2, .sensor_type = 0x10};
    write_record(fifo, &wake_up);
    pthread_join(sel_thread_id, NULL);
    close(request_pipe[0]);
}

static int send_request(void) {
    struct fe_read_buf request;
    memset(&request, 0, sizeof request);
    request.entity_id = 3; /* processor */
    request.entity_instance = 1;
    request.vemoFaultSeverity = FE_SEVERITY_MAJOR;
    request.sens_num = 2;
    strcpy(request.sensor_name, "P1_TEMP");
    return write(request_pipe[1], &request, sizeof request) == (ssize_t)sizeof request ? 0 : fail("request", errno);
}

/* The same fault, as the log tells it: upper critical threshold, going high. */
static int send_record(int fifo) {
    const struct sel_record record = {.record_id = {1, 0},
                                      .record_type = 2,
                                      .format_revision = 4,
                                      .sensor_type = 1,
                                      .sensor_number = 2,
                                      .event_dir_type = 1,
                                      .event_data = {0x59, 0, 0}};
    return write_record(fifo, &record);
}

static void await_broadcast(void) {
    while (sem_wait(&broadcasts) != 0 && errno == EINTR) {
    }
}

static int live(int fifo) {
    if (start_engine() != 0 || send_request() != 0) {
        return -1;
    }
    await_broadcast();
    if (send_record(fifo) != 0) {
        return -1;
    }
    await_broadcast();
    stop_engine(fifo);
    printf("stopped: faults in the table: %u\n", (unsigned)fe_fault_count);
    return 0;
}

int main(void) {
    const int fifo = open_fifo();
    if (fifo < 0 || sem_init(&broadcasts, 0, 0) != 0 || live(fifo) != 0 || live(fifo) != 0) {
        return 1;
    }
    close(fifo);
    return 0;
}
