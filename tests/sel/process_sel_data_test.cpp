// From one SEL record to a committed fault.
#include "sel_road.h"

#include <cerrno>
#include <sstream>

namespace {

const Lines library_calls = {"IPMI_SELHVDBSELAttach", "IPMI_SELGetHVDBSELData", "IPMI_SELHVDBSELDetach",
                             "IPMI_SensorGetSensorData"};

// What the event of event() logs until it reaches the write buffer.
const Lines conversion_log = {"decode_sel_entry: a1 b2 2 11 22 33 f4 65 76 4 1 30 1 57 9c dd \n",
                              "\nEntered convert_sel_to_fe_read_buf\n",
                              "entity_id = 3 eventType = 1, eventDir = 0, offset1 = 7 sens_num=48 sens_type= 1\n",
                              "Out of fe_get_severity switch case severity = 4 fault_code = 117 err: 0\n"};

struct Rejection {
    const char *what;
    std::function<void(Record &, sensor_data_record &)> spoil;
    int32_t result;
    ptrdiff_t calls, lines; // how many of library_calls and of conversion_log are to be seen
};

const Rejection rejections[] = {
    {"OEM record", [](auto &record, auto &) { record[2] = 0xC0; }, -108, 0, 0},
    {"event logging disabled", [](auto &record, auto &) { record[10] = 0x10; }, 0, 0, 0},
    {"no attach", [](auto &, auto &) { world().attach_result = 9; }, -102, 1, 0},
    {"no text", [](auto &, auto &) { world().text_result = -9; }, -102, 2, 1},
    {"detach 7", [](auto &, auto &) { world().detach_result = 7; }, 7, 3, 1},
    {"detach -9", [](auto &, auto &) { world().detach_result = -9; }, -9, 3, 1},
    {"no sensor", [](auto &, auto &) { world().sensors.clear(); }, -105, 4, 1},
    {"other sensor type", [](auto &, auto &sensor) { sensor.sensor_type = 2; }, -108, 4, 1},
    {"sensor type past a byte", [](auto &, auto &sensor) { sensor.sensor_type = 0x101; }, -108, 4, 1},
    {"no write buffer", [](auto &, auto &) { fe_write_buf_struct_ptr = nullptr; }, -1, 4, 4},
    {"no record in it", [](auto &, auto &) { fe_write_buf_struct_ptr->fe_write_buf = nullptr; }, -1, 4, 4},
};

TEST_F(SelRoad, RejectionLeavesNothingBehind) {
    EXPECT_EQ(process_sel_data(nullptr), -103);
    EXPECT_TRUE(world().log.empty() && world().calls.empty());
    for (const Rejection &row : rejections) {
        SCOPED_TRACE(row.what);
        arrange();
        sel_init_complete = 1;
        Record record = event();
        row.spoil(record, world().sensors[road_sensor]);
        EXPECT_EQ(process_sel_data(record.data()), row.result);
        fe_write_buf_struct_ptr = &buffer.block;
        buffer.block.fe_write_buf = &buffer.record;

        EXPECT_EQ(world().calls, Lines(library_calls.begin(), library_calls.begin() + row.calls));
        EXPECT_EQ(world().log, Lines(conversion_log.begin(), conversion_log.begin() + row.lines));
        EXPECT_EQ(fe_fault_count, 0U);
        EXPECT_EQ(sandbox.bytes("fe_table.sz"), "<missing>");
        expect_idle();
    }
}

TEST_F(SelRoad, RefusedEventIsDroppedWithALine) {
    const std::string entered = conversion_log[1], refused = "\nconvert_sel_to_fe_read_buf returned err: -1\n";
    EXPECT_EQ(process_sel_data(event(0x01, 0x01, 0x51).data()), -1);
    EXPECT_EQ(world().log,
              (Lines{"decode_sel_entry: a1 b2 2 11 22 33 f4 65 76 4 1 30 1 51 9c dd \n", entered,
                     "entity_id = 3 eventType = 1, eventDir = 0, offset1 = 1 sens_num=48 sens_type= 1\n",
                     "Out of fe_get_severity switch case severity = 0 fault_code = 0 err: -1\n", refused}));
    arrange();
    world().sensors[road_sensor].entity_id = 7;
    EXPECT_EQ(process_sel_data(event(0x01, 0x7F).data()), -1);
    EXPECT_EQ(world().log,
              (Lines{"decode_sel_entry: a1 b2 2 11 22 33 f4 65 76 4 1 30 7f 57 9c dd \n", entered, refused}));
    EXPECT_EQ(world().calls, library_calls);
}

TEST_F(SelRoad, TextIsAskedForWithEveryFieldOfTheRecord) {
    Record record = event(0x01, 0x81);
    record[2] = 0xBF; // the last type that is not an OEM's
    EXPECT_EQ(process_sel_data(record.data()), 0);
    ASSERT_EQ(world().fields.size(), 1U);
    std::array<uint32_t, 12> words;
    std::memcpy(words.data(), world().fields.data(), sizeof words);
    EXPECT_EQ(words, (std::array<uint32_t, 12>{0xB2A1, 0xBF, 0xF4332211, 0x7665, 4, 1, 0x30, 1, 1, 0x57, 0x9C, 0xDD}));
    EXPECT_EQ(log_lines("Exited process_write_buf").size(), 1U);
}

// Gives each field of the dump a value of its own.
int32_t fill_all(const fe_read_buf &request, fe_write_buf &record) {
    std::memcpy(&record, &request, sizeof request);
    const std::pair<char *, const char *> texts[] = {
        {record.entity_DN, "entity dn"}, {record.fault_DN, "fault dn"},       {record.entity_RN, "entity rn"},
        {record.fault_RN, "fault rn"},   {record.FaultDescription, "hot"},    {record.TimeOfEvent, "noon"},
        {record.FaultName, "thermal"},   {record.PreviousTimeOfEvent, "dawn"}};
    for (const auto &[field, text] : texts)
        std::strcpy(field, text);
    record.vemoFaultIndex = 4000000000;
    record.VemoManagedObjectIdLength = 255;
    record.Fault_time = -12;
    record.Previous_Fault_time = 6;
    record.PreviousSeverity = 200;
    record.vemoFaultOccur = 222;
    record.ProbableCause = 215;
    record.vemoFaultCode = 176;
    record.prev_vemoFaultCode = 174;
    return 0;
}

Lines success_log() {
    Lines log = conversion_log;
    const auto add = [&log](const Lines &lines) { log.insert(log.end(), lines.begin(), lines.end()); };
    add({"\n\nSEL Event: " + world().event_text + "\n", "Sensor Name: P1_THERM\n", "Sensor Number: 48\n",
         "Entity Id: 3\n", "Entity Instance: 1\n", "Entity Group Instance: 1\n", "Fault Number: 117\n",
         "Fault Severity: 4\n\n", "Exited process_write_buf err= 0\n", "\nWRITE BUF DUMP:\n"});
    std::istringstream fields(
        "sensor_name = P1_THERM;entity_id = 3;entity_type = 1;entity_group_instance = 1;entity_instance = 1;"
        "vemoFaultSeverity = 4;PreviousSeverity = 200;fe_fault_num = 117;vemoFaultTags = 0;"
        "vemoFaultIndex = 4000000000;entity_DN = entity dn;fault_DN = fault dn;TimeOfEvent = noon;"
        "Fault_time = -12;PreviousTimeOfEvent = dawn;Previous_Fault_time = 6;vemoFaultOccur = 222;"
        "entity_RN = entity rn;fault_RN = fault rn;VemoManagedObjectIdLength = 255;FaultDescription = hot;"
        "ProbableCause = 215;vemoFaultCode = 176;prev_vemoFaultCode = 174;related_FaultCode.related_fc[1] = 177;"
        "related_FaultCode.related_fc[2] = 175;related_FaultCode.related_fc[3] = 0;"
        "related_FaultCode.related_fc[4] = 0;related_FaultCode.related_fc[5] = 0;"
        "related_FaultCode.related_fc[6] = 0;FaultName = thermal");
    for (std::string field; std::getline(fields, field, ';');)
        add({"fe_write_buf->" + field + "\n"});
    const std::string keys = " (3/1/curr:176-prev:174) - sev: 4\n";
    add({"List NULL, NO entity id found" + keys, "Fault node hierarchy created from entity id" + keys,
         "Exited update_fe_database err= 0\n"});
    return log;
}

TEST_F(SelRoad, TakesEveryStepInOrder) {
    const auto expect_only_record_locked = [this] {
        EXPECT_EQ(pthread_mutex_trylock(&buffer.block.fe_write_buf_mutex), EBUSY);
        EXPECT_TRUE(is_free(fe_table_mutex));
    };
    for (const int32_t started : {0, 1}) {
        SCOPED_TRACE(started);
        arrange();
        sel_init_complete = started;
        filter([&](fe_read_buf &request, fe_write_buf &record) {
            expect_only_record_locked();
            return fill_all(request, record);
        });
        world().on_broadcast = [&](fe_write_buf_struct *wbuf) {
            expect_only_record_locked();
            EXPECT_EQ(wbuf, &buffer.block);
        };
        EXPECT_EQ(process_sel_data(event().data()), 0);

        Lines calls = library_calls;
        calls.push_back("process_cpu_fault");
        if (started != 0)
            calls.push_back("broadcast_fe_faults");
        EXPECT_EQ(world().calls, calls);
        EXPECT_EQ(world().log, success_log());
        EXPECT_EQ(fe_fault_count, 1U);
        EXPECT_EQ(sandbox.bytes("fe_table.sz"), started != 0 ? std::string("\1\0\0\0", 4) : "<missing>");
        expect_idle();
    }
    ASSERT_EQ(world().broadcasts.size(), 1U);
    const fe_write_buf &sent = world().broadcasts[0];
    EXPECT_STREQ(sent.severity_word, "minor");
    EXPECT_EQ(sent.related_FaultCode.related_fc[0], 176);
    EXPECT_EQ(sent.vemoFaultOccur, 1); // as the table counts, not as the filter wrote
}

struct Commit {
    const char *what;
    uint32_t entity_id;
    uint8_t dir_type;
    int records;
    int32_t dispatch_result, step_result;
    bool stored, broadcast;
    int32_t syslog_filter;
};

const Commit commits[] = {
    {"created", 3, 0x01, 1, 0, 0, true, true, 0},
    {"repeated", 3, 0x01, 2, 0, 0, true, true, 0},
    {"created, storage", 210, 0x01, 1, 0, 0, true, true, 0},
    {"repeated, storage", 210, 0x01, 2, 0, 2, true, true, 1},
    {"nothing to clear", 3, 0x81, 1, 0, -1, false, false, 0},
    {"dispatch 2", 3, 0x01, 1, 2, 2, false, true, 1},
    {"dispatch 1", 3, 0x01, 1, 1, 1, false, false, 0},
    {"dispatch -1", 3, 0x01, 1, -1, -1, false, false, 0},
};

TEST_F(SelRoad, ResultDecidesDumpTableAndBroadcast) {
    for (const Commit &row : commits)
        for (const int32_t started : {0, 1}) {
            SCOPED_TRACE(row.what + std::to_string(started));
            arrange();
            sel_init_complete = started;
            world().sensors[road_sensor].entity_id = row.entity_id;
            filter([&](fe_read_buf &request, fe_write_buf &record) {
                std::memcpy(&record, &request, sizeof request);
                return row.dispatch_result;
            });
            for (int i = 0; i < row.records; ++i) {
                world().log.clear();
                world().syslog_filters.clear();
                EXPECT_EQ(process_sel_data(event(0x01, row.dir_type).data()), 0);
                expect_idle();
            }

            const auto err = [](int32_t result) { return " err= " + std::to_string(result) + "\n"; };
            EXPECT_EQ(log_lines("Exited "), (Lines{"Exited process_write_buf" + err(row.dispatch_result),
                                                   "Exited update_fe_database" + err(row.step_result)}));
            EXPECT_EQ(log_lines("\nWRITE BUF DUMP").empty(), row.dispatch_result != 0);
            EXPECT_EQ(fe_fault_count, row.stored ? 1U : 0U);
            const bool sent = row.broadcast && started != 0;
            EXPECT_EQ(world().syslog_filters, std::vector<int32_t>(sent ? 1 : 0, row.syslog_filter));
            EXPECT_EQ(syslog_filter, sent ? row.syslog_filter : 0);
        }
}

TEST_F(SelRoad, SeverityWordIsThatOfTheRequestAfterTheDispatch) {
    const char *const words[] = {"cleared", "info", nullptr, "warning", "minor", "major", "critical", nullptr};
    sel_init_complete = 1;
    for (int32_t severity = 0; severity < 8; ++severity) {
        char expected[FE_SEVERITY_WORD_SIZE] = "what the filter wrote";
        filter([&](fe_read_buf &request, fe_write_buf &record) {
            request.vemoFaultSeverity = severity;
            std::memcpy(record.severity_word, expected, sizeof expected);
            return 2; // broadcast as it is
        });
        EXPECT_EQ(process_sel_data(event().data()), 0);
        if (const char *const word = words[severity])
            std::memcpy(expected, word, std::strlen(word) + 1);
        EXPECT_EQ(std::memcmp(world().broadcasts.back().severity_word, expected, sizeof expected), 0) << severity;
    }
}

struct Filling {
    const char *what;
    uint32_t entity_id, sensor_instance;
    int32_t floor;
    Record record;
    int32_t instance, group, fault_number, severity; // of the request, as dispatched
};

const Record threshold = event();
const Record oem_split = event(0x0D, 0x7F, 0x59);  // splits the instance of a memory module
const Record oem_offset = event(0x01, 0xF0, 0x53); // takes the instance from the offset

const Filling fillings[] = {
    {"counted from 1", 3, 5, 1, threshold, 5, 1, 117, 4},
    {"counted from 0", 3, 5, 0, threshold, 6, 1, 117, 4},
    {"floor above 1", 3, 5, 2, threshold, 6, 1, 117, 4},
    {"last instance", 3, UINT32_MAX, 0, threshold, 0, 1, 117, 4},
    {"entity word past a byte", 0x103, 5, 0, threshold, 5, 1, 117, 4},
    {"entity word below 0", 0xFFFFFF03, 5, 0, threshold, 5, 1, 117, 4},
    {"8 keeps the split instance", 8, 40, 1, oem_split, 8, 5, 74, 3},
    {"8 splits the raised instance", 8, 42, 0, oem_split, 3, 5, 74, 3},
    {"8 keeps the offset's instance", 8, 5, 1, oem_offset, 4, 5, 64, 3},
    {"25 keeps the offset's instance", 25, 5, 0, oem_offset, 4, 6, 64, 3},
    {"32 gets its own back", 32, 5, 1, oem_offset, 5, 5, 64, 3},
    {"32 gets its own back, raised", 32, 5, 0, oem_offset, 6, 6, 64, 3},
    {"49 gets its own back", 49, 9, 1, oem_offset, 9, 1, 63, 3},
};

TEST_F(SelRoad, RequestIsFilledFromSensorAndEvent) {
    for (const Filling &row : fillings) {
        SCOPED_TRACE(row.what);
        arrange();
        const uint8_t type = row.record[10], entity = static_cast<uint8_t>(row.entity_id);
        // The number in the sensor's own record counts, not the one that it was asked for by.
        world().sensors[road_sensor] = sensor(0x12345678, row.entity_id, row.sensor_instance, type, 0x01);
        fe_sdr_instance_array[entity] = row.floor;
        fe_read_buf seen{};
        filter([&seen](fe_read_buf &request, fe_write_buf &) {
            seen = request;
            return 1;
        });
        EXPECT_EQ(process_sel_data(row.record.data()), 0);

        const uint8_t event_type = row.record[12] & 0x7F;
        const fe_read_buf expected = {entity,           type, {},         row.group,  row.instance, row.severity,
                                      row.fault_number, 0,    "P1_THERM", event_type, {},           0x12345678};
        EXPECT_EQ(std::memcmp(&seen, &expected, sizeof seen), 0);
        const auto unsigned_text = [](int32_t word) { return std::to_string(static_cast<uint32_t>(word)) + "\n"; };
        EXPECT_EQ(log_lines("Entity Instance"), Lines{"Entity Instance: " + unsigned_text(seen.entity_instance)});
        EXPECT_EQ(log_lines("Entity Group"), Lines{"Entity Group Instance: " + unsigned_text(row.group)});
    }
}

struct BiosPost {
    const char *text;
    int32_t started;
    uint8_t offset; // 0: severity 6, 1: cleared
    bool pauses;
};

const BiosPost bios_posts[] = {
    {"BIOS_POST_CMPLT: done", 0, 1, false},    {"BIOS_POST_CMPLT: done", 1, 0, true},
    {"BIOS_POST_CMPLT: done", 1, 1, true},     {"BIOS_POST_CMPLT done", 1, 1, false},
    {"BIOS_POST_CMPLT2: done", 1, 1, false},   {"bios_post_cmplt: done", 1, 1, false},
    {"FRU_X BIOS_POST_CMPLT: x", 1, 1, false}, {"PSU1 BIOS_POST_CMPLT: x", 1, 1, false},
};

TEST_F(SelRoad, EndOfBiosPostPausesAndLooksForStaleFaults) {
    for (const BiosPost &row : bios_posts) {
        SCOPED_TRACE(row.text);
        arrange();
        world().event_text = row.text;
        world().sensors[road_sensor] = sensor(road_sensor, 34, 1, 0x01, 0x08);
        world().sensors[0x31] = sensor(0x31, 7, 1, 0x01, 0x01);
        world().readings[0x31] = 1; // not stale
        store(176, 0, 0x31);
        world().on_sleep = [&](int32_t) { world().readings[0x31] = 0xC0; }; // stale
        sel_init_complete = row.started;
        fe_write_buf_struct_ptr = nullptr; // all of it comes before the write buffer is looked for
        EXPECT_EQ(process_sel_data(event(0x01, 0x08, row.offset).data()), -1);
        EXPECT_EQ(world().sleeps, std::vector<int32_t>(row.pauses ? 1 : 0, 30));
        const bool looks = row.pauses && row.offset == 1;
        EXPECT_EQ(log_lines("Inside cleanup_deasserted_events...\n").size(), looks ? 2U : 0U);
        EXPECT_EQ(log_lines("Clearing stale fault").size(), looks ? 1U : 0U);
    }
}

TEST_F(SelRoad, DuplicatesAreSweptByTheFirstRecordAfterStartUpAlone) {
    if (testing::UnitTest::GetInstance()->test_to_run_count() > 1)
        GTEST_SKIP() << "happens once in the life of a process, and another test may have had it";
    filter([](auto &, auto &) { return 2; });
    const auto faults_after = [](int32_t started, uint8_t offset, int32_t result) {
        sel_init_complete = started;
        world().log.clear();
        EXPECT_EQ(process_sel_data(event(0x01, 0x01, offset).data()), result);
        return fe_fault_count;
    };
    store(1);
    store(2);
    store(2, 1);
    EXPECT_EQ(faults_after(0, 7, 0), 2U);  // start-up is not over
    EXPECT_EQ(faults_after(1, 1, -1), 2U); // a rejected record does not count
    world().on_broadcast = [](fe_write_buf_struct *) { EXPECT_EQ(fe_fault_count, 1U); };
    EXPECT_EQ(faults_after(1, 7, 0), 1U);
    const Lines &log = world().log;
    const auto sweep = std::find(log.begin(), log.end(), "Inside cleanup_duplicate_events...\n");
    ASSERT_NE(sweep, log.end());
    EXPECT_EQ(*(sweep - 1), "Exited process_write_buf err= 2\n");
    EXPECT_EQ(log.back(), "Exited update_fe_database err= 2\n");
    EXPECT_EQ(world().broadcasts.size(), 1U);

    store(1);
    store(1, 2); // finds the fault of code 2 first, and makes it another of code 1
    world().on_broadcast = nullptr;
    EXPECT_EQ(faults_after(1, 7, 0), 2U);
    EXPECT_EQ(log_lines("Inside cleanup"), Lines{});
}

} // namespace
