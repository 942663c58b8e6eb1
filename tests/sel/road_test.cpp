// From a record or a request to a committed fault. road.txt has a story for each way there, road_log.txt tells a few of
// them whole.
#include "support/engine_test.h"

#include <sstream>

#include "support/expected_text.h"

namespace {

// Each field of the dump gets a value of its own.
void fill(const fe_read_buf &request, fe_write_buf &record) {
    std::memcpy(&record, &request, offsetof(fe_read_buf, eventType));
    std::strcpy(record.severity_word, "the_filter's");
    char text[] = "a";
    for (char *field : {record.entity_DN, record.fault_DN, record.entity_RN, record.fault_RN, record.FaultDescription,
                        record.TimeOfEvent, record.PreviousTimeOfEvent, record.FaultName}) {
        std::strcpy(field, text), ++text[0];
    }
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

// How the event and what it meets differ from the usual.
struct Scenario {
    std::map<std::string, int64_t> values = {
        // clang-format off
        {"record_type", 2}, {"sensor_type", 1}, {"dir_type", 1}, {"data_1", 0x57}, {"extended", 300},
        {"known", 1}, {"number", 0x82345678}, {"entity", 3}, {"instance", 5}, {"known_type", 1}, {"floor", 1},
        {"attach", 0}, {"text", 0}, {"detach", 0}, {"time_stamp", 32}, {"self_test", 0}, {"dispatch", 0},
        {"severity", -1}, {"started", 1}, {"buffer", 1}, {"record", 1}, {"times", 1},
        // clang-format on
    };
    int32_t word(const char *name) const { return static_cast<int32_t>(values.at(name)); }
    uint32_t bits(const char *name) const { return static_cast<uint32_t>(values.at(name)); }
    uint8_t byte(const char *name) const { return static_cast<uint8_t>(values.at(name)); }
};

class Road : public SelRoad {
protected:
    // Has what the scenario describes happen; the world tells of it.
    void run(const std::string &road, const Scenario &is) {
        arrange();
        world().event_text = is.word("self_test") != 0 ? "BIOS_POST_CMPLT: x" : world().event_text;
        world().sensors.clear();
        if (is.word("known") != 0) {
            world().sensors[road == "extended" ? is.byte("extended") : road_sensor] =
                sensor(is.bits("number"), is.bits("entity"), is.bits("instance"), is.bits("known_type"), 0x01);
        }
        fe_sdr_instance_array[is.byte("entity")] = is.word("floor");
        world().attach_result = is.word("attach");
        world().text_result = is.word("text");
        world().detach_result = is.word("detach");
        world().time_stamp = std::string(32, '7'); // no NUL: AddressSanitizer sees who goes past the end
        world().time_stamp_length = is.word("time_stamp");
        world().dispatch = [&](fe_read_buf &request, fe_write_buf_struct &wbuf) {
            static const fe_write_buf zero{};
            EXPECT_TRUE(*wbuf.fe_write_buf == zero);
            fill(request, *wbuf.fe_write_buf);
            request.vemoFaultSeverity = is.word("severity") >= 0 ? is.word("severity") : request.vemoFaultSeverity;
            return is.word("dispatch");
        };
        sel_init_complete = is.word("started");
        buffer.block.fe_write_buf = is.word("record") != 0 ? &buffer.record : nullptr;
        fe_write_buf_struct_ptr = is.word("buffer") != 0 ? &buffer.block : nullptr;
        for (int i = 0; i < is.word("times"); ++i) {
            tell("=" + std::to_string(take_event(road, is)));
        }
        buffer.block.fe_write_buf = &buffer.record;
        fe_write_buf_struct_ptr = &buffer.block;
        expect_idle();
    }

    int32_t take_event(const std::string &road, const Scenario &is) {
        if (road == "dispatch") {
            fe_read_buf request = request_of(is.byte("entity"), 5);
            std::memset(&buffer.record, 0xA5, sizeof buffer.record);
            const int32_t result = process_write_buf(&request, fe_write_buf_struct_ptr);
            buffer.record = {};
            return result;
        }
        if (road == "request") {
            return take_request(request_of(is.byte("entity"), is.word("severity")));
        }
        Record record = event(is.byte("sensor_type"), is.byte("dir_type"), is.byte("data_1"));
        record[2] = is.byte("record_type");
        return road == "extended" ? process_extended(record, is.word("extended")) : process(record);
    }

    // In a life of the engine's two threads of its own.
    static int32_t take_request(const fe_read_buf &request) {
        fe_write_buf_struct_ptr = nullptr;
        fe_not_running = 0;
        world().listen = [&](fe_read_buf_struct *rbuf) {
            place(*rbuf, request);
            await_taken(*rbuf);
            static const fe_read_buf zero{};
            EXPECT_TRUE(std::memcmp(rbuf->fe_read_buf, &zero, sizeof zero) == 0);
        };
        const int32_t result = init_listener() | init_fault_processor();
        pthread_join(fe_listener_thread_id, nullptr);
        pthread_join(fe_fault_processor_thread_id, nullptr);
        return result;
    }

    // The stories of "name=value ...", where a value may be several, as in "1,3-5".
    std::set<std::string> stories(const std::string &road, std::istream &&words, const Scenario &is = {}) {
        std::string name, text;
        words >> std::ws;
        if (!std::getline(words, name, '=') || !std::getline(words, text, ' ')) {
            run(road, is);
            return {story()};
        }
        const std::string rest(std::istreambuf_iterator<char>(words), {});
        std::set<std::string> all;
        std::istringstream list(text);
        for (std::string value; std::getline(list, value, ',');) {
            size_t end = 0;
            const int64_t first = std::stoll(value, &end, 0),
                          last = end < value.size() ? std::stoll(value.substr(end + 1)) : first;
            Scenario next = is;
            for (next.values.at(name) = first; next.values[name] <= last; ++next.values[name]) {
                all.merge(stories(road, std::istringstream(rest), next));
            }
        }
        return all;
    }
};

TEST_F(Road, GoesAsInItsStories) {
    EXPECT_EQ(process_sel_data(nullptr), -103);
    EXPECT_TRUE(world().log.empty());
    const std::string expected = expected_text("sel/road.txt");
    std::istringstream lines(expected);
    std::string told;
    for (std::string line, road; std::getline(lines, line);) {
        const size_t end = line.find(" |");
        if (end == std::string::npos) {
            told += line + "\n";
            continue;
        }
        std::istringstream words(line.substr(0, end));
        words >> road;
        for (const std::string &story : stories(road, std::move(words))) {
            told += line.substr(0, end) + " |" + story + "\n";
        }
    }
    EXPECT_EQ(told, expected);
}

TEST_F(Road, LogsAsTold) {
    const std::string expected = expected_text("sel/road_log.txt");
    std::istringstream lines(expected);
    std::string told;
    for (std::string line, road; std::getline(lines, line);) {
        if (line.starts_with("##### ")) {
            std::istringstream words(line.substr(6));
            words >> road;
            stories(road, std::move(words));
            std::erase_if(world().log, [&](const std::string &logged) {
                return !told.empty() && logged.starts_with("fe_write_buf->"); // once is enough
            });
            told += line + "\n" + log_text() + "\n";
        }
    }
    EXPECT_EQ(told, expected);
}

TEST_F(Road, TextGivesTheNameAndTheEndOfTheSelfTest) {
    const std::map<char, char> escapes = {{'t', '\t'}, {'n', '\n'}, {'v', '\v'}, {'f', '\f'}, {'r', '\r'}};
    std::istringstream lines(expected_text("sel/names.txt"));
    for (std::string line, name, roads, text; std::getline(lines, line);) {
        if (line.find('|') == std::string::npos) {
            continue;
        }
        std::istringstream fields(line);
        std::getline(std::getline(std::getline(fields, name, '|'), roads, '|'), text);
        for (size_t at = 0; (at = text.find('\\', at)) != std::string::npos;) {
            text.replace(at, 2, 1, escapes.at(text[at + 1]));
        }
        for (const std::string road : {"ordinary", "extended"}) {
            SCOPED_TRACE(line);
            arrange();
            world().event_text = text;
            sel_init_complete = 1;
            world().dispatch = [&](const fe_read_buf &request, auto &) {
                std::string field = name;
                field.resize(FE_SENSOR_NAME_SIZE);
                EXPECT_EQ(std::string(request.sensor_name, FE_SENSOR_NAME_SIZE), field);
                return 1;
            };
            EXPECT_EQ(road == "ordinary" ? process(event()) : process_extended(event()), 0);
            const std::string logged = "\n\nSEL Event: " + text.substr(0, 255) + "\nSensor Name: " + name + "\n";
            EXPECT_NE(log_text().find(logged), std::string::npos);
            EXPECT_EQ(story().find(" pause=30.0 ") != std::string::npos, roads.find(road) != std::string::npos);
        }
    }
}

TEST_F(Road, ExtendedSensorsAreOfTheEntityOfTheirType) {
    for (const auto &[type, entity] : {std::pair(0x01, 32), {0x0C, 8}, {0x12, 7}}) {
        arrange();
        world().dispatch = [entity = entity](const fe_read_buf &request, auto &) {
            EXPECT_EQ(request.entity_id, entity);
            return 1;
        };
        EXPECT_EQ(process_extended(event(static_cast<uint8_t>(type), 0x01, 0x57), 256), 0);
        EXPECT_NE(story().find("*["), std::string::npos) << type; // a handler was asked
    }
}

TEST_F(Road, BroadcastsByTheFlagAsItStandsThen) {
    sel_init_complete = 1;
    world().on_log = [](const std::string &line) {
        sel_init_complete = line.starts_with("Exited update_fe_database") ? 0 : 1;
    };
    EXPECT_EQ(process(event()), 0);
    EXPECT_TRUE(world().broadcasts.empty());
}

// Once in the life of a process, so before any test.
struct FirstEvents : testing::Environment {
    static inline std::string stories;
    void SetUp() override {
        WriteBuffer buffer;
        for (const auto &[started, data_1] : {std::pair(0, 0x57), {1, 0x51}, {1, 0x57}, {1, 0x57}}) { // 0x51 is refused
            SelRoad::arrange();
            world().dispatch = [](auto &, auto &) { return 1; };
            sel_init_complete = started;
            const Record record = event(0x01, 0x01, static_cast<uint8_t>(data_1));
            process_extended(record);
            process(record);
            stories += story() + ";";
        }
        reset_world();
    }
};
[[maybe_unused]] const auto *const first_events = testing::AddGlobalTestEnvironment(new FirstEvents);

TEST_F(Road, ClearsDuplicatesOnceEach) {
    const std::string extended = " extended=300 date", ordinary = " attach text detach sensor";
    EXPECT_EQ(FirstEvents::stories, extended + " mem*[45,1,66]" + ordinary + " cpu*[1,4,117];" + // starting
                                        extended + ordinary + ";" +                              // refused
                                        extended + " mem*[45,1,66] duplicates*" + ordinary +
                                        " cpu*[1,4,117] duplicates*;" + //
                                        extended + " mem*[45,1,66]" + ordinary + " cpu*[1,4,117];");
}

} // namespace
