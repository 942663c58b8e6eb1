// Words for what a story tells.
#pragma once

#include <string>

#include "tools/story.h"

namespace story {

std::string severity_word(int32_t severity); // of codes without a word: the number

// "power supply 2"
std::string entity_words(const Fault &fault);
std::string entity_words(uint8_t entity_id, int32_t instance);

// The fault's code without what tells sensors of one kind apart.
int32_t base_code(const Fault &fault);

// What codes of one measurement at its levels have in common: the same for all of them, and for nothing else.
int32_t measurement_code(int32_t table_code);

// "critical: PSU1_STATUS (power supply 1), Failure detected"
std::string one_line(const Fault &fault);

// Whether the catalogue knows the code, by name or as one of a group.
bool is_catalogue_code(int32_t code);

// The catalogue's name of the code, unless it has none or says another level than the event; then words of our own.
std::string fault_name(const Fault &fault);

// The probable cause; "inoperable" is not said of a fault below major.
const char *cause_word(const Fault &fault);

// Words of the fault's last event; of requests, and faults out of table files, what their numbers tell.
std::string event_words(const Fault &fault);

// The sensor's label, with its number where several share it or it has none.
std::string sensor_words(const Fault &fault);

// Of a record, by its sensor number and generator: as the sensor data record has it, or "#0x2e".
std::string sensor_label(const Record &record);
std::string event_words(const Record &record);

const char *change_word(ChangeKind kind);
const char *origin_word(Origin origin);
const char *reason_key(Reason reason);   // "no_sensor"
const char *reason_words(Reason reason); // "no sensor data record"

} // namespace story
