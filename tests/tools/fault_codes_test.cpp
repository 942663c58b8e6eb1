// The entity filter's groups of related codes beside the engine's.
#include <algorithm>
#include <set>
#include <span>

#include <gtest/gtest.h>

#include "fault_engine/classify.h"
#include "platform/entity_filter/fault_codes.h"

namespace {

using entity_filter::choose_fault;
using entity_filter::EntityClass;

std::set<int32_t> without_zeros(std::span<const int32_t> codes) {
    std::set<int32_t> set(codes.begin(), codes.end());
    set.erase(0);
    return set;
}

// What the engine puts into the record in the end: its own row, or what the filter wrote.
std::set<int32_t> related_in_the_end(const fe_read_buf &request, EntityClass entity) {
    const auto choice = choose_fault(entity, request);
    fe_write_buf record{};
    record.vemoFaultCode = choice.code;
    std::ranges::copy(choice.related, &record.related_FaultCode.related_fc[1]);
    record.related_FaultCode.related_fc[0] = choice.code;
    lookup_fill_related_threshold_fault_code(&record);
    return without_zeros(record.related_FaultCode.related_fc);
}

// Every crossing of every measurement lands in one group, which the engine knows by the same members or not at all,
// and no two measurements of an entity share a code.
TEST(FaultCodes, LevelsOfAMeasurementMeet) {
    constexpr int32_t numbers[] = {0, 114, 115, 116, 117, 118, 119, 3,  4,  5,   6,
                                   7, 8,   45,  46,  48,  58,  66,  72, 97, 107, 110};
    for (int entity = 0; entity <= static_cast<int>(EntityClass::chassis_controller); entity++) {
        std::set<int32_t> taken;
        for (int sensor_type = 1; sensor_type < 256; sensor_type++) {
            fe_read_buf request{};
            request.eventType = 1;
            request.entity_type = static_cast<uint8_t>(sensor_type);
            const auto group = related_in_the_end(request, static_cast<EntityClass>(entity));
            for (const int32_t number : numbers)
                for (const int32_t severity : {0, 4, 5, 6}) {
                    request.fe_fault_num = number;
                    request.vemoFaultSeverity = severity;
                    EXPECT_EQ(related_in_the_end(request, static_cast<EntityClass>(entity)), group)
                        << entity << " " << sensor_type << " " << number;
                }
            const size_t before = taken.size();
            taken.insert(group.begin(), group.end());
            EXPECT_EQ(taken.size(), before + group.size()) << entity << " " << sensor_type;
        }
    }
}

TEST(FaultCodes, ChosenByEntitySensorTypeAndNumber) {
    struct {
        EntityClass entity;
        uint8_t sensor_type, event_type;
        int32_t number, severity, code, cause;
    } const rows[] = {
        {EntityClass::processor, 1, 1, 118, 5, 176, 215},    {EntityClass::board, 2, 1, 116, 6, 919, 216},
        {EntityClass::power, 2, 1, 0, 5, 383, 216},          {EntityClass::power, 2, 1, 0, 4, 381, 216},
        {EntityClass::power, 8, 0x0B, 60, 0, 371, 218},      {EntityClass::power, 8, 0x0B, 62, 5, 373, 218},
        {EntityClass::power, 8, 0x6F, 883, 6, 369, 344},     {EntityClass::processor, 0x25, 8, 120, 1, 842, 388},
        {EntityClass::firmware, 0x0F, 8, 103, 6, 517, 3},    {EntityClass::storage, 0x0D, 7, 0, 6, 4013, 214},
        {EntityClass::drive, 0x0D, 0x6F, 120, 3, 4013, 218}, {EntityClass::memory, 0x0C, 8, 64, 3, 3064, 218},
    };
    for (const auto &row : rows) {
        fe_read_buf request{};
        request.entity_type = row.sensor_type;
        request.eventType = row.event_type;
        request.fe_fault_num = row.number;
        request.vemoFaultSeverity = row.severity;
        const auto choice = choose_fault(row.entity, request);
        EXPECT_EQ(choice.code, row.code);
        EXPECT_EQ(choice.probable_cause, row.cause) << row.code;
    }
}

} // namespace
