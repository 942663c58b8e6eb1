// Of the fault table what random steps seldom meet: every stale rule, the calls on the files, faults that change while
// their sensor is read.
#include "support/engine_test.h"

#include <numeric>

#include "support/table_model.h"

namespace {

using FaultTable = EngineTest;

TEST_F(FaultTable, StaleRuleOfEveryTypeCode) {
    std::vector<uint32_t> types = {0x101, 0x16F, 0x80000001, 0xFFFFFFFF}, states = {0, ~0U, 0x3F, 0xFE00, 0x600};
    types.resize(260);
    std::iota(types.begin() + 4, types.end(), 0);
    for (uint32_t bit = 1; bit != 0; bit <<= 1) {
        states.insert(states.end(), {bit, ~bit, bit | 1, bit | bit << 1});
    }
    world().keeps = World::nothing;
    for (const uint32_t type : types) {
        for (const uint32_t sensor_type : {8U, 7U, 0x108U}) {
            for (const uint32_t state : states) {
                put({3, 1, 5, FE_SEVERITY_MAJOR, 0, 9});
                world().sensors[9] = sensor(9, 3, 1, sensor_type, type);
                world().readings[9] = state;
                cleanup_deasserted_events();
                ASSERT_EQ(chain().empty(), Model::is_stale(type, state, sensor_type))
                    << "type " << type << " state " << std::hex << state << " sensor type " << sensor_type;
            }
        }
    }
}

TEST_F(FaultTable, CallsOfAnUpdateInOrder) {
    std::ofstream(sandbox.path("stor_stat")).flush();
    put({3, 1, 5});
    Lines lines;
    const CallTrace trace([&lines](const std::string &call) { lines.push_back(call); });
    write_to_fe_file(fe_table_head_ptr); // not before start-up is complete
    sel_init_complete = 1;
    put({208, 1, 5});
    EXPECT_EQ(lines, (Lines{"open stor_stat RDWR|TRUNC", "write stor_stat 1", "close stor_stat",
                            "open fe_table.entry RDWR|CREAT|TRUNC 0704", "open fe_table.sz RDWR|CREAT|TRUNC 0704",
                            "lockf fe_table.entry F_LOCK 0", "lockf fe_table.sz F_LOCK 0", "write fe_table.sz 4",
                            "write fe_table.entry 960", "write fe_table.entry 960", "fsync fe_table.entry",
                            "fsync fe_table.sz", "lockf fe_table.sz F_ULOCK 0", "lockf fe_table.entry F_ULOCK 0",
                            "close fe_table.entry", "close fe_table.sz"}));
}

// A sensor recovers, is read, and trips again; the fault that then stands was not judged by that reading.
TEST_F(FaultTable, StalePassClearsOnlyWhatItJudged) {
    const Fault fault = {3, 1, 5, FE_SEVERITY_MAJOR, 0, 9};
    const std::vector<std::vector<Fault>> meanwhile = {
        {fault},                                 // raised again
        {{3, 1, 6, FE_SEVERITY_MAJOR, 5, 10}},   // another sensor's by now
        {{3, 1, 5, FE_SEVERITY_CLEARED}, fault}, // over, and then the same to the last byte
        {{3, 1, 5, FE_SEVERITY_CLEARED}, {3, 1, 6}, fault},
    };
    for (const auto &changes : meanwhile) {
        reset_world();
        world().sensors[9] = world().sensors[10] = sensor(9, 3, 1, 1, 1);
        world().readings[9] = 0;
        world().readings[10] = 1;
        put(fault);
        int readings = 0;
        world().on_reading = [&](int32_t) {
            if (++readings == 1) {
                std::ranges::for_each(changes, put);
            }
            world().readings[9] = readings == 1 ? 0 : 1;
        };
        cleanup_deasserted_events();
        EXPECT_EQ(readings, 2);
        EXPECT_EQ(chain().size(), changes.size() == 3 ? 2U : 1U);
    }
}

} // namespace
