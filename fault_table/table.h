// The fault table's lists. A position in a list is a link: the head, or the next pointer of the node before. A search
// gives the link to the node it found or, at the end of the list, the null link where a new node is appended; so one
// walk serves finding, appending and unlinking.
#pragma once

#include <cstdlib>

#include "base/thread_safety.h"
#include "fault_engine/fault_table.h"

// fe_table_mutex, which is exported as it is, under a name that Clang can check.
struct FE_CAPABILITY table_lock_name {};
extern const table_lock_name table_lock; // never defined: only the attributes name it

inline void lock_table() FE_ACQUIRE(table_lock) FE_UNCHECKED {
    pthread_mutex_lock(&fe_table_mutex);
}

inline void unlock_table() FE_RELEASE(table_lock) FE_UNCHECKED {
    pthread_mutex_unlock(&fe_table_mutex);
}

// What the public header says of the lock, so that it is checked.
extern "C" {
extern entity_id_node *entity_id_list_head_ptr FE_GUARDED_BY(table_lock);
extern fe_table_entry *fe_table_head_ptr FE_GUARDED_BY(table_lock);
extern uint32_t fe_fault_count FE_GUARDED_BY(table_lock);
void write_to_fe_file(fe_table_entry *first) FE_REQUIRES(table_lock);
int32_t remove_last_fe_table_entry(fe_table_entry **head, entity_id_node **entity_list) FE_REQUIRES(table_lock);
int32_t update_fe_database(fe_write_buf_struct *wbuf) FE_EXCLUDES(table_lock);
void cleanup_duplicate_events(void) FE_EXCLUDES(table_lock);
void cleanup_deasserted_events(void) FE_EXCLUDES(table_lock);
}

template <class Node, class Match>
Node **find_link(Node **link, Match matches) {
    while (*link != nullptr && !matches(**link)) {
        link = &(*link)->next;
    }
    return link;
}

template <class Node>
void unlink_and_free(Node **link) {
    Node *node = *link;
    *link = node->next;
    free(node);
}

inline entity_id_node **find_entity(entity_id_node **list, uint8_t entity_id) {
    return find_link(list, [=](const entity_id_node &node) { return node.entity_id == entity_id; });
}

inline entity_instance_node **find_instance(entity_instance_node **list, int32_t entity_instance) {
    return find_link(list, [=](const entity_instance_node &node) { return node.entity_instance == entity_instance; });
}

// Where a fault stands in the index: one link for each level.
struct fault_position {
    entity_id_node **entity;
    entity_instance_node **instance;
    fault_node **fault;
};

// The entries that the stale pass remembers while it gives up the lock; null once they have been freed.
struct remembered_entries {
    const fe_table_entry *start; // the head at which its walk started
    const fe_table_entry *asked; // the entry whose sensor it asks
};
extern remembered_entries stale_walk FE_GUARDED_BY(table_lock);

// Frees an entry that is off the chain.
void free_entry(fe_table_entry *entry) FE_REQUIRES(table_lock);

// Takes the fault's node out of the index, with the levels that it leaves empty. The entry is not touched.
void remove_from_index(const fault_position &position) FE_REQUIRES(table_lock);
