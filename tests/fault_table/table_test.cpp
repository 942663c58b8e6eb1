// Of the fault table what the model leaves open: every stale rule, the calls on the files, and what only a damaged
// index or another thread brings about.
#include <numeric>
#include <thread>
#include <tuple>

#include <fcntl.h>
#include <unistd.h>

#include "fault_table/table_model.h"

namespace {

TEST_F(FaultTable, StaleRuleOfEveryTypeCode) {
    std::vector<uint32_t> types = {0x101, 0x16F, 0x80000001, 0xFFFFFFFF}, states = {0, ~0U, 0x3F, 0xFE00, 0x600};
    types.resize(260);
    std::iota(types.begin() + 4, types.end(), 0);
    for (uint32_t bit = 1; bit != 0; bit <<= 1) {
        states.insert(states.end(), {bit, ~bit, bit | 1, bit | bit << 1});
    }
    world().keep_log = false;
    for (const uint32_t type : types) {
        for (const uint32_t sensor_type : {8U, 7U, 0x108U}) {
            for (const uint32_t state : states) {
                put({3, 1, 5, FE_SEVERITY_MAJOR, 0, 9});
                world().sensors[9] = sensor(9, 3, 1, sensor_type, type);
                world().readings[9] = state;
                cleanup_deasserted_events();
                ASSERT_EQ(chain().empty(), Model::is_stale(type, state, sensor_type))
                    << "type " << type << " state " << std::hex << state << " sensor type " << sensor_type;
                world().calls.clear();
            }
        }
    }
}

TEST_F(FaultTable, CallsOfAnUpdateInOrder) {
    std::ofstream(sandbox.path("stor_stat")).flush();
    put({3, 1, 5});
    CallTrace trace;
    write_to_fe_file(fe_table_head_ptr); // not before start-up is complete
    sel_init_complete = 1;
    put({208, 1, 5});
    EXPECT_EQ(trace.lines, (std::vector<std::string>{
                               "open stor_stat RDWR|TRUNC", "write stor_stat 1", "close stor_stat",
                               "open fe_table.entry RDWR|CREAT|TRUNC 0704", "open fe_table.sz RDWR|CREAT|TRUNC 0704",
                               "lockf fe_table.entry F_LOCK 0", "lockf fe_table.sz F_LOCK 0", "write fe_table.sz 4",
                               "write fe_table.entry 960", "write fe_table.entry 960", "fsync fe_table.entry",
                               "fsync fe_table.sz", "lockf fe_table.sz F_ULOCK 0", "lockf fe_table.entry F_ULOCK 0",
                               "close fe_table.entry", "close fe_table.sz"}));
}

TEST_F(FaultTable, EntryFileAtDescriptor0GetsNoRecords) {
    const int standard_input = dup(STDIN_FILENO);
    close(STDIN_FILENO);
    sel_init_complete = 1;
    put({3, 1, 5});
    dup2(standard_input, STDIN_FILENO);
    close(standard_input);
    EXPECT_EQ(sandbox.bytes("fe_table.entry"), "");
    EXPECT_EQ(sandbox.bytes("fe_table.sz"), std::string("\1\0\0\0", 4));
}

TEST_F(FaultTable, OccurrencesWrapFrom255To0) {
    for (int i = 0; i < 257; ++i) {
        put({3, 1, 5});
    }
    EXPECT_EQ(chain()[0].vemoFaultOccur, 1);
}

// Each way hides the oldest entry from the search at another level.
TEST_F(FaultTable, OldestEntryGoesUnlessItsNodeIsMissing) {
    put({3, 1, 5});
    put({3, 1, 7});
    fe_write_buf &oldest = fe_table_head_ptr->next->record;
    fault_node &node = *entity_id_list_head_ptr->instance_list->fault_list;
    const std::vector<std::function<void()>> ways = {
        [&] { oldest.entity_id = 9; },     [&] { oldest.entity_instance = 9; },
        [&] { oldest.vemoFaultCode = 9; }, [&] { node.entry = fe_table_head_ptr; },
        [&] { node.fault_code = 6; },      [&] { oldest.vemoFaultCode = 7; }, // which another's node has
    };
    const auto evict = [] { return remove_last_fe_table_entry(&fe_table_head_ptr, &entity_id_list_head_ptr); };
    for (const auto &hide : ways) {
        const std::pair former(oldest, node);
        hide();
        EXPECT_EQ(evict(), -1);
        std::tie(oldest, node) = former;
    }
    EXPECT_EQ(evict(), 0);
    EXPECT_EQ(chain().size(), 1U);
    EXPECT_EQ(evict(), 0);
    EXPECT_TRUE(fe_table_head_ptr == nullptr && entity_id_list_head_ptr == nullptr);
    EXPECT_EQ(fe_fault_count, 2U); // is not its own
    EXPECT_EQ(evict(), -1);
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
            const bool is_first = ++readings == 1;
            for (const Fault &change : is_first ? changes : std::vector<Fault>{}) {
                put(change);
            }
            world().readings[9] = is_first ? 0 : 1;
        };
        cleanup_deasserted_events();
        EXPECT_EQ(readings, 2);
        EXPECT_EQ(chain().size(), changes.size() == 3 ? 2U : 1U);
    }
}

// A request that arrives while the older twin is cleared leaves the younger one alone.
TEST_F(FaultTable, DuplicatePassLetsNobodyInBetween) {
    put({3, 1, 5});
    put({3, 1, 7});
    put({3, 1, 7, FE_SEVERITY_MAJOR, 5}); // which the first of the two takes, to become the other's twin
    world().log.clear();
    ASSERT_EQ(chain().size(), 2U);
    bool was_free = false;
    world().on_log = [&](const std::string &) { was_free = was_free || is_free(fe_table_mutex); };
    cleanup_duplicate_events();
    EXPECT_FALSE(was_free);
    EXPECT_EQ(world().log.size(), 6U);
    EXPECT_EQ(chain().size(), 1U);
}

TEST_F(FaultTable, PassesRunBesideUpdates) {
    world().keep_log = false;
    for (int32_t number = 0; number < 8; ++number) {
        world().sensors[number] = sensor(9, 3, 1, 1, 1);
        world().readings[number] = number % 2 == 0 ? 0 : 1;
    }
    std::thread other([] {
        for (int32_t i = 0; i < 3000; ++i) {
            put({3, i * 7 % 8, i % 3, i % 4, i % 5, static_cast<uint32_t>(i * 7 % 8)});
        }
    });
    for (int i = 0; i < 100; ++i) {
        cleanup_deasserted_events();
        cleanup_duplicate_events();
    }
    other.join();
    EXPECT_EQ(broken_invariant(), "");
    cleanup_deasserted_events();
    EXPECT_TRUE(std::ranges::all_of(chain(), [](const auto &fault) { return fault.sens_num % 2 == 1; }));
}

} // namespace
