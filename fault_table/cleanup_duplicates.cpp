// Clears the older of two faults with the same code under one entity instance. Such twins come about when a
// related-code match gives a fault the code of another.
#include "fault_table/clearing_record.h"
#include "fault_table/table.h"
#include "fault_table/write_buffer.h"
#include "platform/fe_core/fe_core.h"

namespace {

// A place in the index; no entity past its end. Valid only as long as fe_table_mutex is held.
struct place {
    entity_id_node *entity;
    entity_instance_node *instance;
    fault_node *fault;
};

place first_of(entity_id_node *entity) {
    if (entity == nullptr) {
        return {};
    }
    return {entity, entity->instance_list, entity->instance_list->fault_list};
}

place next_instance(const place &at) {
    entity_instance_node *instance = at.instance->next;
    return instance != nullptr ? place{at.entity, instance, instance->fault_list} : first_of(at.entity->next);
}

// The first fault of an instance, found by its keys; no entity when the instance is gone.
place find_first(uint8_t entity_id, int32_t entity_instance) {
    entity_id_node *entity = *find_entity(&entity_id_list_head_ptr, entity_id);
    if (entity == nullptr) {
        return {};
    }
    entity_instance_node *instance = *find_instance(&entity->instance_list, entity_instance);
    if (instance == nullptr) {
        return {};
    }
    return {entity, instance, instance->fault_list};
}

// The first fault from `node` on that has a younger twin behind it; null when there is none.
fault_node *find_older_twin(fault_node *node) {
    for (; node != nullptr; node = node->next) {
        for (const fault_node *other = node->next; other != nullptr; other = other->next) {
            if (other->fault_code == node->fault_code) {
                return node;
            }
        }
    }
    return nullptr;
}

// Clears the fault at `at` and returns where to go on. Called with fe_table_mutex held, which it gives up for the
// clearing; whatever the table has become meanwhile, the place returned is one of it.
place clear_older_twin(const place &at, fe_write_buf_struct *clearing) {
    const uint8_t entity_id = at.entity->entity_id;
    const int32_t entity_instance = at.instance->entity_instance;
    const fault_node *first = at.instance->fault_list;
    fault_node *next = at.fault->next;
    fe_write_buf &record = *clearing->fe_write_buf;
    record = at.fault->entry->record;
    pthread_mutex_unlock(&fe_table_mutex);

    fe_logger("Inside cleanup_duplicate_events...\n");
    fe_logger("Clean up fault node (%u/%u/curr:%u-prev:%u)\n", unsigned{record.entity_id},
              static_cast<unsigned>(record.entity_instance), static_cast<unsigned>(record.vemoFaultCode),
              static_cast<unsigned>(record.prev_vemoFaultCode));
    make_clearing(record);
    update_fe_database(clearing);

    pthread_mutex_lock(&fe_table_mutex);
    place then = find_first(entity_id, entity_instance);
    if (then.entity == nullptr) {
        return first_of(entity_id_list_head_ptr);
    }
    // The list's first node may have been the one cleared; else the walk goes on behind, if that is still there. Where a
    // related code had an earlier node cleared instead, the twins are left to the next sweep.
    fault_node **behind = find_link(&then.instance->fault_list, [=](const fault_node &node) { return &node == next; });
    if (then.fault == first && *behind != nullptr) {
        then.fault = next;
    }
    return then;
}

} // namespace

void cleanup_duplicate_events(void) {
    fe_write_buf_struct *clearing = allocate_write_buffer();
    if (clearing == nullptr) {
        return;
    }
    pthread_mutex_lock(&fe_table_mutex);
    place at = first_of(entity_id_list_head_ptr);
    while (at.entity != nullptr) {
        at.fault = find_older_twin(at.fault);
        at = at.fault != nullptr ? clear_older_twin(at, clearing) : next_instance(at);
    }
    pthread_mutex_unlock(&fe_table_mutex);
    free_write_buffer(clearing);
}
