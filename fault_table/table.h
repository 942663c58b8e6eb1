// The fault table's lists. A position in a list is a link: the head, or the next pointer of the node before. A search
// gives the link to the node it found or, at the end of the list, the null link where a new node is appended; so one
// walk serves finding, appending and unlinking. All of this is used with fe_table_mutex held.
#pragma once

#include <cstdlib>

#include "fault_engine/fault_table.h"

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

inline fe_table_entry **find_entry(fe_table_entry **chain, const fe_table_entry *entry) {
    return find_link(chain, [=](const fe_table_entry &other) { return &other == entry; });
}

// Where a fault stands in the index: one link for each level.
struct fault_position {
    entity_id_node **entity;
    entity_instance_node **instance;
    fault_node **fault;
};

// Entries freed so far, counted round, guarded by fe_table_mutex: who gave that up sees by it whether any has gone.
extern uint32_t entries_freed;

// Frees an entry that is off the chain.
void free_entry(fe_table_entry *entry);

// Takes the fault's node out of the index, with the levels that it leaves empty. The entry is not touched.
void remove_from_index(const fault_position &position);
