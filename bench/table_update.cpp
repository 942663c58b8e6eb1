// One update of a full table without files, as during the start-up walk, against the bare walk to the fault, to its
// place on the chain, and the copy of its record.
#include "bench/compare.h"
#include "bench/table_fill.h"

namespace {

constexpr int updates_a_call = 64;

fe_table_entry *&link_to(const fe_table_entry *entry) {
    fe_table_entry **link = &fe_table_head_ptr;
    while (*link != entry) {
        link = &(*link)->next;
    }
    return *link;
}

fe_table_entry *find(const fe_write_buf &record) {
    const entity_id_node *entity = entity_id_list_head_ptr;
    while (entity->entity_id != record.entity_id) {
        entity = entity->next;
    }
    const entity_instance_node *instance = entity->instance_list;
    while (instance->entity_instance != record.entity_instance) {
        instance = instance->next;
    }
    const fault_node *fault = instance->fault_list;
    while (fault->fault_code != record.vemoFaultCode) {
        fault = fault->next;
    }
    return fault->entry;
}

void update_bare(const fe_write_buf &record) {
    fe_table_entry *entry = find(record);
    fe_table_entry *&link = link_to(entry);
    entry->record = record;
    link = entry->next;
    entry->next = fe_table_head_ptr;
    fe_table_head_ptr = entry;
}

// An update leaves its entry at the head. This puts it back to the tail.
void head_to_tail(fe_table_entry *last) {
    fe_table_entry *head = fe_table_head_ptr;
    fe_table_head_ptr = head->next;
    last->next = head;
    head->next = nullptr;
}

// The record is as the entity filter leaves it, with three related codes that no fault has.
void make_event(const Layout &layout, int n, fe_write_buf &record) {
    make_fault(layout, n, record);
    record.related_FaultCode = {{record.vemoFaultCode, -1, -2, -3, 0, 0, 0}};
}

void worst_case(benchmark::State &state, const Layout &layout) {
    fill_table(layout);
    RecordInHand hand;
    make_event(layout, layout.last_code(), hand.record);
    fe_table_entry *entry = find(hand.record);
    update_fe_database(&hand.block);
    fe_table_entry *last = fe_table_head_ptr;
    while (last->next != nullptr) {
        last = last->next;
    }
    head_to_tail(last);
    const auto repeat = [&](auto update) {
        for (int i = 0; i < updates_a_call; ++i) {
            hand.record.Previous_Fault_time = 0;
            update();
            head_to_tail(last);
        }
    };
    compare(
        state, updates_a_call, [&] { repeat([&] { update_fe_database(&hand.block); }); },
        [&] { repeat([&] { update_bare(hand.record); }); });
    if (last->next != entry || entry->next != nullptr) {
        state.SkipWithError("the entry is not at the tail");
    }
}

void best_case(benchmark::State &state) {
    fill_table(spread);
    RecordInHand hand;
    make_event(spread, 0, hand.record);
    const auto repeat = [&](auto update) {
        for (int i = 0; i < updates_a_call; ++i) {
            hand.record.Previous_Fault_time = 0;
            update();
        }
    };
    compare(
        state, updates_a_call, [&] { repeat([&] { update_fe_database(&hand.block); }); },
        [&] { repeat([&] { update_bare(hand.record); }); });
}

} // namespace

void add_table_update() {
    add_comparison("one update of 1024 faults, no files, best case", 2001, best_case);
    add_comparison("the same, worst case, 64 instances", 2001,
                   [](benchmark::State &state) { worst_case(state, spread); });
    add_comparison("the same, worst case, one instance", 2001,
                   [](benchmark::State &state) { worst_case(state, one_instance); });
}
