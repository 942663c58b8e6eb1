#include <cstring>
#include <gtest/gtest.h>

#include "fault_engine/classify.h"

namespace {

// What a look-up says of every code that there is a chance to meet: far past the tables and 16 bits, and what is
// negative as a signed integer.
template <class LookUp>
std::string of_all_codes(LookUp look_up) {
    std::string all;
    for (uint32_t code = 0; code <= 70000; code++)
        all += look_up(code) + look_up(0 - code) + look_up(code ^ 0x80000000);
    return all;
}

std::string entry(uint32_t code, const std::string &name) {
    return name == "Unknown" ? "" : std::to_string(code) + ' ' + name + "; ";
}

TEST(Catalogue, NamesCodesAndCauses) {
    EXPECT_EQ(of_all_codes([](uint32_t code) { return entry(code, get_fault_code_string(code)); }),
              "174 fltProcessorUnitInoperable; 175 fltProcessorUnitThermalNonCritical; "
              "176 fltProcessorUnitThermalThresholdCritical; 177 fltProcessorUnitThermalThresholdNonRecoverable; "
              "178 fltProcessorUnitVoltageThresholdNonCritical; 179 fltProcessorUnitVoltageThresholdCritical; "
              "180 fltProcessorUnitVoltageThresholdNonRecoverable; 310 fltComputeBoardPowerError; "
              "311 fltComputePhysicalPowerProblem; 313 fltComputePhysicalBiosPostTimeout; "
              "369 fltEquipmentPsuPowerSupplyProblem; 408 fltEquipmentChassisPowerProblem; "
              "409 fltEquipmentChassisThermalThresholdCritical; 410 fltEquipmentChassisThermalThresholdNonCritical; "
              "411 fltEquipmentChassisThermalThresholdNonRecoverable; 424 fltComputeBoardCmosVoltageThresholdCritical; "
              "425 fltComputeBoardCmosVoltageThresholdNonRecoverable; 460 fltSysdebugMEpLogMEpLogLog; "
              "461 fltSysdebugMEpLogMEpLogVeryLow; 462 fltSysdebugMEpLogMEpLogFull; 517 fltComputePhysicalPostFailure; "
              "538 fltComputeIOHubThermalNonCritical; 539 fltComputeIOHubThermalThresholdCritical; "
              "540 fltComputeIOHubThermalThresholdNonRecoverable; 842 fltProcessorUnitDisabled; "
              "868 fltComputeBoardPowerFail; 869 fltComputeBoardThermalProblem; "
              "918 fltComputeBoardMotherBoardVoltageThresholdUpperNonRecoverable; "
              "919 fltComputeBoardMotherBoardVoltageThresholdLowerNonRecoverable; "
              "920 fltComputeBoardMotherBoardVoltageUpperThresholdCritical; "
              "921 fltComputeBoardMotherBoardVoltageLowerThresholdCritical; 1040 fltComputeBoardPowerUsageProblem; ");
    EXPECT_EQ(
        of_all_codes([](uint32_t cause) { return entry(cause, get_probable_cause_string(cause)); }),
        "3 fsm-failed; 214 equipment-inoperable; 215 thermal-problem; 216 voltage-problem; 218 equipment-degraded; "
        "238 equipment-missing; 338 log-capacity; 344 power-problem; 348 equipment-problem; 388 equipment-disabled; ");
}

// The related codes that the record is filled with, without the zeros at the end; empty if it is left alone.
std::string filled_row(uint32_t code) {
    fe_write_buf record, before;
    std::memset(&record, 0xA5, sizeof record);
    record.vemoFaultCode = static_cast<int32_t>(code);
    before = record;
    lookup_fill_related_threshold_fault_code(&record);
    if (std::memcmp(&record, &before, sizeof record) == 0)
        return "";
    std::string row;
    for (int32_t related : record.related_FaultCode.related_fc)
        row += ' ' + std::to_string(related);
    while (row.ends_with(" 0"))
        row.resize(row.size() - 2);
    before.related_FaultCode = record.related_FaultCode;
    EXPECT_EQ(std::memcmp(&record, &before, sizeof record), 0) << code; // nothing else is touched
    return row.substr(1) + "; ";
}

// Each row a code and those related to it, in their order.
TEST(Catalogue, FillsRelatedCodes) {
    EXPECT_EQ(
        of_all_codes(filled_row),
        "175 177 176; 176 177 175; 177 176 175; 178 180 179; 179 180 178; 180 179 178; 182 183; 183 182; 184 185; "
        "185 184; 186 188 187; 187 188 186; 188 187 186; 189 191 190; 190 191 189; 191 190 189; 371 373; 373 371; "
        "380 382 384; 381 383 385; 382 384 380; 383 381 385; 384 382 380; 385 381 383; 387 389 391; 389 387 391; "
        "391 389 387; 392 393 394; 393 392 394; 394 392 393; 395 396 397; 396 395 397; 397 395 396; 409 410 411; "
        "410 409 411; 411 409 410; 424 425; 425 424; 460 461 462; 461 460 462; 462 460 461; 535 536 537; "
        "536 535 537; 537 535 536; 538 539 540; 539 538 540; 540 538 539; 729 730 731; 730 729 731; 731 729 730; "
        "918 920 919 921; 919 920 918 921; 920 918 919 921; 921 920 918 919; 2500 2501 2502; 2501 2500 2502; "
        "2502 2500 2501; ");
    lookup_fill_related_threshold_fault_code(nullptr);
}

} // namespace
