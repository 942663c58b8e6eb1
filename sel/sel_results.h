// Results of the SEL functions; fault_engine/sel.h says what they mean.
#pragma once

#include <cstdint>

namespace sel_result {
inline constexpr int32_t no_write_buffer = -1;
inline constexpr int32_t no_sel_size = -1;
inline constexpr int32_t no_extended_text = -2;
inline constexpr int32_t no_text = -102;
inline constexpr int32_t no_record = -103;
inline constexpr int32_t no_chunk = -104;
inline constexpr int32_t no_sensor = -105;
inline constexpr int32_t wrong_record = -108;
} // namespace sel_result

inline constexpr uint8_t last_standard_record_type = 191; // OEM records come after it (IPMI v2.0, table 32-1)
