#include <gtest/gtest.h>

#include "classify/event_oracle.h"
#include "support/neighbours.h"

namespace {

class Severity : public testing::Test {
protected:
    Severity() {
        reset_world();
        world().keep_log = false;
    }
};

// The types without a table are refused before anybody looks at the entity, so a rotating sample of entities does.
TEST_F(Severity, FollowsTheTables) {
    for_entities(named_types, 1, severity_agrees);
    for_entities(all_types(), 32, severity_agrees);
}

// The severity goes by the sensor's whole entity word, the dispatch by the request's entity id, the memory family by
// the low byte of the word.
TEST_F(Severity, TellsTheThreeEntitiesApart) {
    for_events(named_types, [](Event event) {
        for (int entity : {8, 25, 10, 11, 46})
            for (unsigned word : {0U, 3U, 7U, 8U, 10U, 11U, 23U, 25U, 32U, 34U, 0x103U, 0x107U, 0x108U, 0x10AU, 0x119U,
                                  0x120U, 0xFFFFFF08U}) {
                event.entity_id = static_cast<uint8_t>(entity);
                event.entity_word = word;
                if (!severity_agrees(event))
                    return false;
            }
        return true;
    });
}

TEST_F(Severity, IsLoggedBeforeAndAfter) {
    using Lines = std::vector<std::string>;
    const auto lines_of = [](const Event &event) {
        reset_world();
        Arguments(event).call(fe_get_severity);
        return world().log;
    };
    EXPECT_EQ(lines_of({0x01, 0, 2, 0x01, 3, 3, 1, 0}),
              (Lines{"entity_id = 3 eventType = 1, eventDir = 0, offset1 = 2 sens_num=-2 sens_type= 1\n",
                     "Out of fe_get_severity switch case severity = 5 fault_code = 115 err: 0\n"}));
    // Memory replaces the severity of its slots, and the closing line shows that.
    EXPECT_EQ(lines_of({0x6F, 0, 0, 0x21, 8, 8, 1, 0}),
              (Lines{"entity_id = 8 eventType = 6f, eventDir = 0, offset1 = 0 sens_num=-2 sens_type= 21\n",
                     "Out of fe_get_severity switch case severity = 1 fault_code = 79 err: 0\n"}));
    // Refused by the fault number; refused by the severity tables.
    EXPECT_EQ(lines_of({0x6F, 0, 1, 0x0D, 8, 0x108, 1, 0}),
              (Lines{"entity_id = 108 eventType = 6f, eventDir = 0, offset1 = 1 sens_num=-2 sens_type= d\n",
                     "Out of fe_get_severity switch case severity = 3 fault_code = 30583 err: -1\n"}));
    EXPECT_EQ(lines_of({0x0D, 1, 15, 0xC0, 16, 16, 1, 0}),
              (Lines{"entity_id = 10 eventType = d, eventDir = 1, offset1 = f sens_num=-2 sens_type= c0\n",
                     "Out of fe_get_severity switch case severity = 2 fault_code = 30583 err: -1\n"}));
    EXPECT_EQ(lines_of({0x7F, 0, 8, 0x0D, 7, 7, 1, 0}), Lines{});
    EXPECT_EQ(lines_of({0x7F, 0, 8, 0x0D, 7, 0x107, 1, 0}).size(), 2U);
}

} // namespace
