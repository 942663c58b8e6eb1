// What an update leaves behind when memory, a path or a system call fails.
#include <unistd.h>

#include "fault_table/table_model.h"

TEST_F(TableTest, OutOfMemoryLeavesEverythingAsItWas) {
    const fe_write_buf fault = make_fault(208, 1, 5, 6);
    const std::pair<fe_write_buf, int> rows[] = {{make_fault(208, 1, 5, 0), 4}, // leaves the table empty
                                                 {make_fault(209, 1, 5, 6), 4},
                                                 {make_fault(208, 2, 5, 6), 3},
                                                 {make_fault(208, 1, 6, 6), 2}};
    sandbox.create("stor_stat");
    model.status_file = "";
    for (const auto &[before, allocations] : rows) {
        for (int n = 2; n <= 2 * allocations + 1; ++n) { // each one, alone and with all behind it
            SCOPED_TRACE(testing::Message() << "allocation " << n / 2 << " of " << allocations);
            start_afresh();
            sel_init_complete = 1;
            update_both(before);
            compare();
            fe_write_buf record = fault;
            {
                const FailCall fail(Call::allocate, n / 2, n % 2 == 0);
                EXPECT_EQ(update_in_place(record), -1);
            }
            EXPECT_EQ(memcmp(&record, &fault, sizeof record), 0);
            EXPECT_EQ(world().log.back().find("created"), std::string::npos);
            world().log.clear();
            compare();
            update_both(fault);
            compare();
        }
    }
}

TEST_F(TableTest, FailingFileCallsLeaveTheRestRight) {
    const struct {
        const char *name;
        std::string Model::*content; // stays as it was
        int32_t severity;
    } files[] = {{"fe_table.entry", &Model::entry_file, 4},
                 {"fe_table.sz", &Model::count_file, 4},
                 {"stor_stat", &Model::status_file, 6}}; // counted all the same: the next change writes it
    sandbox.create("stor_stat");
    model.status_file = "";
    sel_init_complete = 1;
    int32_t code = 1;
    update_both(make_fault(208, 1, code, 4));
    for (const auto &[name, content, severity] : files) {
        const std::string before = model.*content;
        {
            const FailOpen fail(name);
            update_both(make_fault(208, 1, ++code, severity));
        }
        model.*content = before;
        compare();
    }
    update_both(make_fault(209, 1, 1, 1));
    compare();
}

TEST_F(TableTest, CallsOfAnUpdateInOrder) {
    sandbox.create("stor_stat");
    update(make_fault(3, 1, 5, 4));
    const CallTrace trace;
    write_to_fe_file(fe_table_head_ptr); // not before start-up is complete
    sel_init_complete = 1;
    update(make_fault(208, 1, 5, 6));
    std::string calls;
    for (const std::string &call : trace.calls()) {
        calls += call + "; ";
    }
    EXPECT_EQ(calls, "open stor_stat RDWR|TRUNC; write stor_stat 1; close stor_stat; "
                     "open fe_table.entry RDWR|CREAT|TRUNC 0704; open fe_table.sz RDWR|CREAT|TRUNC 0704; "
                     "lockf fe_table.entry F_LOCK 0; lockf fe_table.sz F_LOCK 0; "
                     "write fe_table.sz 4; write fe_table.entry 960; write fe_table.entry 960; "
                     "fsync fe_table.entry; fsync fe_table.sz; "
                     "lockf fe_table.sz F_ULOCK 0; lockf fe_table.entry F_ULOCK 0; "
                     "close fe_table.entry; close fe_table.sz; ");
}

TEST_F(TableTest, EntryFileAtDescriptor0GetsNoRecords) {
    update_both(make_fault(3, 1, 5, 4));
    sel_init_complete = 1;
    const int standard_input = dup(0);
    close(0);
    write_to_fe_file(fe_table_head_ptr);
    dup2(standard_input, 0);
    close(standard_input);
    model.write_files();
    model.entry_file = "";
    compare();
}

// The oldest entry is the one with code 5; each way hides it from the search at another level.
TEST_F(TableTest, OldestEntryGoesUnlessItsNodeIsMissing) {
    const std::vector<void (*)()> ways = {
        [] { fe_table_head_ptr->next->record.entity_id = 9; },
        [] { fe_table_head_ptr->next->record.entity_instance = 9; },
        [] { fe_table_head_ptr->next->record.vemoFaultCode = 9; },
        [] { entity_id_list_head_ptr->instance_list->fault_list->entry = fe_table_head_ptr; },
        [] { entity_id_list_head_ptr->instance_list->fault_list->fault_code = 6; }, // then another's node has the code
    };
    for (const auto hide : ways) {
        start_afresh();
        update(make_fault(3, 1, 5, 4));
        update(make_fault(3, 1, 7, 4));
        hide();
        const Index before = index();
        EXPECT_EQ(remove_last_fe_table_entry(&fe_table_head_ptr, &entity_id_list_head_ptr), -1);
        EXPECT_EQ(index(), before);
        EXPECT_EQ(chain().size(), 2U);
    }
    start_afresh();
    update(make_fault(3, 1, 5, 4));
    update(make_fault(3, 2, 5, 4));
    for (const Index &left : {Index{{3, 2, 5, 0}}, Index{}}) {
        EXPECT_EQ(remove_last_fe_table_entry(&fe_table_head_ptr, &entity_id_list_head_ptr), 0);
        EXPECT_EQ(index(), left);
        EXPECT_EQ(chain().size(), left.size());
        EXPECT_EQ(fe_fault_count, 2U); // is not its own
    }
    EXPECT_EQ(remove_last_fe_table_entry(&fe_table_head_ptr, &entity_id_list_head_ptr), -1);
}

TEST_F(TableTest, StorageStatusByBand) {
    sandbox.create("stor_stat");
    model.status_file = "";
    sel_init_complete = 1;
    for (const int entity : {207, 216, 215, 208}) { // a repeat in another band counts nothing, its band stays at zero
        for (const int32_t severity : {1, 0, 2, 0, 3, 0, 4, 0, 5, 0, 6, 0, 7, 0, -1, 0, 6, 3, 0, 3, 0}) {
            update_both(make_fault(entity, 1, 5, severity));
            compare();
        }
    }
}
