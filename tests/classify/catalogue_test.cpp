#include <cstring>
#include <gtest/gtest.h>
#include <map>
#include <sstream>
#include <vector>

#include "fault_engine/classify.h"

namespace {

const char *const fault_code_names = R"(
174 fltProcessorUnitInoperable 175 fltProcessorUnitThermalNonCritical 176 fltProcessorUnitThermalThresholdCritical
177 fltProcessorUnitThermalThresholdNonRecoverable 178 fltProcessorUnitVoltageThresholdNonCritical
179 fltProcessorUnitVoltageThresholdCritical 180 fltProcessorUnitVoltageThresholdNonRecoverable
310 fltComputeBoardPowerError 311 fltComputePhysicalPowerProblem 313 fltComputePhysicalBiosPostTimeout
369 fltEquipmentPsuPowerSupplyProblem 408 fltEquipmentChassisPowerProblem
409 fltEquipmentChassisThermalThresholdCritical 410 fltEquipmentChassisThermalThresholdNonCritical
411 fltEquipmentChassisThermalThresholdNonRecoverable 424 fltComputeBoardCmosVoltageThresholdCritical
425 fltComputeBoardCmosVoltageThresholdNonRecoverable 460 fltSysdebugMEpLogMEpLogLog 461 fltSysdebugMEpLogMEpLogVeryLow
462 fltSysdebugMEpLogMEpLogFull 517 fltComputePhysicalPostFailure 538 fltComputeIOHubThermalNonCritical
539 fltComputeIOHubThermalThresholdCritical 540 fltComputeIOHubThermalThresholdNonRecoverable
842 fltProcessorUnitDisabled 868 fltComputeBoardPowerFail 869 fltComputeBoardThermalProblem
918 fltComputeBoardMotherBoardVoltageThresholdUpperNonRecoverable
919 fltComputeBoardMotherBoardVoltageThresholdLowerNonRecoverable
920 fltComputeBoardMotherBoardVoltageUpperThresholdCritical 921 fltComputeBoardMotherBoardVoltageLowerThresholdCritical
1040 fltComputeBoardPowerUsageProblem
)";

const char *const probable_causes = "3 fsm-failed 214 equipment-inoperable 215 thermal-problem 216 voltage-problem "
                                    "218 equipment-degraded 238 equipment-missing 338 log-capacity "
                                    "344 power-problem 348 equipment-problem 388 equipment-disabled";

// Each row a code and those related to it, in order.
const char *const related_codes = R"(
175 177 176; 176 177 175; 177 176 175; 178 180 179; 179 180 178; 180 179 178; 183 182; 182 183;
184 185; 185 184; 186 188 187; 187 188 186; 188 187 186; 189 191 190; 190 191 189; 191 190 189;
371 373; 373 371; 380 382 384; 382 384 380; 384 382 380; 381 383 385; 383 381 385; 385 381 383;
387 389 391; 389 387 391; 391 389 387; 392 393 394; 393 392 394; 394 392 393;
395 396 397; 396 395 397; 397 395 396; 410 409 411; 409 410 411; 411 409 410; 424 425; 425 424;
460 461 462; 461 460 462; 462 460 461; 535 536 537; 536 535 537; 537 535 536;
538 539 540; 539 538 540; 540 538 539; 729 730 731; 730 729 731; 731 729 730;
920 918 919 921; 918 920 919 921; 919 920 918 921; 921 920 918 919;
2500 2501 2502; 2501 2500 2502; 2502 2500 2501;
)";

// Every code there is a chance to meet: far past the tables and 16 bits, and what is negative as a signed integer.
std::vector<uint32_t> codes() {
    std::vector<uint32_t> all = {0x7FFFFFFF, 0x80000000, 0x80000000 + 174};
    for (uint32_t code = 0; code <= 70000; code++)
        all.insert(all.end(), {code, 0 - code});
    return all;
}

void check_names(const char *text, size_t count, const char *(*name_of)(uint32_t)) {
    std::map<uint32_t, std::string> names;
    std::istringstream words(text);
    for (uint32_t code; words >> code;)
        words >> names[code];
    ASSERT_EQ(names.size(), count);
    for (uint32_t code : codes()) {
        const char *expected = names.count(code) != 0 ? names[code].c_str() : "Unknown";
        ASSERT_STREQ(name_of(code), expected) << code;
    }
}

TEST(Catalogue, NamesFaultCodes) {
    check_names(fault_code_names, 32, get_fault_code_string);
}

TEST(Catalogue, NamesProbableCauses) {
    check_names(probable_causes, 10, get_probable_cause_string);
}

TEST(Catalogue, FillsRelatedCodesAndNothingElse) {
    std::map<uint32_t, fe_related_fault_code> rows;
    std::istringstream text(related_codes);
    for (std::string row; std::getline(text, row, ';');) {
        std::istringstream words(row);
        fe_related_fault_code related{};
        size_t filled = 0;
        while (words >> related.related_fc[filled])
            filled++;
        if (filled > 0)
            rows[static_cast<uint32_t>(related.related_fc[0])] = related;
    }
    ASSERT_EQ(rows.size(), 57U);

    fe_write_buf record, expected;
    for (uint32_t code : codes()) {
        std::memset(&record, 0xA5, sizeof record);
        record.vemoFaultCode = static_cast<int32_t>(code);
        expected = record;
        if (auto row = rows.find(code); row != rows.end())
            expected.related_FaultCode = row->second;
        lookup_fill_related_threshold_fault_code(&record);
        ASSERT_EQ(std::memcmp(&record, &expected, sizeof record), 0) << code;
    }
    lookup_fill_related_threshold_fault_code(nullptr);
}

} // namespace
