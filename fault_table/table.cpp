#include "fault_table/table.h"

entity_id_node *entity_id_list_head_ptr;
fe_table_entry *fe_table_head_ptr;
uint32_t fe_fault_count;
pthread_mutex_t fe_table_mutex = PTHREAD_MUTEX_INITIALIZER;

remembered_entries stale_walk;

void free_entry(fe_table_entry *entry) {
    if (stale_walk.start == entry) {
        stale_walk.start = nullptr;
    }
    if (stale_walk.asked == entry) {
        stale_walk.asked = nullptr;
    }
    free(entry);
}

void remove_from_index(const fault_position &position) {
    unlink_and_free(position.fault);
    if ((*position.instance)->fault_list != nullptr) {
        return;
    }
    unlink_and_free(position.instance);
    if ((*position.entity)->instance_list == nullptr) {
        unlink_and_free(position.entity);
    }
}
