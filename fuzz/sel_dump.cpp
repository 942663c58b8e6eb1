#include "platform/ipmi_access/sel_dump.h"

#include "fuzz/input.h"
#include "platform/ipmi_access/ipmi_access_host.h"

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    try {
        const auto records = ipmi_access::parse_sel_dump({data, size}, "dump");
        require(records.size() * sizeof(sel_record) == size, "all of the dump is records");
        require(size == 0 || memcmp(records.data(), data, size) == 0, "the records are those of the dump");
    } catch (const ipmi_access::CaptureError &) {
    }
    return 0;
}
