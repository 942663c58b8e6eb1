// The entity filter's groups of related codes beside the engine's.
#include <algorithm>
#include <set>

#include <gtest/gtest.h>

#include "fault_engine/classify.h"
#include "platform/entity_filter/fault_codes.h"

namespace {

using entity_filter::choose_fault;
using entity_filter::EntityClass;

constexpr uint8_t threshold_event = 1;

fe_read_buf make_request(int sensor_type, uint8_t event_type, int32_t number, int32_t severity) {
    fe_read_buf request{};
    request.entity_type = static_cast<uint8_t>(sensor_type);
    request.eventType = event_type;
    request.fe_fault_num = number;
    request.vemoFaultSeverity = severity;
    return request;
}

// What the engine puts into the record in the end: its own row, or what the filter wrote.
std::set<int32_t> related_in_the_end(EntityClass entity, const fe_read_buf &request) {
    const auto choice = choose_fault(entity, request);
    fe_write_buf record{};
    auto &related = record.related_FaultCode.related_fc;
    record.vemoFaultCode = related[0] = choice.code;
    std::ranges::copy(choice.related, &related[1]);
    lookup_fill_related_threshold_fault_code(&record);
    std::set<int32_t> codes(std::begin(related), std::end(related));
    codes.erase(0);
    return codes;
}

// Every crossing of every measurement lands in one group, which the engine knows by the same members or not at all,
// and no two measurements of an entity share a code. Number 113 leaves it to the severity, the others are thresholds.
TEST(FaultCodes, LevelsOfAMeasurementMeet) {
    for (int entity = 0; entity <= static_cast<int>(EntityClass::chassis_controller); ++entity) {
        std::set<int32_t> taken;
        for (int sensor_type = 1; sensor_type < 256; ++sensor_type) {
            std::set<std::set<int32_t>> groups;
            for (int32_t number = 113; number <= 119; ++number) {
                for (const int32_t severity : {0, 4, 5, 6}) {
                    groups.insert(related_in_the_end(static_cast<EntityClass>(entity),
                                                     make_request(sensor_type, threshold_event, number, severity)));
                }
            }
            EXPECT_EQ(groups.size(), 1U) << entity << " " << sensor_type;
            for (const int32_t code : *groups.begin()) {
                EXPECT_TRUE(taken.insert(code).second) << entity << " " << sensor_type << " " << code;
            }
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
        const auto choice =
            choose_fault(row.entity, make_request(row.sensor_type, row.event_type, row.number, row.severity));
        EXPECT_EQ(choice.code, row.code);
        EXPECT_EQ(choice.probable_cause, row.cause) << row.code;
    }
}

} // namespace
