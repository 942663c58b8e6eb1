// Copies between text fields of fixed width, whose NUL may be missing in what comes from outside.
#pragma once

#include <cstddef>
#include <cstring>

// Copies the text and its NUL, cut to fit; the bytes behind the NUL stay as they are.
template <size_t ToSize, size_t FromSize>
void copy_text(char (&to)[ToSize], const char (&from)[FromSize]) {
    const size_t length = strnlen(from, ToSize < FromSize ? ToSize - 1 : FromSize - 1);
    memmove(to, from, length);
    to[length] = '\0';
}
