// What the host program tells the entity filter's stand-in, and how that one chooses fault codes.
//
// A fault code follows from the entity, the sensor type and the fault number, and all levels of one measurement stand
// in one group of related codes, so that they are one fault at different levels. Several sensors of one kind on the
// same entity instance (the voltages of a board) would still be one fault, and one sensor's recovery would clear
// another's: each gets 10000 * its rank among them added to its codes, related ones too. The name of such a code is
// that of code % 10000.
#pragma once

#include <cstdint>

struct fe_read_buf;
struct fe_write_buf_struct;

namespace entity_filter {

constexpr int32_t codes_per_rank = 10000;
constexpr int32_t own_threshold_codes = 5000; // of groups that no list knows: + 3 * sensor type + level

enum class EntityClass : uint8_t;

// What the handlers do, until somebody says otherwise before the engine starts.
struct Hooks {
    // All fifteen, each with its class and its name.
    int32_t (*fill)(EntityClass entity, const char *handler, fe_read_buf *request, fe_write_buf_struct *wbuf);
    // What "now" is, in seconds since 1970, or since start below 0x20000000; at first the wall clock.
    uint32_t (*clock)();
    // The rank of a sensor, 0 for the first of its kind on its entity instance, 1 for the next, ...; at first always 0.
    uint32_t (*sensor_rank)(uint32_t sensor_number);
};
extern Hooks hooks;

} // namespace entity_filter
