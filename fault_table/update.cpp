// The one operation that changes the table from a record.
#include <cstdlib>

#include "base/text_field.h"
#include "fault_table/storage_status.h"
#include "fault_table/table.h"
#include "fault_table/update.h"
#include "platform/fe_core/fe_core.h"

// Every log line of this file ends in the keys and the severity of a record.
#define LOG_FAULT(text, record)                                                                               \
    fe_logger(text " (%u/%u/curr:%u-prev:%u) - sev: %u\n", unsigned{(record).entity_id},                      \
              static_cast<unsigned>((record).entity_instance), static_cast<unsigned>((record).vemoFaultCode), \
              static_cast<unsigned>((record).prev_vemoFaultCode), static_cast<unsigned>((record).vemoFaultSeverity))

namespace {

bool clears(const fe_write_buf &record) {
    return record.vemoFaultSeverity == FE_SEVERITY_CLEARED;
}

// A node is the fault's if its key is the record's code or one of its related codes.
bool is_fault_of(const fault_node &node, const fe_write_buf &record) {
    if (node.fault_code == record.vemoFaultCode) {
        return true;
    }
    for (int i = 1; i < FE_RELATED_CODES; ++i) {
        const int32_t related = record.related_FaultCode.related_fc[i];
        if (related != 0 && related == node.fault_code) {
            return true;
        }
    }
    return false;
}

// The part of the index that a new fault lacks, with its entry: null in the levels that are there already.
struct new_branch {
    entity_id_node *entity;
    entity_instance_node *instance;
    fault_node *fault;
    fe_table_entry *entry;
};

enum class missing { entity, instance, fault };

template <class Node>
bool allocate(Node *&node) {
    node = static_cast<Node *>(malloc(sizeof(Node)));
    return node != nullptr;
}

// All or nothing, from the top down; the entry comes last, so it is never given back.
bool allocate_branch(new_branch &branch, missing level) {
    const bool ok = (level != missing::entity || allocate(branch.entity)) &&
                    (level == missing::fault || allocate(branch.instance)) && //
                    allocate(branch.fault) && allocate(branch.entry);
    if (!ok) {
        free(branch.fault);
        free(branch.instance);
        free(branch.entity);
    }
    return ok;
}

bool create_branch(new_branch &branch, missing level, fe_write_buf &record) {
    if (!allocate_branch(branch, level)) {
        return false;
    }
    record.vemoFaultOccur = 1;
    branch.entry->record = record; // not by a whole new entry, which would go over the stack
    branch.entry->next = nullptr;
    *branch.fault = {.fault_code = record.vemoFaultCode, .entry = branch.entry, .next = nullptr};
    if (branch.instance != nullptr) {
        *branch.instance = {.entity_instance = record.entity_instance, .fault_list = branch.fault, .next = nullptr};
    }
    if (branch.entity != nullptr) {
        *branch.entity = {.entity_id = record.entity_id, .instance_list = branch.instance, .next = nullptr};
    }
    return true;
}

// The new branch is in the index already: an eviction may free the level that it would have been appended to.
void add_to_chain(fe_table_entry *entry) FE_REQUIRES(table_lock) {
    entry->next = fe_table_head_ptr;
    fe_table_head_ptr = entry;
    const bool has_older = entry->next != nullptr;
    if (fe_fault_count < FE_TABLE_MAX_FAULTS || !has_older) {
        ++fe_fault_count;
    } else {
        remove_last_fe_table_entry(&fe_table_head_ptr, &entity_id_list_head_ptr);
    }
}

// Creates a fault that the table lacks from `level` down. `at` is where the search ended: its link of that level is the
// null link to append at.
int32_t create_fault(const fault_position &at, missing level, fe_write_buf &record) FE_REQUIRES(table_lock) {
    if (clears(record)) {
        return FE_TABLE_UNCHANGED;
    }
    new_branch branch{};
    if (!create_branch(branch, level, record)) {
        return FE_TABLE_UNCHANGED;
    }
    count_storage_fault(record.entity_id, record.vemoFaultSeverity);
    switch (level) {
    case missing::entity:
        LOG_FAULT("Fault node hierarchy created from entity id", record);
        *at.entity = branch.entity;
        break;
    case missing::instance:
        LOG_FAULT("Fault node hierarchy created from instance", record);
        *at.instance = branch.instance;
        break;
    case missing::fault:
        LOG_FAULT("Fault node created", record);
        *at.fault = branch.fault;
        break;
    }
    add_to_chain(branch.entry);
    write_to_fe_file(fe_table_head_ptr);
    return FE_TABLE_CHANGED;
}

void take_off_chain(const fe_table_entry *entry) FE_REQUIRES(table_lock) {
    fe_table_entry **link = &fe_table_head_ptr;
    while (*link != entry) { // the entry is on the chain: no test for its end
        link = &(*link)->next;
    }
    *link = entry->next;
}

void move_to_head(fe_table_entry *entry) FE_REQUIRES(table_lock) {
    take_off_chain(entry);
    entry->next = fe_table_head_ptr;
    fe_table_head_ptr = entry;
}

// Makes the record the next occurrence after the stored one.
void follow_occurrence(fe_write_buf &record, const fe_write_buf &stored) {
    record.Previous_Fault_time = stored.Fault_time;
    copy_text(record.PreviousTimeOfEvent, stored.TimeOfEvent);
    record.vemoFaultOccur = static_cast<uint8_t>(stored.vemoFaultOccur + 1);
}

int32_t update_fault(fe_table_entry *entry, fe_write_buf &record) FE_REQUIRES(table_lock) {
    LOG_FAULT("Update the fault found", record);
    follow_occurrence(record, entry->record);
    entry->record = record;
    move_to_head(entry);
    write_to_fe_file(fe_table_head_ptr);
    return is_storage_entity(record.entity_id) ? FE_TABLE_REPEATED_STORAGE : FE_TABLE_CHANGED;
}

int32_t clear_fault(const fault_position &position, fe_write_buf &record) FE_REQUIRES(table_lock) {
    LOG_FAULT("Clear the fault found", record);
    fe_table_entry *entry = (*position.fault)->entry;
    follow_occurrence(record, entry->record);
    uncount_storage_fault(entry->record.entity_id, entry->record.vemoFaultSeverity);
    take_off_chain(entry);
    free_entry(entry);
    --fe_fault_count;
    write_to_fe_file(fe_table_head_ptr);
    remove_from_index(position);
    return FE_TABLE_CHANGED;
}

} // namespace

