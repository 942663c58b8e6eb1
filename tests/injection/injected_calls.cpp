// The calls of the neighbours that can fail, in front of the scripted ones; and what no test should wait for or leave
// behind.
#include <ctime>
#include <syslog.h>

#include "support/interpose.h"
#include "support/neighbours.h"

#define MAY_FAIL(name, parameters, arguments)                              \
    extern "C" int32_t answer_##name parameters;                           \
    extern "C" int32_t name parameters {                                   \
        return is_to_fail(Call::neighbour) ? -1 : answer_##name arguments; \
    }

// clang-format off
MAY_FAIL(process_cpu_fault, (fe_read_buf *r, fe_write_buf_struct *w), (r, w))
MAY_FAIL(process_mem_fault, (fe_read_buf *r, fe_write_buf_struct *w), (r, w))
MAY_FAIL(IPMI_SensorGetSensorData, (int32_t n, uint32_t *t, sensor_data_record *d), (n, t, d))
MAY_FAIL(IPMI_SensorGetSensorReading, (int32_t n, uint32_t *r, uint32_t *u, uint32_t *s), (n, r, u, s))
MAY_FAIL(IPMI_SELHVDBSELAttach, (sel_text_rec *t), (t))
MAY_FAIL(IPMI_SELGetHVDBSELData, (uint32_t r, const sel_entry_fields *f, sel_text_rec *t), (r, f, t))
MAY_FAIL(IPMI_SELHVDBSELDetach, (), ())
MAY_FAIL(SELTotalSEL, (uint32_t *f, int32_t z, uint16_t *s, uint16_t *t), (f, z, s, t))
MAY_FAIL(DecodeSel, (void *a, uint32_t s, const void *r, uint32_t *d), (a, s, r, d))
MAY_FAIL(HVLGSELEntryToStr, (const uint8_t *r, int32_t z, char *t, uint16_t *l, char *e, uint8_t *f, uint8_t *g,
                             uint8_t *w, int32_t n), (r, z, t, l, e, f, g, w, n))
MAY_FAIL(HVLGSELUnixToCTime, (const char *t, char *d), (t, d))
// clang-format on

extern "C" void syslog(int, const char *, ...) {}

// The reader of the table files pauses between its attempts.
extern "C" int nanosleep(const timespec *, timespec *) {
    return 0;
}
