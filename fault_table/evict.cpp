#include "fault_table/table.h"

int32_t remove_last_fe_table_entry(fe_table_entry **head, entity_id_node **entity_list) {
    if (*head == nullptr) {
        return -1;
    }
    fe_table_entry **last = head;
    while ((*last)->next != nullptr) {
        last = &(*last)->next;
    }
    fe_table_entry *oldest = *last;
    const fe_write_buf &record = oldest->record;

    fault_position position{};
    position.entity = find_entity(entity_list, record.entity_id);
    if (*position.entity == nullptr) {
        return -1;
    }
    position.instance = find_instance(&(*position.entity)->instance_list, record.entity_instance);
    if (*position.instance == nullptr) {
        return -1;
    }
    position.fault = find_link(&(*position.instance)->fault_list, [&](const fault_node &node) {
        return node.fault_code == record.vemoFaultCode && node.entry == oldest;
    });
    if (*position.fault == nullptr) {
        return -1;
    }
    remove_from_index(position);
    *last = nullptr;
    free_entry(oldest);
    return 0;
}
