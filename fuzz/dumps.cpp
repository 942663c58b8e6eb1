// Dumps of the SEL and of the sensor data records, as the readers of captures take them.
#include <algorithm>
#include <cstring>

#include "fuzz/target.h"
#include "platform/ipmi_access/ipmi_access_host.h"
#include "platform/ipmi_access/sdr_dump.h"
#include "platform/ipmi_access/sel_dump.h"

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    try {
        ipmi_access::Warnings warnings;
        const auto records = ipmi_access::parse_sel_dump({data, size}, "dump", warnings);
        require((records.size() + warnings.size()) * sizeof(sel_record) == size, "all of the dump is records");
        require(!warnings.empty() || size == 0 || memcmp(records.data(), data, size) == 0,
                "the records are those of the dump");
    } catch (const ipmi_access::CaptureError &) {
    }
    try {
        ipmi_access::Warnings warnings;
        const ipmi_access::Sensors sensors = ipmi_access::parse_sdr_dump({data, size}, "dump", warnings);
        for (size_t number = 0; number < sensors.size(); ++number) {
            if (const auto &sensor = sensors[number]) {
                require(sensor->number == number && sensor->entity_instance < 128, "a sensor has its number");
                require(sensor->record_type >= 1 && sensor->record_type <= 3, "a sensor has a record of its own");
                const bool one_word = std::ranges::all_of(sensor->name, [](char c) { return c > ' ' && c <= '~'; });
                require(one_word && !sensor->name.empty(), "a name is a word");
            }
        }
    } catch (const ipmi_access::CaptureError &) {
    }
    return 0;
}
