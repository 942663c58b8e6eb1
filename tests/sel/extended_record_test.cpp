// Extended SEL records: which road they take, and what becomes of them on their own.
#include "sel_road.h"

#include <climits>
#include <thread>

#include <unistd.h>

#include "support/interpose_live.h"

namespace {

using Extended = std::array<uint8_t, 24>;

// The 24 bytes differ from each other wherever the arguments let them. By default a memory device's temperature goes
// above its first threshold: severity 1, fault number 66.
Extended extended(int32_t sensor_number = 300, uint8_t sensor_type = 1, uint8_t dir_type = 0x01,
                  uint8_t data_1 = 0x57) {
    const auto n = [=](int shift) { return static_cast<uint8_t>(static_cast<uint32_t>(sensor_number) >> shift); };
    return {0xE1, 0xE2, 0xE3, 0xA1,        0xB2, 0x02, 0x11,  0x22,  0x33,     0xF4,   0xE4, 0xE5,
            0x65, 0x76, 0x04, sensor_type, n(0), n(8), n(16), n(24), dir_type, data_1, 0x9C, 0xDD};
}

class ExtendedRecord : public SelRoad {
protected:
    ExtendedRecord() { alarm(100); }
    ~ExtendedRecord() override { alarm(0); }
};

struct Route {
    int32_t number;
    uint8_t type;
    int32_t ordinary_sensor; // own: its own road
};

constexpr int32_t own = -1;
const Route routes[] = {
    {255, 1, 255},    {255, 12, 255}, {255, 18, 255},     {0, 1, 0},         {-1, 12, 255},
    {INT_MIN, 18, 0}, {256, 1, own},  {256, 12, own},     {256, 18, own},    {256, 0, 0},
    {256, 2, 0},      {256, 11, 0},   {256, 13, 0},       {256, 17, 0},      {256, 19, 0},
    {256, 255, 0},    {300, 4, 44},   {INT_MAX, 12, own}, {INT_MAX, 4, 255},
};

TEST_F(ExtendedRecord, RoadGoesByNumberAndType) {
    for (const auto &[number, type, ordinary_sensor] : routes) {
        arrange();
        world().sensors = {{ordinary_sensor, sensor(1, 34, 1, type, 1)}};
        process_super_sel_data(extended(number, type).data());
        const std::string numbers[] = {std::to_string(number), std::to_string(type)};
        EXPECT_EQ(log_lines("iSensorNumber")[0], "iSensorNumber: " + numbers[0] + " iSensorType: " + numbers[1] + "\n");
        EXPECT_EQ(world().calls[0], ordinary_sensor == own ? "HVLGSELEntryToStr" : "IPMI_SELHVDBSELAttach") << number;
        EXPECT_EQ(log_lines("\nEntered convert").size(), ordinary_sensor == own ? 0U : 1U) << number; // it was found
    }
}

TEST_F(ExtendedRecord, OrdinaryRoadGetsTheRebuiltRecordAndGivesTheResult) {
    world().detach_result = 7;
    EXPECT_EQ(process_super_sel_data(extended(0x5A30, 0x18, 0x81).data()), 7);
    EXPECT_EQ(world().log,
              (Lines{"process_suport_sel_data: 23088 e1 e2 e3 a1 b2 2 11 22 33 f4 e4 e5 65 76 4 18 30 5a 0 "
                     "0 81 57 9c dd\n",
                     "iSensorNumber: 23088 iSensorType: 24\n",
                     "decode_sel_entry: a1 b2 2 11 22 33 f4 65 76 4 18 30 81 57 9c dd \n"}));
    world().detach_result = 0;
    EXPECT_EQ(process_super_sel_data(extended(0x31).data()), -105);
    EXPECT_EQ(process_super_sel_data(extended(256, 0x10).data()), 0); // event logging disabled
    EXPECT_EQ(process_super_sel_data(extended(road_sensor).data()), 0);
    EXPECT_EQ(log_lines("Exited process_write_buf err= 0\n").size(), 1U);
}

const auto dispatch_says = [](int32_t result) { filter([=](auto &, auto &) { return result; }); };
const auto text_says = [](int32_t result) { world().entry_to_str = [=](auto...) { return result; }; };

struct Ending {
    const char *what;
    std::function<void(Extended &)> arrange;
    int32_t result;
    ptrdiff_t calls; // of those that are made
    size_t lines;
    int32_t filter = 0;
};

const Lines all_calls = {"HVLGSELEntryToStr", "HVLGSELUnixToCTime", "process_mem_fault", "broadcast_fe_faults"};
constexpr size_t text_lines = 2, severity_lines = 4, commit_lines = 13, dump_lines = 32;
const Ending endings[] = {
    {"first OEM record", [](auto &record) { record[5] = 0xC0; }, -108, 0, 1},
    {"last OEM record", [](auto &record) { record[5] = 0xFF; }, -108, 0, 1},
    {"last standard record", [](auto &record) { record[5] = 0xBF, dispatch_says(1); }, 0, 3, commit_lines},
    {"text fails, 1", [](auto &) { text_says(1); }, -2, 1, text_lines},
    {"text fails, -1", [](auto &) { text_says(-1); }, -2, 1, text_lines},
    {"refused event", [](auto &record) { record[21] = 0x51; }, -1, 2, severity_lines},
    {"no write buffer", [](auto &) { fe_write_buf_struct_ptr = nullptr; }, -1, 2, severity_lines},
    {"no record", [](auto &) { fe_write_buf_struct_ptr->fe_write_buf = nullptr; }, -1, 2, severity_lines},
    {"dispatch -1", [](auto &) { dispatch_says(-1); }, 0, 3, commit_lines},
    {"dispatch 2", [](auto &) { dispatch_says(2); }, 0, 4, commit_lines, 1},
    {"dispatch 2 at start-up", [](auto &) { dispatch_says(2), sel_init_complete = 0; }, 0, 3, commit_lines},
    {"nothing to clear", [](auto &record) { record[20] = 0x81; }, 0, 3, commit_lines + dump_lines + 1},
};

TEST_F(ExtendedRecord, EndsAsItMustAndLeavesNothingBehind) {
    for (const Ending &row : endings) {
        SCOPED_TRACE(row.what);
        arrange();
        sel_init_complete = 1;
        Extended record = extended();
        row.arrange(record);
        EXPECT_EQ(process_super_sel_data(record.data()), row.result);
        fe_write_buf_struct_ptr = &buffer.block;
        buffer.block.fe_write_buf = &buffer.record;
        EXPECT_EQ(world().calls, Lines(all_calls.begin(), all_calls.begin() + row.calls));
        EXPECT_EQ(world().log.size(), row.lines);
        EXPECT_EQ(syslog_filter, row.filter);
        EXPECT_EQ(fe_fault_count, 0U);
        expect_idle();
    }
}

TEST_F(ExtendedRecord, LogsItsSummaryBeforeTheLockAndTheRestBehind) {
    const Lines summary = {"entity_id = 20 eventType = 1, eventDir = 0, offset1 = 7 sens_num=300 sens_type= 1\n",
                           "Out of fe_get_severity switch case severity = 1 fault_code = 66 err: 0\n",
                           "\n\nSEL Event: " + world().event_text + "\n",
                           "Sensor Name: P1_THERM\n",
                           "Sensor Number: 300\n",
                           "Entity Id: 32\n",
                           "Entity Instance: 45\n",
                           "Entity Group Instance: 1\n",
                           "Fault Number: 66\n",
                           "Fault Severity: 1\n\n"};
    const auto is_there = [&] {
        const std::lock_guard guard(world().lock);
        return world().log.size() == text_lines + summary.size();
    };
    pthread_mutex_lock(&buffer.block.fe_write_buf_mutex);
    std::thread caller([] { EXPECT_EQ(process_super_sel_data(extended().data()), 0); });
    while (!is_there())
        std::this_thread::yield();
    pthread_mutex_unlock(&buffer.block.fe_write_buf_mutex);
    caller.join();

    const Lines &log = world().log;
    EXPECT_EQ(Lines(log.begin() + text_lines, log.begin() + text_lines + std::ssize(summary)), summary);
    ASSERT_EQ(log.size(), commit_lines + dump_lines + 2);
    EXPECT_EQ(log[commit_lines - 1], "process_write_buf returned err = 0\n");
    EXPECT_EQ(log[commit_lines], "\nWRITE BUF DUMP:\n");
    EXPECT_EQ(log[commit_lines + dump_lines - 1], "fe_write_buf->FaultName = \n");
    EXPECT_TRUE(log.back().starts_with("Fault node hierarchy created from entity id (32/45/"));
}

struct Identity {
    int32_t number;
    uint8_t type, dir_type, data_1, entity;
    int32_t group, instance, severity, fault_number;
};

const Identity identities[] = {
    {256, 1, 0x01, 0x57, 32, 1, 1, 1, 66},           {300, 12, 0x01, 0x59, 8, 1, 45, 4, 71},
    {0x10001, 18, 0x01, 0x57, 7, 1, 0xFF02, 1, 117}, {INT_MAX, 1, 0x01, 0x59, 32, 1, INT_MAX - 255, 4, 67},
    {300, 1, 0xF0, 0x53, 32, 45, 4, 3, 64}, // the fault number takes the instance from the offset, and it stays
};

TEST_F(ExtendedRecord, RequestIsDescribedByTheRecord) {
    for (const Identity &row : identities) {
        arrange();
        std::fill(std::begin(fe_sdr_instance_array), std::end(fe_sdr_instance_array), 0); // counts for others
        fe_read_buf seen{};
        filter([&seen](fe_read_buf &request, fe_write_buf &) { return seen = request, 1; });
        int32_t asked = 0;
        world().entry_to_str = [&](char *timestamp, uint16_t *length, char *text, uint8_t *flag_1, uint8_t *flag_2,
                                   int32_t number) {
            static const char zeros[256] = {};
            EXPECT_TRUE(std::memcmp(timestamp, zeros, 32) == 0 && *length == 32);
            EXPECT_TRUE(std::memcmp(text, zeros, 256) == 0 && *flag_1 == 0 && *flag_2 == 0);
            std::strcpy(text, "DIMM_A1: hot");
            asked = number;
            return 0;
        };
        EXPECT_EQ(process_super_sel_data(extended(row.number, row.type, row.dir_type, row.data_1).data()), 0);
        EXPECT_EQ(asked, row.number);
        const uint8_t event_type = row.dir_type & 0x7F;
        const auto number = static_cast<uint32_t>(row.number);
        const fe_read_buf expected = {row.entity,       row.type, {},        row.group,  row.instance, row.severity,
                                      row.fault_number, 0,        "DIMM_A1", event_type, {},           number};
        EXPECT_EQ(std::memcmp(&seen, &expected, sizeof seen), 0) << row.number;
    }
}

// Past the end of a text lies the rest of the stack: AddressSanitizer sees who goes there, and the log shows it.
TEST_F(ExtendedRecord, TextsAreCutToTheirFields) {
    for (const size_t event_length : {0U, 1U, 254U, 255U, 256U})
        for (const int timestamp_length : {0, 1, 31, 32, 33, 36, 37, 40, 65535}) {
            arrange();
            world().entry_to_str = [=](char *timestamp, uint16_t *length, char *text, auto...) {
                std::memset(timestamp, '7', 32); // no NUL
                *length = static_cast<uint16_t>(timestamp_length);
                std::memset(text, 'x', event_length);
                return 0;
            };
            EXPECT_EQ(process_super_sel_data(extended().data()), 0);
            EXPECT_EQ(log_lines("\n\nSEL Event: "),
                      Lines{"\n\nSEL Event: " + std::string(std::min<size_t>(event_length, 255), 'x') + "\n"});
            EXPECT_EQ(log_lines("Sensor Name: "), Lines{"Sensor Name: \n"}); // fewer than two words
        }
}

struct BiosPost {
    const char *text;
    int32_t started;
    uint8_t dir_type; // 0x81: cleared
    size_t pauses, searches;
};

const BiosPost bios_posts[] = {
    {"BIOS_POST_CMPLT: done", 0, 0x81, 0, 0},  {"BIOS_POST_CMPLT: done", 1, 0x01, 1, 0},
    {"BIOS_POST_CMPLT: done", 1, 0x81, 1, 2},  {"FRU_X BIOS_POST_CMPLT: x", 1, 0x81, 1, 2},
    {"BIOS_POST_CMPLT2: done", 1, 0x81, 0, 0}, {"BIOS_POST_CMPLT:", 1, 0x81, 0, 0},
};

TEST_F(ExtendedRecord, EndOfBiosPostPausesAndLooksForStaleFaults) {
    for (const BiosPost &row : bios_posts) {
        SCOPED_TRACE(row.text + std::to_string(row.started));
        arrange();
        world().event_text = row.text;
        world().on_sleep = [&](int32_t) { EXPECT_TRUE(is_free(buffer.block.fe_write_buf_mutex)); };
        sel_init_complete = row.started;
        EXPECT_EQ(process_super_sel_data(extended(300, 1, row.dir_type).data()), 0);
        EXPECT_EQ(world().sleeps, std::vector<int32_t>(row.pauses, 30));
        EXPECT_EQ(log_lines("Inside cleanup_deasserted").size(), row.searches);
    }
}

TEST_F(ExtendedRecord, DuplicatesAreSweptOnceByEachRoad) {
    if (testing::UnitTest::GetInstance()->test_to_run_count() > 1)
        GTEST_SKIP() << "happens once in the life of a process, and another test may have had it";
    Lines sweeps;
    const OnSweep on_sweep([&sweeps] { sweeps.push_back("after " + world().log.back()); });
    dispatch_says(1);
    const auto process = [](int32_t started, uint8_t offset) {
        sel_init_complete = started;
        process_super_sel_data(extended(300, 1, 0x01, offset).data());
        process_super_sel_data(extended(road_sensor, 1, 0x01, offset).data());
    };
    process(0, 0x57);
    process(1, 0x51); // refused
    process(1, 0x57);
    process(1, 0x57);
    EXPECT_EQ(sweeps, (Lines{"after process_write_buf returned err = 1\n", "after Exited process_write_buf err= 1\n"}));
}

} // namespace
