// Time stamps of SEL records as text.
#pragma once

#include <cstdint>
#include <cstdio>
#include <ctime>

constexpr uint32_t sel_time_unspecified = 0xFFFFFFFF;
constexpr uint32_t sel_time_first_date = 0x20000000; // below: seconds since the system started

// "2024-06-01 10:00:00" (UTC), "start+12345s" or "time unknown", cut to the field.
template <size_t size>
void write_time_text(char (&text)[size], uint32_t timestamp) {
    const time_t seconds = static_cast<time_t>(timestamp);
    tm date{};
    if (timestamp == sel_time_unspecified) {
        snprintf(text, size, "time unknown");
    } else if (timestamp < sel_time_first_date) {
        snprintf(text, size, "start+%us", timestamp);
    } else if (gmtime_r(&seconds, &date) == nullptr || strftime(text, size, "%Y-%m-%d %H:%M:%S", &date) == 0) {
        text[0] = '\0';
    }
}
