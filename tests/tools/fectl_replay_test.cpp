// fectl replay: the example captures beside their reviewed outcome, and a capture with the traps of real ones.
#include <fstream>
#include <iterator>

#include <gtest/gtest.h>

#include "run_fectl.h"

namespace {

// What is printed, but for the time that it took.
std::string without_wall_time(const std::string &out) {
    return out.substr(0, out.rfind("wall time"));
}

// The table of active faults: from its header, the last line that starts with "TIME", to the blank line.
std::string table_of(const std::string &out) {
    const size_t start = out.rfind("TIME ");
    return out.substr(start, out.find("\n\n", start) + 1 - start);
}

std::string bytes_of(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void expect_reviewed_faults(const std::string &name, const std::string &live_records) {
    const Folder folder;
    const std::string capture = CAPTURES "/" + name;
    const std::string arguments = "replay --sdr " + capture + ".sdr --sel " + capture + ".sel";
    const Outcome live = run_fectl(folder, arguments + " --live " + live_records);
    EXPECT_EQ(live.exit_code, 0);
    EXPECT_EQ(live.err, "");
    EXPECT_EQ(without_wall_time(live.out), bytes_of(capture + ".expected.txt"));

    // The same faults when all is walked at the start, and the same ones in the table files.
    const Outcome walked = run_fectl(folder, arguments);
    EXPECT_EQ(table_of(walked.out), table_of(live.out));
    const Outcome table = run_fectl(folder, "table --file-dir " + folder.path("table"));
    EXPECT_TRUE(table.out.starts_with(table_of(walked.out))) << table.out << table.err;
    for (const std::string file : {".entry", ".sz"}) // byte for byte, on every machine
        EXPECT_TRUE(folder.read("table/fe_table" + file) == bytes_of(capture + ".fe_table" + file)) << file;
}

TEST(FectlReplay, BenchServer) {
    expect_reviewed_faults("bench-server", "35");
}

TEST(FectlReplay, RackServer) {
    expect_reviewed_faults("rack-server", "150");
}

// Names in 6-bit packing, in BCD, with blanks and without one; shared records; OEM records; several sensors of one kind
// on one entity; the same sensor number twice; a time since start.
TEST(FectlReplay, TrapsOfRealCaptures) {
    const Folder folder;
    folder.write("sdr", sdr_other_record(0x12, Bytes(18)) + sdr_other_record(0xC0, {1, 2, 3}) +
                            sdr_record({1, 0x01, 7, 0x81, 1, 1, name_6_bit("SYSTEM TEMP")}) +
                            sdr_record({1, 0x02, 7, 1, 2, 1, {0x43, 0x12, 0xC5, 0xAA}}) +
                            sdr_record({1, 0x03, 7, 1, 2, 1, name_8_bit("P5V")}) +
                            sdr_record({2, 0x10, 29, 0, 4, 4, name_8_bit("Fan "), {0x03, 0x81}}) +
                            sdr_record({2, 0x20, 10, 1, 8, 0x6F, name_8_bit("PSU "), {0x12, 0x00}}) +
                            sdr_record({2, 0x30, 23, 1, 5, 3, {0xC0}}) +
                            sdr_record({3, 0x01, 34, 1, 0x0F, 0x6F, name_8_bit("AGAIN")}));
    Bytes oem = sel_event(0, 0, 0, 0);
    oem[2] = 0xE0;
    folder.write("sel",
                 sel_event(1, 0x01, 0x01, 0x59) + sel_event(2, 0x02, 0x01, 0x52) + sel_event(2, 0x03, 0x01, 0x52) +
                     sel_event(2, 0x03, 0x81, 0x50) + oem + sel_event(4, 0x12, 0x04, 1) + sel_event(4, 0x12, 0x04, 0) +
                     sel_event(4, 0x11, 0x04, 1, 12345) + sel_event(8, 0x20, 0x6F, 1) + sel_event(8, 0x21, 0x6F, 1) +
                     sel_event(8, 0x21, 0xEF, 1) + sel_event(5, 0x30, 0x03, 0) + sel_event(1, 0xEE, 0x01, 0x57) +
                     sel_event(4, 0x01, 0x01, 0x57) + sel_event(0x10, 0x01, 0x6F, 2));
    folder.write("readings", {'1', ' ', '0', '\n'});
    const std::string arguments = "replay --sdr " + folder.path("sdr") + " --sel " + folder.path("sel");
    EXPECT_EQ(without_wall_time(run_fectl(folder, arguments + " --live 15").out),
              R"(TIME                SEVERITY SENSOR              ENTITY  CHANGE   COUNT   CODE FAULT
2001-09-09 01:46:40 major    SYSTEM_TEMP         7.1     created      1    539 fltComputeIOHubThermalThresholdCritical
2001-09-09 01:46:40 major    12.5                7.1     created      1    921 fltComputeBoardMotherBoardVoltageLowerThresholdCritical
2001-09-09 01:46:40 major    P5V                 7.1     created      1  10921 fltComputeBoardMotherBoardVoltageLowerThresholdCritical
2001-09-09 01:46:40 cleared  P5V                 7.1     cleared      2  10921 fltComputeBoardMotherBoardVoltageLowerThresholdCritical
2001-09-09 01:46:40 warning  Fan3                29.3    created      1   3010 Fan fault
2001-09-09 01:46:40 cleared  Fan3                29.3    cleared      2   3010 Fan fault
start+12345s        warning  Fan2                29.2    created      1   3010 Fan fault
2001-09-09 01:46:40 critical PSUA                10.1    created      1    369 fltEquipmentPsuPowerSupplyProblem
2001-09-09 01:46:40 critical PSUB                10.1    created      1  10369 fltEquipmentPsuPowerSupplyProblem
2001-09-09 01:46:40 cleared  PSUB                10.1    cleared      2  10369 fltEquipmentPsuPowerSupplyProblem
2001-09-09 01:46:40 warning  #0x30               23.1    created      1   3104 Physical security fault

TIME                SEVERITY SENSOR              ENTITY  CAUSE                COUNT   CODE FAULT
2001-09-09 01:46:40 warning  #0x30               23.1    equipment-degraded       1   3104 Physical security fault
2001-09-09 01:46:40 critical PSUA                10.1    power-problem            1    369 fltEquipmentPsuPowerSupplyProblem
start+12345s        warning  Fan2                29.2    equipment-degraded       1   3010 Fan fault
2001-09-09 01:46:40 major    12.5                7.1     voltage-problem          1    921 fltComputeBoardMotherBoardVoltageLowerThresholdCritical
2001-09-09 01:46:40 major    SYSTEM_TEMP         7.1     thermal-problem          1    539 fltComputeIOHubThermalThresholdCritical

records        15 read: 11 processed, 1 ignored, 3 refused
                1 refused with -105: no sensor data record
                2 refused with -108: OEM record, or not of the sensor's type
faults          8 created, 0 repeated, 3 cleared, 0 evicted, 5 active
)");
    // A present reading without a crossed threshold clears what the log leaves.
    const std::string table = table_of(run_fectl(folder, arguments + " --readings " + folder.path("readings")).out);
    EXPECT_EQ(table.find("SYSTEM_TEMP"), table.npos) << table;
    EXPECT_NE(table.find(" 12.5 "), table.npos) << table;
}

} // namespace
