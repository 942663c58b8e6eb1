#include <thread>

#include "fault_table/table_model.h"

namespace {

constexpr uint32_t kThreshold = 1; // stale in state 0
const std::string kFirstLine = "Inside cleanup_deasserted_events...\n";

// Of a sensor whose number is that of the instance.
fe_write_buf sensor_fault(uint32_t number, int entity = 3) {
    return make_fault(entity, static_cast<int32_t>(number), 5, 4, 0, number);
}

bool stale_by_rule(uint32_t type, uint32_t state, uint32_t sensor_type) {
    static const std::map<uint32_t, uint32_t> stale_when_set = {{2, 0x200},  {3, 0x200}, {8, 0x200}, {9, 0x200},
                                                                {4, 0x100},  {5, 0x100}, {6, 0x100}, {7, 0x100},
                                                                {11, 0x100}, {10, 0x600}};
    const auto bits = stale_when_set.find(type);
    return bits != stale_when_set.end() ? (state & bits->second) != 0 || (state == 1 && (type == 4 || type == 5))
           : type == 1                  ? (state & 0x3F) == 0
           : type == 111                ? sensor_type == 8 && __builtin_popcount(state & 0x1FF) <= 1
                                        : type == 112 && (state & 0xFE00) != 0xFE00;
}

// What another thread does: "-1" clears the fault of sensor 1, "+1" creates or repeats it, "!1" spoils the key of its
// node, so that a clearing record finds nothing.
void change(char action, char number) {
    if (action != '!') {
        return update(make_fault(3, number, 5, action == '-' ? 0 : 4, 0, static_cast<uint32_t>(number)));
    }
    for (auto *node = entity_id_list_head_ptr->instance_list; node; node = node->next) {
        node->fault_list->fault_code += node->entity_instance == number ? 1 : 0;
    }
}

} // namespace

TEST_F(TableTest, StaleRuleOfEveryTypeCode) {
    std::vector<uint32_t> types = {0x101, 0x16F, 0x80000001, 0xFFFFFFFF}, states = {0, ~0U, 0x3F, 0xFE00, 0x600};
    for (uint32_t i = 0; i < 256; ++i) {
        types.push_back(i);
    }
    for (uint32_t bit = 1; bit != 0; bit <<= 1) {
        states.insert(states.end(), {bit, ~bit, bit | 1, bit | bit << 1});
    }
    world().keep_log = false;
    for (const uint32_t type : types) {
        for (const uint32_t sensor_type : {8U, 7U, 0x108U}) {
            for (const uint32_t state : states) {
                if (fe_table_head_ptr == nullptr) {
                    update(sensor_fault(9));
                }
                set_sensor(9, type, state, sensor_type);
                cleanup_deasserted_events();
                ASSERT_EQ(fe_table_head_ptr == nullptr, stale_by_rule(type, state, sensor_type))
                    << "type " << type << " state " << std::hex << state << " sensor type " << sensor_type;
                world().calls.clear();
            }
        }
    }
}

TEST_F(TableTest, StaleFaultIsLoggedAndCleared) {
    sel_init_complete = 1;
    set_sensor(9, 112, 0x80000200, 8);
    for (const size_t length : {7U, 19U, 20U}) { // 20 has no NUL
        fe_write_buf fault = sensor_fault(9);
        fault.prev_vemoFaultCode = 4;
        fault.PreviousSeverity = 3;
        memset(fault.sensor_name, 'x', length);
        memset(fault.FaultDescription, 'y', length + 204);
        update_both(sensor_fault(10)); // has no data record
        update_both(fault);
        cleanup_deasserted_events();
        const size_t cut = std::min(length, size_t{19});
        const std::string name(cut, 'x'), text(cut + 204, 'y');
        const auto state = " iCurrentstatus:-2147483136 type_code: 112 iSensorType: 8\n";
        model.log.insert(model.log.end(), {kFirstLine, "sensr_name: " + name + state,
                                           "Clearing stale fault - " + text + " (severity: 4)\n"});
        fe_write_buf record = clearing(fault);
        EXPECT_EQ(model.update(record), 0);
        compare();
        EXPECT_TRUE(world().broadcasts.empty());
    }
}

