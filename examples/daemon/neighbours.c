/*
 * The smallest neighbours that an engine runs beside: what the core library, the entity filter and the library of
 * sensors and SEL are on a target. One sensor (2, of processor 1), an empty SEL at start-up, one kind of fault.
 */
#include "daemon.h"

#include <errno.h>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

#include <fault_engine/fault_request.h>
#include <fault_engine/platform/entity_filter.h>
#include <fault_engine/platform/fe_core.h>
#include <fault_engine/platform/ipmi_access.h>
#include <fault_engine/sel.h>

int32_t fe_not_running, fe_read_complete, sel_init_complete, syslog_filter;
int32_t fe_sdr_instance_array[256];

/* Before a request is placed: whether the one before it was taken. False when the engine is stopping. */
static int is_taken(struct fe_read_buf_struct *buffer) {
    pthread_mutex_lock(&buffer->fe_read_wait_mutex);
    while (fe_flag(&fe_read_complete) != 0 && fe_flag(&fe_not_running) == 0) {
        pthread_cond_wait(fe_cond_of(&buffer->fe_read_wait_cond), &buffer->fe_read_wait_mutex);
    }
    pthread_mutex_unlock(&buffer->fe_read_wait_mutex);
    return fe_flag(&fe_not_running) == 0;
}

static void place(struct fe_read_buf_struct *buffer, const struct fe_read_buf *request) {
    pthread_mutex_lock(&buffer->fe_read_buf_mutex);
    *buffer->fe_read_buf = *request;
    fe_set_flag(&fe_read_complete, 1);
    pthread_cond_signal(fe_cond_of(&buffer->fe_read_buf_cond));
    pthread_mutex_unlock(&buffer->fe_read_buf_mutex);
}

/* The producer. It returns, and the engine stops, when nobody writes requests any more. */
void fe_init_interface(struct fe_read_buf_struct *read_buffer) {
    struct fe_read_buf request;
    while (read(request_pipe[0], &request, sizeof request) == (ssize_t)sizeof request && is_taken(read_buffer)) {
        place(read_buffer, &request);
    }
}

/* This broadcaster needs no thread. */
void fe_init_broadcaster(void) {}

void broadcast_fe_faults(struct fe_write_buf_struct *write_buffer) {
    const struct fe_write_buf *fault = write_buffer->fe_write_buf;
    printf("broadcast: %s, %s, occurrence %d\n", fault->sensor_name, fault->severity_word, fault->vemoFaultOccur);
    sem_post(&broadcasts);
}

void fe_logger(const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    vfprintf(stderr, format, arguments);
    va_end(arguments);
}

/* A hundredth of the pause, for an example that does not keep its reader waiting. */
void FEthreadSleep(int32_t seconds, int32_t nanoseconds) {
    struct timespec left = {.tv_sec = seconds / 100, .tv_nsec = seconds % 100 * 10000000 + nanoseconds / 100};
    while (nanosleep(&left, &left) != 0 && errno == EINTR) {
    }
}

int32_t process_cpu_fault(struct fe_read_buf *request, struct fe_write_buf_struct *wbuf) {
    struct fe_write_buf *fault = wbuf->fe_write_buf;
    fault->entity_id = request->entity_id;
    fault->entity_instance = request->entity_instance;
    fault->vemoFaultSeverity = request->vemoFaultSeverity;
    memcpy(fault->sensor_name, request->sensor_name, sizeof fault->sensor_name - 1);
    fault->sens_num = request->sens_num;
    fault->vemoFaultCode = 176;
    return 0;
}

/* Handlers of entities that this machine does not have. */
#define ABSENT(handler)                                                              \
    int32_t handler(struct fe_read_buf *request, struct fe_write_buf_struct *wbuf) { \
        (void)request;                                                               \
        (void)wbuf;                                                                  \
        return -1;                                                                   \
    }
ABSENT(process_drive_bp_fault)
ABSENT(process_sys_board_fault)
ABSENT(process_mem_fault)
ABSENT(process_ps_fault)
ABSENT(process_add_in_fault)
ABSENT(process_front_panel_fault)
ABSENT(process_chassis_fault)
ABSENT(process_fan_fault)
ABSENT(process_fw_bios_post_fault)
ABSENT(process_nm_fault)
ABSENT(process_pci_fault)
ABSENT(process_storage_fault)
ABSENT(process_plax_fault)
ABSENT(process_cmc_fault)

int32_t IPMI_SensorGetSensorData(int32_t sensor_number, uint32_t *record_type_word, struct sensor_data_record *sensor) {
    if (sensor_number != 2) {
        return -1;
    }
    memset(sensor, 0, sizeof *sensor);
    *record_type_word = 1;
    sensor->sensor_number = 2;
    sensor->entity_id = 3;
    sensor->entity_instance = 1;
    sensor->sensor_type = 1;
    sensor->event_type = 1;
    return 0;
}

/* Bit 4 of the state: above the upper critical threshold, so the clean-up passes find the fault still there. */
int32_t IPMI_SensorGetSensorReading(int32_t sensor_number, uint32_t *reading, uint32_t *status, uint32_t *state) {
    *reading = *status = 0;
    *state = 1U << 4;
    return sensor_number == 2 ? 0 : -1;
}

int32_t SELTotalSEL(uint32_t *first, int32_t zero, uint16_t *second, uint16_t *total) {
    (void)zero;
    *first = *second = *total = 0;
    return 0;
}

int32_t DecodeSel(struct sel_decode_area *area, uint32_t size, struct sel_chunk_request *request, uint32_t *decoded) {
    (void)area;
    (void)size;
    (void)request;
    *decoded = 0;
    return 0;
}

int32_t IPMI_SELHVDBSELAttach(struct sel_text_rec *text) {
    (void)text;
    return 0;
}

int32_t IPMI_SELGetHVDBSELData(uint32_t type, const struct sel_entry_fields *fields, struct sel_text_rec *text) {
    (void)type;
    const int length =
        snprintf(text->event, sizeof text->event, "P%u_TEMP: threshold", (unsigned)fields->sensor_number - 1);
    text->event_length = (uint32_t)length;
    return 0;
}

int32_t IPMI_SELHVDBSELDetach(void) {
    return 0;
}

int32_t HVLGSELEntryToStr(const uint8_t *sel_record, int32_t zero, char *timestamp, uint16_t *timestamp_length,
                          char *event, uint8_t *flag_1, uint8_t *flag_2, uint8_t *work, int32_t sensor_number) {
    (void)sel_record, (void)zero, (void)timestamp, (void)timestamp_length, (void)event;
    (void)flag_1, (void)flag_2, (void)work, (void)sensor_number;
    return -1;
}

int32_t HVLGSELUnixToCTime(const char *timestamp, char *date) {
    (void)timestamp, (void)date;
    return -1;
}
