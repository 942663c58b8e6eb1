#include "support/faults.h"

#include <algorithm>
#include <set>

int32_t update(fe_write_buf &record) {
    fe_write_buf_struct block{};
    block.fe_write_buf = &record;
    return update_fe_database(&block);
}

void put(const Fault &fault) {
    fe_write_buf record{};
    record.entity_id = fault.entity;
    record.entity_instance = fault.instance;
    record.vemoFaultCode = fault.code;
    record.vemoFaultSeverity = fault.severity;
    record.related_FaultCode.related_fc[1] = fault.related;
    record.sens_num = fault.sensor_number;
    update(record);
}

std::vector<fe_write_buf> chain() {
    std::vector<fe_write_buf> records;
    for (const fe_table_entry *entry = fe_table_head_ptr; entry != nullptr; entry = entry->next) {
        records.push_back(entry->record);
    }
    return records;
}

TableIndex table_index() {
    TableIndex index;
    std::set<std::pair<uint8_t, int64_t>> levels;
    const auto add_level = [&](uint8_t entity, int64_t instance, bool is_empty) {
        index.is_sound &= levels.emplace(entity, instance).second && !is_empty;
    };
    for (const auto *entity = entity_id_list_head_ptr; entity != nullptr; entity = entity->next) {
        add_level(entity->entity_id, INT64_MAX, entity->instance_list == nullptr);
        for (const auto *instance = entity->instance_list; instance != nullptr; instance = instance->next) {
            add_level(entity->entity_id, instance->entity_instance, instance->fault_list == nullptr);
            for (const auto *fault = instance->fault_list; fault != nullptr; fault = fault->next) {
                const fe_write_buf &record = index.entries.emplace_back(fault->entry)->record;
                index.is_sound &= record.entity_id == entity->entity_id &&
                                  record.entity_instance == instance->entity_instance &&
                                  record.vemoFaultCode == fault->fault_code;
            }
        }
    }
    return index;
}

std::string broken_table() {
    std::vector<const fe_table_entry *> chain;
    for (const auto *entry = fe_table_head_ptr; entry != nullptr && chain.size() <= fe_fault_count;
         entry = entry->next) {
        chain.push_back(entry);
    }
    TableIndex index = table_index();
    std::ranges::sort(chain);
    std::ranges::sort(index.entries);
    return chain.size() != fe_fault_count ? "fe_fault_count is wrong, or the chain a ring"
           : index.entries != chain       ? "an entry without a fault node of its own"
           : !index.is_sound              ? "an empty or repeated level, or an entry under other keys than its own"
                                          : "";
}

std::string broken_invariant() {
    pthread_mutex_lock(&fe_table_mutex);
    std::string wrong = broken_table();
    pthread_mutex_unlock(&fe_table_mutex);
    return wrong;
}