int32_t change_fault_table(fe_write_buf &record) {
    fault_position at{};
    at.entity = find_entity(&entity_id_list_head_ptr, record.entity_id);
    if (entity_id_list_head_ptr == nullptr) {
        LOG_FAULT("List NULL, NO entity id found", record);
        return create_fault(at, missing::entity, record);
    }
    if (*at.entity == nullptr) {
        LOG_FAULT("Entity id NOT found", record);
        return create_fault(at, missing::entity, record);
    }
    LOG_FAULT("Entity id found", record);

    at.instance = find_instance(&(*at.entity)->instance_list, record.entity_instance);
    if (*at.instance == nullptr) {
        LOG_FAULT("Entity instance NOT found", record);
        return create_fault(at, missing::instance, record);
    }
    LOG_FAULT("Entity instance found", record);

    at.fault =
        find_link(&(*at.instance)->fault_list, [&](const fault_node &node) { return is_fault_of(node, record); });
    if (*at.fault == nullptr) {
        LOG_FAULT("Fault node NOT found", record);
        return create_fault(at, missing::fault, record);
    }
    fault_node *fault = *at.fault;
    LOG_FAULT("Fault node found", fault->entry->record);
    fault->fault_code = record.vemoFaultCode; // a fault found through a related code goes on under the new code

    return clears(record) ? clear_fault(at, record) : update_fault(fault->entry, record);
}

int32_t update_fe_database(fe_write_buf_struct *wbuf) {
    fe_write_buf &record = *wbuf->fe_write_buf;
    if (record.Previous_Fault_time == 0) {
        record.Previous_Fault_time = record.Fault_time;
        copy_text(record.PreviousTimeOfEvent, record.TimeOfEvent);
    }
    lock_table();
    const int32_t result = change_fault_table(record);
    unlock_table();
    return result;
}
