// Names of IPMI entities.
#pragma once

#include <cstdint>

// After IPMI v2.0, table 43-13; of OEM ids, the engine's own. Null for others.
const char *entity_name(uint8_t entity_id);
