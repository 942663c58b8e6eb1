// The sensor's name, as the SEL library's event text has it.
#pragma once

#include <cstddef>

#include "fault_engine/fault_record.h"

// A word of a text, at most 39 characters of it.
struct event_word {
    char text[40]; // NUL-terminated
    size_t length;
};

// The first two words of an event text, or fewer: empty ones then.
struct event_words {
    event_word first;
    event_word second;
};

event_words cut_words(const char *text);

// Names the sensor by the one of the two words that is its name, and takes the last character, a colon, off that word.
// Fewer than two words give an empty name; the chosen word is shortened all the same.
void take_sensor_name(event_words &words, char (&name)[FE_SENSOR_NAME_SIZE]);
