// Rows of fault numbers, as the families use them.
#pragma once

#include <array>
#include <cstdint>

#include "fault_engine/fault_request.h"

namespace fault_number {

// A fault number for each of 16 offsets (of one row: for each value of the low half of event data 3); refused and none stand
// for no number.
using number_row = std::array<int16_t, 16>;

inline constexpr int16_t refused = -1; // the event has no place in the table
inline constexpr int16_t none = 0;     // the event is known, but has no number

// A row whose numbers stand for two offsets each, from 0, 1 to 10, 11; offsets 12 to 15 are refused.
constexpr number_row pairs(const std::array<int16_t, 6> &numbers) {
    number_row row{};
    row.fill(refused);
    for (unsigned offset = 0; offset < 12; ++offset) {
        row[offset] = numbers[offset / 2];
    }
    return row;
}

// A row with one number at offsets 0 and 1.
constexpr number_row offsets_0_and_1(int16_t number) {
    return pairs({number, refused, refused, refused, refused, refused});
}

// A row of the given numbers from offset 0 on, the rest refused.
template <std::size_t N>
constexpr number_row from_zero(const int16_t (&numbers)[N]) {
    static_assert(N <= 16);
    number_row row{};
    row.fill(refused);
    for (std::size_t offset = 0; offset < N; ++offset) {
        row[offset] = numbers[offset];
    }
    return row;
}

// Gives the request the row's number for the offset, if it has one; -1 when the offset is refused.
inline int32_t give_number(fe_read_buf *request, const number_row &row, uint8_t offset) {
    const int16_t number = row[offset];
    if (number == refused) {
        return -1;
    }
    if (number != none) {
        request->fe_fault_num = number;
    }
    return 0;
}

} // namespace fault_number
