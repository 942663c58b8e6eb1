// The catalogue: names of fault codes, words of probable causes, and which fault codes are related.
#include <algorithm>
#include <array>
#include <cstdint>
#include <numeric>
#include <span>

#include "fault_engine/classify.h"

namespace {

struct named_code {
    uint16_t code;
    const char *name;
};

constexpr named_code fault_codes[] = {
    {174, "fltProcessorUnitInoperable"},
    {175, "fltProcessorUnitThermalNonCritical"},
    {176, "fltProcessorUnitThermalThresholdCritical"},
    {177, "fltProcessorUnitThermalThresholdNonRecoverable"},
    {178, "fltProcessorUnitVoltageThresholdNonCritical"},
    {179, "fltProcessorUnitVoltageThresholdCritical"},
    {180, "fltProcessorUnitVoltageThresholdNonRecoverable"},
    {310, "fltComputeBoardPowerError"},
    {311, "fltComputePhysicalPowerProblem"},
    {313, "fltComputePhysicalBiosPostTimeout"},
    {369, "fltEquipmentPsuPowerSupplyProblem"},
    {408, "fltEquipmentChassisPowerProblem"},
    {409, "fltEquipmentChassisThermalThresholdCritical"},
    {410, "fltEquipmentChassisThermalThresholdNonCritical"},
    {411, "fltEquipmentChassisThermalThresholdNonRecoverable"},
    {424, "fltComputeBoardCmosVoltageThresholdCritical"},
    {425, "fltComputeBoardCmosVoltageThresholdNonRecoverable"},
    {460, "fltSysdebugMEpLogMEpLogLog"},
    {461, "fltSysdebugMEpLogMEpLogVeryLow"},
    {462, "fltSysdebugMEpLogMEpLogFull"},
    {517, "fltComputePhysicalPostFailure"},
    {538, "fltComputeIOHubThermalNonCritical"},
    {539, "fltComputeIOHubThermalThresholdCritical"},
    {540, "fltComputeIOHubThermalThresholdNonRecoverable"},
    {842, "fltProcessorUnitDisabled"},
    {868, "fltComputeBoardPowerFail"},
    {869, "fltComputeBoardThermalProblem"},
    {918, "fltComputeBoardMotherBoardVoltageThresholdUpperNonRecoverable"},
    {919, "fltComputeBoardMotherBoardVoltageThresholdLowerNonRecoverable"},
    {920, "fltComputeBoardMotherBoardVoltageUpperThresholdCritical"},
    {921, "fltComputeBoardMotherBoardVoltageLowerThresholdCritical"},
    {1040, "fltComputeBoardPowerUsageProblem"},
};

constexpr named_code probable_causes[] = {
    {3, "fsm-failed"},           {214, "equipment-inoperable"}, {215, "thermal-problem"}, {216, "voltage-problem"},
    {218, "equipment-degraded"}, {238, "equipment-missing"},    {338, "log-capacity"},    {344, "power-problem"},
    {348, "equipment-problem"},  {388, "equipment-disabled"},
};

const char *name_of(std::span<const named_code> names, uint32_t code) {
    for (const named_code &known : names) {
        if (known.code == code) {
            return known.name;
        }
    }
    return "Unknown";
}

// A fault code, then up to three codes related to it. Each group is one measurement at its levels, and has a row for
// each of its codes; a fault at one level is updated or cleared by an event at another.
using related_row = std::array<int16_t, 4>;

constexpr related_row related_codes[] = {
    // clang-format off
    {175, 177, 176}, {176, 177, 175}, {177, 176, 175},
    {178, 180, 179}, {179, 180, 178}, {180, 179, 178},
    {183, 182}, {182, 183},
    {184, 185}, {185, 184},
    {186, 188, 187}, {187, 188, 186}, {188, 187, 186},
    {189, 191, 190}, {190, 191, 189}, {191, 190, 189},
    {371, 373}, {373, 371},
    {380, 382, 384}, {382, 384, 380}, {384, 382, 380},
    {381, 383, 385}, {383, 381, 385}, {385, 381, 383},
    {387, 389, 391}, {389, 387, 391}, {391, 389, 387},
    {392, 393, 394}, {393, 392, 394}, {394, 392, 393},
    {395, 396, 397}, {396, 395, 397}, {397, 395, 396},
    {410, 409, 411}, {409, 410, 411}, {411, 409, 410},
    {424, 425}, {425, 424},
    {460, 461, 462}, {461, 460, 462}, {462, 460, 461},
    {535, 536, 537}, {536, 535, 537}, {537, 535, 536},
    {538, 539, 540}, {539, 538, 540}, {540, 538, 539},
    {729, 730, 731}, {730, 729, 731}, {731, 729, 730},
    {920, 918, 919, 921}, {918, 920, 919, 921}, {919, 920, 918, 921}, {921, 920, 918, 919},
    {2500, 2501, 2502}, {2501, 2500, 2502}, {2502, 2500, 2501},
    // clang-format on
};
static_assert(std::size(related_codes) == 57);

// Numbers of the rows, ascending by fault code; no two rows share a code. Every fault is looked up here, and most codes have
// no row.
constexpr auto rows_by_code = [] {
    std::array<uint8_t, std::size(related_codes)> rows{};
    std::iota(rows.begin(), rows.end(), uint8_t{0});
    std::sort(rows.begin(), rows.end(), [](uint8_t a, uint8_t b) { return related_codes[a][0] < related_codes[b][0]; });
    return rows;
}();

// Null when the code is related to none.
const related_row *related_row_of(int32_t code) {
    const auto *found = std::lower_bound(rows_by_code.begin(), rows_by_code.end(), code,
                                         [](uint8_t row, int32_t wanted) { return related_codes[row][0] < wanted; });
    return found != rows_by_code.end() && related_codes[*found][0] == code ? &related_codes[*found] : nullptr;
}

} // namespace

const char *get_fault_code_string(uint32_t fault_code) {
    return name_of(fault_codes, fault_code);
}

const char *get_probable_cause_string(uint32_t probable_cause) {
    return name_of(probable_causes, probable_cause);
}

void lookup_fill_related_threshold_fault_code(fe_write_buf *record) {
    if (record == nullptr) {
        return;
    }
    const related_row *row = related_row_of(record->vemoFaultCode);
    if (row != nullptr) {
        record->related_FaultCode = {};
        std::copy(row->begin(), row->end(), record->related_FaultCode.related_fc);
    }
}
