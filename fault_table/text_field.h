// Copies between text fields of fixed width, whose NUL may be missing in what comes from outside.
#pragma once

#include <cstddef>
#include <cstring>

#include "fault_engine/fault_record.h"

// Copies the text and its NUL, cut to fit; the bytes behind the NUL stay as they are.
template <size_t ToSize, size_t FromSize>
void copy_text(char (&to)[ToSize], const char (&from)[FromSize]) {
    const size_t length = strnlen(from, ToSize < FromSize ? ToSize - 1 : FromSize - 1);
    memmove(to, from, length);
    to[length] = '\0';
}

template <size_t Size>
void terminate(char (&text)[Size]) {
    text[Size - 1] = '\0';
}

// Puts the NUL into the last byte of every text field, which is where it is in every valid record. What the entity
// filter copied out of a request may be as wide as its field.
inline void terminate_texts(fe_write_buf &record) {
    terminate(record.sensor_name);
    terminate(record.severity_word);
    terminate(record.entity_DN);
    terminate(record.fault_DN);
    terminate(record.entity_RN);
    terminate(record.fault_RN);
    terminate(record.FaultDescription);
    terminate(record.TimeOfEvent);
    terminate(record.PreviousTimeOfEvent);
    terminate(record.opaque_text_756);
    terminate(record.opaque_text_792);
    terminate(record.FaultName);
}
