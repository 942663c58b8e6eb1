// Times for people.
#pragma once

#include <optional>
#include <string>

#include "platform/time_text.h"

// "2024-06-01 10:00:00" (UTC), "start+12345s", or "-" for none.
inline std::string time_words(std::optional<uint32_t> time) {
    char text[32] = "-";
    if (time && *time != sel_time_unspecified) {
        write_time_text(text, *time);
    }
    return text;
}
