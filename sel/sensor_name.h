// The sensor's name, as the SEL library's event text has it.
#pragma once

#include "fault_engine/fault_record.h"
#include "fault_engine/sel.h"

// A word of an event text, at most 39 characters of it.
using event_word = char[40];

// Cuts the name from the NUL-terminated text: of its first two words the one that names the sensor, without its last
// character. Fewer than two words give an empty name. `first_word` receives the first word, shortened if it was chosen.
void cut_sensor_name(const char *text, char (&name)[FE_SENSOR_NAME_SIZE], event_word &first_word);
