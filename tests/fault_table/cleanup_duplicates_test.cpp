#include "fault_table/table_model.h"

namespace {

// One instance with a node for each digit of `codes`; the fault index of each entry is its place, to tell duplicates
// apart. Of the stored records, digits in `related` are the related codes; an x in `stored`: the code is not the
// node's.
void make_instance(const std::string &codes, const std::string &related, const std::string &stored) {
    for (size_t i = 1; i <= codes.size(); ++i) {
        fe_write_buf fault = make_fault(3, 1, static_cast<int32_t>(1000 + i), 4);
        fault.vemoFaultIndex = static_cast<uint32_t>(i);
        update(fault);
    }
    size_t i = 0;
    for (auto *fault = entity_id_list_head_ptr->instance_list->fault_list; fault; fault = fault->next, ++i) {
        fe_write_buf &record = fault->entry->record;
        fault->fault_code = codes[i] - '0';
        record.vemoFaultCode = i < stored.size() && stored[i] == 'x' ? 99 : fault->fault_code;
        record.related_FaultCode.related_fc[1] = i < related.size() ? related[i] - '0' : 0;
    }
    world().log.clear();
}

std::string places_left() {
    std::string text;
    for (const fault_node *fault = entity_id_list_head_ptr->instance_list->fault_list; fault; fault = fault->next) {
        text += static_cast<char>('0' + fault->entry->record.vemoFaultIndex);
    }
    return text;
}

} // namespace

TEST_F(TableTest, OlderDuplicatesGo) {
    const struct {
        std::string codes, related, stored, left;
        std::ptrdiff_t clears;
    } rows[] = {
        {"5", "", "", "1", 0},      {"560", "", "", "123", 0}, {"55", "", "", "2", 1},      {"00", "", "", "2", 1},
        {"555", "", "", "3", 2},    {"1555", "", "", "14", 2}, {"15656", "", "", "145", 2}, {"1551", "", "", "34", 2},
        {"855", "080", "", "3", 2}, // the first 5 clears 8, then the walk restarts
        {"55", "", "xx", "12", 1},  // finds nothing to clear
        {"555", "", "x", "3", 3},   // nothing for the first, the walk goes on
        {"755", "", ".x", "123", 1}};
    for (const auto &[codes, related, stored, left, clears] : rows) {
        SCOPED_TRACE(codes + " " + related + " " + stored);
        start_afresh();
        make_instance(codes, related, stored);
        cleanup_duplicate_events();
        EXPECT_EQ(places_left(), left);
        EXPECT_EQ(std::ranges::count(world().log, "Inside cleanup_duplicate_events...\n"), clears);
        EXPECT_EQ(world().log.empty(), clears == 0);
        EXPECT_TRUE(world().calls.empty());
    }
}

// The related code of the third node clears a node that is neither it nor the first.
TEST_F(TableTest, DuplicateBehindARelatedNodeGoesAtLatestInTheNextPass) {
    make_instance("1855", "0080", "");
    cleanup_duplicate_events();
    EXPECT_EQ(broken_invariant(), "");
    cleanup_duplicate_events();
    EXPECT_EQ(places_left(), "14");
}

// A related code renames the older node; the pass looks at every instance of every entity. Without duplicates it is
// silent.
TEST_F(TableTest, DuplicatesOfRealUpdatesAreLoggedAndCleared) {
    sel_init_complete = 1;
    cleanup_duplicate_events();
    for (const auto &[entity, instance] : {std::pair{3, 1}, {3, 2}, {208, 1}, {208, 2}}) {
        fe_write_buf fault = make_fault(entity, instance, 5, 4, 7);
        fault.prev_vemoFaultCode = 7;
        update_both(make_fault(entity, instance, 7, 4));
        update_both(make_fault(entity, instance, 5, 4));
        update_both(fault); // takes the node of 7, which comes first
    }
    cleanup_duplicate_events();
    cleanup_duplicate_events();
    for (size_t i = 0; i < 4; ++i) { // in each instance the first of two goes
        fe_write_buf record = clearing(*model.index[i]);
        const std::string keys = std::to_string(record.entity_id) + "/" + std::to_string(record.entity_instance);
        model.log.insert(model.log.end(), {"Inside cleanup_duplicate_events...\n",
                                           "Clean up fault node (" + keys + "/curr:5-prev:7)\n"});
        EXPECT_EQ(model.update(record), 0);
    }
    compare();
}
