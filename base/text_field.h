// Copies between text fields of fixed width, whose NUL may be missing in what comes from outside.
#pragma once

#include <cstddef>
#include <cstring>

#include "fault_engine/fault_record.h"

// Copies the text and its NUL, cut to fit; the bytes behind the NUL stay as they are.
template <size_t ToSize, size_t FromSize>
void copy_text(char (&to)[ToSize], const char (&from)[FromSize]) {
    const size_t length = strnlen(from, ToSize < FromSize ? ToSize - 1 : FromSize - 1);
    memcpy(to, from, length);
    to[length] = '\0';
}

// Ends a text of ours that somebody else has filled.
template <size_t Size>
void terminate(char (&text)[Size]) {
    text[Size - 1] = '\0';
}

using text_scratch = char[sizeof fe_write_buf::FaultDescription]; // as wide as the widest text field

// A field of a record to be printed: the field itself or, when its last byte is not NUL, a copy cut to fit.
template <size_t Size>
const char *as_text(const char (&field)[Size], text_scratch &scratch) {
    static_assert(Size <= sizeof scratch);
    if (field[Size - 1] == '\0') {
        return field;
    }
    memcpy(scratch, field, Size - 1);
    scratch[Size - 1] = '\0';
    return scratch;
}
