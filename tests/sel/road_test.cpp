// From a record to a committed fault on either road. road.txt tells what happens line by line, each time behind a line
// with the road and, as "name=value", how the event and what it meets differ from the usual.
#include "sel_road.h"

#include <map>
#include <set>
#include <sstream>
#include <thread>

#include "expected_text.h"

namespace {

std::string list(std::initializer_list<int64_t> numbers) {
    std::string text;
    for (const int64_t number : numbers)
        text += " " + std::to_string(number);
    return text;
}

// Each field of the dump gets a value of its own.
void fill(const fe_read_buf &request, fe_write_buf &record) {
    std::memcpy(&record, &request, offsetof(fe_read_buf, eventType));
    std::strcpy(record.severity_word, "the filter's");
    char text[] = "a";
    for (char *field : {record.entity_DN, record.fault_DN, record.entity_RN, record.fault_RN, record.FaultDescription,
                        record.TimeOfEvent, record.PreviousTimeOfEvent, record.FaultName})
        std::strcpy(field, text), ++text[0];
    record.Fault_time = -12;
    record.Previous_Fault_time = -11;
    record.ProbableCause = -10;
    record.prev_vemoFaultCode = -9;
    record.VemoManagedObjectIdLength = 255;
    record.PreviousSeverity = 254;
    record.vemoFaultOccur = 253;
    record.vemoFaultIndex = 4000000000;
    record.vemoFaultCode = 920;
    record.opaque_924[35] = 1; // is to be zeroed as well
}

class Road : public SelRoad {
protected:
    std::string locks() {
        return std::string(is_free(buffer.block.fe_write_buf_mutex) ? "" : ", record locked") +
               (is_free(fe_table_mutex) ? "" : ", table locked");
    }

