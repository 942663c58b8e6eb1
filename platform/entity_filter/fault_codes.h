// Choice of a fault's code, name and probable cause from the request.
#pragma once

#include <array>
#include <cstdint>

struct fe_read_buf;

namespace entity_filter {

enum class EntityClass : uint8_t {
    processor,
    drive,
    board,
    memory,
    power,
    add_in,
    front_panel,
    chassis,
    fan,
    firmware,
    node_manager,
    pci,
    storage,
    storage_plx,
    chassis_controller
};

struct FaultChoice {
    int32_t code;                   // without the sensor's rank
    std::array<int32_t, 6> related; // other levels of the same measurement, 0 where there is none
    int32_t probable_cause;
    const char *detail; // the second half of its name, as in "Temperature critical"
};

FaultChoice choose_fault(EntityClass entity, const fe_read_buf &request);

// Name of an IPMI sensor type, or null.
const char *sensor_type_name(uint8_t sensor_type);

// Name of an IPMI entity id as a part of a relative name, or null.
const char *entity_name(uint8_t entity_id);

} // namespace entity_filter
