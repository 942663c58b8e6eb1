// From one SEL record to a committed fault.
#include "sel_road.h"

#include <bit>

namespace {

int32_t process(const Record &record) {
    return process_sel_data(record.data());
}

TEST_F(SelRoad, TakesEveryStepInOrder) {
    const auto only_record_is_locked = [this] {
        return pthread_mutex_trylock(&buffer.block.fe_write_buf_mutex) != 0 && is_free(fe_table_mutex);
    };
    sel_init_complete = 1;
    world().sensors[road_sensor] = sensor(0x82345678, 3, 5, 0x01, 0x01); // its own number counts
    filter([&](fe_read_buf &request, fe_write_buf &record) {
        EXPECT_TRUE(only_record_is_locked());
        const fe_read_buf expected = {3, 1, {}, 1, 5, 4, 117, 0, "P1_THERM", 0x01, {}, 0x82345678};
        EXPECT_EQ(std::memcmp(&request, &expected, sizeof request), 0);
        std::memcpy(&record, &request, offsetof(fe_read_buf, eventType));
        char text[] = "a"; // and so on: each field of the dump has a value of its own
        for (char *field : {record.entity_DN, record.fault_DN, record.entity_RN, record.fault_RN,
                            record.FaultDescription, record.TimeOfEvent, record.PreviousTimeOfEvent, record.FaultName})
            std::strcpy(field, text), ++text[0];
        int32_t number = -12;
        for (int32_t *field :
             {&record.Fault_time, &record.Previous_Fault_time, &record.ProbableCause, &record.prev_vemoFaultCode})
            *field = number++;
        uint8_t byte = 255;
        for (uint8_t *field : {&record.VemoManagedObjectIdLength, &record.PreviousSeverity, &record.vemoFaultOccur})
            *field = byte--;
        record.vemoFaultIndex = 4000000000;
        record.vemoFaultCode = 920;
        record.opaque_924[35] = 1; // goes as well
        return 0;
    });
    world().on_broadcast = [&](auto *wbuf) { EXPECT_TRUE(only_record_is_locked() && wbuf == &buffer.block); };
    EXPECT_EQ(process(event()), 0);
    EXPECT_EQ(world().calls, (Lines{"IPMI_SELHVDBSELAttach", "IPMI_SELGetHVDBSELData", "IPMI_SELHVDBSELDetach",
                                    "IPMI_SensorGetSensorData", "process_cpu_fault", "broadcast_fe_faults"}));
    std::string text = log_text();
    for (size_t at = 0; (at = text.find("fe_write_buf->")) != std::string::npos;)
        text.replace(at, std::strlen("fe_write_buf->"), ">");
    EXPECT_EQ(
        text,
        "decode_sel_entry: a1 b2 2 11 22 33 f4 65 76 4 1 30 1 57 9c dd \n"
        "\nEntered convert_sel_to_fe_read_buf\n"
        "entity_id = 3 eventType = 1, eventDir = 0, offset1 = 7 sens_num=-2110499208 sens_type= 1\n"
        "Out of fe_get_severity switch case severity = 4 fault_code = 117 err: 0\n"
        "\n\nSEL Event: P1_THERM: Upper Non-critical - going high\nSensor Name: P1_THERM\nSensor Number: 2184468088\n"
        "Entity Id: 3\nEntity Instance: 5\nEntity Group Instance: 1\nFault Number: 117\nFault Severity: 4\n\n"
        "Exited process_write_buf err= 0\n"
        "\nWRITE BUF DUMP:\n>sensor_name = P1_THERM\n>entity_id = 3\n>entity_type = 1\n>entity_group_instance = 1\n"
        ">entity_instance = 5\n>vemoFaultSeverity = 4\n>PreviousSeverity = 254\n>fe_fault_num = 117\n"
        ">vemoFaultTags = 0\n>vemoFaultIndex = 4000000000\n>entity_DN = a\n>fault_DN = b\n>TimeOfEvent = f\n"
        ">Fault_time = -12\n>PreviousTimeOfEvent = g\n>Previous_Fault_time = -11\n>vemoFaultOccur = 253\n"
        ">entity_RN = c\n>fault_RN = d\n>VemoManagedObjectIdLength = 255\n>FaultDescription = e\n"
        ">ProbableCause = -10\n>vemoFaultCode = 920\n>prev_vemoFaultCode = -9\n"
        ">related_FaultCode.related_fc[1] = 918\n>related_FaultCode.related_fc[2] = 919\n"
        ">related_FaultCode.related_fc[3] = 921\n>related_FaultCode.related_fc[4] = 0\n"
        ">related_FaultCode.related_fc[5] = 0\n>related_FaultCode.related_fc[6] = 0\n>FaultName = h\n"
        "List NULL, NO entity id found (3/5/curr:920-prev:4294967287) - sev: 4\n"
        "Fault node hierarchy created from entity id (3/5/curr:920-prev:4294967287) - sev: 4\n"
        "Exited update_fe_database err= 0\n");
    EXPECT_EQ(world().broadcasts[0].vemoFaultOccur, 1); // as the table counts
    EXPECT_EQ(sandbox.bytes("fe_table.sz"), std::string("\1\0\0\0", 4));
}

const auto dispatch_says = [](int32_t result) { filter([=](auto &, auto &) { return result; }); };

const struct {
    const char *what;
    std::function<void(Record &, sensor_data_record &)> arrange;
    int32_t result;
    size_t calls, lines, faults = 0; // of the lines 1 tells of the record, 4 with the request, 14 with the dispatch
    std::vector<int32_t> syslog_filters = {}; // at each broadcast
} endings[] = {
    {"OEM record", [](auto &record, auto &) { record[2] = 0xC0; }, -108, 0, 0},
    {"event logging disabled", [](auto &record, auto &) { record[10] = 0x10; }, 0, 0, 0},
    {"no attach", [](auto &, auto &) { world().attach_result = 9; }, -102, 1, 0},
    {"no text", [](auto &, auto &) { world().text_result = -9; }, -102, 2, 1},
    {"detach 7", [](auto &, auto &) { world().detach_result = 7; }, 7, 3, 1},
    {"detach -9", [](auto &, auto &) { world().detach_result = -9; }, -9, 3, 1},
    {"no sensor", [](auto &, auto &) { world().sensors.clear(); }, -105, 4, 1},
    {"other sensor type", [](auto &, auto &sensor) { sensor.sensor_type = 2; }, -108, 4, 1},
    {"sensor type past a byte", [](auto &, auto &sensor) { sensor.sensor_type = 0x101; }, -108, 4, 1},
    {"refused in silence", [](auto &record, auto &sensor) { record[12] = 0x7F, sensor.entity_id = 7; }, -1, 4, 3},
    {"no write buffer", [](auto &, auto &) { fe_write_buf_struct_ptr = nullptr; }, -1, 4, 4},
    {"no record in it", [](auto &, auto &) { fe_write_buf_struct_ptr->fe_write_buf = nullptr; }, -1, 4, 4},
    {"dispatch 2", [](auto &, auto &) { dispatch_says(2); }, 0, 6, 14, 0, {1}},
    {"dispatch 2 at start-up", [](auto &, auto &) { dispatch_says(2), sel_init_complete = 0; }, 0, 5, 14},
    {"dispatch 1", [](auto &, auto &) { dispatch_says(1); }, 0, 5, 14},
    {"dispatch -1", [](auto &, auto &) { dispatch_says(-1); }, 0, 5, 14},
    {"nothing to clear", [](auto &record, auto &) { record[12] = 0x81; }, 0, 5, 47},
    {"created at start-up", [](auto &, auto &) { sel_init_complete = 0; }, 0, 5, 48, 1},
    {"created", [](auto &, auto &) {}, 0, 6, 48, 1, {0}},
    {"repeated", [](auto &record, auto &) { process(record); }, 0, 12, 98, 1, {0, 0}},
    {"storage", [](auto &record, auto &sensor) { sensor.entity_id = 210, process(record); }, 0, 12, 98, 1, {0, 1}},
};

TEST_F(SelRoad, EndsAsItMustAndLeavesNothingBehind) {
    EXPECT_EQ(process_sel_data(nullptr), -103);
    EXPECT_TRUE(world().log.empty() && world().calls.empty());
    for (const auto &row : endings) {
        SCOPED_TRACE(row.what);
        arrange();
        sel_init_complete = 1;
        Record record = event();
        row.arrange(record, world().sensors[road_sensor]);
        EXPECT_EQ(process(record), row.result);
        fe_write_buf_struct_ptr = &buffer.block;
        buffer.block.fe_write_buf = &buffer.record;

        EXPECT_EQ(world().calls.size(), row.calls);
        EXPECT_EQ(world().log.size(), row.lines);
        EXPECT_EQ(fe_fault_count, row.faults);
        EXPECT_EQ(world().syslog_filters, row.syslog_filters);
        expect_idle();
    }
}

TEST_F(SelRoad, RefusedEventIsDroppedWithALine) {
    world().sensors[road_sensor] = sensor(0xFFFFFFFE, 0x110, 1, 0xC0, 0x6F);
    Record record = event(0xC0, 0xEF, 0x5F);
    record[2] = 0xBF; // the last type that is not an OEM's
    EXPECT_EQ(process(record), -1);
    EXPECT_EQ(log_text(), "decode_sel_entry: a1 b2 bf 11 22 33 f4 65 76 4 c0 30 ef 5f 9c dd \n"
                          "\nEntered convert_sel_to_fe_read_buf\n"
                          "entity_id = 110 eventType = 6f, eventDir = 1, offset1 = f sens_num=-2 sens_type= c0\n"
                          "Out of fe_get_severity switch case severity = 0 fault_code = 0 err: -1\n"
                          "\nconvert_sel_to_fe_read_buf returned err: -1\n");
    using Words = std::array<uint32_t, 12>; // with which the text was asked for
    EXPECT_EQ(std::bit_cast<Words>(world().fields.at(0)),
              (Words{0xB2A1, 0xBF, 0xF4332211, 0x7665, 4, 0xC0, 0x30, 1, 0x6F, 0x5F, 0x9C, 0xDD}));
}

// The request as the entity filter gets it; the dispatch fails.
fe_read_buf dispatched(const Record &record) {
    fe_read_buf seen{};
    filter([&](auto &request, auto &) { return seen = request, 1; });
    EXPECT_EQ(process(record), 0);
    return seen;
}

TEST_F(SelRoad, InstanceCountsFromOneAndIsTheSensorsButForMemory) {
    const Record threshold = event();
    const Record oem_split = event(0x0D, 0x7F, 0x59);  // splits the instance of a memory module
    const Record oem_offset = event(0x01, 0xF0, 0x53); // takes the instance from the offset
    // Entity id and instance of the sensor, floor of the entity; instance and group of the request, as dispatched.
    const std::tuple<uint32_t, uint32_t, int32_t, Record, int32_t, int32_t> rows[] = {
        // clang-format off
        {3, 5, 1, threshold, 5, 1}, {3, 5, 0, threshold, 6, 1}, {3, 5, 2, threshold, 6, 1},
        {3, UINT32_MAX, 0, threshold, 0, 1}, {0x103, 5, 0, threshold, 5, 1}, // 0x103 and 0xFFFFFF03 have no floor
        {0xFFFFFF03, 0x80000000, 0, threshold, INT32_MIN, 1},
        {8, 42, 0, oem_split, 3, 5}, {8, 5, 1, oem_offset, 4, 5}, {25, 5, 0, oem_offset, 4, 6},
        {0x108, 5, 1, oem_offset, 5, 5}, {32, 5, 0, oem_offset, 6, 6}, // get their own back
        // clang-format on
    };
    for (const auto &[entity_id, sensor_instance, floor, record, instance, group] : rows) {
        arrange();
        world().sensors[road_sensor] = sensor(road_sensor, entity_id, sensor_instance, record[10], 0x01);
        fe_sdr_instance_array[entity_id & 0xFF] = floor;
        const fe_read_buf seen = dispatched(record);
        EXPECT_EQ(std::pair(seen.entity_instance, seen.entity_group_instance), std::pair(instance, group)) << entity_id;
        const std::string text = std::to_string(static_cast<uint32_t>(instance));
        EXPECT_EQ(log_lines("Entity Instance: "), Lines{"Entity Instance: " + text + "\n"});
    }
}

TEST_F(SelRoad, SeverityWordIsThatOfTheRequestAfterTheDispatch) {
    sel_init_complete = 1;
    std::string words;
    for (const int32_t severity : {0, 1, 2, 3, 4, 5, 6, 7}) {
        filter([&](fe_read_buf &request, fe_write_buf &record) {
            request.vemoFaultSeverity = severity;
            std::memset(record.severity_word, '-', sizeof record.severity_word);
            return 2; // broadcast as it is
        });
        EXPECT_EQ(process(event()), 0);
        words += std::string(world().broadcasts.back().severity_word, 10) + " ";
    }
    std::replace(words.begin(), words.end(), '\0', '.');
    EXPECT_EQ(words, "cleared.-- info.----- ---------- warning.-- minor.---- major.---- critical.- ---------- ");
}

std::string run(size_t length, char c) {
    return std::string(length, c);
}

// The chosen one of the first two words loses its last character, a colon mostly.
const struct {
    std::string text, name;
    bool pauses = false; // as at the end of the BIOS power-on self test
} names[] = {
    // clang-format off
    {"FAN3: Lower Critical", "FAN3"}, {"FRU_X ABC: x", "ABC"}, {"FRU ABC: x", "FR"}, {"XFRU_X ABC: x", "XFRU_"},
    {"fru_x ABC: x", "fru_"}, {"PSU1 STAT: x", "STAT"}, {"MAIN_PSU2: VOLT: x", "VOLT"}, {"XPSU ABC:", "ABC"},
    {"psu1: ABC: x", "psu1"}, {"LED_PSU1: ABC: x", "LED_PSU1"}, {"LED_PSU ABC: x", "LED_PS"}, {"LED_X PSU1: x", "LED_"},
    {"XLED_PSU ABC: x", "ABC"}, {"LED_XPSU ABC: x", "ABC"}, {"FRU_X LED_PSU: x", "LED_PSU"},
    // white space
    {" \t FAN3:\nx", "FAN3"}, {"FRU_X\n\tABC:\rx", "ABC"}, {"FAN3:\vx", "FAN3"}, {"FAN3:\fx", "FAN3"},
    // short words, and too few of them
    {"A B", ""}, {"FRU_X Y", ""}, {"AB C", "A"}, {"FRU_X YZ", "Y"}, {"", ""}, {" \t ", ""}, {"F", ""}, {"FRU_X \t", ""},
    // the first word, trimmed if it was chosen, also tells the end of the self test
    {"BIOS_POST_CMPLT: x", "BIOS_POST_CMPLT", true}, {"BIOS_POST_CMPLT x", "BIOS_POST_CMPL"},
    {"BIOS_POST_CMPLT2: x", "BIOS_POST_CMPLT2"}, {"bios_post_cmplt: x", "bios_post_cmplt"},
    {"FRU_X BIOS_POST_CMPLT: x", "BIOS_POST_CMPLT"}, {"PSU1 BIOS_POST_CMPLT: x", "BIOS_POST_CMPLT"},
    {"BIOS_POST_CMPLT:", "", true}, {"BIOS_POST_CMPLT", ""},
    // a name has 19 characters, a word 39, which do not reach into the next; a text may have no NUL
    {"abcdefghijklmnopqr: x", "abcdefghijklmnopqr"}, {"abcdefghijklmnopqrs: x", "abcdefghijklmnopqrs"},
    {"abcdefghijklmnopqrst: x", "abcdefghijklmnopqrs"}, {run(19, 'n') + run(60, 'x') + ": x", run(19, 'n')},
    {run(300, 'F'), ""}, {run(256, 'F'), ""}, {run(256, ' '), ""}, {run(250, ' ') + "AB C D", "A"},
    {"FRU_X " + run(250, 'y'), run(19, 'y')}, {run(200, 'F') + " " + run(55, 'z'), run(19, 'F')},
    {"FRU_" + run(200, 'x') + " YZ: " + run(47, 'w'), "YZ"}, {run(36, 'x') + "PSU YZ: w", "YZ"},
    {run(36, 'x') + "PSUPSU YZ: w", "YZ"}, {run(37, 'x') + "PSU YZ: w", run(19, 'x')},
    // clang-format on
};

TEST_F(SelRoad, TextGivesTheNameAndTheEndOfTheSelfTest) {
    for (const auto &[text, name, pauses] : names)
        for (const auto &[started, dir_type, searches] : {std::tuple(0, 0x81, 0U), {1, 0x01, 0U}, {1, 0x81, 2U}}) {
            SCOPED_TRACE(text);
            arrange();
            world().event_text = text;
            world().on_sleep = [](int32_t) { EXPECT_EQ(world().log.size(), 4U); }; // neither search nor commit
            sel_init_complete = started;
            const fe_read_buf request = dispatched(event(0x01, static_cast<uint8_t>(dir_type)));
            EXPECT_EQ(std::string(request.sensor_name, FE_SENSOR_NAME_SIZE),
                      name + run(FE_SENSOR_NAME_SIZE - name.size(), '\0'));
            EXPECT_EQ(log_lines("\n\nSEL Event"), Lines{"\n\nSEL Event: " + text.substr(0, 255) + "\n"});
            EXPECT_EQ(world().sleeps, std::vector<int32_t>(pauses && started != 0 ? 1 : 0, 30));
            EXPECT_EQ(log_lines("Inside cleanup_deasserted_events...\n").size(), pauses ? searches : 0);
        }
}

} // namespace
