// What the roads of ordinary and extended SEL records share once their request is filled.
#pragma once

#include "fault_engine/fault_request.h"
#include "fault_engine/sel.h"

enum class sel_road { ordinary, extended };

// Fills a zeroed request from the sensor's record, all but name, severity and fault number.
void fill_request(fe_read_buf *request, const sensor_data_record &sensor, int32_t entity_instance);

// After start-up, and if `reporter` tells the end of the BIOS self test: waits 30 seconds until the sensors have settled and,
// if the event clears, runs the stale pass twice. `reporter` is the first word of the event text as it stands on the ordinary
// road, the sensor's name on the extended one. Called with no lock held.
void clear_stale_after_self_test(const char *reporter, const fe_read_buf &request);

void log_event(const char *event_text, const fe_read_buf &request);

// From the dispatch to the cleared record; the caller holds fe_write_buf_mutex. The first record of a road after
// start-up also runs the duplicate pass; `duplicate_pass_done` remembers that, and the mutex guards it.
void commit_request(sel_road road, fe_read_buf *request, fe_write_buf_struct *wbuf, bool &duplicate_pass_done);
