// The area into which DecodeSel() decodes a chunk of the SEL.
#pragma once

#include "fault_engine/sel.h"

inline constexpr uint16_t sel_chunk_entries = 512;
inline constexpr uint32_t sel_decode_area_size = 190470; // as DecodeSel() is told, whatever the area's true size
inline constexpr uint16_t sel_end_of_log = 0xFFFF;

struct sel_decode_area {
    uint32_t request;          // 4 before every call
    uint32_t decoded_total;    // entries decoded over all chunks
    uint32_t total_first;      // first output of SELTotalSEL(); not used further
    uint32_t decoded_last;     // entries decoded by the last call
    uint16_t next_record_id;   // where the next chunk starts; sel_end_of_log at the end
    uint8_t opaque_18[180224]; // the SEL library's own
    sel_list_entry entries[sel_chunk_entries];
};
FE_AT(sel_decode_area, decoded_total, 4);
FE_AT(sel_decode_area, total_first, 8);
FE_AT(sel_decode_area, decoded_last, 12);
FE_AT(sel_decode_area, next_record_id, 16);
FE_AT(sel_decode_area, entries, 180242);
static_assert(sizeof(sel_decode_area) >= 190482);

struct sel_chunk_request {
    uint16_t first_record_id;
    uint16_t entries;
};
static_assert(sizeof(sel_chunk_request) == 4);