    // What happens to the event that the words describe.
    Lines run(bool is_extended, std::istream &words) {
        std::map<std::string, int64_t> values = {
            // clang-format off
            {"record_type", 2}, {"sensor_type", 1}, {"dir_type", 1}, {"data_1", 0x57}, {"extended", 300},
            {"known", 1}, {"number", 0x82345678}, {"entity", 3}, {"instance", 5}, {"known_type", 1}, {"floor", 1},
            {"attach", 0}, {"text", 0}, {"detach", 0}, {"time_stamp", 32}, {"self_test", 0}, {"dispatch", 0},
            {"severity", -1}, {"started", 1}, {"buffer", 1}, {"record", 1}, {"times", 1},
            // clang-format on
        };
        for (std::string name, value; std::getline(words >> std::ws, name, '=') >> value;)
            values.at(name) = std::stoll(value, nullptr, 0);
        const auto word = [&](const char *name) { return static_cast<int32_t>(values.at(name)); };
        const auto bits = [&](const char *name) { return static_cast<uint32_t>(values.at(name)); };
        const auto byte = [&](const char *name) { return static_cast<uint8_t>(values.at(name)); };

        arrange();
        Record record = event(byte("sensor_type"), byte("dir_type"), byte("data_1"));
        record[2] = byte("record_type");
        if (word("self_test") != 0)
            world().event_text = "BIOS_POST_CMPLT: x";
        world().sensors.clear();
        if (word("known") != 0)
            world().sensors[is_extended ? word("extended") & 0xFF : road_sensor] =
                sensor(bits("number"), bits("entity"), bits("instance"), bits("known_type"), 0x01);
        fe_sdr_instance_array[byte("entity")] = word("floor");
        world().attach_result = word("attach");
        world().text_result = word("text");
        world().detach_result = word("detach");
        world().entry_to_str = [&](char *timestamp, uint16_t *length, char *text, uint8_t *flag_1, uint8_t *flag_2,
                                   int32_t number) {
            static const char zeros[256] = {};
            EXPECT_TRUE(std::memcmp(timestamp, zeros, 32) == 0 && *length == 32);
            EXPECT_TRUE(std::memcmp(text, zeros, 256) == 0 && *flag_1 == 0 && *flag_2 == 0);
            tell("> text of" + list({number}) + locks());
            std::memset(timestamp, '7', 32); // no NUL: AddressSanitizer sees who goes past the end
            *length = static_cast<uint16_t>(word("time_stamp"));
            std::strcpy(text, world().event_text.c_str());
            return word("text");
        };
        world().on_sleep = [this](int32_t seconds) { tell("> pause" + list({seconds}) + locks()); };
        world().dispatch = [&](const std::string &handler, fe_read_buf &request, fe_write_buf_struct &wbuf) {
            const auto &[entity, type, zero, group, instance, severity, number, tags, name, event_type, zeros, sensor] =
                request;
            tell("> " + handler + list({entity, type, zero[0], zero[1], group, instance, severity, number, tags}) +
                 " " + name + list({event_type, zeros[0], zeros[1], zeros[2], sensor}) + locks());
            fill(request, *wbuf.fe_write_buf);
            if (word("severity") >= 0)
                request.vemoFaultSeverity = word("severity");
            return word("dispatch");
        };
        world().on_broadcast = [this](fe_write_buf_struct *wbuf) {
            const fe_write_buf &sent = *wbuf->fe_write_buf;
            tell("> broadcast: " + std::string(sent.severity_word) +
                 list({sent.vemoFaultOccur, sent.related_FaultCode.related_fc[1], syslog_filter}) + locks());
        };
        sel_init_complete = word("started");
        buffer.block.fe_write_buf = word("record") != 0 ? &buffer.record : nullptr;
        fe_write_buf_struct_ptr = word("buffer") != 0 ? &buffer.block : nullptr;

        for (int i = 0; i < word("times"); ++i)
            tell("=" + list({is_extended ? process_extended(record, word("extended")) : process(record)}));
        expect_idle();
        for (const sel_entry_fields &fields : world().fields) {
            const auto &[id, type, time, generator, revision, sensor, number, direction, event, d1, d2, d3] = fields;
            tell("record:" + list({id, type, time, generator, revision, sensor, number, direction, event, d1, d2, d3}));
        }
        std::string calls;
        for (const std::string &call : world().calls)
            calls += " " + call;
        tell("calls:" + calls);
        return world().log;
    }
};

TEST_F(Road, IsTakenAsToldByEveryRecord) {
    EXPECT_EQ(process_sel_data(nullptr), -103);
    EXPECT_TRUE(world().log.empty() && world().calls.empty());
    const std::string expected = expected_text("sel/road.txt");
    std::istringstream stream(expected);
    std::string told;
    std::map<std::string, Lines> usual; // of either road
    std::set<std::string> dumped;
    for (std::string line, road; std::getline(stream, line);) {
        if (!line.starts_with("##### "))
            continue;
        std::istringstream words(line.substr(line.find(':') + 1));
        std::istringstream(line.substr(6)) >> road;
        const Lines lines = run(road == "extended", words);
        Lines &first = usual[road];
        auto next = std::mismatch(lines.begin(), lines.end(), first.begin(), first.end()).first;
        told += "\n" + line + (next == lines.begin() ? "\n" : "\n(as usual up to this:)\n" + *(next - 1));
        for (; next != lines.end(); ++next)
            if (!next->starts_with("fe_write_buf->") || dumped.insert(road + *next).second) // fields not seen before
                told += *next;
        if (first.empty())
            first = lines;
    }
    EXPECT_EQ(told, expected);
}

TEST_F(Road, TextGivesTheNameAndTheEndOfTheSelfTest) {
    std::istringstream lines(expected_text("sel/names.txt"));
    for (std::string line, name, roads, text; std::getline(lines, line);) {
        if (line.find('|') == std::string::npos)
            continue;
        std::istringstream fields(line);
        std::getline(std::getline(std::getline(fields, name, '|'), roads, '|'), text);
        for (const auto &[sign, blank] :
             {std::pair("\\t", "\t"), {"\\n", "\n"}, {"\\v", "\v"}, {"\\f", "\f"}, {"\\r", "\r"}})
            for (size_t at = 0; (at = text.find(sign)) != std::string::npos;)
                text.replace(at, 2, blank);
        for (const std::string road : {"ordinary", "extended"}) {
            SCOPED_TRACE(line);
            arrange();
            world().event_text = text;
            sel_init_complete = 1;
            filter([&](const fe_read_buf &request, auto &) {
                std::string field = name;
                field.resize(FE_SENSOR_NAME_SIZE);
                EXPECT_EQ(std::string(request.sensor_name, FE_SENSOR_NAME_SIZE), field);
                return 1;
            });
            EXPECT_EQ(road == "ordinary" ? process(event()) : process_extended(event()), 0);
            const std::string logged = "\n\nSEL Event: " + text.substr(0, 255) + "\nSensor Name: " + name + "\n";
            EXPECT_NE(log_text().find(logged), std::string::npos);
            EXPECT_EQ(world().sleeps.size(), roads.find(road) != std::string::npos ? 1U : 0U);
        }
    }
}

TEST_F(Road, ExtendedOneTellsOfTheEventBeforeItWaitsForTheRecord) {
    const auto is_told = [] {
        const std::lock_guard guard(world().lock);
        return !world().log.empty() && world().log.back() == "Fault Severity: 1\n\n";
    };
    pthread_mutex_lock(&buffer.block.fe_write_buf_mutex);
    std::thread caller([] { EXPECT_EQ(process_extended(event()), 0); });
    while (!is_told())
        std::this_thread::yield();
    pthread_mutex_unlock(&buffer.block.fe_write_buf_mutex);
    caller.join();
}

TEST_F(Road, BroadcastsByTheFlagAsItStandsThen) {
    sel_init_complete = 1;
    world().on_log = [](const std::string &line) {
        sel_init_complete = line.starts_with("Exited update_fe_database") ? 0 : 1;
    };
    EXPECT_EQ(process(event()), 0);
    EXPECT_TRUE(world().broadcasts.empty());
}

TEST_F(Road, DuplicatesAreSweptOnceByEach) {
    if (testing::UnitTest::GetInstance()->test_to_run_count() > 1)
        GTEST_SKIP() << "happens once in the life of a process, and another test may have had it";
    Lines sweeps;
    const OnSweep on_sweep([&] { sweeps.push_back(world().log.back() + locks()); });
    filter([](auto &, auto &) { return 1; });
    for (const auto &[started, data_1] : {std::pair(0, 0x57), {1, 0x51}, {1, 0x57}, {1, 0x57}}) { // 0x51 is refused
        sel_init_complete = started;
        process_extended(event(0x01, 0x01, static_cast<uint8_t>(data_1)));
        process(event(0x01, 0x01, static_cast<uint8_t>(data_1)));
    }
    EXPECT_EQ(sweeps, (Lines{"process_write_buf returned err = 1\n, record locked",
                             "Exited process_write_buf err= 1\n, record locked"}));
}

} // namespace
