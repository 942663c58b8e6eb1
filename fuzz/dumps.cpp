// Dumps of the SEL and of the sensor data records, as the readers of captures take them.
#include <algorithm>
#include <cstring>

#include "fuzz/target.h"
#include "platform/ipmi_access/ipmi_access_host.h"
#include "platform/ipmi_access/sdr_dump.h"
#include "platform/ipmi_access/sel_dump.h"

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    ipmi_access::Warnings warnings;
    try {
        const auto records = ipmi_access::parse_sel_dump({data, size}, "dump", warnings);
        require((records.size() + warnings.size()) * sizeof(sel_record) == size, "all of the dump is told of");
        require(!warnings.empty() || size == 0 || memcmp(records.data(), data, size) == 0,
                "the records are those of the dump");
    } catch (const ipmi_access::CaptureError &) {
    }
    try {
        for (const auto &sensor : ipmi_access::parse_sdr_dump({data, size}, "dump", warnings)) {
            require(!sensor || (sensor->record_type - 1U < 3 && sensor->entity_instance < 128),
                    "a sensor has a record");
            require(!sensor || (!sensor->name.empty() &&
                                std::ranges::all_of(sensor->name, [](char c) { return c > ' ' && c <= '~'; })),
                    "a name is a word");
        }
    } catch (const ipmi_access::CaptureError &) {
    }
    return 0;
}
