// fectl table: what it prints, what it refuses, and that it waits for the engine's locks.
#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <future>
#include <thread>

#include <gtest/gtest.h>

#include "fault_engine/fault_record.h"
#include "run_fectl.h"

namespace {

fe_write_buf fault(uint8_t entity_id, int32_t code, const char *sensor) {
    fe_write_buf record{};
    record.entity_id = entity_id;
    record.entity_instance = 2;
    record.vemoFaultSeverity = FE_SEVERITY_MAJOR;
    record.vemoFaultOccur = 3;
    record.ProbableCause = 215;
    record.vemoFaultCode = code;
    strncpy(record.sensor_name, sensor, sizeof record.sensor_name - 1);
    strcpy(record.severity_word, "major");
    strcpy(record.TimeOfEvent, "2024-06-01 10:00:00");
    return record;
}

Bytes bytes_of(const fe_write_buf &record) {
    const auto *first = reinterpret_cast<const uint8_t *>(&record);
    return {first, first + sizeof record};
}

Outcome run_table(const Folder &folder) {
    return run_fectl(folder, "table --file-dir " + folder.path("table"));
}

constexpr char header[] =
    "TIME                SEVERITY SENSOR              ENTITY  CAUSE                COUNT   CODE FAULT\n";
constexpr char cpu_line[] =
    "2024-06-01 10:00:00 major    CPU2                3.2     thermal-problem          3    176 "
    "fltProcessorUnitThermalThresholdCritical\n";

TEST(FectlTable, PrintsRecordsOfAnyContent) {
    const Folder folder;
    fe_write_buf named = fault(10, 3032, "PSU");
    strcpy(named.FaultName, "Power supply input lost");
    fe_write_buf hostile = fault(208, -1, "\033[31m\nX");
    memset(hostile.TimeOfEvent, 'T', sizeof hostile.TimeOfEvent);
    memset(hostile.severity_word, '\xFF', sizeof hostile.severity_word);
    memset(hostile.FaultName, '\a', sizeof hostile.FaultName);
    hostile.ProbableCause = -1;
    folder.write("table/fe_table.entry", bytes_of(fault(3, 30176, "CPU2")) + bytes_of(named) + bytes_of(hostile));
    folder.write("table/fe_table.sz", {3, 0, 0, 0});
    const Outcome run = run_table(folder);
    EXPECT_EQ(run.exit_code, 0) << run.err;
    EXPECT_EQ(run.out,
              std::string(header) +
                  "2024-06-01 10:00:00 major    CPU2                3.2     thermal-problem          3  30176 "
                  "fltProcessorUnitThermalThresholdCritical\n"
                  "2024-06-01 10:00:00 major    PSU                 10.2    thermal-problem          3   3032 "
                  "Power supply input lost\n"
                  "TTTTTTTTTTTTTTTTTTT ???????? ?[31m?X             208.2   Unknown                  3     -1 " +
                  std::string(64, '?') + "\n3 active faults\n");
}

TEST(FectlTable, RefusesFilesThatDisagree) {
    const Folder folder;
    const Bytes record(960);
    struct {
        Bytes entries, count;
        const char *error;
    } const rows[] = {
        {record, {1, 0, 0}, "fe_table.sz is 3 bytes long, not 4"},
        {record, {1, 0, 0, 0, 0}, "fe_table.sz is 5 bytes long, not 4"},
        {record, {}, "fe_table.sz is 0 bytes long, not 4"},
        {record, {2, 0, 0, 0}, "fe_table.entry is 960 bytes long, but "},
        {record + record, {1, 0, 0, 0}, "fe_table.entry is 1920 bytes long, but "},
        {record + Bytes(1), {1, 0, 0, 0}, "fe_table.entry is 961 bytes long, but "},
        {{}, {1, 0, 0, 0}, "fe_table.entry is 0 bytes long, but "},
        {record, {1, 4, 0, 0}, "fe_table.sz counts 1025 faults, more than a table has"},
        {record, {0xFF, 0xFF, 0xFF, 0xFF}, "fe_table.sz counts 4294967295 faults"},
    };
    for (const auto &row : rows) {
        folder.write("table/fe_table.entry", row.entries);
        folder.write("table/fe_table.sz", row.count);
        const Outcome run = run_table(folder);
        EXPECT_EQ(run.exit_code, 2) << row.error;
        EXPECT_EQ(run.out, "");
        EXPECT_NE(run.err.find(row.error), run.err.npos) << run.err;
    }
    unlink(folder.path("table/fe_table.sz").c_str());
    EXPECT_NE(run_table(folder).err.find("fe_table.sz: cannot open: No such file"), std::string::npos);
}

// The locks are held for longer than fectl would try again without them.
TEST(FectlTable, WaitsForTheLocks) {
    const Folder folder;
    folder.write("table/fe_table.entry", {});
    folder.write("table/fe_table.sz", {});
    for (const char *locked : {"table/fe_table.entry", "table/fe_table.sz"}) {
        const int entries = open(folder.path("table/fe_table.entry").c_str(), O_RDWR | O_TRUNC);
        const int count = open(folder.path("table/fe_table.sz").c_str(), O_RDWR | O_TRUNC);
        ASSERT_EQ(lockf(strstr(locked, "entry") ? entries : count, F_LOCK, 0), 0);
        auto running = std::async(std::launch::async, [&folder] { return run_table(folder); });
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
        const Bytes record = bytes_of(fault(3, 176, "CPU2"));
        ASSERT_EQ(write(count, "\1\0\0", 4), 4);
        ASSERT_EQ(write(entries, record.data(), record.size()), 960);
        close(count);
        close(entries);
        const Outcome run = running.get();
        EXPECT_EQ(run.err, "") << locked;
        EXPECT_EQ(run.out, std::string(header) + cpu_line + "1 active fault\n");
    }
}

} // namespace