TEST_F(TableTest, StalePassExaminesOrdinaryEntitiesAndSensors) {
    for (const int entity : {0, 207, 208, 215, 216, 255}) {
        for (const uint32_t number : {0U, 255U, 256U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
            for (const bool readable : {true, false}) {
                SCOPED_TRACE(testing::Message() << entity << ", sensor " << number << ", readable " << readable);
                const bool examined = entity <= 207 && (number <= 255 || number >= 0x80000000);
                start_afresh();
                set_sensor(static_cast<int32_t>(number), kThreshold, 0);
                if (!readable) {
                    world().readings.clear();
                }
                update(sensor_fault(number, entity));
                cleanup_deasserted_events();
                EXPECT_EQ(world().calls.size(), examined ? 2U : 0U);
                EXPECT_EQ(fe_table_head_ptr == nullptr, examined && readable);
                EXPECT_EQ(world().log.back() == kFirstLine, !examined || !readable);
            }
        }
    }
}

// Faults 1, 2, 3, newest first, whose sensors say that they are stale (s), still there (.) or nothing (-). `meanwhile`
// is what another thread does while the first reading of a sensor is under way: "2-1" during that of 2 it clears 1.
TEST_F(TableTest, StalePassGoesOnAfterEveryChange) {
    const struct {
        std::string sensors, meanwhile, examined, left;
    } rows[] = {
        {"...", "", "123", "123"},         {"s..", "", "123", "23"},         {".s.", "", "1213", "13"},
        {"..s", "", "12312", "12"},        {".ss", "", "12131", "1"},        {"sss", "", "123", ""},
        {"s-.", "", "123", "23"},          {"...", "1-2", "13", "13"},       {"...", "2-1", "1223", "23"},
        {"...", "2-2", "1213", "13"},      {".s.", "2-2", "1213", "13"},     {"s..", "1-1", "123", "23"},
        {"s..", "1-2", "13", "3"},         {".-.", "2-2", "1213", "13"},     {"...", "3-2", "123", "13"},
        {"...", "2-1 2-2 2-3", "12", ""},  {".s.", "2-1 2-2 2-3", "12", ""}, {"...", "2+4", "124123", "4123"},
        {".-.", "2+4", "1234123", "4123"}, {"..-", "3+4", "123", "4123"},    {"...", "1+2", "1213", "213"},
        {"...", "2+2", "12213", "213"},    {".s.", "1!2", "123", "123"},     {"sss", "1!1 1!2 1!3", "123", "123"},
        {"ss.", "1!1", "1213", "13"}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.sensors + " " + row.meanwhile);
        start_afresh();
        set_sensor('4', kThreshold, 1);
        for (const char number : {'3', '2', '1'}) {
            const char answer = row.sensors[static_cast<size_t>(number - '1')];
            set_sensor(number, kThreshold, answer == 's' ? 0 : 1);
            answer == '-' ? world().readings.erase(number) : 0;
            change('+', number);
        }
        std::string examined, left;
        world().on_reading = [&](int32_t number) {
            const bool again = examined.find(static_cast<char>(number)) != std::string::npos;
            examined += static_cast<char>(number);
            for (size_t at = 0; !again && at < row.meanwhile.size() && row.meanwhile[at] == number; at += 4) {
                change(row.meanwhile[at + 1], row.meanwhile[at + 2]);
            }
        };
        cleanup_deasserted_events();
        for (const fe_table_entry *entry : chain()) {
            left += static_cast<char>(entry->record.sens_num);
        }
        EXPECT_EQ(examined, row.examined);
        EXPECT_EQ(left, row.left);
    }
}

// The clearing record of the second takes away the first; the second is still there, and examined again.
TEST_F(TableTest, StaleFaultBehindARelatedOneGoesToo) {
    update(make_fault(3, 1, 8, 4, 0, 8));
    update(make_fault(3, 1, 5, 4, 0, 5));
    fe_table_head_ptr->record.related_FaultCode.related_fc[1] = 8;
    set_sensor(5, kThreshold, 0);
    cleanup_deasserted_events();
    EXPECT_EQ(index(), Index{});
}

TEST_F(TableTest, CleanUpPassesRunBesideUpdates) {
    world().keep_log = false;
    for (int32_t number = 0; number < 8; ++number) {
        set_sensor(number, kThreshold, number % 2 == 0 ? 0 : 1);
    }
    std::thread other([] {
        for (int32_t i = 0; i < 3000; ++i) {
            update(make_fault(3, i * 7 % 8, i % 3, i % 4, i % 5, static_cast<uint32_t>(i * 7 % 8)));
        }
    });
    for (int i = 0; i < 100; ++i) {
        cleanup_deasserted_events();
        cleanup_duplicate_events();
    }
    other.join();
    EXPECT_EQ(broken_invariant(), "");
    cleanup_deasserted_events();
    EXPECT_TRUE(std::ranges::all_of(chain(), [](const auto *entry) { return entry->record.sens_num % 2 == 1; }));
}
