#include "tools/entity_names.h"

#include <iterator>

#include "base/ipmi.h"

namespace {

// By entity id.
constexpr const char *names[] = {
    "unspecified entity",
    "other entity",
    "unknown entity",
    "processor",
    "disk",
    "peripheral bay",
    "management module",
    "system board",
    "memory module",
    "processor module",
    "power supply",
    "add-in card",
    "front panel board",
    "back panel board",
    "power system board",
    "drive backplane",
    "expansion board",
    "other system board",
    "processor board",
    "power unit",
    "power module",
    "power management board",
    "chassis back panel board",
    "chassis",
    "sub-chassis",
    "other chassis board",
    "disk drive bay",
    "peripheral bay",
    "device bay",
    "fan",
    "cooling unit",
    "cable",
    "memory device",
    "management software",
    "system firmware",
    "operating system",
    "system bus",
    "group",
    "remote management device",
    "external environment",
    "battery",
    "processing blade",
    "connectivity switch",
    "processor/memory module",
    "I/O module",
    "processor/IO module",
    "management controller firmware",
    "IPMI channel",
    "PCI bus",
    "PCI Express bus",
    "SCSI bus",
    "SATA/SAS bus",
    "processor front-side bus",
    "real time clock",
    nullptr,
    "air inlet",
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    "air inlet",
    "processor",
    "system board",
};
static_assert(std::size(names) == 67);

// The engine's own, of OEM ids.
struct Range {
    uint8_t first, last;
    const char *name;
};
constexpr Range ranges[] = {{entity_id::storage_0, entity_id::storage_3, "storage"},
                            {entity_id::plax_0, entity_id::plax_3, "storage switch"},
                            {entity_id::cmc, entity_id::cmc, "chassis controller"}};

} // namespace

const char *entity_name(uint8_t entity_id) {
    if (entity_id < std::size(names)) {
        return names[entity_id];
    }
    for (const Range &range : ranges) {
        if (entity_id >= range.first && entity_id <= range.last) {
            return range.name;
        }
    }
    return nullptr;
}
